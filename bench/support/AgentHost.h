#ifndef BENCH_SUPPORT_AGENTHOST_H
#define BENCH_SUPPORT_AGENTHOST_H

// Code that the benchmarks share: setting up the component whose messages they log, an output that
// discards records, and a trace call with seven fields.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "AgentMessages.h"
#include "wyerrlog/WyLogField.h"
#include "wyerrlog/WyLogger.h"
#include "wyxlate/WyXlate.h"

namespace bench {

// Selects seven fields, of the sub-component Traced.
inline constexpr const char* SevenFields =
    "version: 1.1\ncomponents: Web_Agent/Traced\n"
    "data: Date, PreciseTime, Pid, Tid, SrcFile, Function, Message\n";
// The same, with a filter that drops every record when its first field is set.
inline constexpr const char* SevenFieldsOfNobody =
    "version: 1.1\ncomponents: Web_Agent/Traced\n"
    "data: Date, PreciseTime, Pid, Tid, SrcFile, Function, Message\nUser: ==nobody\n";

// An output that discards records, to measure the library without system calls.
inline void Discard(const char*, int) {}
inline CWyLogOutput* NewDiscardingOutput() {
  return theLogger()->NewLogOutput(WyOutputType::SyncCallback, Discard);
}

inline void Check(bool bDone, const char* pszWhat) {
  if (!bDone) throw std::runtime_error(pszWhat);
}

// Sets the environment so that loggers find the component and its English catalog. Requires: no
// logger exists yet.
inline void ProvideComponent() {
  setenv("ORVA_WA_ROOT", BENCH_ROOT, 1);
  setenv("LC_ALL", "C", 1);
  Check(CWyXlate::SetResourceDirectory(BENCH_MESSAGES), "no message catalogs");
}

// Traces to the output in a layout, with the text as the configuration file.
inline void EnableTrace(CWyLogOutput* pOutput, std::string_view configuration,
                        int iLayout = WyTraceLayout::Brackets) {
  const int hFile = memfd_create("trace.conf", MFD_CLOEXEC);
  const std::string strPath = "/proc/self/fd/" + std::to_string(hFile);
  Check(write(hFile, configuration.data(), configuration.size()) > 0 &&
            theLogger()->EnableTrace(pOutput, iLayout, ";", strPath.c_str(), false, false, false),
        "no tracing");
  close(hFile);
}

// One trace call: sets seven fields, and the user if a filter needs it. Returns true if a record
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
