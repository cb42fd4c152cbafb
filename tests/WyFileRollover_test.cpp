#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <vector>

#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLogOutput.h"

namespace {

using Names = std::set<std::string>;

// The clock stands at this second, in a zone five and a half hours east of Greenwich.
constexpr time_t FixedTime = 1709627829;
const std::string Stamp = "_20240305_140709";

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

TEST_F(FileRollover, NamesBackupsByLocalTimeAndNumbersThoseOfOneSecond) {
  struct Case {
    const char* pszExtension;
    std::vector<std::string> existing;
    const char* pszNew;
  };
  std::filesystem::create_directory(m_directory.Path("app-1.2"));
  for (const Case& c : {Case{".a", {}, ""}, Case{"", {""}, "_01"}, Case{".b", {"_5", "_06"}, "_07"},
                        Case{".e", {"", "_99", "_100"}, "_101"},
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
}

TEST_F(FileRollover, KeepsTheNewestOfOneSecond) {
  CWyFileOutput output;
  ASSERT_TRUE(Open(output, "t.log", 3, 2));
  for (const char* pszText : {"1\n", "2\n", "3\n", "4\n", "5\n"}) EXPECT_TRUE(output.Log(pszText));
  std::string strAll;
  for (const std::string& strName : m_directory.Names()) strAll += m_directory.Read(strName);
  EXPECT_EQ(strAll, "5\n3\n4\n") << "the log before its backups";
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
       {Case{"a.log", ".", EIO},
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

}  // namespace
