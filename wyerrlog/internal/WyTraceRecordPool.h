#ifndef WYERRLOG_INTERNAL_WYTRACERECORDPOOL_H
#define WYERRLOG_INTERNAL_WYTRACERECORDPOOL_H

// The process-wide pool of per-thread trace records, shared by all loggers.

#include <pthread.h>

#include <cstdint>
#include <memory>

#include "wyerrlog/WyTraceData.h"

class CWyLogger;

// One entry of the pool: a record, allocated for the first thread that takes the entry, and the
// thread that has it. Changed only by the pool, with its mutex held.
class ThreadTraceData {
 public:
  CWyTraceData* Record() const { return m_pRecord.get(); }

 private:
  friend class CWyTraceRecordPool;

  bool IsOf(const CWyLogger& logger) const { return m_pLogger == &logger; }
  bool AllocateRecord();  // false if memory allocation fails

  std::unique_ptr<CWyTraceData> m_pRecord;
  bool m_bFree = true;
  pthread_t m_thread = 0;                // the thread that has it, unless it is free
  const CWyLogger* m_pLogger = nullptr;  // that the thread uses it for; null: a host has it
  // The logger has been released. The thread may be filling the record at that moment, so it keeps
  // the entry, for its next record of any logger.
  bool m_bOrphaned = false;
  ThreadTraceData* m_pNext = nullptr;  // in the pool's index
};

// The pool exists while any logger is initialised. An entry that a thread has is not passed to
// another thread and not destroyed until the thread ends or the logger is destroyed, which no
// thread uses any more at that moment. Thread-safe.
class CWyTraceRecordPool {
 public:
  // A logger has been initialised.
  static void AddLogger();
  // A logger has been released.
  static void RemoveLogger(const CWyLogger& logger);
  // A logger is destroyed: its entries become free, and memory that is not needed is freed.
  static void FreeEntriesOf(const CWyLogger& logger);

  // Returns the calling thread's entry for a logger; null if it has none.
  static ThreadTraceData* Find(const CWyLogger& logger);
  // Returns a new entry of the calling thread, its record without values; null if memory
  // allocation fails. For a null logger the caller frees it; otherwise the end of the thread does.
  static ThreadTraceData* Take(const CWyLogger* pLogger);

  // The calling thread's record for the logger of that initialisation number, if it is among those
  // that the thread used last; else null. Takes no lock. A record is forgotten when its thread
  // ends; the numbers of loggers that are gone never come again.
  static CWyTraceData* LastOfThisThread(std::uint64_t uInitialisation);
  static void SetLastOfThisThread(std::uint64_t uInitialisation, CWyTraceData* pRecord);

  // Frees an entry that was taken without a logger. No effect if it has been freed already.
  static void Free(ThreadTraceData* pEntry);
  static void DestroyFreeEntries();

  // The calling thread ends: frees its entries.
  static void FreeEntriesOfThread();

 private:
  class State;
};

#endif
