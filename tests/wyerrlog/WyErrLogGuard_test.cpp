// The reader/writer guard: whom it admits when, and that it excludes whom it should.

#include <gtest/gtest.h>

#include <list>

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
  bool HasIt() const { return m_bHolds; }
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

TEST(Guard, GoesToWaitingWritersFirstAndThenToAllReadersTogether) {
  CWyErrLogGuard guard;
  Reader first(guard), second(guard);
  ASSERT_TRUE(first.Holds() && second.Holds());
  Writer writer(guard);
  ASSERT_TRUE(writer.Waits());
  Reader third(guard), fourth(guard);  // which could share it with the first two
  ASSERT_TRUE(third.Waits() && fourth.Waits());
  Writer last(guard);
  ASSERT_TRUE(last.Waits());

  first.Leave();
  EXPECT_TRUE(writer.Waits());
  second.Leave();
  EXPECT_TRUE(Eventually([&] { return writer.HasIt() || last.HasIt(); }));
  Writer& next = writer.HasIt() ? last : writer;
  (writer.HasIt() ? writer : last).Leave();
  EXPECT_TRUE(next.Holds());
  EXPECT_TRUE(third.Waits() && fourth.Waits());
  next.Leave();
  EXPECT_TRUE(third.Holds() && fourth.Holds());
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

}  // namespace
