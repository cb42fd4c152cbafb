// The message itself: its text and memory, the prolog, and the ids and times in it.

#include "wyerrlog/WyErrLogMessage.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/time.h>
#include <unistd.h>

#include <climits>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

#include "wyerrlog/WyLogger.h"

namespace {

std::optional<timeval> fixed_time;  // what the clock says; the real time without
bool is_clock_broken = false;

constexpr timeval Afternoon{1794849373, 5000};  // 2026-11-16, a Monday, 17:16:13.005 UTC

}  // namespace

// In the place of the system's, also for the library.
extern "C" __attribute__((visibility("default"))) int gettimeofday(timeval* pNow,
                                                                   void* pZone) noexcept {
  using Function = int(timeval*, void*);
  static auto* const pfnReal = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "gettimeofday"));
  if (is_clock_broken) return -1;
  if (!fixed_time) return pfnReal(pNow, pZone);
  *pNow = *fixed_time;
  return 0;
}

namespace {

std::string ThreadId() { return std::to_string(static_cast<unsigned int>(pthread_self())); }

std::string Ids() { return "[" + std::to_string(getpid()) + "/" + ThreadId() + "]"; }

std::string Prolog(const char* pszPath = "b.cpp", int iLine = 7, bool bLocal = false) {
  CWyErrLogMessage msg(bLocal);
  msg.SetFormattedMessage("gone");
  msg.SetFormattedMessage(nullptr);
  EXPECT_STREQ(msg.GetBuffer(), "gone");
  return msg.FormatLogProlog(pszPath, iLine, 0) ? msg.GetBuffer() : "(failed)";
}

TEST(Prolog, NamesProcessThreadTimeAndSource) {
  fixed_time = Afternoon;
  const std::string strTime = "[Mon Nov 16 2026 17:16:13]";
  EXPECT_EQ(Prolog("/opt/x/lib/request.src", 412), Ids() + strTime + "[request.src:412]");
  EXPECT_EQ(Prolog("request.src", 0), Ids() + strTime + "[request.src]");
  EXPECT_EQ(Prolog("dir/", -5), Ids() + strTime + "[]");
  std::thread([&] { EXPECT_EQ(Prolog(), Ids() + strTime + "[b.cpp:7]"); }).join();
  ++fixed_time->tv_sec;
  EXPECT_EQ(Prolog(), Ids() + "[Mon Nov 16 2026 17:16:14][b.cpp:7]");
}

TEST(Prolog, ShowsAPathWhoseTextHasChangedOrIsTooLongToBeRemembered) {
  fixed_time = Afternoon;
  const std::string strStart = Ids() + "[Mon Nov 16 2026 17:16:13][";
  std::string strPath = "/src/first.cpp";
  for (const char* pszFile : {"first.cpp", "other.cpp", "a.cpp"}) {
    strPath = std::string("/src/") + pszFile;  // in the same memory
    for (const int iLine : {7, 7, 12345, 2147483647}) {
      const std::string strPlace = pszFile + (":" + std::to_string(iLine)) + "]";
      EXPECT_EQ(Prolog(strPath.c_str(), iLine), strStart + strPlace);
    }
  }
  for (const std::size_t uLength : {32u, 33u, 119u, 120u, 5000u}) {
    const std::string strName(uLength, 'f');
    for (const std::string& str : {strName, strName + "/x.cpp", "/" + strName}) {
      const std::string strFile = str.substr(str.rfind('/') + 1);
      for (int i = 0; i < 2; ++i) EXPECT_EQ(Prolog(str.c_str(), 1), strStart + strFile + ":1]");
    }
  }
}

TEST(Prolog, ShowsTheTimeBaseOfTheProcessLoggerOrTheOneGiven) {
  setenv("TZ", "ABC-05:30", 1);
  tzset();
  fixed_time = Afternoon;
  theLogger()->UseLocalTime(true);
  CWyErrLogMessage byLogger;
  EXPECT_TRUE(byLogger.CleanUpMessage() && byLogger.FormatLogProlog("b.cpp", 7, 0));
  EXPECT_EQ(byLogger.GetBuffer(), Ids() + "[Mon Nov 16 2026 22:46:13][b.cpp:7]");
  EXPECT_EQ(Prolog("b.cpp", 7, true), byLogger.GetBuffer());
  EXPECT_EQ(Prolog("b.cpp", 7, false), Ids() + "[Mon Nov 16 2026 17:16:13][b.cpp:7]");
}

// ---- Ids and times ------------------------------------------------------------------------------

using Helper = std::function<bool(char*, int)>;

// What a helper writes into a heap buffer of that size, behind which nothing may be written.
std::string Written(const Helper& helper, int iSize) {
  const auto pszBuffer = std::make_unique<char[]>(static_cast<size_t>(iSize));
  return helper(pszBuffer.get(), iSize) ? pszBuffer.get() : "(refused)";
}

Helper Time(int iForm) {
  return [=](char* psz, int iSize) { return CWyErrLogMessage::GetTime(iForm, psz, false, iSize); };
}

TEST(MessageHelpers, RefuseBuffersBelowTheirMinimum) {
  fixed_time = Afternoon;
  const auto expectMinimum = [](const Helper& helper, int iMinimum, const std::string& strText) {
    EXPECT_EQ(Written(helper, iMinimum), strText);
    char acUntouched[100] = "#";
    EXPECT_FALSE(helper(acUntouched, iMinimum - 1) || helper(acUntouched, INT_MIN)) << strText;
    EXPECT_STREQ(acUntouched, "#");
    EXPECT_FALSE(helper(nullptr, 100)) << strText;
  };
  expectMinimum(CWyErrLogMessage::GetPid, 10, std::to_string(getpid()));
  expectMinimum(CWyErrLogMessage::GetTid, 15, ThreadId());
  expectMinimum(Time(0), 25, "11/16/2026");
  expectMinimum(Time(1), 25, "17:16:13");
  expectMinimum(Time(2), 25, "17:16:13.005");
  expectMinimum(Time(3), 25, "Mon Nov 16 2026 17:16:13");
  expectMinimum(Time(-7), 25, "Mon Nov 16 2026 17:16:13");
  const tm* const pTime = gmtime(&Afternoon.tv_sec);
  expectMinimum([&](char* psz, int i) { return CWyErrLogMessage::GetDateTime(pTime, psz, i); }, 25,
                "Mon Nov 16 2026 17:16:13");
}

TEST(MessageHelpers, RefuseTimesThatDoNotExistAndTextsThatDoNotFit) {
  tm time{60, 59, 23, 31, 11, 8100, 6, 0, 0, 0, nullptr};
  const Helper shown = [&](char* psz, int i) {
    return CWyErrLogMessage::GetDateTime(&time, psz, i);
  };
  EXPECT_EQ(Written(shown, 26), "Sat Dec 31 10000 23:59:60");
  EXPECT_EQ(Written(shown, 25), "(refused)");
  for (int* const pField : {&time.tm_mon, &time.tm_wday}) {
    for (const int iBeyond : {-1, 12}) {
      const int iBefore = std::exchange(*pField, iBeyond);
      EXPECT_EQ(Written(shown, 100), "(refused)");
      *pField = iBefore;
    }
  }
}

TEST(MessageHelpers, ShowOddClocksAsStrftimeDoesAndRefuseBrokenOnes) {
  // The years 33658, 999 and -9; and milliseconds that are negative.
  for (const time_t tNow : {1000000000000, -30610224001, -62450000000}) {
    fixed_time = timeval{tNow, -5000};
    const auto shown = [&](const char* pszFormat) {
      tm time;
      char szText[100];
      return std::string(szText, strftime(szText, 100, pszFormat, gmtime_r(&tNow, &time)));
    };
    EXPECT_EQ(Written(Time(0), 25), shown("%m/%d/%Y"));
    EXPECT_EQ(Written(Time(2), 25), shown("%H:%M:%S.000"));
    EXPECT_EQ(Prolog(), Ids() + "[" + shown("%a %b %d %Y %H:%M:%S") + "][b.cpp:7]");
    fixed_time->tv_usec = 5000;
    EXPECT_EQ(Written(Time(2), 25), shown("%H:%M:%S.005"));
  }
  for (const time_t tNow : {0L, LONG_MAX}) {  // the clock fails; no tm holds the year
    is_clock_broken = tNow == 0;
    fixed_time = timeval{tNow, 0};
    CWyErrLogMessage msg(false);
    EXPECT_FALSE(msg.FormatLogProlog("a.cpp", 1, 0));
    EXPECT_EQ(msg.GetBuffer(), Ids() + "[");
    EXPECT_EQ(Written(Time(2), 25), "(refused)");
  }
}

// ---- Text and memory ----------------------------------------------------------------------------

// Leaves text and arguments behind in memory that later messages may be given.
void UseMessages(size_t uLength) {
  CWyErrLogMessage first(false), second(false);
  for (CWyErrLogMessage* pMessage : {&first, &second}) {
    EXPECT_STREQ(pMessage->GetBuffer(), "");
    EXPECT_STREQ(pMessage->FormatMessage(0x01004000), "[INFO][wy-log-00000] {0}\n")
        << "no argument of an earlier message";
    pMessage->FormatMessage(0x01000000, std::string(uLength, 's').c_str(), "argument");
  }
}

TEST(Message, ShowsNothingOfTheMessagesBeforeIt) {
  for (const size_t uLength : {1u, 70000u, 1u}) UseMessages(uLength);
}

// The text has to grow, and is read until it has been copied.
TEST(Message, MayBeAppendedToItself) {
  const std::string strText(400, 'x');
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage(strText.c_str());
  msg.BeginTraceFormat(WyTraceLayout::Brackets, false, nullptr);
  msg.FormatTraceField(msg.GetBuffer(), "");
  EXPECT_EQ(msg.GetBuffer(), strText + '[' + strText + ']');
}

TEST(AuditMessage, ReplacesTheTextUpTo4095BytesAndIsAppendedBeyond) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage("before ");
  EXPECT_FALSE(msg.FormatAuditMessage(nullptr) || msg.FormatAuditMessage(std::string().c_str(), 1));
  EXPECT_STREQ(msg.GetBuffer(), "before ");
  EXPECT_TRUE(msg.FormatAuditMessage("%4095d", 7));
  // Its own text may be among the arguments.
  EXPECT_TRUE(msg.FormatAuditMessage("%s|%5000d", msg.GetBuffer(), 8));
  const std::string strFirst = std::string(4094, ' ') + '7';
  EXPECT_EQ(msg.GetBuffer(), strFirst + strFirst + '|' + std::string(4999, ' ') + '8');
}

TEST(FreeTraceText, IsCutAt4095Bytes) {
  EXPECT_EQ(CWyErrLogMessage::FormatTraceMessage(nullptr), nullptr);
  CWyErrLogMessage::FreeFormattedMessage(nullptr);
  char* const pszText = CWyErrLogMessage::FormatTraceMessage("%5000d", 7);
  EXPECT_EQ(pszText, std::string(4095, ' '));
  CWyErrLogMessage::FreeFormattedMessage(pszText);
}

}  // namespace
