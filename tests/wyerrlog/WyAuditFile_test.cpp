// What the file for audit logs adds: permissions, O_DSYNC, days, ages, and records whole or
// refused.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyAuditFileOutput.h"

namespace {

using stand_ins::Call;
using stand_ins::Effect;
using Names = std::set<std::string>;

class AuditFile : public testing::Test {
 protected:
  // Midnight is at 23:00 UTC.
  void SetUp() override {
    stand_ins::clock = 0;
    setenv("TZ", "CET-1", 1);
    tzset();
    m_options.path = m_directory.Path("a.log");
  }

  bool Log(CWyAuditFileOutput& output, const char* pszText) {
    CWyErrLogMessage msg(false);
    msg.SetFormattedMessage(pszText);
    return output.Log(msg);
  }

  const TempDirectory m_directory;
  WyFileOptions m_options;
};

TEST_F(AuditFile, HasItsPermissionsInEveryFileAndWritesThroughOnRequest) {
  umask(022);
  m_options.mode = WyFileMode::RollAtOpen;
  m_options.permissions = 0660;
  m_options.synchronous = true;
  for (int i = 0; i < 2; ++i) {
    CWyAuditFileOutput output(m_options);
    ASSERT_TRUE(output.Open() && Log(output, "x\n"));
    EXPECT_FALSE(output.Open());
    bool bWritesThrough = false;
    for (int hFile = 3; hFile < 64; ++hFile) {
      const int iFlags = fcntl(hFile, F_GETFL);
      bWritesThrough |= iFlags != -1 && (iFlags & O_DSYNC) != 0 && (iFlags & O_NONBLOCK) == 0;
    }
    EXPECT_TRUE(bWritesThrough);
  }
  ASSERT_EQ(m_directory.Names().size(), 2u);
  for (const std::string& strName : m_directory.Names()) {
    struct stat status;
    ASSERT_EQ(stat(m_directory.Path(strName).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u) << strName;
  }
}

constexpr time_t BeforeMidnight = 1709593190;  // Mon Mar 4 2024 23:59:50
constexpr time_t Hour = 3600;

TEST_F(AuditFile, TheFirstRecordOfADayBeginsANewFile) {
  m_options.daily = true;
  stand_ins::clock = BeforeMidnight;
  CWyAuditFileOutput output(m_options);
  CWyErrLogMessage first(false), second(false);
  first.SetFormattedMessage("head\n");
  second.SetFormattedMessage("====\n");
  output.SetHeaders(first, second);
  ASSERT_TRUE(output.Open());
  stand_ins::clock = BeforeMidnight + 9;
  EXPECT_TRUE(Log(output, "monday\n"));
  stand_ins::clock = BeforeMidnight + 10;
  EXPECT_TRUE(Log(output, "tuesday\n"));
  stand_ins::clock = BeforeMidnight + 23 * Hour;
  EXPECT_TRUE(Log(output, "tuesday, late\n"));
  EXPECT_EQ(m_directory.Names(), (Names{"a.log", "a_20240305_000000.log"}));
  EXPECT_EQ(m_directory.Read("a_20240305_000000.log"), "monday\n");
  EXPECT_EQ(m_directory.Read("a.log"), "head\n====\ntuesday\ntuesday, late\n");
}

// A file found at the start is of the day of its last record; an empty one is of no day.
TEST_F(AuditFile, ARestartGoesOnWithTheFileOfTheDayAndWithAnEmptyOne) {
  m_options.daily = true;
  const auto logAt = [&](time_t tNow, const char* pszText) {
    CWyAuditFileOutput output(m_options);
    stand_ins::clock = tNow;
    return output.Open() && (pszText == nullptr || Log(output, pszText));
  };
  const time_t tNow = time(nullptr);  // the real time: files get it as that of their last record
  m_directory.Write("a.log", "");
  EXPECT_TRUE(logAt(tNow + 100 * 24 * Hour, "first\n"));
  EXPECT_EQ(m_directory.Names(), Names{"a.log"});
  EXPECT_TRUE(logAt(tNow, "again\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "first\nagain\n");
  EXPECT_TRUE(logAt(tNow + 24 * Hour, nullptr));
  EXPECT_EQ(m_directory.Names(), Names{"a.log"});
  EXPECT_TRUE(logAt(tNow + 24 * Hour, "tomorrow\n"));
  EXPECT_EQ(m_directory.Names().size(), 2u);
  EXPECT_EQ(m_directory.Read("a.log"), "tomorrow\n");
}

TEST_F(AuditFile, BackupsGoWhenTheyAreTooOldAndOtherFilesStay) {
  const Names others = {"b_20010101_000000.log", "a_20010101.log"};
  for (const std::string& strName : others) m_directory.Write(strName, "");
  m_directory.Write("a_20240226_235949.log", "");  // a second more than seven days
  m_directory.Write("a_20240226_235950.log", "");
  m_options.daily = true;
  m_options.maxAgeDays = 7;
  stand_ins::clock = BeforeMidnight;
  CWyAuditFileOutput output(m_options);
  ASSERT_TRUE(output.Open() && Log(output, "x\n"));
  Names expected = others;
  expected.insert({"a.log", "a_20240226_235950.log"});
  EXPECT_EQ(m_directory.Names(), expected);
  stand_ins::clock = BeforeMidnight + 10 + 7 * 24 * Hour;
  EXPECT_TRUE(Log(output, "y\n"));
  expected.erase("a_20240226_235950.log");
  expected.insert("a_20240312_000000.log");
  EXPECT_EQ(m_directory.Names(), expected);
}

TEST_F(AuditFile, ARecordThatIsCutShortIsContinuedOrRefusedAndTheNextOneHasItsOwnLine) {
  CWyAuditFileOutput output(m_options);
  ASSERT_TRUE(output.Open());
  stand_ins::Inject({Call::Write, Effect::Short, 0, 1, 1});
  EXPECT_TRUE(Log(output, "continued\n"));
  stand_ins::Inject({Call::Write, Effect::Failure, ENOSPC, 1, 1});
  EXPECT_FALSE(Log(output, "refused\n"));
  stand_ins::Inject({Call::Write, Effect::Short, 0, 1, 1});
  stand_ins::before_write = [] {
    stand_ins::before_write = [] { stand_ins::Inject({Call::Write, Effect::Failure, EDQUOT}); };
  };
  EXPECT_FALSE(Log(output, "torn record\n"));
  EXPECT_EQ(errno, EDQUOT);
  stand_ins::before_write = nullptr;
  stand_ins::Withdraw(Call::Write);
  stand_ins::Inject({Call::WriteV, Effect::Failure, ENOSPC});
  EXPECT_FALSE(Log(output, "still full\n"));
  EXPECT_TRUE(Log(output, "room again\n") && Log(output, "and again\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "continued\ntorn r\nroom again\nand again\n");
}

TEST_F(AuditFile, HalfARecordOfACrashDoesNotSwallowTheNext) {
  for (const char* const pszFound : {"half a rec", "whole\n", ""}) {
    m_directory.Write("a.log", pszFound);
    CWyAuditFileOutput output(m_options);
    ASSERT_TRUE(output.Open() && Log(output, "next\n"));
    const bool bHalf = std::string(pszFound) == "half a rec";
    EXPECT_EQ(m_directory.Read("a.log"), pszFound + std::string(bHalf ? "\n" : "") + "next\n");
  }
}

// The rename succeeds and the new file cannot be opened: records go on into the backup.
TEST_F(AuditFile, AFailedRolloverCostsNoRecordAndIsTriedAgain) {
  m_options.daily = true;
  stand_ins::clock = BeforeMidnight;
  CWyAuditFileOutput output(m_options);
  ASSERT_TRUE(output.Open() && Log(output, "1\n"));
  stand_ins::clock += 10;
  stand_ins::Inject({Call::Open, Effect::Failure, EMFILE, 1, stand_ins::AllCalls});
  EXPECT_TRUE(Log(output, "2\n"));
  stand_ins::Withdraw(Call::Open);
  stand_ins::clock += 299;
  EXPECT_TRUE(Log(output, "3\n"));
  EXPECT_EQ(m_directory.Names(), Names{"a_20240305_000000.log"});
  stand_ins::clock += 1;
  EXPECT_TRUE(Log(output, "4\n"));
  EXPECT_EQ(m_directory.Read("a_20240305_000000.log"), "1\n2\n3\n");
  EXPECT_EQ(m_directory.Read("a.log"), "4\n");
}

}  // namespace
