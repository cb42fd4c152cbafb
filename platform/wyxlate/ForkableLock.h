#ifndef WYXLATE_FORKABLELOCK_H
#define WYXLATE_FORKABLELOCK_H

// The reader-writer lock of the bundle cache, which a fork can hold.

#include <atomic>
#include <limits>
#include <mutex>

// A reader-writer lock that a thread can hold for writing across fork(2) and release in both
// processes. Use it through std::shared_lock and std::unique_lock. Not recursive in either way.
//
// It is used in place of std::shared_mutex, which has neither of two properties that are needed
// here: glibc identifies a writer by its thread id, which is another one in the child, where the
// lock would stay held forever; and new readers pass a waiting writer, so that busy readers keep it
// out.
class CWyForkableLock {
 public:
  // Many threads may hold the lock for reading. A new reader waits behind a writer that waits.
  void lock_shared() {
    int iReaders = m_iReaders.load(std::memory_order_relaxed);
    while (iReaders >= 0) {
      if (m_iReaders.compare_exchange_weak(iReaders, iReaders + 1, std::memory_order_acquire,
                                           std::memory_order_relaxed)) {
        return;
      }
    }
    EnterBehindWriter();
  }
  void unlock_shared() {
    if (m_iReaders.fetch_sub(1) == Writer + 1) m_iReaders.notify_one();
  }

  // One thread holds the lock for writing, and no other in any way. In a forked child, the thread
  // that forked unlocks what it had locked in the parent.
  void lock();
  void unlock();

 private:
  static constexpr int Writer = std::numeric_limits<int>::min();

  void EnterBehindWriter();

  // Held by the writer from the moment it asks for the lock until it has released it; readers that
  // come meanwhile wait for it.
  std::mutex m_writers;
  // The number of threads that read, plus Writer while there is a writer.
  std::atomic<int> m_iReaders{0};
};

#endif
