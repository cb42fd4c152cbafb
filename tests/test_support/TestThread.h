#ifndef TEST_SUPPORT_TESTTHREAD_H
#define TEST_SUPPORT_TESTTHREAD_H

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <fstream>
#include <list>
#include <string>
#include <thread>
#include <utility>

namespace test_support {

// Whether the condition comes to hold, given plenty of time.
template <typename Condition>
bool Eventually(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  return true;
}

// A thread that others can see waiting. Joined by the destructor.
class TestThread {
 public:
  template <typename Body>
  explicit TestThread(Body body)
      : m_thread([this, body] {
          m_tid = gettid();
          body();
          m_bDone = true;
        }) {}
  ~TestThread() { m_thread.join(); }
  TestThread(const TestThread&) = delete;
  TestThread& operator=(const TestThread&) = delete;

  bool IsDone() const { return m_bDone; }

  // The processor time that the thread has had; it must not be done.
  std::chrono::nanoseconds Worked() {
    clockid_t clock = 0;
    timespec time{};
    pthread_getcpuclockid(m_thread.native_handle(), &clock);
    clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  }

  // Whether the thread comes to sleep without waking up in between.
  bool Blocks() const {
    return Eventually([this, strBefore = std::string()]() mutable {
      const std::string strNow = Sleep();
      return !strNow.empty() && std::exchange(strBefore, strNow) == strNow;
    });
  }

 private:
  // The number of times that the thread has gone to sleep; "" while it is awake.
  std::string Sleep() const {
    std::ifstream status("/proc/self/task/" + std::to_string(m_tid) + "/status");
    bool bAsleep = false;
    for (std::string strLine; std::getline(status, strLine);) {
      if (strLine.starts_with("State:")) bAsleep = strLine.find('S', 6) != std::string::npos;
      if (bAsleep && strLine.starts_with("voluntary_ctxt_switches:")) return strLine;
    }
    return "";
  }

  std::atomic<pid_t> m_tid{0};
  std::atomic<bool> m_bDone{false};
  std::thread m_thread;
};

// Threads that repeat a step, each with numbers of its own, until the object is gone.
class BusyThreads {
 public:
  template <typename Step>
  BusyThreads(int iThreads, Step step) {
    for (int iThread = 0; iThread < iThreads; ++iThread) {
      m_threads.emplace_back([this, step, iThread] {
        for (int i = iThread; !m_bStop; ++i, ++m_lSteps) step(i);
      });
    }
  }
  ~BusyThreads() { m_bStop = true; }

  // Returns when the threads have made so many more steps together.
  void WaitForSteps(long lSteps) const {
    for (const long lEnd = m_lSteps + lSteps; m_lSteps < lEnd;) std::this_thread::yield();
  }

 private:
  std::atomic<bool> m_bStop{false};
  std::atomic<long> m_lSteps{0};
  std::list<TestThread> m_threads;
};

}  // namespace test_support

#endif
