#ifndef WYERRLOG_WYLOGLOSS_H
#define WYERRLOG_WYLOGLOSS_H

// What a logger's logs have lost: how many messages each has refused, since when, and why. For a
// metric, a health check, or an alarm:
//
//   void OnLoss(CWyLogger&, WyLogKind log, const WyLogLoss& loss, void*) {
//     if (log == WyLogKind::Audit) SetAlarm(loss.bLosing);
//   }
//   WySetLogLossCallback(*theLogger(), OnLoss, nullptr);
//
// Messages that are written cost nothing for it: the account is kept by the calls that fail.

#include <cstdint>

#include "wyerrlog/WyLogger.h"

// The logs of a logger.
enum class WyLogKind : int { Error = 0, Trace = 1, Audit = 2 };

// The account of one log, from the construction of its logger on.
struct WyLogLoss {
  // The messages for which LogErrMsg, LogTraceMsg or LogAuditMsg, directly or below the calls of
  // WyLog.h, have returned false. A record that one of two trace outputs has refused counts as one.
  std::uint64_t uRefused;
  // True from a refused message on until the next one that is written.
  bool bLosing;
  // The second since the Epoch in which the present or, if the log loses nothing, the last loss has
  // begun; 0 if there was none.
  std::int64_t iSince;
  // The reason of the last one that was refused: errno as the output has left it (that of write(2),
  // for instance), ENXIO if the log has no output, EDEADLK for a message from a callback of the
  // same log, ENOMEM if memory allocation failed, ESHUTDOWN if the logger is released. 0 if there
  // was none.
  int iErrno;
};

// Returns the account of one log. Takes no lock; messages that other threads log at the same time
// may be in some of the members already. Thread-safe.
WYERRLOG_API WyLogLoss WyGetLogLoss(const CWyLogger& logger, WyLogKind log);

// A function of the host: the logger, the log, its account and the value given with the function.
using WyLogLossCallback = void (*)(CWyLogger& logger, WyLogKind log, const WyLogLoss& loss,
                                   void* pParam);

// Has the function called when a log of this logger begins to lose messages and when it ceases to:
// `loss.bLosing` says which. It replaces the one before; null ends it. Returns false if memory
// allocation fails (ENOMEM) and if such a callback calls it (EDEADLK); nothing changes then.
// Thread-safe.
//
// The function runs on the thread whose message was refused or written, and that call waits for it.
// No log is held: it may log, also to the log that loses. Calls on several threads may overlap, and
// then come in either order; WyGetLogLoss has the present state. On a released logger it is not
// called. When WySetLogLossCallback has returned, no thread is in the former function any more.
WYERRLOG_API bool WySetLogLossCallback(CWyLogger& logger, WyLogLossCallback pfnCallback,
                                       void* pParam);

#endif
