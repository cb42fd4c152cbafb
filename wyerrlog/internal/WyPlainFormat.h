#ifndef WYERRLOG_INTERNAL_WYPLAINFORMAT_H
#define WYERRLOG_INTERNAL_WYPLAINFORMAT_H

// Bounded printf formatting that is fast for the formats that are logged.

#include <cstdarg>

// The contract of VSNPRINTFEX (WyErrLogPort.h), which is this function under its published name.
int WyFormatBounded(char* pszBuffer, int iSize, const char* pszFormat, va_list args)
    __attribute__((format(printf, 3, 0)));

#endif
