// Log files that are no files, and full disks.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLogOutput.h"

namespace {

bool MakeDirectory(const char* pszPath) { return mkdir(pszPath, 0755) == 0; }
bool MakePipe(const char* pszPath) { return mkfifo(pszPath, 0666) == 0; }
bool MakeReadPipe(const char* pszPath) {
  return MakePipe(pszPath) && open(pszPath, O_RDONLY | O_NONBLOCK | O_CLOEXEC) >= 0;
}
bool MakeLinkToNowhere(const char* pszPath) { return symlink("missing/target", pszPath) == 0; }

TEST(HostileFile, WhatIsNeitherAFileNorADeviceIsRefusedAtOnceAndLeftAlone) {
  for (const auto make : {MakeDirectory, MakePipe, MakeReadPipe, MakeLinkToNowhere}) {
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

TEST(HostileFile, ALinkToAFileIsRolledOverAndTheFileLeftAlone) {
  const TempDirectory directory;
  ASSERT_EQ(symlink("target", directory.Path("a.log").c_str()), 0);
  CWyFileOutput output;
  ASSERT_TRUE(output.SetParams(directory.Path("a.log").c_str(), 4, 0, 0) && output.Open());
  EXPECT_TRUE(output.LogMessage("first\n") && output.Log("second\n"));
  EXPECT_EQ(directory.Read("target"), "first\n");
  EXPECT_EQ(directory.Read("a.log"), "second\n");
}

// Ends the space for a file, as a full disk does.
void LimitFileSize(rlim_t uBytes) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
  limit.rlim_cur = uBytes;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST(HostileFile, WritingResumesWhenAFullDiskHasRoomAgain) {
  const TempDirectory directory;
  LimitFileSize(5);
  CWyFileOutput output;
  ASSERT_TRUE(output.SetParams(directory.Path("a.log").c_str(), 3, 1, 0) && output.Open());
  EXPECT_TRUE(output.Log("cut short\n"));
  EXPECT_FALSE(output.Log("refused\n"));
  LimitFileSize(RLIM_INFINITY);
  EXPECT_TRUE(output.Log("room again\n"));
  EXPECT_EQ(directory.Read("a.log"), "cut sroom again\n");
}

}  // namespace
