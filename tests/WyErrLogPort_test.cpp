// Semaphores by handle, bounded formatting, and the clock.

#include "wyerrlog/WyErrLogPort.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
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
  bool bClockFails = false;
  bool bConversionFails = false;
  std::atomic<int> iConversions{0};
} g_system;

tm* ConvertInto(time_t tSeconds, int iHour, tm* pResult) {
  ++g_system.iConversions;
  *pResult = {};
  pResult->tm_year = 126;
  pResult->tm_hour = iHour;
  pResult->tm_sec = static_cast<int>(tSeconds);
  return g_system.bConversionFails ? nullptr : pResult;
}

}  // namespace

extern "C" {
int gettimeofday(timeval* pNow, void*) noexcept {
  *pNow = g_system.now;
  return g_system.bClockFails ? -1 : 0;
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
  for (const int iResult : {3, 3, 3, 1}) {
    EXPECT_EQ(WyErrLogUtilWaitForSingleObject(hSemaphore, 0), iResult);
  }
  EXPECT_EQ(WyErrLogUtilCloseHandle(hSemaphore), 1);
}

TEST(Semaphore, WaitsForOneTimeoutValueOnly) {
  CWyErrLogSemaphore semaphore(0, 1, true);
  CWyErrLogSemaphore withoutHandle(1, 1, false);
  for (const unsigned long ulTimeout : {0UL, 1UL, 0xFFFFFFFEUL, 0x100000000UL, ~0UL}) {
    EXPECT_EQ(semaphore.Wait(ulTimeout), 1) << ulTimeout;
    EXPECT_EQ(semaphore.Release(1), 1);
    EXPECT_EQ(semaphore.Wait(ulTimeout), 0) << ulTimeout;
    EXPECT_EQ(withoutHandle.Wait(ulTimeout), -1);
  }
  EXPECT_EQ(withoutHandle.Release(1), 0);
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

// ---- Formatting ---------------------------------------------------------------------------------

__attribute__((format(printf, 3, 4))) int Format(char* pszBuffer, int iSize, const char* pszFormat,
                                                 ...) {
  va_list args;
  va_start(args, pszFormat);
  const int iResult = VSNPRINTFEX(pszBuffer, iSize, pszFormat, args);
  va_end(args);
  return iResult;
}

TEST(VSNPRINTFEX, ReportsTheSizeNeededAndStaysWithinTheBuffer) {
  const std::tuple<int, const char*, int, const char*> rows[] = {
      {10, "123456789", 9, "123456789"},
      {10, "1234567890", 11, "123456789"},
      {10, "123456789abcdef", 16, "123456789"},
      {1, "ab", 3, ""},
      {0, "ab", 3, "untouched"},
      {-1, "ab", 3, "untouched"}};
  for (const auto& [iSize, pszText, iResult, pszWritten] : rows) {
    char szBuffer[20] = "untouched";
    EXPECT_EQ(Format(szBuffer, iSize, "%s", pszText), iResult);
    EXPECT_STREQ(szBuffer, pszWritten);
  }
  char szBuffer[] = "untouched";
  EXPECT_LT(Format(szBuffer, 10, "so far %ls", L"\x7fffffff"), 0) << "no such character";
  EXPECT_STREQ(szBuffer, "");
}

// Whether the system's formatting gives the same text and the same length, in buffers of any size.
template <typename... Arguments>
bool AgreesWithTheSystem(const char* pszFormat, Arguments... arguments) {
  for (int iSize = 1; iSize < 64; ++iSize) {
    char szOwn[64];
    char szSystem[64];
    const int iOwn = Format(szOwn, iSize, pszFormat, arguments...);
    const int iSystem = snprintf(szSystem, static_cast<size_t>(iSize), pszFormat, arguments...);
    if (iOwn != (iSystem < iSize ? iSystem : iSystem + 1) || strcmp(szOwn, szSystem) != 0) {
      return false;
    }
  }
  return true;
}

TEST(VSNPRINTFEX, FormatsEverythingAsTheSystemDoes) {
  const char* volatile pszNone = nullptr;  // which the compiler would warn about
  EXPECT_TRUE(AgreesWithTheSystem("%s=%d (%u%%), %i", "users", -17, 4000000000u, INT_MIN));
  EXPECT_TRUE(AgreesWithTheSystem("%ld %lu %zu", LONG_MIN, ULONG_MAX, SIZE_MAX));
  EXPECT_TRUE(AgreesWithTheSystem("[%6s][%1s][%12d][%3u]", "four", "", -17, 12345u));
  EXPECT_TRUE(AgreesWithTheSystem<const char*>("%s%%", pszNone));
  EXPECT_TRUE(AgreesWithTheSystem("%-6s|%06d|%+d|%.2s|%*d|%x", "a", 7, 8, "cut", 5, 9, 255u));
  EXPECT_TRUE(AgreesWithTheSystem("%s then %5.1f and %lld %c%hd", "text", 2.25, 1LL << 40, 'c', 3));
}

// ---- Time ---------------------------------------------------------------------------------------

// Hour, second, year, milliseconds and answer of a call that finds 77 in the milliseconds.
std::tuple<int, int, int, long, bool> CurrentTime(bool bLocal) {
  tm time;
  memset(&time, 0x55, sizeof time);
  long lMilliseconds = 77;
  const bool bRead = WyErrLogGetCurrentTime(bLocal, time, lMilliseconds);
  return {time.tm_hour, time.tm_sec, time.tm_year, lMilliseconds, bRead};
}

TEST(CurrentTime, IsConvertedOncePerThreadAndSecond) {
  for (const suseconds_t uMicroseconds : {0, 999, 1000, 999999}) {
    g_system.now = {1000, uMicroseconds};
    EXPECT_EQ(CurrentTime(true), std::tuple(13, 1000, 126, uMicroseconds / 1000, true));
    EXPECT_EQ(CurrentTime(false), std::tuple(12, 1000, 126, uMicroseconds / 1000, true));
  }
  EXPECT_EQ(g_system.iConversions, 2);
  {
    const TestThread other([] { CurrentTime(true); });
  }
  EXPECT_EQ(g_system.iConversions, 3);
  for (const time_t tSecond : {1001, 1000}) {  // the clock may be set back
    g_system.now = {tSecond, 0};
    EXPECT_EQ(CurrentTime(true), std::tuple(13, tSecond, 126, 0, true));
  }
  EXPECT_EQ(g_system.iConversions, 5);
}

TEST(CurrentTime, AFailureLeavesAZeroedTimeAndTheMilliseconds) {
  const std::tuple failure(0, 0, 0, 77, false);
  const std::tuple success(13, 1000, 126, 0, true);
  EXPECT_EQ(CurrentTime(true), success);
  g_system.bClockFails = true;
  EXPECT_EQ(CurrentTime(true), failure);
  g_system.bClockFails = false;
  g_system.bConversionFails = true;
  EXPECT_EQ(CurrentTime(true), success) << "this second is known";
  g_system.now = {1001, 0};
  EXPECT_EQ(CurrentTime(true), failure);
  EXPECT_EQ(CurrentTime(false), failure);
  g_system.bConversionFails = false;
  EXPECT_EQ(CurrentTime(true), std::tuple(13, 1001, 126, 0, true)) << "tried again";
}

}  // namespace
