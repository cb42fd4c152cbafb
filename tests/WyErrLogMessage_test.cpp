// The message itself: its text and memory, the prolog, and the ids and times in it.

#include "wyerrlog/WyErrLogMessage.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "wyerrlog/WyLogger.h"

namespace {

using testing::StrEq;

std::optional<timeval> fixed_time;  // what the clock says; the real time without
bool is_clock_broken = false;

constexpr timeval Afternoon{1794849373, 5000};  // 2026-11-16, a Monday, 17:16:13.005 UTC

}  // namespace

// In the place of the system's, also for the library.
extern "C" __attribute__((visibility("default"))) int gettimeofday(timeval* pNow,
                                                                   void* pZone) noexcept {
  static const auto pfnReal =
      reinterpret_cast<int (*)(timeval*, void*)>(dlsym(RTLD_NEXT, "gettimeofday"));
  if (is_clock_broken) return -1;
  if (!fixed_time) return pfnReal(pNow, pZone);
  *pNow = *fixed_time;
  return 0;
}

namespace {

std::string ThreadId() { return std::to_string(static_cast<unsigned int>(pthread_self())); }

std::string Ids() { return "[" + std::to_string(getpid()) + "/" + ThreadId() + "]"; }

std::string Prolog(bool bLocal = false) {
  CWyErrLogMessage msg(bLocal);
  return msg.FormatLogProlog("a/b.cpp", 7, 0) ? msg.GetBuffer() : "(failed)";
}

// ---- Prolog
// --------------------------------------------------------------------------------------

TEST(Prolog, NamesProcessThreadTimeAndSource) {
  fixed_time = Afternoon;
  const struct {
    const char* pszPath;
    int iLine;
    const char* pszShown;
  } cases[] = {{"/opt/x/lib/request.src", 412, "request.src:412"},
               {"request.src", 0, "request.src"},
               {"dir/", -5, ""},
               {"C:\\dir\\a.cpp", INT_MAX, "C:\\dir\\a.cpp:2147483647"},
               {"", 1, ":1"}};
  CWyErrLogMessage msg(false);
  for (const auto& [pszPath, iLine, pszShown] : cases) {
    EXPECT_TRUE(msg.FormatLogProlog(pszPath, iLine, 0)) << "starts the text afresh";
    EXPECT_EQ(msg.GetBuffer(), Ids() + "[Mon Nov 16 2026 17:16:13][" + pszShown + "]");
    EXPECT_EQ(msg.GetBufferLen(), static_cast<int>(strlen(msg.GetBuffer())));
    EXPECT_EQ(msg.GetStringLen(), msg.GetBufferLen());
  }
}

TEST(Prolog, NamesTheThreadAndTheForkedProcessThatItIsMadeIn) {
  fixed_time = Afternoon;
  const std::string strEnd = "[Mon Nov 16 2026 17:16:13][b.cpp:7]";
  EXPECT_EQ(Prolog(), Ids() + strEnd);
  std::thread([&] { EXPECT_EQ(Prolog(), Ids() + strEnd); }).join();
  const pid_t pid = fork();
  if (pid == 0) _exit(Prolog() == Ids() + strEnd ? 0 : 1);
  int iStatus = -1;
  EXPECT_EQ(waitpid(pid, &iStatus, 0), pid);
  EXPECT_EQ(iStatus, 0);
}

TEST(Prolog, EndsAtTheTimeWhenThatCannotBeRead) {
  for (const time_t tBroken : {time_t{0}, time_t{LONG_MAX}}) {  // a year that no tm holds
    is_clock_broken = tBroken == 0;
    fixed_time = timeval{tBroken, 0};
    CWyErrLogMessage msg(false);
    EXPECT_FALSE(msg.FormatLogProlog("a.cpp", 1, 0));
    EXPECT_EQ(msg.GetBuffer(), Ids() + "[");
    char szTime[100];
    for (const int iForm : {0, 1, 2, 3}) {
      EXPECT_FALSE(CWyErrLogMessage::GetTime(iForm, szTime, false, sizeof szTime));
    }
  }
}

TEST(Prolog, ShowsTheTimeBaseOfTheProcessLoggerOrTheOneGiven) {
  setenv("TZ", "ABC-05:30", 1);
  tzset();
  fixed_time = Afternoon;
  theLogger()->UseLocalTime(true);
  CWyErrLogMessage byLogger;
  EXPECT_TRUE(byLogger.FormatLogProlog("b.cpp", 7, 0) && byLogger.CleanUpMessage());
  EXPECT_THAT(byLogger.GetBuffer(), StrEq(""));
  EXPECT_TRUE(byLogger.FormatLogProlog("b.cpp", 7, 0));
  EXPECT_EQ(byLogger.GetBuffer(), Ids() + "[Mon Nov 16 2026 22:46:13][b.cpp:7]");
  EXPECT_EQ(Prolog(true), byLogger.GetBuffer());
  EXPECT_EQ(Prolog(false), Ids() + "[Mon Nov 16 2026 17:16:13][b.cpp:7]");
}

// ---- Ids and times
// -------------------------------------------------------------------------------

// Calls a helper with a heap buffer of that size, which nothing may be written behind (or, when it
// fails, into).
std::string Written(const std::function<bool(char*, int)>& write, int iSize) {
  const auto pszBuffer = std::make_unique<char[]>(static_cast<size_t>(iSize));
  memset(pszBuffer.get(), '#', static_cast<size_t>(iSize));
  if (write(pszBuffer.get(), iSize)) return pszBuffer.get();
  return std::string(pszBuffer.get(), static_cast<size_t>(iSize)).find_first_not_of('#') ==
                 std::string::npos
             ? "(refused)"
             : "(failed half way)";
}

auto GetTime(int iForm) {
  return [=](char* psz, int iSize) { return CWyErrLogMessage::GetTime(iForm, psz, false, iSize); };
}

TEST(MessageHelpers, RefuseBuffersBelowTheirMinimum) {
  fixed_time = Afternoon;
  const tm leapSecond{60, 59, 23, 31, 11, 110, 5, 364, 0, 0, nullptr};
  const struct {
    std::function<bool(char*, int)> write;
    int iMinimum;
    std::string strText;
  } cases[] = {
      {CWyErrLogMessage::GetPid, 10, std::to_string(getpid())},
      {CWyErrLogMessage::GetTid, 15, ThreadId()},
      {GetTime(0), 25, "11/16/2026"},
      {GetTime(1), 25, "17:16:13"},
      {GetTime(2), 25, "17:16:13.005"},
      {GetTime(3), 25, "Mon Nov 16 2026 17:16:13"},
      {GetTime(-7), 25, "Mon Nov 16 2026 17:16:13"},
      {[&](char* psz, int i) { return CWyErrLogMessage::GetDateTime(&leapSecond, psz, i); }, 25,
       "Fri Dec 31 2010 23:59:60"},
  };
  for (const auto& [write, iMinimum, strText] : cases) {
    EXPECT_EQ(Written(write, iMinimum), strText);
    EXPECT_EQ(Written(write, iMinimum - 1), "(refused)") << strText;
    EXPECT_FALSE(write(nullptr, 100)) << strText;
    char cUntouched = '#';
    EXPECT_FALSE(write(&cUntouched, INT_MIN)) << strText;
    EXPECT_EQ(cUntouched, '#');
  }
}

TEST(MessageHelpers, ShowOddClocksAsStrftimeDoes) {
  // The years 33658, 10000, 999, 5 and -9; and milliseconds that are negative.
  for (const time_t tNow :
       {1000000000000, 253402300800, -30610224001, -62000000000, -62450000000}) {
    fixed_time = timeval{tNow, -5000};
    tm time;
    gmtime_r(&tNow, &time);
    const auto shown = [&](const char* pszFormat) {
      char szText[100];
      return std::string(szText, strftime(szText, sizeof szText, pszFormat, &time));
    };
    EXPECT_EQ(Written(GetTime(0), 25), shown("%m/%d/%Y"));
    EXPECT_EQ(Written(GetTime(2), 25), shown("%H:%M:%S.000"));
    EXPECT_EQ(Written(GetTime(3), 100), shown("%a %b %d %Y %H:%M:%S"));
    EXPECT_EQ(Prolog(), Ids() + "[" + shown("%a %b %d %Y %H:%M:%S") + "][b.cpp:7]");
  }
}

TEST(MessageHelpers, RefuseTimesThatDoNotExistAndTextsThatDoNotFit) {
  const auto text = [](tm time, int iSize) {
    return Written([&](char* psz, int i) { return CWyErrLogMessage::GetDateTime(&time, psz, i); },
                   iSize);
  };
  for (const int iBeyond : {INT_MIN, -1, 12, INT_MAX}) {
    tm time{};
    time.tm_mon = iBeyond;
    EXPECT_EQ(text(time, 25), "(refused)");
    time = {};
    time.tm_wday = iBeyond;
    EXPECT_EQ(text(time, 25), "(refused)");
  }
  tm time{};
  time.tm_wday = 6;
  time.tm_mon = 11;
  time.tm_mday = 31;
  time.tm_year = 8100;
  EXPECT_EQ(text(time, 26), "Sat Dec 31 10000 00:00:00");
  EXPECT_NE(text(time, 25), "Sat Dec 31 10000 00:00:00");
  time.tm_year = INT_MAX;
  time.tm_hour = INT_MIN;
  text(time, 25);
  char szText[25];
  EXPECT_FALSE(CWyErrLogMessage::GetDateTime(nullptr, szText, sizeof szText));
}

// ---- Text and memory
// -----------------------------------------------------------------------------

TEST(Message, ReplacesItsTextUnlessByNull) {
  CWyErrLogMessage msg(false);
  EXPECT_THAT(msg.GetBuffer(), StrEq(""));
  EXPECT_EQ(msg.GetStringLen(), 0);
  msg.SetFormattedMessage("one % of all");
  msg.SetFormattedMessage(nullptr);
  EXPECT_THAT(msg.ReleaseBuffer(), StrEq("one % of all"));
  msg.SetFormattedMessage(msg.GetBuffer() + 4);
  CWyErrLogMessage::FreeBuffer(const_cast<char*>(msg.ReleaseBuffer()));
  EXPECT_THAT(msg.GetBuffer(), StrEq("% of all"));
}

// Leaves texts and arguments behind in memory that later messages may be given.
void UseMessages(size_t uLength) {
  const std::string strText(uLength, 's');
  CWyErrLogMessage first(false);
  CWyErrLogMessage second(false);
  for (CWyErrLogMessage* pMessage : {&first, &second}) {
    pMessage->SetFormattedMessage(strText.c_str());
    pMessage->FormatMessage(0x01000000, strText.c_str(), "argument");
  }
}

void ExpectEmptyMessages() {
  CWyErrLogMessage first(false);
  CWyErrLogMessage second(false);
  first.SetFormattedMessage("of the first");
  EXPECT_THAT(second.GetBuffer(), StrEq(""));
  EXPECT_THAT(second.FormatMessage(0x01004000), StrEq("[INFO][wy-log-00000] {0}\n"))
      << "no argument of an earlier message";
  EXPECT_THAT(first.GetBuffer(), StrEq("of the first"));
}

TEST(Message, ShowsNothingOfTheMessagesBeforeIt) {
  for (const size_t uLength : {1u, 300u, 70000u, 1u}) {
    UseMessages(uLength);
    ExpectEmptyMessages();
  }
}

int s_iAtThreadEnd = 0;

void UseMessagesAtThreadEnd(void* pKey) {
  UseMessages(300);
  ExpectEmptyMessages();
  // Once more, after the other objects of the thread.
  if (++s_iAtThreadEnd < 3) pthread_setspecific(*static_cast<pthread_key_t*>(pKey), pKey);
}

TEST(Message, IsThereForAThreadThatEnds) {
  pthread_key_t key;
  ASSERT_EQ(pthread_key_create(&key, UseMessagesAtThreadEnd), 0);
  std::thread([&] {
    UseMessages(300);
    pthread_setspecific(key, &key);
  }).join();
  EXPECT_EQ(s_iAtThreadEnd, 3);
}

// Made before the process logger, so destroyed after it was released.
struct LateMessage {
  ~LateMessage() {
    UseMessages(300);
    CWyErrLogMessage msg;
    const bool bFormatted = msg.FormatLogProlog("late.cpp", 1, 0);
    _exit(bFormatted && !theLogger()->LogErrMsg(msg) ? 7 : 8);
  }
};

TEST(Message, IsThereAfterTheProcessLoggerIsReleased) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        static const LateMessage late;
        theLogger()->SetLogOutput(theLogger()->NewLogOutput(2, [](const char*, int) { _exit(9); }));
        std::exit(0);
      },
      testing::ExitedWithCode(7), "");
}

}  // namespace
