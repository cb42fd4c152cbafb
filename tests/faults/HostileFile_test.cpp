// Log files that are no files, places that change under the host's feet, and full disks.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <string>

#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyFileUtil.h"
#include "wyerrlog/WyLogOutput.h"

namespace {

namespace fs = std::filesystem;

class HostileFile : public testing::Test {
 protected:
  std::string Log() const { return m_directory.Path("a.log"); }

  // Each output with a size limit of 0 rolls over before every message.
  bool Open(CWyFileOutput& output, int iMode, int iMaxBackups = 0) const {
    return output.SetParams(Log().c_str(), iMode, 0, iMaxBackups) && output.Open();
  }

  TempDirectory m_directory;
};

bool MakeDirectory(const char* pszPath) { return mkdir(pszPath, 0755) == 0; }

bool MakePipe(const char* pszPath) { return mkfifo(pszPath, 0666) == 0; }

bool MakeReadPipe(const char* pszPath) {
  return MakePipe(pszPath) && open(pszPath, O_RDONLY | O_NONBLOCK | O_CLOEXEC) >= 0;
}

bool MakeSocket(const char* pszPath) {
  sockaddr_un address = {AF_UNIX, {}};
  strncpy(address.sun_path, pszPath, sizeof address.sun_path - 1);
  const int hSocket = socket(AF_UNIX, SOCK_STREAM, 0);
  return bind(hSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

bool MakeLinkToDirectory(const char* pszPath) { return symlink("/tmp", pszPath) == 0; }

TEST_F(HostileFile, WhatIsNeitherAFileNorADeviceIsRefusedAtOnceAndLeftAlone) {
  for (const auto make : {MakeDirectory, MakePipe, MakeReadPipe, MakeSocket, MakeLinkToDirectory}) {
    const TempDirectory directory;
    const std::string strLog = directory.Path("a.log");
    ASSERT_TRUE(make(strLog.c_str()));
    directory.Write("a_20010101_000000.log", "");
    const std::set<std::string> before = directory.Names();
    for (int iMode = 0; iMode <= 4; ++iMode) {
      CWyFileOutput output;
      ASSERT_TRUE(output.SetParams(strLog.c_str(), iMode, 0, 1));
      EXPECT_FALSE(output.Open()) << iMode;
      EXPECT_FALSE(output.Log("nowhere\n"));
      EXPECT_EQ(directory.Names(), before);
    }
  }
}

TEST_F(HostileFile, DevicesAreWrittenToButNotRenamed) {
  if (mknod(Log().c_str(), S_IFCHR | 0600, makedev(1, 3)) != 0 || access(Log().c_str(), W_OK) != 0)
    GTEST_SKIP() << "may not make devices";
  for (int iMode = 0; iMode <= 4; ++iMode) {
    CWyFileOutput output;
    EXPECT_EQ(Open(output, iMode), iMode != 2 && iMode != 4) << iMode;
    EXPECT_EQ(output.Log("text\n"), iMode < 2) << "no rollover is possible";
  }
  EXPECT_EQ(m_directory.Names().size(), 1u);
}

TEST_F(HostileFile, ADanglingLinkGetsItsFile) {
  ASSERT_EQ(symlink("target", Log().c_str()), 0);
  CWyFileOutput output;
  ASSERT_TRUE(Open(output, 4) && output.LogMessage("first\n"));
  EXPECT_EQ(m_directory.Read("target"), "first\n");
  EXPECT_TRUE(output.Log("second\n"));
  EXPECT_EQ(m_directory.Read("target"), "first\n");
  EXPECT_EQ(m_directory.Read("a.log"), "second\n");

  ASSERT_EQ(unlink(Log().c_str()) + symlink("missing/target", Log().c_str()), 0);
  EXPECT_FALSE(Open(output, 1));
}

TEST_F(HostileFile, AMovedFileIsWrittenToWhereItIs) {
  CWyFileOutput output, other;
  ASSERT_TRUE(Open(output, 1) && output.Log("one\n"));
  fs::rename(Log(), m_directory.Path("moved"));
  EXPECT_TRUE(output.Log("two\n"));
  EXPECT_EQ(m_directory.Read("moved"), "one\ntwo\n");

  // What is to be rolled over is not there: the next output that is opened starts afresh.
  ASSERT_TRUE(Open(output, 3) && output.LogMessage("three\n"));
  fs::rename(Log(), m_directory.Path("moved too"));
  EXPECT_FALSE(output.Log("lost\n"));
  EXPECT_TRUE(Open(other, 3) && other.Log("four\n"));
  EXPECT_EQ(m_directory.Read("moved too"), "three\n");
  EXPECT_EQ(m_directory.Read("a.log"), "four\n");
}

TEST_F(HostileFile, ADirectoryMayGoAndComeBack) {
  const std::string strDirectory = m_directory.Path("logs");
  const std::string strLog = strDirectory + "/a.log";
  for (const int iMode : {1, 3}) {
    fs::create_directory(strDirectory);
    CWyFileOutput output, next;
    ASSERT_TRUE(output.SetParams(strLog.c_str(), iMode, 0, 1) && output.Open());
    fs::remove_all(strDirectory);
    EXPECT_EQ(output.Log("one\n"), iMode == 1);
    ASSERT_TRUE(next.SetParams(strLog.c_str(), iMode, 0, 1));
    EXPECT_FALSE(next.Open());
    fs::create_directory(strDirectory);
    EXPECT_TRUE(next.Open() && next.Log("two\n"));
  }
}

// Without the administrator's rights for a scope, in a directory of its own.
class Unprivileged {
 public:
  explicit Unprivileged(const std::string& strDirectory) {
    constexpr uid_t Nobody = 65534;
    if (getuid() != 0) return;
    EXPECT_EQ(chown(strDirectory.c_str(), Nobody, Nobody) + seteuid(Nobody), 0);
  }
  ~Unprivileged() { EXPECT_EQ(seteuid(getuid()), 0); }
};

TEST_F(HostileFile, AReadOnlyDirectoryPutsTheRolloverOff) {
  const std::string strDirectory = m_directory.Path("");
  const Unprivileged rights(strDirectory);
  stand_ins::clock = 1709627829;
  CWyFileOutput output;
  ASSERT_TRUE(Open(output, 3) && output.LogMessage("one\n"));
  ASSERT_EQ(chmod(strDirectory.c_str(), 0500), 0);
  EXPECT_TRUE(output.Log("two\n"));
  ASSERT_EQ(chmod(strDirectory.c_str(), 0700), 0);
  EXPECT_TRUE(output.Log("three\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "one\ntwo\nthree\n");
  stand_ins::clock += 301;
  EXPECT_TRUE(output.Log("four\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "four\n");
}

// Ends the space for a file, as a full disk does.
void LimitFileSize(rlim_t uBytes) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
  limit.rlim_cur = uBytes;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST_F(HostileFile, WritingResumesWhenAFullDiskHasRoomAgain) {
  LimitFileSize(1050);
  CWyFileOutput output;
  ASSERT_TRUE(output.SetParams(Log().c_str(), 3, 1, 0) && output.Open());
  const std::string strLine = std::string(99, 'x') + '\n';
  std::string strExpected;
  while (output.Log(strLine.c_str())) strExpected += strLine;
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(output.Log(strLine.c_str()));
  ASSERT_EQ(strExpected.size(), 1100u) << "the last write is cut short";
  LimitFileSize(RLIM_INFINITY);
  EXPECT_TRUE(output.Log("room again\n"));
  EXPECT_EQ(m_directory.Read("a.log"), strExpected.substr(0, 1050) + "room again\n");
}

TEST_F(HostileFile, NoFileIsHandedOnToProgramsThatTheProcessExecutes) {
  CWyFileOutput output;
  CWyFile configuration;
  EXPECT_TRUE(Open(output, 4) && output.Log("rolls over\n"));
  EXPECT_TRUE(configuration.OpenFile(Log().c_str(), CWyFile::Read));
  EXPECT_EQ(stand_ins::inheritable_opens, 0);
}

}  // namespace
