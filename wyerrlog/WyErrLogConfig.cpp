// The two known tables. Both are part of the published interface: component numbers stand in
// message identifiers, field numbers in the code of hosts, names in trace configuration files. So
// rows are only ever added at the end.

#include "wyerrlog/WyErrLogConfig.h"

#include <iterator>

namespace {

// Row i belongs to component number i + 1 and names its library, lib<name>.so; the first row is the
// built-in component. Not constant, because GetKnownComponentLibs returns a pointer to it that is
// not.
const char* s_apszComponentLibs[] = {
    "wylogcomponent",         "wytestcomponent",     "Login_Logout",
    "IsAuthorized",           "Policy_Server",       "Web_Agent",
    "Apache_Agent",           "Application_Agent",   "Authentication_Schemes",
    "Certificate_Validation", "Password_Services",   "Session_Store",
    "Session_Management",     "Policy_Store",        "User_Directory",
    "Key_Management",         "Single_Sign_On",      "Federation",
    "Token_Service",          "Audit_Service",       "Admin_Interface",
    "Agent_Connection",       "Cluster_Management",  "Cache_Management",
    "Resource_Filter",        "Response_Generation", "Event_Handler",
};
static_assert(std::size(s_apszComponentLibs) == 27);

// Row i is the field number i: its name on the "data" line of a trace configuration, and the width
// of its column, in bytes, in the layout FixedWidth.
constexpr KNOWNDATAFIELDINFO KnownDataFields[] = {
    {"Message", 64},
    {"SrcFile", 32},
    {"Pid", 8},
    {"Tid", 8},
    {"Date", 16},
    {"Time", 8},
    {"PreciseTime", 16},
    {"Function", 32},
    {"ReturnValue", 32},
    {"User", 32},
    {"Group", 32},
    {"Domain", 64},
    {"Realm", 64},
    {"Policy", 64},
    {"Rule", 64},
    {"Directory", 64},
    {"AgentName", 64},
    {"AgentType", 64},
    {"TransactionID", 64},
    {"ObjectClass", 64},
    {"DomainOID", 64},
    {"SearchKey", 64},
    {"ErrorString", 64},
    {"ErrorValue", 64},
    {"ObjectOID", 64},
    {"Property", 64},
    {"IPAddr", 32},
    {"IPPort", 16},
    {"AuthStatus", 32},
    {"AuthReason", 32},
    {"AuthScheme", 32},
    {"CertSerial", 32},
    {"SubjectDN", 64},
    {"IssuerDN", 64},
    {"SessionSpec", 64},
    {"SessionID", 16},
    {"CertDistPt", 64},
    {"UserDN", 64},
    {"Resource", 64},
    {"Action", 64},
    {"RealmOID", 64},
    {"State", 8},
    {"ClusterID", 16},
    {"HandleCount", 16},
    {"FreeHandleCount", 16},
    {"BusyHandleCount", 16},
    {"ResponseTime", 32},
    {"Throughput", 32},
    {"MaxThroughput", 32},
    {"MinThroughput", 32},
    {"Threshold", 32},
    {"TransactionName", 32},
    {"Data", 64},
    {"HexadecimalData", 128},
    {"Query", 64},
    {"ActiveExpr", 64},
    {"CallDetail", 64},
    {"RequestIPAddr", 32},
    {"Returns", 8},
    {"Expression", 32},
    {"Result", 16},
    {"CacheHits", 5},
    {"CacheSize", 5},
    {"RefCount", 5},
    {"ExecutionTime", 24},
    {"Tenant", 64},
};
static_assert(std::size(KnownDataFields) == 66);

}  // namespace

bool GetKnownComponentLibs(int* pCount, const char*** pppszNames) {
  *pCount = static_cast<int>(std::size(s_apszComponentLibs));
  *pppszNames = s_apszComponentLibs;
  return true;
}

bool GetKnownDataFields(int* pCount, const KNOWNDATAFIELDINFO** ppRows) {
  *pCount = static_cast<int>(std::size(KnownDataFields));
  *ppRows = KnownDataFields;
  return true;
}
