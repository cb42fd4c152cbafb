#ifndef BENCH_SUPPORT_AGENTHOST_H
#define BENCH_SUPPORT_AGENTHOST_H

// What the benchmarks have in common: the component whose messages they log, and trace records of
// seven fields.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bench/component/AgentMessages.h"
#include "wyerrlog/WyLogField.h"
#include "wyerrlog/WyLogger.h"
#include "wyxlate/WyXlate.h"

namespace bench {

// Seven fields of the sub-component that is traced.
inline constexpr const char* SevenFields =
    "version: 1.1\ncomponents: Web_Agent/Traced\n"
    "data: Date, PreciseTime, Pid, Tid, SrcFile, Function, Message\n";
// The same records, all of them refused by the field that is set first.
inline constexpr const char* SevenFieldsOfNobody =
    "version: 1.1\ncomponents: Web_Agent/Traced\n"
    "data: Date, PreciseTime, Pid, Tid, SrcFile, Function, Message\nUser: ==nobody\n";

// A log that goes nowhere, for what the parts cost without the system.
inline void Discard(const char*, int) {}
inline CWyLogOutput* NewDiscardingOutput() {
  return theLogger()->NewLogOutput(WyOutputType::SyncCallback, Discard);
}

inline void Check(bool bDone, const char* pszWhat) {
  if (!bDone) throw std::runtime_error(pszWhat);
}

// Before the process's first logger: lets it find the component, whose catalog is English.
inline void ProvideComponent() {
  setenv("ORVA_WA_ROOT", BENCH_ROOT, 1);
  setenv("LC_ALL", "C", 1);
  Check(CWyXlate::SetResourceDirectory(BENCH_ROOT "/messages"), "no message catalogs");
}

// Traces to the output in a layout, with the text as the configuration file.
inline void EnableTrace(CWyLogOutput* pOutput, std::string_view configuration, int iLayout = 0) {
  const int hFile = memfd_create("trace.conf", MFD_CLOEXEC);
  const std::string strPath = "/proc/self/fd/" + std::to_string(hFile);
  Check(write(hFile, configuration.data(), configuration.size()) > 0 &&
            theLogger()->EnableTrace(pOutput, iLayout, ";", strPath.c_str(), false, false, false),
        "no tracing");
  close(hFile);
}

// One trace call: seven fields, and the user when a filter asks for it. Answers whether a record
// was written.
inline bool TraceRefusal(CWyLogger& logger, const char* pszUser, const char* pszAction,
                         const char* pszResource) {
  CWyTraceData* pData = nullptr;
  if (!logger.ShouldTraceAlloc(Agent::Traced, &pData)) return false;
  const CWyTraceSupresser suppress;
  CWyTraceData& data = *pData;
  const auto hasMessage = [&] {
    return data.SetFieldValue(
        WyField::Message,
        data.FormatTraceMessage("User %s may not %s %s.", pszUser, pszAction, pszResource));
  };
  const bool bWritten =
      (!data.FieldFiltered(WyField::User) || data.SetFieldValue(WyField::User, pszUser)) &&
      data.SetFieldValue(WyField::SrcFile, CWyErrLogMessage::PathnameFindFilePart(__FILE__)) &&
      data.SetFieldValue(WyField::Function, "TraceRefusal") &&
      data.SetFieldValue(WyField::Pid, 0) && data.SetFieldValue(WyField::Tid, 0) &&
      data.SetFieldValue(WyField::Date, 0) && data.SetFieldValue(WyField::PreciseTime, 0) &&
      hasMessage() && data.Format() && data.Log();
  data.LeaveNoBody();
  return bWritten;
}

}  // namespace bench

#endif
