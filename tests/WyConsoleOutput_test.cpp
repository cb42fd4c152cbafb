#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "wyerrlog/WyLogOutput.h"

namespace {

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

void UseTerminal() {
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
  EXPECT_TRUE(first.Open() && Log(first, "again") && first.Close());
  signal(SIGHUP, SIG_IGN);
  EXPECT_EQ(ioctl(STDIN_FILENO, TIOCNOTTY), 0);
  EXPECT_FALSE(first.Open()) << "there is no terminal any more";
}

TEST(ConsoleOutput, OutputsShareTheTerminalUntilTheLastOneCloses) {
  int hMaster = -1;
  const pid_t pid = forkpty(&hMaster, nullptr, nullptr, nullptr);
  if (pid == 0) {
    UseTerminal();
    _exit(HasFailure() ? 1 : 0);
  }
  std::string strScreen;
  char acPiece[256];  // until the child's end hangs up the terminal
  for (ssize_t n; (n = read(hMaster, acPiece, sizeof acPiece)) > 0;)
    strScreen.append(acPiece, static_cast<size_t>(n));
  int iStatus = -1;
  EXPECT_TRUE(waitpid(pid, &iStatus, 0) == pid && iStatus == 0);
  EXPECT_EQ(strScreen, "first second again");
  close(hMaster);
}

}  // namespace
