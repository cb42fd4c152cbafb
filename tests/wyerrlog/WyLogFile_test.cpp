// Logging to a file in one statement: what it installs, and why it refuses.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "test_support/HostOutput.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLog.h"
#include "wyerrlog/WyLogFile.h"
#include "wyerrlog/WyLoggerList.h"

namespace {

constexpr unsigned int Information = WyMessageId(WyComponentId(1), WySeverity::Information, 1);

class LogFile : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(chdir(m_directory.Path("").c_str()), 0); }

  const TempDirectory m_directory;
};

TEST_F(LogFile, OneStatementEachLogsAuditsAndTracesIntoTheWorkingDirectory) {
  m_directory.Write("trace.conf", "version: 1.1\ncomponents: Log\ndata: Message\n");
  CWyLogger& named = *getMyLogger("named");
  ASSERT_TRUE(WyLogToFile("error.log") && WyLogToFile(named, "named.log"));
  ASSERT_TRUE(WyAuditToFile("audit.log", {.permissions = 0600}) &&
              WyAuditToFile(named, "named_audit.log"));
  ASSERT_TRUE(WyTraceToFile("trace.log", {.config = "trace.conf"}) &&
              WyTraceToFile(named, "named.trace", {.config = "trace.conf"}));
  EXPECT_TRUE(WyLog(Information, "one") && WyLog(named, Information, "two"));
  EXPECT_TRUE(WyAudit("three\n") && WyAudit(named, "four\n"));
  WY_TRACE(WyComponentId(1)).Message("five");
  EXPECT_NE(m_directory.Read("error.log").find("] one\n"), std::string::npos);
  EXPECT_NE(m_directory.Read("named.log").find("] two\n"), std::string::npos);
  EXPECT_EQ(m_directory.Read("audit.log"), "three\n");
  EXPECT_EQ(m_directory.Read("named_audit.log"), "four\n");
  EXPECT_EQ(m_directory.Read("trace.log"), "[Message]\n[=======]\n[five]\n");
}

TEST_F(LogFile, AFileWithoutASlashIsRolledOver) {
  const std::string strLong(700000, 'x');
  for (const unsigned int uPermissions : {0644u, 0640u}) {
    const TempDirectory directory;
    ASSERT_EQ(chdir(directory.Path("").c_str()), 0);
    ASSERT_TRUE(WyAuditToFile("audit.log", {.mode = WyFileMode::AppendRollBySize,
                                            .maxSizeMB = 1,
                                            .backups = 2,
                                            .permissions = uPermissions}));
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(WyAudit("%s\n", strLong.c_str()));
    EXPECT_EQ(directory.Names().size(), 3u) << uPermissions;
  }
}

// What each refused call says in errno, and whether the log still has its former output.
TEST_F(LogFile, AFailureSaysWhyAndARefusalChangesNothing) {
  ASSERT_EQ(mkdir("folder", 0755), 0);
  ASSERT_EQ(mkfifo("pipe", 0644), 0);
  const struct {
    const char* pszPath;
    WyFileOptions options;
    int iErrno;
    bool bKeepsFormer;
  } rows[] = {
      {nullptr, {}, EINVAL, true},
      {"", {}, EINVAL, true},
      {"a.log", {.path = "b.log"}, EINVAL, true},
      {"a.log", {.mode = 5}, EINVAL, true},
      {"a.log", {.mode = 3}, EINVAL, true},
      {"a.log", {.maxSizeMB = 10}, EINVAL, true},
      {"a.log", {.mode = 3, .maxSizeMB = 4096}, EINVAL, true},
      {"a.log", {.backups = 5}, EINVAL, true},
      {"a.log", {.maxAgeDays = 5}, EINVAL, true},
      {"a.log", {.permissions = 0444}, EINVAL, true},
      {"a.log", {.permissions = 01644}, EINVAL, true},
      {"missing/a.log", {}, ENOENT, false},
      {"missing/a.log", {.permissions = 0600}, ENOENT, false},
      {"folder", {}, EISDIR, false},
      {"folder", {.daily = true}, EISDIR, false},
      {"folder", {.mode = 2}, ENOTSUP, false},
      {"folder", {.mode = 2, .daily = true}, ENOTSUP, false},
      {"pipe", {}, ENXIO, false},
      {"pipe", {.synchronous = true}, ENXIO, false},
  };
  for (const auto& row : rows) {
    ASSERT_TRUE(WyLogToFile("former.log"));
    errno = 0;
    EXPECT_FALSE(WyLogToFile(row.pszPath, row.options));
    EXPECT_EQ(errno, row.iErrno) << (row.pszPath ? row.pszPath : "null") << &row - rows;
    EXPECT_EQ(WyLog(Information, "x"), row.bKeepsFormer);
  }
  for (const WyTraceOptions& options :
       {WyTraceOptions{}, {.config = "missing.conf", .layout = 4}}) {
    errno = 0;
    EXPECT_FALSE(WyTraceToFile("trace.log", options));
    EXPECT_EQ(errno, EINVAL);
  }
  EXPECT_FALSE(WyTraceToFile("trace.log", {.config = "missing.conf"}));
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(LogFile, ACallbackOfTheLogAndAReleasedLoggerAreRefused) {
  CWyLogger& logger = *getMyLogger("refusing");
  test_support::OutputScript script;
  script.onLog = [&] {
    EXPECT_FALSE(WyLogToFile(logger, "a.log"));
    EXPECT_EQ(errno, EDEADLK);
  };
  ASSERT_TRUE(logger.SetLogOutput(new test_support::HostOutput(script)));
  EXPECT_TRUE(WyLog(logger, Information, "x"));
  logger.Release();
  EXPECT_FALSE(WyLogToFile(logger, "a.log"));
  EXPECT_EQ(errno, ESHUTDOWN);
}

}  // namespace
