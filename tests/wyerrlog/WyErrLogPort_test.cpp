// Semaphores by handle.

#include "wyerrlog/WyErrLogPort.h"

#include <gtest/gtest.h>

#include <limits>
#include <list>

#include "test_support/TestThread.h"

namespace {

using test_support::Eventually;
using test_support::TestThread;

TEST(Semaphore, HasBetweenNoneAndTheMaximumOfItsUnits) {
  int iAttributes = 0;
  EXPECT_EQ(WyErrLogUtilCreateSemaphore(&iAttributes, 0, 1, nullptr), nullptr);
  EXPECT_EQ(WyErrLogUtilCreateSemaphore(nullptr, -1, 1, nullptr), nullptr);
  EXPECT_EQ(WyErrLogUtilCreateSemaphore(nullptr, 2, 1, nullptr), nullptr);
  void* const hSemaphore = WyErrLogUtilCreateSemaphore(nullptr, 1, 3, nullptr);
  long lPrevious = 99;
  for (const long lRefused : {3L, std::numeric_limits<long>::max(), 0L, -1L}) {
    EXPECT_EQ(WyErrLogUtilReleaseSemaphore(hSemaphore, lRefused, &lPrevious), 0) << lRefused;
  }
  EXPECT_EQ(lPrevious, 99);
  EXPECT_EQ(WyErrLogUtilReleaseSemaphore(hSemaphore, 2, &lPrevious), 1);
  EXPECT_EQ(lPrevious, 1);
  // All timeouts but the infinite one are one for no time.
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

}  // namespace
