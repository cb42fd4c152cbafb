// What tracing costs those who do not trace: nobody waits for somebody who reconfigures.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <latch>

#include "test_support/HostOutput.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"

namespace {

using namespace test_support;

class NotTraced : public testing::Test {
 protected:
  OutputScript m_script, m_slow;
  CWyLogger m_logger;
};

// Does the work, and only then lets the thread go that holds the trace log up.
template <typename Work, typename LetGo>
void ExpectDone(Work work, LetGo letGo) {
  const TestThread thread(work);
  EXPECT_TRUE(Eventually([&] { return thread.IsDone(); }));
  letGo();
}

TEST_F(NotTraced, IsAnsweredAtOnceWhileAnOutputIsBeingOpened) {
  ASSERT_TRUE(EnableTrace(m_logger, new HostOutput(m_script), LegacyMessages, {},
                          new HostOutput(m_script)));
  EXPECT_FALSE(m_logger.TraceEnabled(LogId)) << "from now on it is known";
  std::latch end(1);
  m_slow.onOpen = [&] { end.wait(); };
  const TestThread enabling([&] {
    EXPECT_TRUE(
        EnableTrace(m_logger, new HostOutput(m_slow), LegacyMessages, {.bOutputOnly = true}));
  });
  ASSERT_TRUE(Eventually([&] { return !m_slow.Events().empty(); }));
  const TestThread traced([&] { EXPECT_TRUE(m_logger.TraceEnabled(LegacyId)); });
  EXPECT_TRUE(traced.Blocks());
  const auto ask = [&] {
    CWyTraceData own;
    CWyTraceData* pData = nullptr;
    EXPECT_FALSE(m_logger.TraceEnabled(LogId) || m_logger.ShouldTrace(LogId | 7, &own) ||
                 m_logger.ShouldTraceAlloc(LogId, &pData));
  };
  ExpectDone(ask, [&] { end.count_down(); });
}

TEST_F(NotTraced, NobodyWaitsWhileAConfigurationFileIsRead) {
  const TempDirectory directory;
  const std::string strPipe = directory.Path("pipe");
  ASSERT_EQ(mkfifo(strPipe.c_str(), 0600), 0);
  const int fd = open(strPipe.c_str(), O_RDWR | O_CLOEXEC);
  const TestThread reading([&] {
    EXPECT_TRUE(m_logger.EnableTrace(new HostOutput(m_slow), 0, nullptr, strPipe.c_str(), false,
                                     false, false));
  });
  ASSERT_TRUE(reading.Blocks());
  const auto traceMeanwhile = [&] {
    EXPECT_TRUE(EnableTrace(m_logger, new HostOutput(m_script), LegacyMessages));
    EXPECT_TRUE(Trace(m_logger, "m"));
    m_logger.DisableTrace(false);
  };
  ExpectDone(traceMeanwhile, [&] {
    directory.Write("pipe", "components:\ndata:\n");
    close(fd);
  });
}

}  // namespace
