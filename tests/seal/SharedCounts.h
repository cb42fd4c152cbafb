#ifndef TESTS_SEAL_SHAREDCOUNTS_H
#define TESTS_SEAL_SHAREDCOUNTS_H

#include <sys/mman.h>

#include <atomic>
#include <cstdint>
#include <stdexcept>

namespace seal_test {

// Numbers in memory that forked children share: they survive the death of a child.
class SharedCounts {
 public:
  explicit SharedCounts(size_t uCount) : m_uBytes(uCount * sizeof(std::atomic<uint64_t>)) {
    void* const pMemory =
        mmap(nullptr, m_uBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (pMemory == MAP_FAILED) throw std::runtime_error("mmap");
    m_pCounts = static_cast<std::atomic<uint64_t>*>(pMemory);
  }
  ~SharedCounts() { munmap(m_pCounts, m_uBytes); }
  SharedCounts(const SharedCounts&) = delete;
  SharedCounts& operator=(const SharedCounts&) = delete;

  std::atomic<uint64_t>& operator[](size_t u) { return m_pCounts[u]; }

 private:
  size_t m_uBytes;
  std::atomic<uint64_t>* m_pCounts;
};

}  // namespace seal_test

#endif
