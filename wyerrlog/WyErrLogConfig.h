#ifndef WYERRLOG_WYERRLOGCONFIG_H
#define WYERRLOG_WYERRLOGCONFIG_H

// The two tables that are known before anything is loaded: which component libraries belong to the
// product, and which data fields a trace record can have. Both are constant: any thread may read
// them at any time, also in a forked child and during process exit. Their texts are never freed.
//
//   int iCount = 0;
//   const KNOWNDATAFIELDINFO* pRows = nullptr;
//   GetKnownDataFields(&iCount, &pRows);
//   for (int i = 0; i < iCount; ++i) std::puts(pRows[i].pszName);

#include "wyerrlog/WyErrLogPort.h"

// One data field.
struct KNOWNDATAFIELDINFO {
  const char* pszName;  // in trace configuration files
  int iWidth;           // of its column in the fixed-width trace layout, bytes
};

// Stores the number of known component libraries (27) in `*pCount` and the table of their names in
// `*pppszNames`; the caller must not change or free the table. The names have no directory, no
// "lib" and no ending. Row i belongs to component number i + 1; row 0, the component "Log", is
// built in and never loaded. Rows never move, because the numbers are part of every message
// identifier. A row does not say that the library is installed: see
// CWyLogger::GetAvailableComponents.
//
// Always returns true. Requires: neither pointer is null.
WYERRLOG_API bool GetKnownComponentLibs(int* pCount, const char*** pppszNames);

// Stores the number of known data fields (66) in `*pCount` and the table in `*ppRows`, in the same
// way. A row's index is the field number that CWyTraceData takes; the numbers have names in
// WyLogField.h. Always returns true. Requires: neither pointer is null.
WYERRLOG_API bool GetKnownDataFields(int* pCount, const KNOWNDATAFIELDINFO** ppRows);

#endif
