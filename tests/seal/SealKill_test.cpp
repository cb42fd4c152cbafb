// Four processes with forked children write one log, which rolls over, and are killed at any
// moment. SEAL_KILLS sets how many are; a thousand take some minutes.

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <map>
#include <random>
#include <thread>

#include "seal/SealedLog.h"
#include "seal/SharedCounts.h"
#include "test_support/Sanitizer.h"
#include "test_support/TestThread.h"

namespace {

using seal_test::SealedLog;
using seal_test::SharedCounts;

constexpr int Processes = 4;

int Kills() {
  const char* const pszKills = getenv("SEAL_KILLS");
  if (pszKills != nullptr) return atoi(pszKills);
  return test_support::IsSanitized ? 20 : 100;
}

class Killing {
 public:
  Killing(int iKills, int iBackups) : m_iKills(iKills), m_accepted(2 * Writers()) {
    m_log.file.mode = 3;
    m_log.file.maxSizeMB = 1;
    m_log.file.backups = iBackups;
    m_log.options.markRecords = 500;
    prctl(PR_SET_CHILD_SUBREAPER, 1);  // adopts, and so can wait for, the children of its children
  }

  void Run() {
    std::mt19937 random(20261123);
    for (int i = 0; i < Processes; ++i) Start();
    for (int i = 0; i < m_iKills; ++i) {
      // More records than kills, however slowly the writers start.
      EXPECT_TRUE(test_support::Eventually([&] { return Accepted() > static_cast<uint64_t>(i); }));
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
      const size_t uVictim = random() % m_running.size();
      kill(m_running[uVictim], SIGKILL);
      waitpid(m_running[uVictim], nullptr, 0);
      m_running.erase(m_running.begin() + static_cast<std::ptrdiff_t>(uVictim));
      Start();
    }
    for (const pid_t pid : m_running) kill(pid, SIGKILL);
    while (wait(nullptr) > 0) {  // the children of those that were killed too: see the constructor
    }
    m_log.file.mode = 1;
    m_log.Write("after", 1);
  }

  // Every accepted record is there once, in the order of its writer. One more may be: its writer
  // died before it was told.
  void ExpectNothingLost() {
    std::map<size_t, uint64_t> found;
    for (const auto& [uNumber, strPath] : m_log.Files()) {
      std::ifstream file(strPath);
      for (std::string strLine; std::getline(file, strLine);) {
        size_t uWriter = 0;
        uint64_t uRecord = 0;
        if (sscanf(strLine.c_str(), "writer %zu record %lu", &uWriter, &uRecord) != 2) continue;
        if (strLine.find("\t~") == std::string::npos) continue;  // torn
        EXPECT_EQ(uRecord, ++found[uWriter]) << strLine;
      }
    }
    for (size_t u = 0; u < 2 * Writers(); ++u) {
      EXPECT_GE(found[u], m_accepted[u]) << u;
      EXPECT_LE(found[u], m_accepted[u] + 1) << u;
    }
    EXPECT_GE(Accepted(), static_cast<uint64_t>(m_iKills));
    std::printf("%d kills, %lu records in %lu files\n", m_iKills, Accepted(), m_log.summary.files);
  }

  SealedLog m_log;

 private:
  uint64_t Accepted() {
    uint64_t uAccepted = 0;
    for (size_t u = 0; u < 2 * Writers(); ++u) uAccepted += m_accepted[u];
    return uAccepted;
  }
  size_t Writers() const { return static_cast<size_t>(m_iKills) + Processes; }

  void Start() {
    const size_t uWriter = m_uNextWriter++;
    const pid_t pid = fork();
    if (pid == 0) WriteUntilKilled(uWriter);
    m_running.push_back(pid);
  }

  // A child is forked early, by a process whose other thread writes, and goes on when that is
  // killed.
  [[noreturn]] void WriteUntilKilled(size_t uWriter) {
    const auto pOutput = m_log.Open();
    if (pOutput == nullptr) {
      std::fprintf(stderr, "cannot open: %s\n", strerror(errno));
      abort();
    }
    std::thread([&] { WriteRecords(*pOutput, uWriter, UINT64_MAX); }).detach();
    if (!test_support::IsThreadSanitized && fork() == 0) {
      WriteRecords(*pOutput, Writers() + uWriter, 200);
      _exit(0);
    }
    pause();
    abort();
  }

  void WriteRecords(CWySealedOutput& output, size_t uWriter, uint64_t uCount) {
    for (uint64_t u = 1; u <= uCount; ++u) {
      char szText[400];
      snprintf(szText, sizeof szText, "writer %zu record %lu %0300d", uWriter, u, 0);
      if (!output.Log(std::string_view(szText))) {
        std::fprintf(stderr, "refused: %s\n", strerror(errno));
        abort();
      }
      m_accepted[uWriter] = u;
    }
  }

  const int m_iKills;
  SharedCounts m_accepted;  // of the records that each writer was told are in the log
  size_t m_uNextWriter = 0;
  std::vector<pid_t> m_running;
};

TEST(SealKill, LosesNoRecordAndTheLogStaysIntact) {
  Killing killing(Kills(), 0);
  killing.Run();
  EXPECT_THAT(killing.m_log.Verify(), testing::Contains("intact")) << killing.m_log.explanations;
  killing.ExpectNothingLost();
}

TEST(SealKill, RetentionAmongKillsLeavesARecordOfWhatItDeleted) {
  Killing killing(Kills() / 4, 2);
  killing.Run();
  EXPECT_THAT(killing.m_log.Verify(), testing::Contains("intact")) << killing.m_log.explanations;
  EXPECT_LE(killing.m_log.Files().size(), 4u);
}

}  // namespace
