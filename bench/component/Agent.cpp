// The message component of the benchmarks, "Web_Agent": a translated message, a printf-style
// message and two sub-components.

#include "bench/component/AgentMessages.h"
#include "components/TableComponent.h"

namespace {

constexpr WyMessageRow Messages[] = {
    {Agent::Refused, "agent-00001"},
    {Agent::RefusedPrintf, "[agent-00001] User %s may not %s %s."},
};
static_assert(AreNumberedFromOne(Messages));

constexpr WyErrSubComponentInfo SubComponents[] = {
    {"Traced", "Traced", "Selected by the benchmarks' trace configurations"},
    {"Not", "Not_Traced", "Never selected"},
};

}  // namespace

extern "C" CWyErrLogComponent* GetComponentPtr() {
  static CWyTableComponent component(Agent::Component, "agent", "Web_Agent", "An access agent",
                                     Messages, SubComponents);
  return &component;
}
