#ifndef WYERRLOG_INTERNAL_WYTRACECONFIGREADING_H
#define WYERRLOG_INTERNAL_WYTRACECONFIGREADING_H

// Reads a trace configuration as CWyTraceData::SetConfiguration does, with an observer of what the
// parser decides. For programs that are linked to the static library.

#include <span>

#include "wyerrlog/WyTraceData.h"

class CWyTraceConfigReading {
 public:
  // Configures `data` with these tables, which are copied. Returns false if the file cannot be
  // opened or is refused.
  static bool Configure(CWyTraceData& data, int iFormat, const char* pszDelimiter,
                        const char* pszFile, std::span<const WyTraceComponentInfo> components,
                        const WyTraceDataFieldInfo* pFields, CWyTraceConfigObserver* pObserver) {
    return data.SetTables(iFormat, pszDelimiter, static_cast<int>(components.size()),
                          components.data(), pFields, false) &&
           data.ReadConfigFile(pszFile, pObserver);
  }
};

#endif
