// A library that gives no component: without an entry point of its own, or with one that returns
// null.

#include "wyerrlog/WyLogger.h"

extern "C" WYERRLOG_API void UseTheLibrary() { theLogger(); }

#ifdef ENTRY_POINT
extern "C" CWyErrLogComponent* GetComponentPtr() { return nullptr; }
#endif
