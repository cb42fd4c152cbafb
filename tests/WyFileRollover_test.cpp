#include <gtest/gtest.h>
#include <regex.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <latch>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLogOutput.h"

namespace {

using Names = std::set<std::string>;
using Lines = std::multiset<std::string>;

// The clock stands at this second, in a zone five and a half hours east of Greenwich.
constexpr time_t FixedTime = 1709627829;
const std::string Stamp = "_20240305_140709";

// What all files of the directory hold.
Lines LinesIn(const TempDirectory& directory) {
  Lines lines;
  for (const std::string& strName : directory.Names()) {
    std::istringstream content(directory.Read(strName));
    for (std::string strLine; std::getline(content, strLine);) lines.insert(strLine);
  }
  return lines;
}

class FileRollover : public testing::Test {
 protected:
  FileRollover() {
    setenv("TZ", "TEST-5:30", 1);
    tzset();
    stand_ins::clock = FixedTime;
  }
  ~FileRollover() override { AllowRenames(); }

  // Opens the log; a size limit of 0 lets every message roll the file over first.
  bool Open(CWyFileOutput& output, const std::string& strName, int iMode, int iMaxBackups) {
    return output.SetParams(m_directory.Path(strName).c_str(), iMode, 0, iMaxBackups) &&
           output.Open();
  }
  void RefuseRenames(int iErrno) {
    m_iRefused = 0;
    stand_ins::rename = [this, iErrno](const char*, const char*) {
      ++m_iRefused;
      return stand_ins::Refuse(iErrno);
    };
  }
  void AllowRenames() { stand_ins::rename = nullptr; }

  TempDirectory m_directory;
  int m_iRefused = 0;
};

TEST_F(FileRollover, RecognisesBackupsByTheirNames) {
  CWyFileOutput output;
  EXPECT_TRUE(output.IsBackedUpFile("audit_20240305_140709_07", "audit"));
  EXPECT_FALSE(output.IsBackedUpFile("audit_20240305_140709.gz", "audit"));
  EXPECT_TRUE(output.IsBackedUpFile("a_20240305_140709_01.b_9", "a.b_9"));
  EXPECT_FALSE(output.IsBackedUpFile("a_20240305_140709_01", "a.b_9"));

  // Names a few edits away from a backup's, judged by another reading of the rule.
  regex_t rule;
  ASSERT_EQ(regcomp(&rule, R"(^trace_[0-9]{8}_[0-9]{6}(_[0-9]*)?(\..*)?\.log$)", REG_EXTENDED), 0);
  const std::string strAlphabet = "_.0159alogx\xB2";
  std::mt19937 random(20240305);
  int iBackups = 0;
  for (int i = 0; i < 5000; ++i) {
    std::string strName = i % 2 == 0 ? "trace_20240305_140709.log" : "trace_20240305_140709_12.log";
    for (auto uEdits = random() % 4; uEdits > 0; --uEdits) {
      const size_t uAt = random() % strName.size();
      strName.replace(uAt, random() % 3, random() % 3, strAlphabet[random() % strAlphabet.size()]);
    }
    const bool bBackup = regexec(&rule, strName.c_str(), 0, nullptr, 0) == 0;
    EXPECT_EQ(output.IsBackedUpFile(strName.c_str(), "trace.log"), bBackup) << strName;
    iBackups += bBackup ? 1 : 0;
  }
  EXPECT_GT(iBackups, 1000);
  regfree(&rule);
}

TEST_F(FileRollover, NamesBackupsByLocalTimeAndNumbersThoseOfOneSecond) {
  struct Case {
    const char* pszExtension;
    std::vector<std::string> existing;
    const char* pszNew;
  };
  std::filesystem::create_directory(m_directory.Path("app-1.2"));
  for (const Case& c :
       {Case{".a", {}, ""}, Case{"", {""}, "_01"}, Case{".", {"", "_01"}, "_02"},
        Case{".b", {"", "_5", "_06"}, "_07"}, Case{".c", {"_02"}, "_03"}, Case{".x_9", {""}, "_01"},
        Case{".d", {"", "_99"}, "_100"}, Case{".e", {"", "_99", "_100"}, "_101"},
        Case{".f", {"_99999999999999999999"}, "_100000000000000000000"}}) {
    const std::string strStem = "app-1.2/t";
    const auto backup = [&](const std::string& n) { return strStem + Stamp + n + c.pszExtension; };
    for (const std::string& strNumber : c.existing) m_directory.Write(backup(strNumber), "theirs");
    m_directory.Write(strStem + c.pszExtension, "ours");
    CWyFileOutput output;
    EXPECT_TRUE(Open(output, strStem + c.pszExtension, 2, 0));
    EXPECT_EQ(m_directory.Read(backup(c.pszNew)), "ours") << backup(c.pszNew);
    for (const std::string& n : c.existing) EXPECT_EQ(m_directory.Read(backup(n)), "theirs");
  }
}

TEST_F(FileRollover, WorksForEveryPathThatTheSystemTakes) {
  std::string strLog;
  while (m_directory.Path(strLog).size() + 460 < PATH_MAX) strLog += std::string(200, 'd') + '/';
  std::filesystem::create_directories(m_directory.Path(strLog));
  strLog += std::string(239, 'n');
  CWyFileOutput output;
  ASSERT_TRUE(Open(output, strLog, 3, 0));
  EXPECT_TRUE(output.Log("new"));
  EXPECT_EQ(m_directory.Read(strLog), "new");
  EXPECT_TRUE(std::filesystem::exists(m_directory.Path(strLog + Stamp)));

  // Without a directory in the path there is none to look for backups in.
  RefuseRenames(EIO);
  ASSERT_EQ(chdir(m_directory.Path("").c_str()), 0);
  m_directory.Write("bare.log", "");
  for (const char* pszPath : {"bare.log", "/proc"}) {
    EXPECT_TRUE(output.SetParams(pszPath, 4, 0, 1));
    EXPECT_FALSE(output.Open());
  }
  EXPECT_EQ(m_iRefused, 0);
}

TEST_F(FileRollover, DeletesTheOldestBackupsAndNothingElse) {
  const std::vector<std::string> oldestFirst = {
      "t_19990101_000000_100.log", "t_20200101_000000.log",    "t_20200101_000000_5.log",
      "t_20200101_000000_006.log", "t_20200101_000000_99.log", "t_20200101_000000_100.log"};
  const Names foreign = {"t_20000101_000000.txt", "t_20000101_000000.log.1",
                         "t_20000101_000000",     "t_20000101_000000x.log",
                         "t_2000011_000000.log",  "T_20000101_000000.log"};
  for (size_t uKeep : {0u, 1u, 3u, 6u, 7u, 50u}) {
    TempDirectory directory;
    directory.Write("t.log", "");
    for (const std::string& strName : oldestFirst) directory.Write(strName, "");
    for (const std::string& strName : foreign) directory.Write(strName, "");
    CWyFileOutput output;
    ASSERT_TRUE(output.SetParams(directory.Path("t.log").c_str(), 4, 1, static_cast<int>(uKeep)));
    ASSERT_TRUE(output.Open());

    Names expected = foreign;
    expected.insert({"t.log", "t" + Stamp + ".log"});
    const size_t uLeft = uKeep == 0 || uKeep > oldestFirst.size() ? oldestFirst.size() : uKeep - 1;
    expected.insert(oldestFirst.end() - static_cast<std::ptrdiff_t>(uLeft), oldestFirst.end());
    EXPECT_EQ(directory.Names(), expected) << uKeep;
  }
}

TEST_F(FileRollover, KeepsTheNewestOfOneSecond) {
  CWyFileOutput output;
  ASSERT_TRUE(Open(output, "t.log", 3, 2));
  for (const char* pszText : {"1\n", "2\n", "3\n", "4\n", "5\n"}) EXPECT_TRUE(output.Log(pszText));
  EXPECT_EQ(LinesIn(m_directory), (Lines{"3", "4", "5"}));
}

TEST_F(FileRollover, ARefusedRenameIsTriedAgainWhenMoreThan300SecondsHavePassed) {
  for (int iMode : {2, 3, 4}) {
    SCOPED_TRACE(iMode);
    const std::string strLog = std::to_string(iMode) + ".log";
    m_directory.Write(strLog, "old\n");
    RefuseRenames(EACCES);
    CWyFileOutput output;
    EXPECT_TRUE(Open(output, strLog, iMode, 1) && output.Log("a\n"));
    stand_ins::clock += 300;
    EXPECT_TRUE(output.Log("b\n"));
    EXPECT_EQ(m_iRefused, 1);
    stand_ins::clock += 1;
    EXPECT_TRUE(output.Log("c\n") && output.Log("d\n"));
    EXPECT_EQ(m_iRefused, 2);
    EXPECT_EQ(m_directory.Read(strLog), "old\na\nb\nc\nd\n");

    AllowRenames();
    stand_ins::clock += 301;
    EXPECT_TRUE(output.Log("e\n"));
    EXPECT_EQ(m_directory.Read(strLog), "e\n");
    EXPECT_TRUE(output.Log("f\n"));
    EXPECT_EQ(m_directory.Read(strLog), iMode == 2 ? "e\nf\n" : "f\n");
  }
}

TEST_F(FileRollover, TheRetryDoesNotOpenWhatWasClosed) {
  m_directory.Write("a.log", "old\n");
  RefuseRenames(EACCES);
  CWyFileOutput output;
  ASSERT_TRUE(Open(output, "a.log", 2, 0) && output.Close());
  AllowRenames();
  stand_ins::clock += 301;
  EXPECT_FALSE(output.Log("late\n"));
  EXPECT_EQ(m_directory.Names(), Names{"a.log"});
}

TEST_F(FileRollover, AnyOtherFailureClosesTheOutputAndLeavesTheLogFileAlone) {
  struct Case {
    std::string strLog;
    const char* pszDirectory;  // lies beside the log file
    int iErrno;
  };
  for (const Case& c :
       {Case{"a.log", ".", EIO}, Case{"b.log", ".", EPERM},
        Case{"c.log", "c_20240305_140709.log", EACCES},  // the name is taken
        Case{"d.log", "d_20000101_000000.log/cannot/be/deleted", 0},
        Case{std::string(236, 'n') + ".log", ".", 0}}) {  // the backup's is too long
    m_directory.Write(c.strLog, "old\n");
    std::filesystem::create_directories(m_directory.Path(c.pszDirectory));
    CWyFileOutput output;
    ASSERT_TRUE(Open(output, c.strLog, 3, c.iErrno == EACCES ? 0 : 1));
    if (c.iErrno != 0) RefuseRenames(c.iErrno);
    EXPECT_FALSE(output.Log("dropped\n")) << c.strLog;
    AllowRenames();
    EXPECT_FALSE(output.Log("dropped\n")) << c.strLog;
    EXPECT_EQ(m_directory.Read(c.strLog), "old\n");
  }
}

TEST_F(FileRollover, NeverReplacesAFileThatTakesTheNameInBetween) {
  // The system's own way; file systems and systems without it.
  int iCase = 0;
  for (const int iRenameat2 : {0, EINVAL, ENOSYS}) {
    const long lCount = iRenameat2 == 0 ? 0 : stand_ins::ForEver;
    stand_ins::Inject({stand_ins::Call::Rename, stand_ins::Effect::Failure, iRenameat2, 1, lCount});
    const std::string strStem = std::to_string(iCase++);
    m_directory.Write(strStem + ".log", "ours");
    int iTaken = 0;
    stand_ins::rename = [&iTaken](const char* pszFrom, const char* pszTo) {
      if (iTaken++ < 2) std::ofstream(pszTo) << "theirs";
      return stand_ins::RealRename(pszFrom, pszTo);
    };
    CWyFileOutput output;
    EXPECT_TRUE(Open(output, strStem + ".log", 2, 0));
    EXPECT_EQ(m_directory.Read(strStem + Stamp + ".log"), "theirs");
    EXPECT_EQ(m_directory.Read(strStem + Stamp + "_01.log"), "theirs");
    EXPECT_EQ(m_directory.Read(strStem + Stamp + "_02.log"), "ours");
  }
}

// How many messages each thread has logged.
template <size_t N>
using Progress = std::array<std::atomic<int>, N>;

std::string Line(size_t uThread, int iNumber) {
  return "thread " + std::to_string(uThread) + " message " + std::to_string(iNumber);
}

template <typename Continue>
void LogWhile(CWyFileOutput& output, size_t uThread, std::atomic<int>& count, Continue goOn) {
  for (; goOn(); ++count) ASSERT_TRUE(output.Log((Line(uThread, count) + '\n').c_str()));
}

template <size_t N>
Lines LinesLogged(const Progress<N>& logged) {
  Lines lines;
  for (size_t t = 0; t < N; ++t) {
    for (int i = 0; i < logged[t]; ++i) lines.insert(Line(t, i));
  }
  return lines;
}

TEST_F(FileRollover, EachRollsOverAndTheClockGoesBackAndYetNothingIsLost) {
  CWyFileOutput output;
  ASSERT_TRUE(Open(output, "a.log", 3, 0));
  Progress<8> logged{};
  std::vector<std::thread> threads;
  for (size_t t = 0; t < logged.size(); ++t) {
    threads.emplace_back([&, t] {
      LogWhile(output, t, logged[t], [&] {
        stand_ins::clock = FixedTime + logged[t] % 3;
        return logged[t] < 75;
      });
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(LinesIn(m_directory), LinesLogged(logged));
  EXPECT_EQ(m_directory.Names().size(), 8 * 75 + 1u);
}

TEST_F(FileRollover, OfThreadsThatLookAtTheSizeTogetherOneRollsOver) {
  constexpr size_t Limit = 1048576, Length = 100;
  m_directory.Write("a.log", std::string(Limit - 2 * Length, 'x'));
  CWyFileOutput output;
  ASSERT_TRUE(output.SetParams(m_directory.Path("a.log").c_str(), 3, 1, 0) && output.Open());
  std::atomic<int> iLooks{0};
  std::latch bothHaveLooked(2);
  stand_ins::after = [&](stand_ins::Call call) {
    if (call == stand_ins::Call::Lseek && ++iLooks <= 2) bothHaveLooked.arrive_and_wait();
  };
  const std::string strText(Length, 'y');
  const auto log = [&] { EXPECT_TRUE(output.Log(strText.c_str())); };
  std::thread other(log);
  log();
  other.join();
  stand_ins::after = nullptr;
  EXPECT_EQ(m_directory.Read("a" + Stamp + ".log").size(), Limit - Length);
  EXPECT_EQ(m_directory.Read("a.log"), strText);
}

TEST_F(FileRollover, WritersGoOnWhileARefusedRolloverIsRetried) {
  m_directory.Write("a.log", "");
  RefuseRenames(EACCES);
  CWyFileOutput output;
  ASSERT_TRUE(Open(output, "a.log", 2, 0));
  AllowRenames();

  Progress<4> logged{};
  std::atomic<bool> bStop{false};
  std::vector<std::thread> threads;
  for (size_t t = 0; t < logged.size(); ++t) {
    threads.emplace_back([&, t] { LogWhile(output, t, logged[t], [&] { return !bStop; }); });
  }
  const auto awaitMoreOfEach = [&logged] {
    for (const std::atomic<int>& count : logged) {
      for (const int iBefore = count; count < iBefore + 20;) std::this_thread::yield();
    }
  };
  awaitMoreOfEach();
  EXPECT_EQ(m_directory.Names(), Names{"a.log"});
  stand_ins::clock += 301;
  awaitMoreOfEach();
  bStop = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(m_directory.Names().size(), 2u);
  EXPECT_EQ(LinesIn(m_directory), LinesLogged(logged));
}

TEST_F(FileRollover, AForkedChildIsNotHeldUpByWritersThatItDoesNotHave) {
  CWyFileOutput output;
  ASSERT_TRUE(output.SetParams(m_directory.Path("a.log").c_str(), 3, 4095, 0) && output.Open());
  Progress<3> logged{};
  std::atomic<bool> bStop{false};
  std::vector<std::thread> threads;
  for (size_t t = 0; t < logged.size(); ++t) {
    threads.emplace_back([&, t] { LogWhile(output, t, logged[t], [&] { return !bStop; }); });
  }
  for (int i = 0; i < 100 && !HasFailure(); ++i) {
    const pid_t pid = fork();
    if (pid == 0) {
      // Without an answer about the size it asks again when it is alone with the file.
      alarm(20);
      stand_ins::Inject({stand_ins::Call::Lseek, stand_ins::Effect::Failure, EIO});
      _exit(output.Log("child\n") ? 0 : 1);
    }
    int iStatus = -1;
    EXPECT_EQ(waitpid(pid, &iStatus, 0), pid);
    EXPECT_EQ(iStatus, 0);
  }
  bStop = true;
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
