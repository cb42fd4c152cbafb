#ifndef WYERRLOG_WYTHREADTRACEDATA_H
#define WYERRLOG_WYTHREADTRACEDATA_H

// Private: the process-wide pool of per-thread trace records, shared by all loggers.

#include <pthread.h>

#include <memory>

#include "wyerrlog/WyTraceData.h"

class CWyLogger;

// One entry of the pool: a record, and who has it. Changed inside the pool's critical section.
class ThreadTraceData {
 public:
  ThreadTraceData() : m_pRecord(new CWyTraceData) {}

  CWyTraceData* Record() const { return m_pRecord.get(); }

 private:
  friend class CWyThreadTracePool;

  std::unique_ptr<CWyTraceData> m_pRecord;
  bool m_bFree = true;
  pthread_t m_thread = 0;
  const CWyLogger* m_pLogger = nullptr;  // whose records the thread uses it for
  // The destructor of a thread-specific key frees the entry when its thread ends. Otherwise the
  // pool does: for a logger without a key, and once the logger, and its key, are gone.
  bool m_bFreedByKey = false;
};

// The pool exists while any logger is initialised. An entry that a thread has is never handed to
// another thread and never destroyed before its thread ends, whatever becomes of the logger: the
// thread may be filling it. After its logger is gone the same thread uses it for the next one.
class CWyThreadTracePool {
 public:
  // A logger has been initialised.
  static void AddLogger();
  // A logger has been released, and its key deleted before, so that no key frees these entries any
  // more: they stay with their threads, for the records of other loggers.
  static void RemoveLogger(const CWyLogger& logger);

  // The calling thread's entry for a logger that has no key to find it by; null when it has none.
  static ThreadTraceData* Find(const CWyLogger& logger);
  // A new entry of the calling thread; null when there is no memory for one.
  static ThreadTraceData* Take(const CWyLogger* pLogger, bool bFreedByKey);

  static void Free(ThreadTraceData& entry);
  static void DestroyFreeEntries();

  // The calling thread ends.
  static void FreeLeftEntries();

 private:
  class Lock;

  static ThreadTraceData* FindFree();
  static void Expand();
  static void ReclaimAfterFork();
};

#endif
