#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "wyerrlog/WyLogOutput.h"

namespace {

// Runs the body in a child that leads a session; the terminal of that name, if any, controls it.
// The child's status is 0 when all went well.
template <typename Body>
pid_t StartSession(const char* pszTerminal, Body body) {
  const pid_t pid = fork();
  if (pid != 0) return pid;
  setsid();
  const int hTerminal = pszTerminal == nullptr ? 0 : open(pszTerminal, O_RDWR);
  EXPECT_GE(hTerminal, 0);
  body();
  _exit(testing::Test::HasFailure() ? 1 : 0);
}

bool EndedWell(pid_t pid) {
  int iStatus = -1;
  return waitpid(pid, &iStatus, 0) == pid && iStatus == 0;
}

// The lowest descriptor that is free.
int NextDescriptor() {
  const int hNext = dup(STDIN_FILENO);
  close(hNext);
  return hNext;
}

bool Log(CWyConsoleOutput& output, const char* pszText) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage(pszText);
  return output.Log(msg);
}

TEST(ConsoleOutput, OutputsShareTheTerminalUntilTheLastOneCloses) {
  const int hMaster = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(hMaster >= 0 && grantpt(hMaster) == 0 && unlockpt(hMaster) == 0);
  const pid_t pid = StartSession(ptsname(hMaster), [] {
    const int hTerminal = NextDescriptor();
    CWyConsoleOutput first, second;
    EXPECT_FALSE(Log(first, "too early "));
    EXPECT_TRUE(first.SetParams() && first.Open());
    EXPECT_FALSE(first.Open()) << "open already";
    EXPECT_TRUE(second.Open());
    EXPECT_EQ(NextDescriptor(), hTerminal + 1);
    EXPECT_TRUE(Log(first, "first "));
    EXPECT_TRUE(first.Close());
    EXPECT_FALSE(first.Close() || Log(first, "too late "));
    EXPECT_TRUE(Log(second, "second "));
    EXPECT_TRUE(second.Close());
    EXPECT_EQ(NextDescriptor(), hTerminal);
    EXPECT_TRUE(first.Open() && Log(first, "again"));
  });
  std::string strScreen;
  char acPiece[256];  // until the child's end hangs up the terminal
  for (ssize_t n; (n = read(hMaster, acPiece, sizeof acPiece)) > 0;)
    strScreen.append(acPiece, static_cast<size_t>(n));
  EXPECT_TRUE(EndedWell(pid));
  EXPECT_EQ(strScreen, "first second again");
  close(hMaster);
}

TEST(ConsoleOutput, CannotBeOpenedWithoutATerminal) {
  EXPECT_TRUE(EndedWell(StartSession(nullptr, [] {
    CWyConsoleOutput output;
    EXPECT_FALSE(output.Open() || Log(output, "nowhere") || output.Close());
  })));
}

}  // namespace
