#ifndef WYERRLOG_TESTS_TRACING_H
#define WYERRLOG_TESTS_TRACING_H

// Tracing as hosts do it, with configurations from texts.

#include <string_view>

#include "test_support/TraceConfiguration.h"
#include "wyerrlog/WyLogger.h"

namespace test_support {

// What the built-in component offers to select: it is there without any plug-in.
enum TracedComponent : unsigned int { LogId = 0x01000000, LegacyId = 0x01010000 };

enum DataField : unsigned int { MessageField = 0, FunctionField = 7, UserField = 9 };

inline constexpr const char* LegacyMessages = "components: Log/Legacy\ndata: Message\n";

struct TraceOptions {
  int iFormat = 0;
  const char* pszDelimiter = nullptr;
  bool bUseLocalTime = false;
  bool bOutputOnly = false;
  bool bBuffered = false;
};

inline bool EnableTrace(CWyLogger& logger, CWyLogOutput* pOutput, std::string_view configuration,
                        const TraceOptions& options = {}, CWyLogOutput* pSecond = nullptr) {
  const InMemoryFile file(configuration);
  return logger.EnableTrace(pOutput, pSecond, options.iFormat, options.pszDelimiter, file.Path(),
                            options.bUseLocalTime, options.bOutputOnly, options.bBuffered);
}

// One trace call with the thread's own record; true when a record was written.
inline bool Trace(CWyLogger& logger, const char* pszMessage, unsigned int uId = LegacyId) {
  CWyTraceData* pData = nullptr;
  if (!logger.TraceEnabled(uId) || !logger.ShouldTraceAlloc(uId, &pData)) return false;
  const CWyTraceSupresser suppress;
  const bool bLogged =
      pData->SetFieldValue(MessageField, pszMessage) && pData->Format() && pData->Log();
  pData->LeaveNoBody();
  return bLogged;
}

}  // namespace test_support

#endif
