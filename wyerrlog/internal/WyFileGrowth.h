#ifndef WYERRLOG_INTERNAL_WYFILEGROWTH_H
#define WYERRLOG_INTERNAL_WYFILEGROWTH_H

// The size of a size-limited file, asked of the system as seldom as its limit allows.
//
// Two states. Asking: every record asks for the size, because other processes may write to the file
// too. Counting: the file has grown by nothing but this output's own bytes for 64 records; these
// are counted, and the system is asked again only now and then (HasRoom). A byte of another process
// or a file that has become shorter leads back to asking.

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <ctime>

#include "wyerrlog/internal/WyForkHandling.h"

class CWyFileGrowth {
 public:
  explicit CWyFileGrowth(unsigned int uLimit)
      : m_iLimit(uLimit), m_iMargin(Signed(uLimit - uLimit / MarginDivisor)) {}
  CWyFileGrowth(const CWyFileGrowth&) = delete;
  CWyFileGrowth& operator=(const CWyFileGrowth&) = delete;

  // The bytes of a record that a thread is about to write, counted for a scope that ends after the
  // write.
  class Record {
   public:
    Record(CWyFileGrowth& growth, std::uint64_t uBytes)
        : m_growth(growth),
          m_uBytes(uBytes),
          m_uTotal(growth.m_uReserved.fetch_add(OneRecord + uBytes) + OneRecord + uBytes) {}
    ~Record() {
      if (m_iWritten == static_cast<ssize_t>(m_uBytes)) {
        m_growth.m_uWritten.fetch_add(m_uBytes, std::memory_order_release);
      } else {
        m_growth.TakeBack(*this);
      }
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    // What write(2) has returned.
    void Wrote(ssize_t iWritten) { m_iWritten = iWritten; }
    bool IsWritten() const { return m_iWritten >= 0; }

   private:
    friend class CWyFileGrowth;

    CWyFileGrowth& m_growth;
    std::uint64_t m_uBytes;
    std::uint64_t m_uTotal;  // m_uReserved with this record
    ssize_t m_iWritten = -1;
  };

  // Returns true if the file certainly stays below its limit with this record and those that other
  // threads have reserved before; false if the system must be asked. Thread-safe.
  //
  // The comparisons first, the clock last. The acquire pairs with the release in Learn: what is
  // read next belongs to that answer or a later one.
  bool HasRoom(const Record& record) const {
    const std::int64_t iHoldsUntil = m_iHoldsUntil.load(std::memory_order_acquire);
    const std::int64_t iBound =
        m_iOthers.load(std::memory_order_relaxed) + Signed(Bytes(record.m_uTotal));
    return iHoldsUntil != 0 && iBound < m_iMargin &&
           RecordsBetween(m_uAskedAt.load(std::memory_order_relaxed), record.m_uTotal) < Records &&
           m_uForks.load(std::memory_order_relaxed) == WyForkCount() && CoarseTime() < iHoldsUntil;
  }

  // The same by asking. `askSize` returns the size, or a negative number if it cannot be read; the
  // result is false then. Thread-safe. Not inlined: most records do not come here.
  template <typename AskSize>
  [[gnu::noinline]] bool AskForRoom(const Record& record, AskSize askSize) {
    const std::uint64_t uWrittenBefore = m_uWritten.load(std::memory_order_acquire);
    const std::int64_t iSize = askSize();
    return iSize >= 0 && Learn(record, uWrittenBefore, iSize);
  }

  // Another file: asks at every record. Requires: the caller is alone with the output.
  void Restart();

  // Forgets records of threads that a forked child does not have. Requires: as above.
  void ForgetReservations();

 private:
  // 48 bits for bytes, 256 TiB: no file comes near.
  static constexpr std::uint64_t OneRecord = std::uint64_t{1} << 48;
  static constexpr unsigned int Records = 64;  // asked again after so many, counted after so many
  static constexpr std::uint64_t MarginDivisor = 16;  // asked at every record in the last sixteenth

  static std::uint64_t Bytes(std::uint64_t uCounter) { return uCounter % OneRecord; }
  static std::int64_t Signed(std::uint64_t uBytes) { return static_cast<std::int64_t>(uBytes); }
  static unsigned int RecordsBetween(std::uint64_t uFrom, std::uint64_t uTo) {
    return static_cast<std::uint16_t>(uTo / OneRecord - uFrom / OneRecord);
  }
  // Nanoseconds of the clock that the system reads without asking its hardware.
  static std::int64_t CoarseTime() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
  }

  void TakeBack(const Record& record);
  bool Learn(const Record& record, std::uint64_t uWrittenBefore, std::int64_t iSize);
  void Compare(std::int64_t iLow, std::int64_t iHigh);
  bool BeginLearning();

  const std::int64_t m_iLimit;
  const std::int64_t m_iMargin;  // from this size on every record asks

  // All bytes reserved and all bytes written since Restart; the difference is under way. The upper
  // 16 bits of the first count the records, so that a record costs one addition.
  std::atomic<std::uint64_t> m_uReserved{0};
  std::atomic<std::uint64_t> m_uWritten{0};

  // Of the last answer of the system, while counting: the size less the own bytes that it
  // certainly included; the value of m_uReserved; and until when it holds, in nanoseconds of the
  // coarse clock. Before the time 0 means asking.
  std::atomic<std::int64_t> m_iOthers{0};
  std::atomic<std::uint64_t> m_uAskedAt{0};
  std::atomic<std::int64_t> m_iHoldsUntil{0};
  std::atomic<unsigned int> m_uForks{0};

  // The process whose thread changes what follows; 0 for none.
  std::atomic<int> m_iLearner{0};
  // The bytes in the file that are not of this output, as narrow as the answers since the last
  // foreign byte show; and the records since then.
  std::int64_t m_iLowest = 0;
  std::int64_t m_iHighest = 0;
  unsigned int m_uOwnRecords = 0;
};

#endif
