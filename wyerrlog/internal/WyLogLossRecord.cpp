// The account of refused messages, and the host's function that is called about it. The function
// and its parameter are one object, which readers use inside a read-side section: who replaces it
// waits for them and frees it.

#include "wyerrlog/internal/WyLogLossRecord.h"

#include <ctime>
#include <memory>
#include <new>

#include "wyerrlog/internal/WyForkHandling.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"
#include "wyerrlog/internal/WyReadSideSection.h"

namespace {

struct Observer {
  WyLogLossCallback pfnCallback;
  void* pParam;
};

// One for all loggers: it is entered only when a loss begins or ends.
CWyReadSideSection& Observing() {
  const CWyForkGate gate;  // a forked child must not find the construction half done
  static CWyNeverDestroyed<CWyReadSideSection> s_section;
  return s_section.value;
}

thread_local bool t_bInCallback = false;

struct InCallback {
  InCallback() { t_bInCallback = true; }
  ~InCallback() { t_bInCallback = false; }
};

}  // namespace

void CWyLogLossRecord::Count(CWyLogger& logger, WyLogKind log) {
  const int iErrno = errno;
  CWyLogger::Loss& loss = logger.m_aLosses[static_cast<int>(log)];
  loss.iErrno.store(iErrno, std::memory_order_relaxed);
  loss.uRefused.fetch_add(1, std::memory_order_relaxed);
  const bool bBegins = (logger.m_uState.load(std::memory_order_relaxed) & Bit(log)) == 0 &&
                       (logger.m_uState.fetch_or(Bit(log)) & Bit(log)) == 0;
  if (bBegins) {
    loss.uSince.store(static_cast<std::uint32_t>(time(nullptr)), std::memory_order_relaxed);
    Notify(logger, log, true);
  }
  errno = iErrno;
}

void CWyLogLossRecord::Recover(CWyLogger& logger, WyLogKind log) {
  if ((logger.m_uState.load(std::memory_order_relaxed) & Bit(log)) == 0) return;
  const auto uOthers = static_cast<unsigned char>(~Bit(log));
  if ((logger.m_uState.fetch_and(uOthers) & Bit(log)) != 0) Notify(logger, log, false);
}

WyLogLoss CWyLogLossRecord::Read(const CWyLogger& logger, WyLogKind log) {
  const CWyLogger::Loss& loss = logger.m_aLosses[static_cast<int>(log)];
  return {loss.uRefused.load(std::memory_order_relaxed),
          (logger.m_uState.load(std::memory_order_relaxed) & Bit(log)) != 0,
          loss.uSince.load(std::memory_order_relaxed), loss.iErrno.load(std::memory_order_relaxed)};
}

// A callback whose own messages are refused or written does not call itself.
void CWyLogLossRecord::Notify(CWyLogger& logger, WyLogKind log, bool bLosing) {
  if (t_bInCallback || !logger.IsUsable() || logger.m_pLossObserver == nullptr) return;
  const CWyReadSideSection::Scope scope(Observing());
  const auto* const pObserver = static_cast<const Observer*>(logger.m_pLossObserver.load());
  if (pObserver == nullptr) return;
  const InCallback inCallback;
  WyLogLoss loss = Read(logger, log);
  loss.bLosing = bLosing;
  pObserver->pfnCallback(logger, log, loss, pObserver->pParam);
}

bool CWyLogLossRecord::Observe(CWyLogger& logger, WyLogLossCallback pfnCallback, void* pParam) {
  if (t_bInCallback) return Refuse(EDEADLK);
  std::unique_ptr<Observer> pObserver;
  if (pfnCallback != nullptr) {
    pObserver.reset(new (std::nothrow) Observer{pfnCallback, pParam});
    if (pObserver == nullptr) return Refuse(ENOMEM);
  }
  const std::unique_ptr<Observer> pFormer(
      static_cast<Observer*>(logger.m_pLossObserver.exchange(pObserver.release())));
  if (pFormer != nullptr) Observing().WaitForReaders();
  return true;
}

void CWyLogLossRecord::Forget(CWyLogger& logger) {
  delete static_cast<Observer*>(logger.m_pLossObserver.exchange(nullptr));
}
