#ifndef WYERRLOG_INTERNAL_WYTRACEGENERATION_H
#define WYERRLOG_INTERNAL_WYTRACEGENERATION_H

// How often the tracing of any logger of the process has changed. A cached trace decision is valid
// as long as the number is the one that was read before the decision was asked for.
//
// Java reads the number directly from memory (WyJNIEntryPointSetup.cpp), and so needs no native
// call for a component that is not traced.

#include <atomic>
#include <cstdint>

// Read without a lock, and written after each change: by code that holds the trace guard of the
// logger for writing. It begins at 1, so that 0 is a number that no decision has. Like the library
// it stays in memory until the process ends.
inline constinit std::atomic<std::uint32_t> g_uWyTraceGeneration{1};

// Makes the decisions invalid that have been asked for until now.
inline void WyNoteTraceChange() { g_uWyTraceGeneration.fetch_add(1, std::memory_order_release); }

#endif
