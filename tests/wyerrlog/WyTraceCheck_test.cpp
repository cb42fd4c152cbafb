// The check of trace configurations as a program calls it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/WyTraceCheck.h"

namespace {

std::vector<std::string> Codes(const std::vector<WyTraceFinding>& findings) {
  std::vector<std::string> codes;
  for (const auto& finding : findings) codes.push_back(finding.strCode);
  return codes;
}

TEST(WyTraceCheck, SaysWhatEnableTraceWouldReturnAndTurnsNothingOn) {
  using testing::ElementsAre;
  TempDirectory folder;
  folder.Write("good", "version 1.1\ncomponents Log\ndata User\nUser @@li\n");
  folder.Write("bad", "data User\n");
  CWyLogger logger;
  std::vector<WyTraceFinding> findings;
  EXPECT_TRUE(WyCheckTraceConfiguration(logger, folder.Path("good").c_str(), findings));
  EXPECT_THAT(Codes(findings), ElementsAre("T001", "T001", "T002", "T003"));
  EXPECT_EQ(findings[1].strName, "Log/Legacy");
  EXPECT_EQ(findings[1].uId, 0x01010000u);
  EXPECT_EQ(findings[3].uLine, 4u);

  EXPECT_FALSE(WyCheckTraceConfiguration(logger, folder.Path("bad").c_str(), findings));
  EXPECT_EQ(findings.back().strCode, "T201") << "appended behind the others";
  EXPECT_EQ(findings.size(), 5u);
  EXPECT_FALSE(logger.TraceEnabled(0));
}

TEST(WyTraceCheck, NamesTheReasonWhenThereIsNothingToRead) {
  CWyLogger logger;
  std::vector<WyTraceFinding> findings;
  EXPECT_FALSE(WyCheckTraceConfiguration(logger, "/nowhere/trace.conf", findings));
  EXPECT_FALSE(WyCheckTraceConfiguration(logger, nullptr, findings));
  EXPECT_TRUE(WyCheckTraceConfiguration(logger, "/", findings)) << "a folder is an empty file";
  logger.Release();
  EXPECT_FALSE(WyCheckTraceConfiguration(logger, "/nowhere/trace.conf", findings));
  EXPECT_THAT(Codes(findings),
              testing::ElementsAre("T101", "T101", "T102", "T208", "T209", "T101"));
  EXPECT_EQ(findings[0].strText, "cannot be opened: No such file or directory");
}

}  // namespace
