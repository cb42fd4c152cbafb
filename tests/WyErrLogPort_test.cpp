// Semaphores by handle, and the clock.

#include "wyerrlog/WyErrLogPort.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <limits>
#include <list>
#include <tuple>

#include "test_support/TestThread.h"
#include "wyerrlog/WyErrLogPrivUtil.h"

namespace {

using test_support::Eventually;
using test_support::TestThread;

// The clock and the conversions of this program, in the place of the C library's.
struct {
  timeval now{1000, 0};
  std::atomic<int> iConversions{0};
} g_system;

tm* ConvertInto(time_t tSeconds, int iHour, tm* pResult) {
  ++g_system.iConversions;
  *pResult = {};
  pResult->tm_year = 126;
  pResult->tm_hour = iHour;
  pResult->tm_sec = static_cast<int>(tSeconds);
  return pResult;
}

}  // namespace

extern "C" {
int gettimeofday(timeval* pNow, void*) noexcept {
  *pNow = g_system.now;
  return 0;
}
tm* localtime_r(const time_t* pSeconds, tm* pTime) noexcept {
  return ConvertInto(*pSeconds, 13, pTime);
}
tm* gmtime_r(const time_t* pSeconds, tm* pTime) noexcept {
  return ConvertInto(*pSeconds, 12, pTime);
}
}

namespace {

// ---- Semaphores ---------------------------------------------------------------------------------

TEST(Semaphore, HasBetweenNoneAndTheMaximumOfItsUnits) {
  int iAttributes = 0;
  EXPECT_EQ(WyErrLogUtilCreateSemaphore(&iAttributes, 0, 1, nullptr), nullptr);
  EXPECT_EQ(WyErrLogUtilCreateSemaphore(nullptr, -1, 1, nullptr), nullptr);
  EXPECT_EQ(WyErrLogUtilCreateSemaphore(nullptr, 2, 1, nullptr), nullptr);
  EXPECT_EQ(WyErrLogUtilCreateSemaphore(nullptr, 0, -1, nullptr), nullptr);
  void* const hSemaphore = WyErrLogUtilCreateSemaphore(nullptr, 1, 3, nullptr);
  long lPrevious = 99;
  for (const long lRefused : {3L, std::numeric_limits<long>::max(), 0L, -1L}) {
    EXPECT_EQ(WyErrLogUtilReleaseSemaphore(hSemaphore, lRefused, &lPrevious), 0) << lRefused;
  }
  EXPECT_EQ(lPrevious, 99);
  EXPECT_EQ(WyErrLogUtilReleaseSemaphore(hSemaphore, 2, &lPrevious), 1);
  EXPECT_EQ(lPrevious, 1);
  // All timeouts but the one for ever are one for no time.
  for (const int iResult : {3, 3, 3, 1}) {
    EXPECT_EQ(WyErrLogUtilWaitForSingleObject(hSemaphore, 0xFFFFFFFE), iResult);
  }
  EXPECT_EQ(WyErrLogUtilCloseHandle(hSemaphore), 1);
}

TEST(Semaphore, ThreeUnitsLetThreeOfFiveWaitersThroughAndClosingWakesTheOthers) {
  void* const hSemaphore = WyErrLogUtilCreateSemaphore(nullptr, 0, 9, nullptr);
  std::atomic<int> aiResults[WYERRLOG_WAIT_ACQUIRED + 1]{};
  std::list<TestThread> waiters;
  for (int i = 0; i < 5; ++i) {
    waiters.emplace_back(
        [&] { ++aiResults[WyErrLogUtilWaitForSingleObject(hSemaphore, WYERRLOG_INFINITE)]; });
    EXPECT_TRUE(waiters.back().Blocks());
  }
  EXPECT_EQ(WyErrLogUtilReleaseSemaphore(hSemaphore, 3, nullptr), 1);
  EXPECT_TRUE(Eventually([&] { return aiResults[WYERRLOG_WAIT_ACQUIRED] == 3; }));
  for (const TestThread& waiter : waiters) EXPECT_TRUE(waiter.IsDone() || waiter.Blocks());
  EXPECT_EQ(aiResults[WYERRLOG_WAIT_ACQUIRED], 3);
  EXPECT_EQ(WyErrLogUtilCloseHandle(hSemaphore), 1);
  waiters.clear();
  EXPECT_EQ(aiResults[WYERRLOG_WAIT_CLOSING], 2);
}

// ---- Time ---------------------------------------------------------------------------------------

// Hour, second, year and milliseconds.
std::tuple<int, int, int, long> CurrentTime(bool bLocal) {
  tm time;
  long lMilliseconds = 77;
  EXPECT_TRUE(WyErrLogGetCurrentTime(bLocal, time, lMilliseconds));
  return {time.tm_hour, time.tm_sec, time.tm_year, lMilliseconds};
}

TEST(CurrentTime, IsConvertedOncePerThreadAndSecond) {
  for (const suseconds_t uMicroseconds : {0, 999, 1000, 999999}) {
    g_system.now = {1000, uMicroseconds};
    EXPECT_EQ(CurrentTime(true), std::tuple(13, 1000, 126, uMicroseconds / 1000));
    EXPECT_EQ(CurrentTime(false), std::tuple(12, 1000, 126, uMicroseconds / 1000));
  }
  EXPECT_EQ(g_system.iConversions, 2);
  {
    const TestThread other([] { CurrentTime(true); });
  }
  EXPECT_EQ(g_system.iConversions, 3);
  for (const time_t tSecond : {1001, 1000}) {  // the clock may be set back
    g_system.now = {tSecond, 0};
    EXPECT_EQ(CurrentTime(true), std::tuple(13, tSecond, 126, 0));
  }
  EXPECT_EQ(g_system.iConversions, 5);
}

}  // namespace
