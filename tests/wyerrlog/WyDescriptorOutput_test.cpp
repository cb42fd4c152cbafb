// Records to descriptors of the host: pipes and sockets whose other end goes away or does not read,
// and priorities.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "test_support/ChildProcess.h"
#include "test_support/TestThread.h"
#include "wyerrlog/WyDescriptorOutput.h"
#include "wyerrlog/WyLogger.h"

namespace {

bool Log(CWyDescriptorOutput& output, const std::string& strText) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage(strText.c_str());
  return output.Log(msg);
}

bool Log(CWyLogger& logger, const std::string& strText) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage(strText.c_str());
  return logger.LogErrMsg(msg);
}

// A pipe or a pair of sockets: what is written to `hWrite` is read from `hRead`.
struct Channel {
  int hRead, hWrite;

  static Channel Pipe(int iFlags = 0) {
    std::array<int, 2> ends;
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC | iFlags), 0);
    return {ends[0], ends[1]};
  }
  static Channel Sockets(int iType) {
    std::array<int, 2> ends;
    EXPECT_EQ(socketpair(AF_UNIX, iType | SOCK_CLOEXEC, 0, ends.data()), 0);
    return {ends[0], ends[1]};
  }
  // What one read(2) finds, of a datagram socket one datagram.
  std::string Read() const {
    std::string strRead(1 << 17, '\0');
    const ssize_t lRead = read(hRead, strRead.data(), strRead.size());
    strRead.resize(lRead < 0 ? 0 : static_cast<size_t>(lRead));
    return strRead;
  }
};

// SIGPIPE would end the test.
TEST(DescriptorOutput, AReaderThatGoesAwayRefusesRecordsAndEndsNothing) {
  for (const Channel channel :
       {Channel::Pipe(), Channel::Sockets(SOCK_STREAM), Channel::Sockets(SOCK_DGRAM)}) {
    CWyDescriptorOutput output(channel.hWrite);
    EXPECT_FALSE(Log(output, "not open\n"));
    ASSERT_TRUE(output.Open());
    EXPECT_TRUE(Log(output, "first\n"));
    EXPECT_EQ(channel.Read(), "first\n");
    close(channel.hRead);
    EXPECT_FALSE(Log(output, "nobody reads\n"));
    EXPECT_TRUE(errno == EPIPE || errno == ECONNREFUSED) << errno;
    EXPECT_TRUE(output.Close());
    EXPECT_EQ(fcntl(channel.hWrite, F_GETFD), FD_CLOEXEC) << "closed";
  }
}

// A SIGPIPE that the host itself has blocked stays pending, as write(2) leaves it.
TEST(DescriptorOutput, LeavesTheSignalMaskOfTheThreadAsItWas) {
  sigset_t sigpipe, mask, pending;
  sigemptyset(&sigpipe);
  sigaddset(&sigpipe, SIGPIPE);
  for (const bool bBlocked : {false, true}) {
    if (bBlocked) pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);
    const Channel channel = Channel::Pipe();
    CWyDescriptorOutput output(channel.hWrite);
    close(channel.hRead);
    EXPECT_TRUE(output.Open() && !Log(output, "x\n"));
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGPIPE), bBlocked);
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), bBlocked);
  }
}

TEST(DescriptorOutput, AFullPipeRefusesAndTheNextRecordHasItsOwnLine) {
  const Channel channel = Channel::Pipe(O_NONBLOCK);
  CWyDescriptorOutput output(channel.hWrite);
  ASSERT_TRUE(output.Open());
  // More than the pipe holds: a part of it goes in.
  EXPECT_FALSE(Log(output, std::string(100000, 'x') + '\n'));
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_FALSE(Log(output, "still full\n"));
  EXPECT_EQ(channel.Read(), std::string(65536, 'x'));
  EXPECT_TRUE(Log(output, "room again\n") && Log(output, "and again\n"));
  EXPECT_EQ(channel.Read(), "\nroom again\nand again\n");
}

// Neither the fork nor the child waits for the thread: the child may be what reads the pipe.
TEST(DescriptorOutput, AChildForkedWhileAThreadWaitsInAFullPipeLogs) {
  constexpr unsigned int SecondsToHang = 20;
  const Channel channel = Channel::Pipe();
  CWyLogger logger;
  ASSERT_TRUE(logger.SetLogOutput(new CWyDescriptorOutput(channel.hWrite)));
  const std::string strFull(static_cast<size_t>(fcntl(channel.hWrite, F_GETPIPE_SZ)) - 1, 'x');
  ASSERT_TRUE(Log(logger, strFull + '\n'));
  {
    const test_support::TestThread waiting([&] { EXPECT_TRUE(Log(logger, "parent\n")); });
    EXPECT_TRUE(waiting.Blocks());
    alarm(SecondsToHang);
    const pid_t pid = fork();
    if (pid == 0) {
      alarm(SecondsToHang / 2);  // that of the parent is not inherited
      _exit(channel.Read() == strFull + '\n' && Log(logger, "child\n") ? 0 : 1);
    }
    EXPECT_EQ(test_support::StatusOf(pid), 0);
  }
  alarm(0);
  const std::string strLines = channel.Read();
  EXPECT_TRUE(strLines == "parent\nchild\n" || strLines == "child\nparent\n") << strLines;
}

TEST(DescriptorOutput, EachLineHasThePriorityOfItsRecord) {
  const char* const pszProlog = "[17/4][Mon Nov 16 2026 17:16:13][a.cpp:12]";
  const struct {
    std::string strText, strWritten;
  } rows[] = {
      {"an audit record\n", "<6>an audit record\n"},
      {"no newline", "<6>no newline"},
      {"two\nlines\n", "<6>two\n<6>lines\n"},
      {"\n", "<6>\n"},
      {"", ""},
      {std::string(pszProlog) + "[ERROR][k-1] x\n", ""},
      {std::string(pszProlog) + "[WARNING] x\ny\n", ""},
      {"[17/x][t][a.cpp][ERROR] x\n", "<6>[17/x][t][a.cpp][ERROR] x\n"},
      {"[17/4][t][a.cpp][FATAL] x\n", "<6>[17/4][t][a.cpp][FATAL] x\n"},
      {"[17/4][t][a.cpp]", "<6>[17/4][t][a.cpp]"},
  };
  const Channel channel = Channel::Pipe(O_NONBLOCK);
  CWyDescriptorOutput output(channel.hWrite, LOG_INFO);
  ASSERT_TRUE(output.Open());
  for (const auto& row : rows) {
    std::string strExpected = row.strWritten;
    if (row.strText.find("[ERROR][k-1]") != std::string::npos) strExpected = "<3>" + row.strText;
    if (row.strText.find("[WARNING]") != std::string::npos) {
      strExpected = "<4>" + std::string(pszProlog) + "[WARNING] x\n<4>y\n";
    }
    EXPECT_TRUE(Log(output, row.strText));
    EXPECT_EQ(channel.Read(), strExpected);
  }
}

TEST(DescriptorOutput, WhatCannotBeWrittenToIsNotOpened) {
  const Channel channel = Channel::Pipe();
  const struct {
    int hFile, iPriority, iErrno;
  } rows[] = {{-1, -1, EBADF},
              {channel.hRead, -1, EBADF},
              {1000, 6, EBADF},
              {channel.hWrite, 8, EINVAL},
              {channel.hWrite, -2, EINVAL}};
  for (const auto& row : rows) {
    CWyDescriptorOutput output(row.hFile, row.iPriority);
    EXPECT_FALSE(output.Open());
    EXPECT_EQ(errno, row.iErrno);
    EXPECT_FALSE(output.Close());
  }
}

TEST(DescriptorOutput, TheJournalIsRecognisedByItsVariable) {
  const Channel channel = Channel::Pipe();
  struct stat status;
  ASSERT_EQ(fstat(channel.hWrite, &status), 0);
  const std::string strStream = std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
  EXPECT_FALSE(CWyDescriptorOutput::IsJournalStream(channel.hWrite));
  setenv("JOURNAL_STREAM", strStream.c_str(), 1);
  EXPECT_TRUE(CWyDescriptorOutput::IsJournalStream(channel.hWrite));
  EXPECT_FALSE(CWyDescriptorOutput::IsJournalStream(Channel::Pipe().hWrite));
}

}  // namespace
