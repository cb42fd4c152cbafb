// Reading the files of CWyAuditFileOutput, which are rolled over by day and by size, and deleted by
// age.

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "tools/RunProgram.h"
#include "wyerrlog/WyAuditFileOutput.h"
#include "wyerrlog/WyLog.h"

namespace {

constexpr time_t FirstMorning = 1709535600;  // Mon Mar 4 2024 08:00, in Berlin
constexpr time_t Day = 86400;
constexpr int Days = 6;
constexpr int PerDay = 2500;  // of 600 bytes: a second file for each day

// One record in ten seconds, but 20 in the second in which the size is reached.
void LogDay(int iDay) {
  const std::string strFill(500, 'x');
  for (int i = 0; i < PerDay; ++i) {
    stand_ins::clock = FirstMorning + iDay * Day + 10 * (i / 20);
    ASSERT_TRUE(WY_AUDIT("login").Set("number", iDay * PerDay + i).Set("fill", strFill).Write());
  }
}

TEST(AuditFiles, AreReadInTheirOrderOverDaysSizesAndAges) {
  const TempDirectory folder;
  setenv("TZ", "Europe/Berlin", 1);
  tzset();
  WyFileOptions options;
  options.path = folder.Path("audit.log");
  options.mode = WyFileMode::AppendRollBySize;
  options.maxSizeMB = 1;
  options.daily = true;
  options.maxAgeDays = 3;
  stand_ins::clock = FirstMorning;
  auto pOutput = std::make_unique<CWyAuditFileOutput>(options);
  ASSERT_TRUE(theLogger()->EnableAuditLogRollover(pOutput.get()));
  static_cast<void>(pOutput.release());
  for (int iDay = 0; iDay < Days; ++iDay) LogDay(iDay);

  const auto run = [&](const std::string& strArguments) {
    return RunProgram(folder.Path(""), "\"$WYLOGCTL\" " + strArguments + " audit.log");
  };
  const ProgramResult all = run("log -q");
  EXPECT_EQ(all.iExit, 0);
  std::istringstream lines(all.strOut);
  int iNext = -1;
  for (std::string strLine; std::getline(lines, strLine); ++iNext) {
    const int iNumber = std::atoi(strLine.c_str() + strLine.find("number=") + 7);
    if (iNext == -1) iNext = iNumber;
    ASSERT_EQ(iNumber, iNext);
  }
  EXPECT_EQ(iNext, Days * PerDay);
  EXPECT_EQ(all.strOut.find("number=0 "), std::string::npos) << "nothing was deleted";

  const ProgramResult verified = run("verify");
  EXPECT_EQ(verified.iExit, 0) << verified.strOut << verified.strError;
  const ProgramResult files = run("files -q -o csv");
  EXPECT_EQ(files.iExit, 0);
  EXPECT_NE(files.strOut.find("audit.log,audit,,"), std::string::npos) << files.strOut;
  EXPECT_EQ(run("log -q --since 2024-03-09 -o json --where fields.number==12500").iExit, 0);
  EXPECT_EQ(run("log -q --until 2024-03-08T23:59 --where fields.number==12500").iExit, 1);
  const ProgramResult last = run("log -q -n 1 -o json");
  EXPECT_NE(last.strOut.find(R"("number":"14999")"), std::string::npos) << last.strOut;
}

}  // namespace
