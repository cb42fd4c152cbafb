// This library, in all cases of the comparison.

#include "bench/compare/WyCases.h"
#include "bench/support/AgentHost.h"
#include "wyerrlog/WyLog.h"

namespace compare {

namespace {

using bench::Check;

// Logs messages. `format` appends a record's text to the prolog of a message.
template <auto format>
class ErrorLog : public Contestant {
 public:
  explicit ErrorLog(const Workload& workload) {
    Check(theLogger()->SetLogOutput(NewFile(workload)), "no error log");
  }
  void Log(const Records& records) override {
    LogEach(records, [](const Record& record) {
      CWyErrLogMessage msg;
      msg.FormatLogProlog(__FILE__, __LINE__, 0);
      format(msg, record);
      return theLogger()->LogErrMsg(msg);
    });
  }
};

using Translated = ErrorLog<[](CWyErrLogMessage& msg, const Record& record) {
  msg.FormatMessage(Agent::Refused, record.pszUser, record.pszAction, record.pszResource);
}>;

using Printf = ErrorLog<[](CWyErrLogMessage& msg, const Record& record) {
  msg.FormatLogMessage(Agent::RefusedPrintf, record.pszUser, record.pszAction, record.pszResource);
}>;

// The same line as Translated, by the front end.
class Statement : public Contestant {
 public:
  explicit Statement(const Workload& workload) {
    Check(theLogger()->SetLogOutput(NewFile(workload)), "no error log");
  }
  void Log(const Records& records) override {
    LogEach(records, [](const Record& record) {
      return WyLog(Agent::Refused, record.pszUser, record.pszAction, record.pszResource);
    });
  }
};

class Audit : public Contestant {
 public:
  explicit Audit(const Workload& workload) {
    Check(theLogger()->EnableAuditLogRollover(NewFile(workload)), "no audit log");
  }
  void Log(const Records& records) override {
    LogEach(records, [](const Record& record) {
      char szTime[32];
      CWyErrLogMessage::GetTime(3, szTime, false, sizeof szTime);
      CWyErrLogMessage msg;
      msg.FormatAuditMessage(
          "[%s] decision=deny client=\"192.0.2.117\" user=\"%s\" action=\"%s\" resource=\"%s\" "
          "rule=%d\n",
          szTime, record.pszUser, record.pszAction, record.pszResource, 41);
      return theLogger()->LogAuditMsg(msg);
    });
  }
};

// ---- Trace --------------------------------------------------------------------------------------

class Trace : public Contestant {
 public:
  Trace(const Workload& workload, int iLayout, const char* pszConfiguration) {
    bench::EnableTrace(NewFile(workload), pszConfiguration, iLayout);
  }
  void Log(const Records& records) override {
    LogEach(records, [](const Record& record) {
      return bench::TraceRefusal(*theLogger(), record.pszUser, record.pszAction,
                                 record.pszResource);
    });
  }
};

class Filtered : public Trace {
 public:
  explicit Filtered(const Workload& workload)
      : Trace(workload, WyTraceLayout::Brackets, bench::SevenFieldsOfNobody) {}
  void Log(const Records& records) override {
    LogEach(records, [](const Record& record) {
      return !bench::TraceRefusal(*theLogger(), record.pszUser, record.pszAction,
                                  record.pszResource);
    });
  }
};

// Calls WY_TRACE for a component that is not traced, and checks that the arguments are not
// evaluated.
void TraceWhatIsNotTraced(const Records& records) {
  CWyLogger& logger = *theLogger();
  LogEach(records, [&logger](const Record& record) {
    bool bEvaluated = false;
    WY_TRACE(logger, Agent::NotTraced).Message("%s", (bEvaluated = true, record.pszUser));
    return !bEvaluated;
  });
}

class TracingOff : public Contestant {
 public:
  void Log(const Records& records) override { TraceWhatIsNotTraced(records); }
};

class TracingOfOthers : public Trace {
 public:
  explicit TracingOfOthers(const Workload& workload)
      : Trace(workload, WyTraceLayout::Brackets, bench::SevenFields) {}
  void Log(const Records& records) override { TraceWhatIsNotTraced(records); }
};

}  // namespace

std::unique_ptr<Contestant> NewContestant(const Workload& workload) {
  bench::ProvideComponent();
  const std::string& strCase = workload.strCase;
  if (strCase == "translated") return std::make_unique<Translated>(workload);
  if (strCase == "statement") return std::make_unique<Statement>(workload);
  if (strCase == "printf") return std::make_unique<Printf>(workload);
  if (strCase == "audit") return std::make_unique<Audit>(workload);
  if (strCase == "filtered") return std::make_unique<Filtered>(workload);
  if (strCase == "tracing-off") return std::make_unique<TracingOff>();
  if (strCase == "tracing-of-others") return std::make_unique<TracingOfOthers>(workload);
  if (strCase.size() == 6 && strCase.starts_with("trace") && strCase[5] >= '0' &&
      strCase[5] <= '3') {
    return std::make_unique<Trace>(workload, strCase[5] - '0', bench::SevenFields);
  }
  return NewFeature(workload);
}

}  // namespace compare
