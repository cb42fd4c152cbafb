// Following a log while the library writes and rolls it over.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "test_support/TempDirectory.h"
#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyLogger.h"

namespace {

constexpr int Threads = 8;
constexpr int RecordsPerThread = 4000;

// wylogctl in a process of its own, with its output in a file.
class Follower {
 public:
  Follower(const std::string& strLog, std::string strOut) : m_strOut(std::move(strOut)) {
    m_pid = fork();
    if (m_pid != 0) return;
    if (std::freopen(m_strOut.c_str(), "w", stdout) == nullptr) _exit(126);
    execl(WYLOGCTL, "wylogctl", "log", "-f", "-n", "all", strLog.c_str(),
          static_cast<char*>(nullptr));
    _exit(127);
  }
  ~Follower() {
    if (m_pid > 0) Stop();
  }

  std::size_t Lines() const {
    std::ifstream file(m_strOut);
    std::size_t uLines = 0;
    for (std::string strLine; std::getline(file, strLine);) ++uLines;
    return uLines;
  }
  void WaitForLines(std::size_t uCount) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (Lines() < uCount && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  int Stop() {
    kill(m_pid, SIGTERM);
    int iStatus = 0;
    waitpid(m_pid, &iStatus, 0);
    m_pid = -1;
    return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -1;
  }

 private:
  std::string m_strOut;
  pid_t m_pid;
};

void LogRecords(CWyLogger& logger, int iThread) {
  const std::string strFill(600, 'x');
  for (int i = 0; i < RecordsPerThread; ++i) {
    CWyErrLogMessage msg(true);
    EXPECT_TRUE(
        msg.FormatAuditMessage("record %d %s\n", iThread * RecordsPerThread + i, strFill.c_str()));
    EXPECT_TRUE(logger.LogAuditMsg(msg));
  }
}

TEST(Follow, PrintsEachRecordOnceOverAllRollovers) {
  const TempDirectory folder;
  CWyLogger& logger = *theLogger();
  CWyLogOutput* const pOutput = logger.NewLogOutput(1, folder.Path("audit.log").c_str(), 3, 1, 0);
  ASSERT_TRUE(logger.EnableAuditLogRollover(pOutput));
  Follower follower(folder.Path("audit.log"), folder.Path("out"));

  std::vector<std::thread> threads;
  for (int i = 0; i < Threads; ++i) threads.emplace_back(LogRecords, std::ref(logger), i);
  for (std::thread& thread : threads) thread.join();
  constexpr std::size_t Count = std::size_t{Threads} * RecordsPerThread;
  follower.WaitForLines(Count);
  EXPECT_EQ(follower.Stop(), 0);
  EXPECT_GT(folder.Names().size(), 15u) << "too few rollovers to show anything";

  std::vector<int> seen(Count);
  std::ifstream out(folder.Path("out"));
  for (std::string strWord; out >> strWord;) {
    if (strWord != "record") continue;
    std::size_t uNumber = Count;
    out >> uNumber;
    ASSERT_LT(uNumber, Count);
    ++seen[uNumber];
  }
  for (std::size_t i = 0; i < Count; ++i) ASSERT_EQ(seen[i], 1) << "record " << i;
}

TEST(Follow, WaitsForTheRestOfALineAndStartsAgainWhenTheFileShrinks) {
  const TempDirectory folder;
  folder.Write("a.log", "one\nhal");
  Follower follower(folder.Path("a.log"), folder.Path("out"));
  follower.WaitForLines(1);
  EXPECT_EQ(folder.Read("out"), "one\n");
  std::ofstream(folder.Path("a.log"), std::ios::app) << "f\n";
  follower.WaitForLines(2);
  EXPECT_EQ(folder.Read("out"), "one\nhalf\n");
  folder.Write("a.log", "new\n");
  follower.WaitForLines(3);
  EXPECT_EQ(follower.Stop(), 0);
  EXPECT_EQ(folder.Read("out"), "one\nhalf\nnew\n");
}

}  // namespace
