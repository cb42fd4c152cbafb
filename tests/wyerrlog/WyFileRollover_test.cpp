// What rollovers name their backups, and what becomes of renames that fail. That nothing is lost
// by other faults is the fault ladder's; which backups go is the fuzz target's of their names.

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <fstream>
#include <latch>
#include <vector>

#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "wyerrlog/WyLogOutput.h"

namespace {

using stand_ins::AllCalls;
using stand_ins::Call;
using stand_ins::Effect;
using test_support::TestThread;

const std::string Stamp = "_20240305_140709";

class FileRollover : public testing::Test {
 protected:
  // The clock stands at that second, in a zone five and a half hours east of Greenwich.
  FileRollover() {
    setenv("TZ", "TEST-5:30", 1);
    tzset();
    stand_ins::clock = 1709627829;
  }
  ~FileRollover() override { AllowRenames(); }

  // Opens the log; a size limit of 0 lets every message roll the file over first.
  bool Open(CWyFileOutput& output, const std::string& strName, int iMode, int iMaxBackups) {
    return output.SetParams(m_directory.Path(strName).c_str(), iMode, 0, iMaxBackups) &&
           output.Open();
  }
  void RefuseRenames(int iErrno) {
    m_iRefused = 0;
    stand_ins::before_rename = [this](const char*) { ++m_iRefused; };
    stand_ins::Inject({Call::Rename, Effect::Failure, iErrno, 1, AllCalls});
  }
  void AllowRenames() {
    stand_ins::before_rename = nullptr;
    stand_ins::Withdraw(Call::Rename);
  }

  TempDirectory m_directory;
  int m_iRefused = 0;
};

// Also for paths of nearly every length that the system takes.
TEST_F(FileRollover, NamesBackupsByLocalTimeAndNumbersThoseOfOneSecond) {
  std::string strStem = "app-1.2/";
  while (m_directory.Path(strStem).size() + 460 < PATH_MAX) strStem += std::string(200, 'd') + '/';
  std::filesystem::create_directories(m_directory.Path(strStem));
  strStem += std::string(210, 'n');
  struct Case {
    const char* pszExtension;
    std::vector<std::string> existing;
    const char* pszNew;
  };
  for (const Case& c : {Case{".a", {}, ""}, Case{"", {""}, "_01"}, Case{".b", {"_5", "_06"}, "_07"},
                        Case{".c", {"_99"}, "_100"}, Case{".d", {"", "_99", "_100"}, "_101"}}) {
    const auto backup = [&](const std::string& n) { return strStem + Stamp + n + c.pszExtension; };
    m_directory.Write(strStem + "_20240305_140708_50" + c.pszExtension, "of another second");
    for (const std::string& strNumber : c.existing) m_directory.Write(backup(strNumber), "theirs");
    m_directory.Write(strStem + c.pszExtension, "ours");
    CWyFileOutput output;
    EXPECT_TRUE(Open(output, strStem + c.pszExtension, 2, 0));
    EXPECT_EQ(m_directory.Read(backup(c.pszNew)), "ours") << c.pszNew << c.pszExtension;
    for (const std::string& n : c.existing) EXPECT_EQ(m_directory.Read(backup(n)), "theirs");
  }
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

TEST_F(FileRollover, IsTriedAgainAlsoWhenTheOldFileCouldNotBeOpenedAgainUnlessSizesAreLimited) {
  for (int iMode : {1, 2, 3}) {
    SCOPED_TRACE(iMode);
    const std::string strLog = std::to_string(iMode) + ".log";
    m_directory.Write(strLog, "old\n");
    CWyFileOutput output;
    ASSERT_TRUE(Open(output, strLog, iMode, 1));
    RefuseRenames(EACCES);
    stand_ins::Inject({stand_ins::Call::Open, stand_ins::Effect::Failure, EMFILE});
    EXPECT_FALSE(output.Rollover());
    stand_ins::clock += 300;
    EXPECT_FALSE(output.Log("not yet\n"));
    stand_ins::clock += 1;
    stand_ins::Inject({stand_ins::Call::Open, stand_ins::Effect::Failure, EMFILE});
    EXPECT_FALSE(output.Log("not this time\n"));
    EXPECT_EQ(m_iRefused, iMode == 3 ? 1 : 2);
    AllowRenames();
    stand_ins::clock += 301;
    EXPECT_EQ(output.Log("new\n"), iMode != 3);
    RefuseRenames(EACCES);
    stand_ins::Inject({stand_ins::Call::Open, stand_ins::Effect::Failure, EMFILE});
    EXPECT_FALSE(output.Rollover());
    EXPECT_TRUE(output.Close());
    AllowRenames();
    stand_ins::clock += 301;
    EXPECT_FALSE(output.Log("closed\n"));
    EXPECT_EQ(m_directory.Read(strLog), iMode == 3 ? "old\n" : "new\n");
  }
}

TEST_F(FileRollover, ThreadsCountWhatOthersAreAboutToWrite) {
  m_directory.Write("a.log", std::string((1 << 20) - 10, 'x'));
  CWyFileOutput output;
  ASSERT_TRUE(output.SetParams(m_directory.Path("a.log").c_str(), 3, 1, 0) && output.Open());
  std::latch inWrite(1), leaveWrite(1);
  std::atomic<bool> bFirst{true};
  stand_ins::before_write = [&] {
    if (!bFirst.exchange(false)) return;
    inWrite.count_down();
    leaveWrite.wait();
  };
  {
    const TestThread first([&] { EXPECT_TRUE(output.Log("first")); });
    inWrite.wait();
    const TestThread second([&] { EXPECT_TRUE(output.Log("second")); });
    EXPECT_TRUE(second.Blocks() && !second.IsDone());
    leaveWrite.count_down();
  }
  stand_ins::before_write = nullptr;
  EXPECT_EQ(m_directory.Read("a.log"), "second");
}

TEST_F(FileRollover, ARefusedSecondBackupOfASecondClosesTheOutput) {
  m_directory.Write("a.log", "ours");
  m_directory.Write("a" + Stamp + ".log", "theirs");
  RefuseRenames(EACCES);
  CWyFileOutput output;
  EXPECT_FALSE(Open(output, "a.log", 2, 0) || output.Log("dropped\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "ours");
}

TEST_F(FileRollover, ABackupThatCannotBeDeletedClosesTheOutput) {
  m_directory.Write("a.log", "ours");
  std::filesystem::create_directories(m_directory.Path("a_20000101_000000.log/kept"));
  CWyFileOutput output;
  EXPECT_FALSE(Open(output, "a.log", 2, 1) || output.Log("dropped\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "ours");
}

TEST_F(FileRollover, TheRetryDoesNotOpenWhatWasClosed) {
  m_directory.Write("a.log", "old\n");
  RefuseRenames(EACCES);
  CWyFileOutput output;
  ASSERT_TRUE(Open(output, "a.log", 2, 0) && output.Close());
  AllowRenames();
  stand_ins::clock += 301;
  EXPECT_FALSE(output.Log("late\n"));
  EXPECT_EQ(m_directory.Names(), std::set<std::string>{"a.log"});
}

TEST_F(FileRollover, NeverReplacesAFileThatTakesTheNameInBetween) {
  // The system's own way; file systems and systems without it.
  for (const int iRenameat2 : {0, EINVAL, ENOSYS}) {
    stand_ins::Inject({Call::Rename, Effect::Failure, iRenameat2, 1, iRenameat2 ? AllCalls : 0});
    const std::string strStem = std::to_string(iRenameat2);
    m_directory.Write(strStem + ".log", "ours");
    int iTaken = 0;
    stand_ins::before_rename = [&iTaken](const char* pszTo) {
      if (iTaken++ < 2) std::ofstream(pszTo) << "theirs";
    };
    CWyFileOutput output;
    EXPECT_TRUE(Open(output, strStem + ".log", 2, 0));
    EXPECT_EQ(m_directory.Read(strStem + Stamp + ".log"), "theirs");
    EXPECT_EQ(m_directory.Read(strStem + Stamp + "_01.log"), "theirs");
    EXPECT_EQ(m_directory.Read(strStem + Stamp + "_02.log"), "ours");
  }
}

}  // namespace
