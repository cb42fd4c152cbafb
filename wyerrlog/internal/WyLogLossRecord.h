#ifndef WYERRLOG_INTERNAL_WYLOGLOSSRECORD_H
#define WYERRLOG_INTERNAL_WYLOGLOSSRECORD_H

// The account of the messages that a logger refuses. A call that works tests one byte, which it
// tests anyway: whether the logger is initialised and no log of it loses messages.

#include <cerrno>

#include "wyerrlog/WyLogLoss.h"

// The operations on the account, which is in the logger.
class CWyLogLossRecord {
 public:
  // Sets errno and returns false.
  static bool Refuse(int iErrno) {
    errno = iErrno;
    return false;
  }

  // A message was refused, for the reason in errno, which stays; or written, in a log that loses
  // messages. They call the host's function if that begins or ends a loss.
  static void Count(CWyLogger& logger, WyLogKind log);
  static void Recover(CWyLogger& logger, WyLogKind log);

  static WyLogLoss Read(const CWyLogger& logger, WyLogKind log);
  static bool Observe(CWyLogger& logger, WyLogLossCallback pfnCallback, void* pParam);
  // Requires: no other thread uses the logger.
  static void Forget(CWyLogger& logger);

 private:
  static unsigned char Bit(WyLogKind log) {
    return static_cast<unsigned char>(1u << static_cast<int>(log));
  }
  static void Notify(CWyLogger& logger, WyLogKind log, bool bLosing);
};

// `write` writes a message, and returns false with the reason in errno if that is refused.
// Inlined: each of its few callers logs every record through it.
template <typename Write>
[[gnu::always_inline]] inline bool CWyLogger::LogAndAccount(WyLogKind log, const Write& write) {
  const unsigned char uState = m_uState.load(std::memory_order_acquire);
  if ((uState & Initialised) == 0) [[unlikely]] {
    errno = ESHUTDOWN;
  } else if (write()) [[likely]] {
    if (uState != Initialised) [[unlikely]]
      CWyLogLossRecord::Recover(*this, log);
    return true;
  }
  CWyLogLossRecord::Count(*this, log);
  return false;
}

#endif
