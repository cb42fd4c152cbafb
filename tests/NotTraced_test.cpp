// What tracing costs those who do not trace: nobody waits for somebody who reconfigures.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <latch>

#include "test_support/HostOutput.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"

namespace {

using namespace test_support;

class NotTraced : public testing::Test {
 protected:
  // Whether the work gets done although another thread holds the trace log up.
  template <typename Work>
  bool GetsDone(Work work) {
    const TestThread thread(work);
    const bool bDone = Eventually([&] { return thread.IsDone(); });
    if (!bDone) m_letGo.count_down();
    return bDone;
  }

  OutputScript m_script, m_slow;
  CWyLogger m_logger;
  std::latch m_letGo{1};
};

TEST_F(NotTraced, IsAnsweredAtOnceWhileAnOutputIsBeingOpened) {
  ASSERT_TRUE(EnableTrace(m_logger, new HostOutput(m_script), LegacyMessages, {},
                          new HostOutput(m_script)));
  EXPECT_FALSE(m_logger.TraceEnabled(LogId)) << "from now on it is known";
  m_slow.onOpen = [&] { m_letGo.wait(); };
  const TestThread enabling([&] {
    EXPECT_TRUE(
        EnableTrace(m_logger, new HostOutput(m_slow), LegacyMessages, {.bOutputOnly = true}));
  });
  ASSERT_TRUE(Eventually([&] { return !m_slow.Events().empty(); }));
  const TestThread traced([&] { EXPECT_TRUE(m_logger.TraceEnabled(LegacyId)); });
  EXPECT_TRUE(traced.Blocks());
  EXPECT_TRUE(GetsDone([&] {
    CWyTraceData own;
    CWyTraceData* pData = nullptr;
    EXPECT_FALSE(m_logger.TraceEnabled(LogId) || m_logger.ShouldTrace(LogId | 7, &own) ||
                 m_logger.ShouldTraceAlloc(LogId, &pData));
  }));
  m_letGo.count_down();
}

TEST_F(NotTraced, IsAnsweredAtOnceWhileTracingIsTurnedOn) {
  m_slow.onOpen = [&] { m_letGo.wait(); };
  const TestThread enabling(
      [&] { EXPECT_TRUE(EnableTrace(m_logger, new HostOutput(m_slow), LegacyMessages)); });
  ASSERT_TRUE(Eventually([&] { return !m_slow.Events().empty(); }));
  EXPECT_TRUE(GetsDone([&] {
    CWyTraceData own;
    CWyTraceData* pData = nullptr;
    EXPECT_FALSE(m_logger.TraceEnabled(0) || m_logger.ShouldTrace(LegacyId, &own) ||
                 m_logger.ShouldTraceAlloc(LegacyId, &pData));
  }));
  m_letGo.count_down();
}

TEST_F(NotTraced, NobodyWaitsWhileAConfigurationFileIsRead) {
  const TempDirectory directory;
  const std::string strPipe = directory.Path("pipe");
  ASSERT_EQ(mkfifo(strPipe.c_str(), 0600), 0);
  TestThread reading([&] {
    EXPECT_TRUE(m_logger.EnableTrace(new HostOutput(m_slow), 0, nullptr, strPipe.c_str(), false,
                                     false, false));
  });
  ASSERT_TRUE(reading.Blocks());
  EXPECT_TRUE(GetsDone([&] {
    EXPECT_TRUE(EnableTrace(m_logger, new HostOutput(m_script), LegacyMessages));
    EXPECT_TRUE(Trace(m_logger, "m"));
    m_logger.DisableTrace(false);
  }));
  directory.Write("pipe", "components:\ndata:\n");
}

}  // namespace
