#ifndef WYERRLOG_WYTHREADTRACEDATA_H
#define WYERRLOG_WYTHREADTRACEDATA_H

// Private: the process-wide pool of per-thread trace records, shared by all loggers.

#include <pthread.h>

#include <memory>

#include "wyerrlog/WyTraceData.h"

class CWyLogger;

// One entry of the pool: a record, made for the first thread that takes the entry, and who has it.
// Changed inside the pool's critical section.
class ThreadTraceData {
 public:
  CWyTraceData* Record() const { return m_pRecord.get(); }

 private:
  friend class CWyThreadTracePool;

  bool IsOf(const CWyLogger& logger) const { return m_pLogger == &logger; }
  bool MakeRecord();  // false when memory is lacking

  std::unique_ptr<CWyTraceData> m_pRecord;
  bool m_bFree = true;
  pthread_t m_thread = 0;                // that has it, when it is not free
  const CWyLogger* m_pLogger = nullptr;  // whose records the thread uses it for
  // The logger has been released. The thread may be filling the record all the same, so the entry
  // stays with it, for its next record of any logger.
  bool m_bLeft = false;
  // The destructor of a thread-specific key frees the entry when its thread ends. Otherwise the
  // pool does: for a logger without a key, and once the logger, and its key, are gone.
  bool m_bFreedByKey = false;
};

// The pool exists while any logger is initialised. An entry that a thread has is never handed to
// another thread and never destroyed, unless the thread ends or the logger is destroyed, which no
// thread uses any more then.
class CWyThreadTracePool {
 public:
  // A logger has been initialised.
  static void AddLogger();
  // A logger has been released, and its key deleted before, so that no key frees these entries any
  // more.
  static void RemoveLogger(const CWyLogger& logger);
  // A logger is destroyed: its entries are free, and memory that is not needed is given back.
  static void FreeEntriesOf(const CWyLogger& logger);

  // The calling thread's entry for a logger that has no key to find it by; null when it has none.
  static ThreadTraceData* Find(const CWyLogger& logger);
  // A new entry of the calling thread, its record without values; null when there is no memory for
  // one.
  static ThreadTraceData* Take(const CWyLogger* pLogger, bool bFreedByKey);

  // The thread that has the entry ends. No effect when it has been freed already.
  static void Free(ThreadTraceData* pEntry);
  static void DestroyFreeEntries();

  // The calling thread ends: frees its entries that no key frees.
  static void FreeEntriesOfThread();
  // In a forked child, before it has more than one thread.
  static void LoseEntriesOfOtherThreads();

 private:
  class Lock;

  static ThreadTraceData* FindFree();
  static void Expand();
  static void SetFree(ThreadTraceData& entry);
  static void KeepFree(int iCount);
};

#endif
