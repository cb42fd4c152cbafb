// The reader/writer guard: whom it admits when, and that it excludes whom it should.

#include <gtest/gtest.h>

#include <list>
#include <vector>

#include "test_support/TestThread.h"
#include "wyerrlog/WyErrLogUtil.h"

namespace {

using test_support::Eventually;
using test_support::TestThread;

// A thread that holds the guard, once it gets it, until it is told to leave.
template <typename Scope>
class Holder {
 public:
  explicit Holder(CWyErrLogGuard& guard)
      : m_thread([this, &guard] {
          const Scope scope(guard);
          m_bHolds = true;
          m_bLeave.wait(false);
        }) {}
  ~Holder() { Leave(); }

  bool Holds() {
    return Eventually([this] { return m_bHolds.load(); });
  }
  bool Waits() { return m_thread.Blocks() && !m_bHolds; }
  void Leave() {
    m_bLeave = true;
    m_bLeave.notify_one();
  }

 private:
  std::atomic<bool> m_bHolds{false};
  std::atomic<bool> m_bLeave{false};
  TestThread m_thread;
};

using Reader = Holder<CWyErrLogAutoReader>;
using Writer = Holder<CWyErrLogAutoWriter>;

TEST(Guard, ANewReaderWaitsBehindAWaitingWriter) {
  CWyErrLogGuard guard;
  Reader first(guard), second(guard);
  ASSERT_TRUE(first.Holds() && second.Holds());
  Writer writer(guard);
  ASSERT_TRUE(writer.Waits());
  Reader third(guard);
  ASSERT_TRUE(third.Waits());

  first.Leave();
  EXPECT_TRUE(writer.Waits() && third.Waits());
  second.Leave();
  EXPECT_TRUE(writer.Holds());
  EXPECT_TRUE(third.Waits());
  writer.Leave();
  EXPECT_TRUE(third.Holds());
}

TEST(Guard, GoesToAWaitingWriterFirstAndThenToAllReadersTogether) {
  CWyErrLogGuard guard;
  Writer first(guard);
  ASSERT_TRUE(first.Holds());
  std::list<Reader> readers;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(readers.emplace_back(guard).Waits());
  Writer second(guard);
  ASSERT_TRUE(second.Waits());

  first.Leave();
  EXPECT_TRUE(second.Holds());
  for (Reader& reader : readers) EXPECT_TRUE(reader.Waits());
  second.Leave();
  for (Reader& reader : readers) EXPECT_TRUE(reader.Holds());

  // Each of the three counts.
  Writer third(guard);
  while (!readers.empty()) {
    EXPECT_TRUE(third.Waits()) << readers.size();
    readers.pop_front();
  }
  EXPECT_TRUE(third.Holds());
}

TEST(Guard, WritersAreAloneAmongManyThreads) {
  CWyErrLogGuard guard;
  long lValue = 0, lCopy = 0;  // not atomic: what the guard is for
  std::atomic<int> iTorn{0};
  {
    std::list<TestThread> threads;
    for (int iThread = 0; iThread < 6; ++iThread) {
      threads.emplace_back([&, iThread] {
        for (int i = 0; i < 5000; ++i) {
          if ((i + iThread) % 5 == 0) {
            const CWyErrLogAutoWriter writer(guard);
            ++lValue;
            ++lCopy;
          } else {
            const CWyErrLogAutoReader reader(guard);
            if (lValue != lCopy) ++iTorn;
          }
        }
      });
    }
  }
  EXPECT_EQ(lValue, 6 * 5000 / 5);
  EXPECT_EQ(iTorn, 0);
}

TEST(Guard, IsHeldByTheThreadThatTookIt) {
  CWyErrLogGuard guard, other;
  const CWyErrLogAutoReader reader(guard);
  {
    const CWyErrLogAutoWriter writer(other);
    EXPECT_TRUE(guard.IsHeldByThisThread() && other.IsHeldByThisThread());
    TestThread([&] { EXPECT_FALSE(guard.IsHeldByThisThread()); });
  }
  EXPECT_TRUE(guard.IsHeldByThisThread());
  EXPECT_FALSE(other.IsHeldByThisThread());
}

}  // namespace
