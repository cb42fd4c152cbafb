// What a feature of the front end costs: cases in pairs, the call with the feature and the plain
// call, whose records are alike. bench/features.sh counts their instructions and says which belong
// together.

#include <fcntl.h>

#include <optional>

#include "bench/compare/WyCases.h"
#include "bench/support/AgentHost.h"
#include "wyerrlog/WyAuditFileOutput.h"
#include "wyerrlog/WyDescriptorOutput.h"
#include "wyerrlog/WyLog.h"
#include "wyerrlog/WyLogLoss.h"
#include "wyerrlog/WyLogRate.h"

namespace compare {

namespace {

using bench::Check;

// ---- Outputs ------------------------------------------------------------------------------------

void LogToFile(const Workload& workload) {
  Check(theLogger()->SetLogOutput(NewFile(workload)), "no error log");
}

void LogToDescriptor(const Workload& workload, int iPriority) {
  const int hFile = open(workload.strPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  Check(theLogger()->SetLogOutput(new CWyDescriptorOutput(hFile, iPriority)), "no error log");
}

void LogToFileWithCallback(const Workload& workload) {
  LogToFile(workload);
  const auto ignore = [](CWyLogger&, WyLogKind, const WyLogLoss&, void*) {};
  Check(WySetLogLossCallback(*theLogger(), ignore, nullptr), "no callback");
}

void AuditToFile(const Workload& workload) {
  Check(theLogger()->EnableAuditLogRollover(NewFile(workload)), "no audit log");
}

void AuditToAuditFile(const Workload& workload, bool bDaily, bool bShared) {
  WyFileOptions options;
  options.path = workload.strPath;
  options.mode = static_cast<int>(workload.fileKind);
  if (workload.fileKind != FileKind::Plain) options.maxSizeMB = SizeLimit;
  options.permissions = 0640;
  options.daily = bDaily;
  options.maxAgeDays = bDaily ? 90 : 0;
  options.shared = bShared;
  Check(theLogger()->EnableAuditLogRollover(new CWyAuditFileOutput(options)), "no audit log");
}

template <int iLayout>
void TraceToFile(const Workload& workload) {
  bench::EnableTrace(NewFile(workload),
                     "version: 1.1\ncomponents: Web_Agent/Traced\n"
                     "data: Date, PreciseTime, Pid, Tid, SrcFile, TransactionID, Message\n",
                     iLayout);
}

// ---- Calls --------------------------------------------------------------------------------------

enum class Action { Write };
const char* WyToText(Action) { return "write"; }

constexpr const char* Request = "1795440179-17858-1";

bool Message(const Record& r) {
  return WyLog(Agent::Refused, r.pszUser, r.pszAction, r.pszResource);
}
bool MessageAsItStands(const Record& r) {
  return WyLog(Agent::Refused, WyRaw(r.pszUser), WyRaw(r.pszAction), WyRaw(r.pszResource));
}
// The declared message has three arguments.
constexpr unsigned int Undeclared = WyMessageId(WyComponentId(6), WySeverity::Warning, 1);
bool MessageOfFour(const Record& r) {
  return WyLog(Undeclared, r.pszUser, r.pszAction, r.pszResource, r.pszUser);
}
bool MessageOfFourAsItStands(const Record& r) {
  return WyLog(Undeclared, WyRaw(r.pszUser), WyRaw(r.pszAction), WyRaw(r.pszResource),
               WyRaw(r.pszUser));
}
bool MessageOfOwnTypes(const Record& r) {
  return WyLog(Agent::Refused, std::optional(r.pszUser), Action::Write, r.pszResource);
}
bool FreeText(const Record& r) {
  return WyLogText(WySeverity::Warning, "User %s may not %s %s.", r.pszUser, r.pszAction,
                   r.pszResource);
}
bool LimitedButWritten(const Record& r) {
  WY_LOG_EVERY_N(1, Agent::Refused, r.pszUser, r.pszAction, r.pszResource);
  return true;
}
bool LeftOutByNumber(const Record& r) {
  WY_LOG_EVERY_N(1000000000, Agent::Refused, r.pszUser, r.pszAction, r.pszResource);
  return true;
}
bool LeftOutByTime(const Record& r) {
  WY_LOG_EVERY_SECONDS(1e6, Agent::Refused, r.pszUser, r.pszAction, r.pszResource);
  return true;
}

bool AuditText(const Record& r) {
  return WyAudit("pid=%d request=\"%s\" event=\"deny\" user=\"%s\" action=\"%s\" resource=\"%s\"\n",
                 1, Request, r.pszUser, r.pszAction, r.pszResource);
}
bool Audit(const Record& r) {
  return WY_AUDIT("deny")
      .Set("user", r.pszUser)
      .Set("action", r.pszAction)
      .Set("resource", r.pszResource)
      .Write();
}
bool AuditWithRequest(const Record& r) {
  return WY_AUDIT("deny")
      .Set("request", Request)
      .Set("user", r.pszUser)
      .Set("action", r.pszAction)
      .Set("resource", r.pszResource)
      .Write();
}

bool Trace(const Record& r) {
  WY_TRACE(Agent::Traced).Message("User %s may not %s %s.", r.pszUser, r.pszAction, r.pszResource);
  return true;
}
bool TraceWithRequest(const Record& r) {
  WY_TRACE(Agent::Traced)
      .Set(WyField::TransactionID, Request)
      .Message("User %s may not %s %s.", r.pszUser, r.pszAction, r.pszResource);
  return true;
}

// ---- The table ----------------------------------------------------------------------------------

struct FeatureCase {
  const char* pszName;
  void (*pfnPrepare)(const Workload&);
  bool (*pfnLog)(const Record&);
  bool bInScope = false;
};

void ToDescriptor(const Workload& workload) {
  LogToDescriptor(workload, CWyDescriptorOutput::NoPriority);
}
void ToDescriptorWithPriority(const Workload& workload) { LogToDescriptor(workload, 6); }
void ToAuditFile(const Workload& workload) { AuditToAuditFile(workload, false, false); }
void ToDailyFile(const Workload& workload) { AuditToAuditFile(workload, true, false); }
void ToSharedFile(const Workload& workload) { AuditToAuditFile(workload, false, true); }
void AuditAsJson(const Workload& workload) {
  WySetAuditFormat(WyAuditFormat::Json);
  AuditToFile(workload);
}

constexpr FeatureCase Cases[] = {
    {"message", LogToFile, Message},
    {"message-in-scope", LogToFile, Message, true},
    {"message-descriptor", ToDescriptor, Message},
    {"message-priority", ToDescriptorWithPriority, Message},
    {"message-loss-callback", LogToFileWithCallback, Message},
    {"message-raw", LogToFile, MessageAsItStands},
    {"message-4", LogToFile, MessageOfFour},
    {"message-4-raw", LogToFile, MessageOfFourAsItStands},
    {"message-own-types", LogToFile, MessageOfOwnTypes},
    {"message-limited", LogToFile, LimitedButWritten},
    {"left-out-by-number", LogToFile, LeftOutByNumber},
    {"left-out-by-time", LogToFile, LeftOutByTime},
    {"free-text", LogToFile, FreeText},
    {"audit-text", AuditToFile, AuditText},
    {"audit-text-in-scope", AuditToFile, AuditText, true},
    {"audit-text-file", ToAuditFile, AuditText},
    {"audit-text-daily", ToDailyFile, AuditText},
    {"audit-text-shared", ToSharedFile, AuditText},
    {"audit-typed", AuditToFile, Audit},
    {"audit-typed-json", AuditAsJson, Audit},
    {"audit-typed-request", AuditToFile, AuditWithRequest},
    {"audit-typed-in-scope", AuditToFile, Audit, true},
    {"trace", TraceToFile<WyTraceLayout::Brackets>, TraceWithRequest},
    {"trace-in-scope", TraceToFile<WyTraceLayout::Brackets>, Trace, true},
    {"trace-json", TraceToFile<WyTraceLayout::Json>, TraceWithRequest},
};

class Feature : public Contestant {
 public:
  Feature(const FeatureCase& feature, const Workload& workload) : m_feature(feature) {
    feature.pfnPrepare(workload);
  }
  void Log(const Records& records) override {
    std::optional<WyRequestScope> scope;
    if (m_feature.bInScope) scope.emplace(WyField::TransactionID, Request);
    LogEach(records, m_feature.pfnLog);
  }

 private:
  const FeatureCase& m_feature;
};

}  // namespace

std::unique_ptr<Contestant> NewFeature(const Workload& workload) {
  for (const FeatureCase& feature : Cases) {
    if (workload.strCase == feature.pszName) return std::make_unique<Feature>(feature, workload);
  }
  return nullptr;
}

}  // namespace compare
