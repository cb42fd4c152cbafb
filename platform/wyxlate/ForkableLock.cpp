#include "wyxlate/ForkableLock.h"

void CWyForkableLock::lock() {
  m_writers.lock();
  int iReaders = m_iReaders.fetch_add(Writer) + Writer;
  while (iReaders != Writer) {
    m_iReaders.wait(iReaders);
    iReaders = m_iReaders.load();
  }
}

void CWyForkableLock::unlock() {
  m_iReaders.fetch_sub(Writer);
  m_writers.unlock();
}

void CWyForkableLock::EnterBehindWriter() {
  // Whoever holds this mutex knows that there is no writer.
  const std::lock_guard<std::mutex> turn(m_writers);
  m_iReaders.fetch_add(1);
}
