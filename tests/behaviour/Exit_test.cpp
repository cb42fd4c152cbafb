// The end of a process: whoever still logs is refused or served, and never brings it down.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "TestComponentMessages.h"
#include "test_support/ChildProcess.h"
#include "test_support/Sanitizer.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"
#include "wyerrlog/WyLoggerList.h"

// The thread sanitizer lets threads that are left run on for this time, a second if not told.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "atexit_sleep_ms=20"; }

namespace {

constexpr int Runs = test_support::IsSanitized ? 20 : 100;

// Runs the body in a process of its own on a terminal of its own, up to the end of exit(0), for
// which it has ten seconds. Returns whether the process ended that way.
template <typename Body>
bool ExitsWell(Body body) {
  int hTerminal = -1;
  const pid_t pid = forkpty(&hTerminal, nullptr, nullptr, nullptr);
  if (pid == 0) {
    alarm(10);
    body();
    exit(0);
  }
  std::string strShown;
  char acPiece[4096];
  for (ssize_t n; (n = read(hTerminal, acPiece, sizeof acPiece)) > 0;) {
    if (strShown.size() < 10000) strShown.append(acPiece, static_cast<std::size_t>(n));
  }
  close(hTerminal);
  const int iStatus = test_support::StatusOf(pid);
  EXPECT_EQ(iStatus, 0) << strShown;
  return iStatus == 0;
}

// A translated message of a plug-in.
bool LogError(CWyLogger& logger = *theLogger()) {
  CWyErrLogMessage msg;
  msg.FormatLogProlog("exit.cpp", 1, 0);
  msg.FormatMessage(TestComponent::ServerStarted, "8080");
  return logger.LogErrMsg(msg);
}

void SetUpLogging() {
  test_support::SetMessageDirectory();
  CWyLogger& logger = *theLogger();
  EXPECT_TRUE(logger.SetLogOutput(logger.NewLogOutput(0)));
  EXPECT_TRUE(test_support::EnableTrace(logger, logger.NewLogOutput(1, "/dev/null", 1, 0, 0),
                                        test_support::LegacyMessages));
}

std::string g_strAnswers;
void NoteAnswer() { g_strAnswers += LogError() ? '1' : '0'; }

struct NotesAtItsEnd {
  ~NotesAtItsEnd() { NoteAnswer(); }
};

template <int iExpected>
void CheckAnswersAtTheEnd() {
  NoteAnswer();
  EXPECT_FALSE(test_support::Trace(*theLogger(), "too late"));
  EXPECT_FALSE(LogError(*getMyLogger("tenant")));
  EXPECT_FALSE(LogError(*getMyLogger("made too late")));
  EXPECT_EQ(std::make_unique<CWyLogger>()->GetMsgBundle(TestComponent::Component), nullptr);
  EXPECT_EQ(std::stoi(g_strAnswers, nullptr, 2), iExpected);
  _exit(testing::Test::HasFailure() ? 1 : 0);
}

// What is made or registered before the logger runs after it is released.
TEST(Exit, HandlersAndDestructorsAreServedUntilTheLoggerIsReleasedAndThenRefused) {
  EXPECT_TRUE(ExitsWell([] {
    atexit(CheckAnswersAtTheEnd<0b11000>);
    atexit([] { EXPECT_EQ(getMyLogger("of no registry"), theLogger()); });
    static const NotesAtItsEnd s_beforeTheLogger;
    atexit(NoteAnswer);
    SetUpLogging();
    CWyLogger& tenant = *getMyLogger("tenant");
    EXPECT_TRUE(tenant.SetLogOutput(tenant.NewLogOutput(0)));
    atexit(NoteAnswer);
    static const NotesAtItsEnd s_afterTheLogger;
  }));
}

// The components that were loaded again are gone before the handlers registered before them run.
TEST(Exit, HandlersRegisteredBeforeTheLoggerWasInitialisedAgainAreRefused) {
  EXPECT_TRUE(ExitsWell([] {
    atexit(CheckAnswersAtTheEnd<0b100>);
    theLogger()->Release();
    atexit(NoteAnswer);
    theLogger()->Init();
    SetUpLogging();
    atexit(NoteAnswer);
  }));
}

TEST(Exit, ThreadsMayGoOnLoggingThroughTheEnd) {
  for (int i = 0; i < Runs; ++i) {
    ASSERT_TRUE(ExitsWell([] {
      SetUpLogging();
      static std::atomic<int> s_iRounds{0};
      for (int iThread = 0; iThread < 4; ++iThread) {
        std::thread([iThread] {
          for (;; ++s_iRounds) {
            CWyErrLogMessage().FormatMessage(TestComponent::ServerStarted, "8080");
            if (iThread < 2) continue;  // only looks messages up
            LogError();
            test_support::Trace(*theLogger(), "still here");
          }
        }).detach();
      }
      EXPECT_TRUE(test_support::Eventually([] { return s_iRounds > 50; }));
    })) << i;
  }
}

TEST(Exit, DoesNotWaitForAConfigurationThatIsNeverReadToItsEnd) {
  EXPECT_TRUE(ExitsWell([] {
    const TempDirectory directory;
    const std::string strPipe = directory.Path("pipe");
    EXPECT_TRUE(mkfifo(strPipe.c_str(), 0600) == 0 && open(strPipe.c_str(), O_RDWR) >= 0);
    static const auto* const s_pReading = new test_support::TestThread([strPipe] {
      CWyLogOutput* const pOutput = theLogger()->NewLogOutput(1, "/dev/null", 1, 0, 0);
      static_cast<void>(
          theLogger()->EnableTrace(pOutput, 0, nullptr, strPipe.c_str(), false, false, false));
    });
    EXPECT_TRUE(s_pReading->Blocks());
  }));
}

void ExitInCallback(const char*, int) { exit(0); }

TEST(Exit, CanBeCalledInsideACallback) {
  EXPECT_TRUE(ExitsWell([] {
    EXPECT_TRUE(theLogger()->SetLogOutput(theLogger()->NewLogOutput(2, ExitInCallback)));
    LogError();
    _exit(1);
  }));
}

}  // namespace
