// The C front end: the calls of wyerrlog_c_calls.c, from C99 and from C++, write what the front end
// in C++ writes; options and reasons are texts; no exception leaves a function.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>

#include "test_support/FailingMemory.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLogger.h"
#include "wyerrlog/wyerrlog_c.h"

// Compiled here as C++; the other object of the same source is C99.
#include "wyerrlog_c_calls.c"  // NOLINT(bugprone-suspicious-include)

extern "C" {
const char* wyerrlog_c99_messages(void);
const char* wyerrlog_c99_audit(void);
const char* wyerrlog_c99_trace(void);
const char* wyerrlog_c99_requests(void);
const char* wyerrlog_c99_losses(void);
}

namespace {

using testing::HasSubstr;

// Runs in a folder of its own, once for each language.
class FrontEndForC : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { ASSERT_EQ(chdir(m_directory.Path("").c_str()), 0); }

  const char* Run(const char* (*pfnC)(void), const char* (*pfnCpp)(void)) {
    const char* const pszFailed = GetParam() ? pfnCpp() : pfnC();
    return pszFailed != nullptr ? pszFailed : "";
  }

  // The file with processes, threads, dates and lines left out.
  std::string Read(const char* pszName) {
    std::string strText = m_directory.Read(pszName);
    for (const char* pszVarying :
         {"\\[\\d+/\\d+\\]\\[[^\\]]*\\]", "time=\\S+ pid=\\d+ tid=\\d+ ",
          "\"time\":\"[^\"]*\",\"pid\":\\d+,\"tid\":\\d+,", ":\\d+(?=[\\]|])"}) {
      strText = std::regex_replace(strText, std::regex(pszVarying), "");
    }
    return strText;
  }

  const TempDirectory m_directory;
};

TEST_P(FrontEndForC, LogsMessagesAndTexts) {
  ASSERT_TRUE(wyerrlog_log_to_file(nullptr, "error.log", "mode=appendRollBySize maxSizeMB=1"));
  EXPECT_STREQ(Run(wyerrlog_c99_messages, wyerrlog_cpp_messages), "");
  EXPECT_EQ(Read("error.log"),
            "[wyerrlog_c_calls.c][WARNING][wy-log-00000] first\\x0a[1/1]\n"
            "[][WARNING][wy-log-00000] a\n"
            "[][WARNING][wy-log-00000] <null>\n"
            "[wyerrlog_c_calls.c][INFO][wy-log-00000] 90% of \\x1b[2J\n"
            "[wyerrlog_c_calls.c][ERROR][wy-log-00000] last\n");
}

TEST_P(FrontEndForC, WritesTypedAuditRecords) {
  ASSERT_TRUE(wyerrlog_audit_to_file(nullptr, "audit.log", "permissions=0600 daily"));
  EXPECT_STREQ(Run(wyerrlog_c99_audit, wyerrlog_cpp_audit), "");
  EXPECT_EQ(Read("audit.log"),
            "event=\"login\" user=\"al\\\"ice\\n\" user_2=null raw_key=\"a\\u0000b\" "
            "int=-9223372036854775808 uint=18446744073709551615 double=0.25 bool=true json=[1]\n"
            "{\"event\":\"json\",\"fields\":{}}\n"
            "text 7\n");
}

TEST_P(FrontEndForC, TracesWithFieldsAndWritesNothingThatIsDropped) {
  m_directory.Write("trace.conf",
                    "version: 1.1\ncomponents: Log\n"
                    "data: SrcFile, Function, User, Rule, ResponseTime, Message\n");
  ASSERT_TRUE(wyerrlog_trace_to_file(nullptr, "trace.log", "trace.conf",
                                     "layout=delimited delimiter='|' mode=append"));
  EXPECT_STREQ(Run(wyerrlog_c99_trace, wyerrlog_cpp_trace), "");
  const std::string strCall =
      std::string("wyerrlog_c_calls.c|wyerrlog_") + (GetParam() ? "cpp" : "c99") + "_trace|";
  EXPECT_THAT(Read("trace.log"),
              HasSubstr(strCall + "alice\\x0a|-7|0.500000|text\n" + strCall + "|||\n"));
}

TEST_P(FrontEndForC, CarriesTheFieldsOfRequests) {
  ASSERT_TRUE(wyerrlog_audit_to_file(nullptr, "audit.log", nullptr));
  EXPECT_STREQ(Run(wyerrlog_c99_requests, wyerrlog_cpp_requests), "");
  EXPECT_EQ(Read("audit.log"),
            "request=\"7f3a\" event=\"in both\" User=\"alice\" Rule=3\n"
            "event=\"in none\"\n"
            "request=\"7f3a\" event=\"in the copy\" User=\"alice\" Rule=3\n");
}

TEST_P(FrontEndForC, CountsLosses) {
  EXPECT_STREQ(Run(wyerrlog_c99_losses, wyerrlog_cpp_losses), "");
}

INSTANTIATE_TEST_SUITE_P(Languages, FrontEndForC, testing::Bool());

TEST(FrontEndForCOptions, ARefusalNamesTheWordAndTheRemedyAndChangesNothing) {
  const TempDirectory directory;
  const std::string strPath = directory.Path("a.log");
  const struct {
    const char* pszOptions;
    const char* pszText;
  } cases[] = {
      {"maxSize=1", "\"maxSize\" is unknown; did you mean \"maxSizeMB\"?"},
      {"layout=xml", "\"layout\" is unknown"},
      {"zzzzzzzzzz", "options are mode maxSizeMB"},
      {"mode=apend", "it must be one of append, overwrite"},
      {"maxSizeMB=4096", "it must be a number from 0 to 4095"},
      {"backups=-1 daily", "a number from 0"},
      {"daily=yes", "true, false"},
      {"permissions=0888", "octal"},
      {"permissions=0400", "let the owner write"},
      {"daily daily", "there twice"},
      {"backups=3", "have no effect"},
      {"maxSizeMB=3", "add mode=appendRollBySize"},
      {"mode=appendRollBySize", "needs maxSizeMB"},
      {"mode=overwrite shared", "empty a shared file"},
  };
  ASSERT_TRUE(wyerrlog_log_to_file(nullptr, strPath.c_str(), " daily=false\tshared "));
  EXPECT_STREQ(wyerrlog_error(), "");
  for (const auto& test : cases) {
    errno = 0;
    EXPECT_FALSE(wyerrlog_log_to_file(nullptr, strPath.c_str(), test.pszOptions));
    EXPECT_EQ(errno, EINVAL) << test.pszOptions;
    EXPECT_THAT(wyerrlog_error(), HasSubstr(test.pszText));
  }
  EXPECT_TRUE(wyerrlog_text(nullptr, WYERRLOG_HERE, WYERRLOG_ERROR, "still %s", "open"));
  EXPECT_FALSE(wyerrlog_audit_to_file(nullptr, "/no/such/folder", ""));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_STREQ(wyerrlog_error(), "/no/such/folder: No such file or directory");
  EXPECT_FALSE(
      wyerrlog_trace_to_file(nullptr, strPath.c_str(), directory.Path("none").c_str(), ""));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_THAT(wyerrlog_error(), HasSubstr("none: "));
  EXPECT_FALSE(wyerrlog_log_to_descriptor(nullptr, 12345, -1));
  EXPECT_THAT(wyerrlog_error(), HasSubstr("12345: Bad file descriptor"));
}

TEST(FrontEndForCExceptions, BecomeTheFailureOfTheCall) {
  struct Throwing : CWyLogOutput {
    bool Open() override { return true; }
    bool Close() override { return true; }
    bool Log(CWyErrLogMessage&) override { throw std::runtime_error("host"); }
  };
  ASSERT_TRUE(theLogger()->SetLogOutput(new Throwing));
  ASSERT_TRUE(theLogger()->EnableAuditLogRollover(new Throwing));
  errno = 0;
  EXPECT_FALSE(wyerrlog_text(nullptr, WYERRLOG_HERE, WYERRLOG_ERROR, "%d", 1));
  EXPECT_EQ(errno, EIO);
  EXPECT_FALSE(wyerrlog_audit_write(wyerrlog_audit_begin(nullptr, "x")));
  EXPECT_FALSE(wyerrlog_audit_text(nullptr, "x\n"));
}

// Each allocation of a request fails once: no record is written without its fields or in part.
TEST(FrontEndForCMemory, AFailedAllocationFailsTheCall) {
  const TempDirectory directory;
  const std::string strPath = directory.Path("a.log"), strLong(20000, 'x');
  const auto serve = [&] {
    wyerrlog_fields* const pFields = wyerrlog_fields_new();
    bool bDone = wyerrlog_fields_set(pFields, WYERRLOG_FIELD_USER, strLong.c_str()) != 0;
    wyerrlog_scope* const pScope = wyerrlog_scope_begin(pFields);
    bDone = bDone && pScope != nullptr;
    wyerrlog_audit* const pRecord = wyerrlog_audit_begin(nullptr, "whole");
    wyerrlog_audit_set(pRecord, "key", strLong.c_str());
    bDone = wyerrlog_audit_write(pRecord) != 0 && bDone;
    bDone = wyerrlog_audit_text(nullptr, "%s\n", strLong.c_str()) != 0 && bDone;
    wyerrlog_scope_end(pScope);
    wyerrlog_fields_free(pFields);
    return bDone && wyerrlog_audit_to_file(nullptr, strPath.c_str(), "shared mode=append") != 0;
  };
  ASSERT_TRUE(wyerrlog_audit_to_file(nullptr, strPath.c_str(), "shared") && serve());
  using test_support::FailingMemory;
  int iFailed = 0;
  for (bool bFailed = true; bFailed; ++iFailed) {
    directory.Write("a.log", "");
    FailingMemory::FailAt(iFailed + 1, false);
    const bool bDone = FailingMemory::During(serve);
    bFailed = FailingMemory::HasFailed();
    EXPECT_TRUE(bDone || bFailed) << iFailed;
    std::istringstream lines(directory.Read("a.log"));
    for (std::string strLine; std::getline(lines, strLine);) {
      EXPECT_TRUE(strLine.ends_with('x') || strLine.ends_with('"')) << strLine.substr(0, 80);
    }
    wyerrlog_audit_to_file(nullptr, strPath.c_str(), "shared");
  }
  EXPECT_GT(iFailed, 8);
}

}  // namespace
