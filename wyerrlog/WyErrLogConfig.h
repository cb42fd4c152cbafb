#ifndef WYERRLOG_WYERRLOGCONFIG_H
#define WYERRLOG_WYERRLOGCONFIG_H

// The two tables that are known before anything is loaded: which component libraries belong to the
// product, and which data fields a trace record can have. Both are constant; any thread may read
// them at any time.

#include "wyerrlog/WyErrLogPort.h"

// One data field. The texts of both tables live as long as the process.
struct KNOWNDATAFIELDINFO {
  const char* pszName;  // in trace configuration files
  int iWidth;           // of its column in the fixed-width trace layout, bytes
};

// The known component libraries, 27 bare names without directory, "lib" and ending. Row i belongs
// to component number i + 1; row 0, the component "Log", is built in and never loaded. Always true.
WYERRLOG_API bool GetKnownComponentLibs(int* pCount, const char*** pppszNames);

// The known data fields, 66 rows. A row's index is the field number of CWyTraceData; the numbers
// have names in WyLogField.h. Always true.
WYERRLOG_API bool GetKnownDataFields(int* pCount, const KNOWNDATAFIELDINFO** ppRows);

#endif
