// The side of the writers, and of readers that come while there is one. The states of the lock are
// those of m_iReaders: 0 free, positive that many readers, negative a writer that holds the lock or
// waits for the readers that are still counted.

#include "wyxlate/ForkableLock.h"

// The mutex first: it lets one writer at a time change the word, and it is what later readers wait
// for. Adding Writer turns new readers away; those inside are waited for. The last of them
// notifies, and since a wait may also end without that, the word is read again each time.
void CWyForkableLock::lock() {
  m_writers.lock();
  int iReaders = m_iReaders.fetch_add(Writer) + Writer;
  while (iReaders != Writer) {
    m_iReaders.wait(iReaders);
    iReaders = m_iReaders.load();
  }
}

// The word before the mutex: a reader that gets the mutex relies on a word without a writer. In a
// forked child the mutex is unlocked by the thread that locked it, under another thread id; a mutex
// of this kind does not check that.
void CWyForkableLock::unlock() {
  m_iReaders.fetch_sub(Writer);
  m_writers.unlock();
}

void CWyForkableLock::EnterBehindWriter() {
  // While a thread holds this mutex no writer is in the word.
  const std::lock_guard<std::mutex> turn(m_writers);
  m_iReaders.fetch_add(1);
}
