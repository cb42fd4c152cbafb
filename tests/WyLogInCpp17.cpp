// Compiled as C++17, and part of a program in C++20: see WyLog_test.cpp.

#include "wyerrlog/WyLog.h"

static_assert(__cplusplus < 202002L);

void LogInCpp17(CWyLogger& logger, unsigned int uMessage, unsigned int uComponent) {
  WyLog(logger, uMessage, "from C++17");
  WY_TRACE(logger, uComponent).Set(WyField::User, "seventeen");
}
