// The component IsAuthorized: row i of the table is message number i + 1, and the texts of the keys
// are in the catalogs isauth*.properties.

#include "components/IsAuthorized/IsAuthorizedMessages.h"
#include "components/TableComponent.h"

namespace {

constexpr WyMessageRow Messages[] = {
    {IsAuthorized::AgentStarted, "isauth-00001"},
    {IsAuthorized::AgentStopped, "isauth-00002"},
    {IsAuthorized::AgentCannotListen, "isauth-00003"},
    {IsAuthorized::PolicyLoaded, "isauth-00004"},
    {IsAuthorized::PolicyUnreadable, "isauth-00005"},
    {IsAuthorized::PolicyNotUnderstood, "isauth-00006"},
    {IsAuthorized::NotPermitted, "isauth-00007"},
    {IsAuthorized::NoRule, "isauth-00008"},
    {IsAuthorized::InvalidPath, "isauth-00009"},
    {IsAuthorized::InvalidRequest, "isauth-00010"},
    {IsAuthorized::NotFound, "isauth-00011"},
    {IsAuthorized::ActionFailed, "isauth-00012"},
    {IsAuthorized::AuditFailed, "isauth-00013"},
    {IsAuthorized::TracingOn, "isauth-00014"},
    {IsAuthorized::TracingOff, "isauth-00015"},
    {IsAuthorized::TracingFailed, "isauth-00016"},
};
static_assert(AreNumberedFromOne(Messages));

constexpr WyErrSubComponentInfo SubComponents[] = {
    {"Receive", "Receive_Request", "Questions whether a user may act on a resource"},
    {"Send", "Send_Response", "The decisions"},
};

}  // namespace

extern "C" CWyErrLogComponent* GetComponentPtr() {
  static CWyTableComponent s_component(IsAuthorized::Component, "isauth", "IsAuthorized",
                                       "Decides what users may do", Messages, SubComponents);
  return &s_component;
}
