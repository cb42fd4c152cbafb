// Counting own bytes in place of asking for a file's size. Threads write side by side, so a size is
// compared with bounds: at least what had been written before the question is in it, at most what
// had been reserved after the answer. A single thread knows both to the byte.
//
// The bound that counting uses is never too low: every own byte is in the size that the system
// returned, or it was not counted as written before the question, and is added to the size.

#include "wyerrlog/internal/WyFileGrowth.h"

#include <algorithm>

namespace {

// Asked again after 4 ms, one tick of the usual clock. Ticks are a little shorter than their
// nominal length at times, hence not 4,000,000.
constexpr std::int64_t Nanoseconds = 3'500'000;

}  // namespace

// ---- Own bytes ----------------------------------------------------------------------------------

// A write that fails or is cut short leaves fewer bytes than reserved, and doubt: the next record
// asks.
void CWyFileGrowth::TakeBack(const Record& record) {
  const auto uWritten = static_cast<std::uint64_t>(std::max<ssize_t>(record.m_iWritten, 0));
  m_uReserved.fetch_sub(record.m_uBytes - uWritten);
  m_iHoldsUntil.store(0, std::memory_order_relaxed);
  m_uWritten.fetch_add(uWritten, std::memory_order_release);
}

void CWyFileGrowth::Restart() {
  m_uReserved = 0;
  m_uWritten = 0;
  m_iHoldsUntil = 0;
  m_iLearner = 0;
  m_uOwnRecords = 0;
}

void CWyFileGrowth::ForgetReservations() {
  m_uReserved = m_uReserved / OneRecord * OneRecord + m_uWritten;
  m_iHoldsUntil = 0;
  m_iLearner = 0;
}

// ---- Asking -------------------------------------------------------------------------------------

// A thread that asks at the same time as another one uses its size, and leaves the rest to that
// one.
bool CWyFileGrowth::Learn(const Record& record, std::uint64_t uWrittenBefore, std::int64_t iSize) {
  const std::int64_t iOthers = iSize - Signed(uWrittenBefore);
  if (BeginLearning()) {
    const std::uint64_t uReserved = m_uReserved.load();
    Compare(iSize - Signed(Bytes(uReserved) - record.m_uBytes), iOthers);
    m_iOthers.store(iOthers, std::memory_order_relaxed);
    m_uAskedAt.store(record.m_uTotal, std::memory_order_relaxed);
    m_uForks.store(WyForkCount(), std::memory_order_relaxed);
    m_iHoldsUntil.store(m_uOwnRecords > Records ? CoarseTime() + Nanoseconds : 0,
                        std::memory_order_release);
    m_iLearner.store(0, std::memory_order_release);
  }
  return iOthers + Signed(Bytes(record.m_uTotal)) < m_iLimit;
}

// `iLow` and `iHigh` are the bounds of the bytes that are not own. They cannot differ from all
// former ones without a foreign byte, or a shorter file.
void CWyFileGrowth::Compare(std::int64_t iLow, std::int64_t iHigh) {
  if (m_uOwnRecords == 0 || iLow > m_iHighest || iHigh < m_iLowest) {
    m_iLowest = iLow;
    m_iHighest = iHigh;
    m_uOwnRecords = 1;
    return;
  }
  m_iLowest = std::max(m_iLowest, iLow);
  m_iHighest = std::min(m_iHighest, iHigh);
  if (m_uOwnRecords <= Records) ++m_uOwnRecords;
}

// Not a mutex: no record waits for another one's comparison, and a forked child takes over from a
// thread that it does not have.
bool CWyFileGrowth::BeginLearning() {
  const int iProcess = WyProcessId();
  int iLearner = m_iLearner.load(std::memory_order_relaxed);
  return iLearner != iProcess &&
         m_iLearner.compare_exchange_strong(iLearner, iProcess, std::memory_order_acquire);
}
