#ifndef WYERRLOG_WYERRLOGCONFIG_H
#define WYERRLOG_WYERRLOGCONFIG_H

// The two tables that are known before anything is loaded: which component libraries belong to the
// product, and which data fields a trace record can have. Both are constant; any thread may read
// them at any time.

#include "wyerrlog/WyErrLogPort.h"

// One data field: its name in trace configuration files, and its column width in characters in the
// fixed-width trace layout.
struct KNOWNDATAFIELDINFO {
  const char* pszName;
  int iWidth;
};

// The known component libraries, 27 bare names without directory, "lib" and ending. Row i belongs
// to component number i + 1; row 0, the component "Log", is built in and never loaded. Always true.
WYERRLOG_API bool GetKnownComponentLibs(int* pCount, const char*** pppszNames);

// The known data fields, 66 rows. A row's index is the field number of CWyTraceData. Always true.
WYERRLOG_API bool GetKnownDataFields(int* pCount, const KNOWNDATAFIELDINFO** ppRows);

#endif
