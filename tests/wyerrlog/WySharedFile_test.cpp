// The file that several processes write to and roll over: nothing is lost, torn or written twice,
// whichever process dies at whatever moment, and whatever happens to the file from outside. Two
// outputs of one process are as independent as those of two.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "test_support/ChildProcess.h"
#include "test_support/Sanitizer.h"
#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyAuditFileOutput.h"

namespace {

using stand_ins::Call;
using stand_ins::Effect;
using Names = std::set<std::string>;

constexpr off_t Limit = 1 << 20;
constexpr size_t StampEnd = 17;  // of a backup's name, "a_20261123_143454"

class SharedFile : public testing::Test {
 protected:
  SharedFile() {
    m_options.path = m_directory.Path("a.log");
    m_options.shared = true;
    m_options.mode = WyFileMode::AppendRollBySize;
    m_options.maxSizeMB = 1;
    stand_ins::coarse_clock = 4;
  }

  std::unique_ptr<CWyAuditFileOutput> Open() const {
    auto pOutput = std::make_unique<CWyAuditFileOutput>(m_options);
    EXPECT_TRUE(pOutput->Open()) << errno;
    return pOutput;
  }
  // Each record is in a tick of its own, unless the clock is the system's.
  static bool Log(CWyAuditFileOutput& output, const std::string& strText) {
    if (stand_ins::coarse_clock != 0) stand_ins::coarse_clock += 4;
    CWyErrLogMessage msg(false);
    msg.SetFormattedMessage(strText.c_str());
    return output.Log(msg);
  }
  void RestartWithoutLimit() {
    m_options.mode = WyFileMode::Append;
    m_options.maxSizeMB = 0;
  }
  // The files in the order in which they were begun.
  std::vector<std::string> Files() const {
    Names names = m_directory.Names();
    names.erase(".a.log.lock");
    names.erase("a.log");
    std::vector<std::string> files(names.begin(), names.end());
    const auto isOlder = [](const std::string& strOne, const std::string& strOther) {
      const int iStamps = strOne.compare(0, StampEnd, strOther, 0, StampEnd);
      const int iLengths = static_cast<int>(strOne.size()) - static_cast<int>(strOther.size());
      return iStamps != 0 ? iStamps < 0 : iLengths != 0 ? iLengths < 0 : strOne < strOther;
    };
    std::sort(files.begin(), files.end(), isOlder);
    files.emplace_back("a.log");
    return files;
  }

  const TempDirectory m_directory;
  WyFileOptions m_options;
};

// Processes that write numbered records of all lengths and are killed at any moment.
class SharedFileUnderKills : public SharedFile {
 protected:
  static constexpr unsigned int Writers = 8;
  static constexpr unsigned int MaxWriters = 1000;
  struct Shared {
    std::atomic<bool> bStop;
    std::array<std::atomic<unsigned int>, MaxWriters> auAcknowledged;
  };

  SharedFileUnderKills()
      : m_pShared(static_cast<Shared*>(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                            MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    stand_ins::coarse_clock = 0;
  }
  ~SharedFileUnderKills() override { munmap(m_pShared, sizeof(Shared)); }

  // Half of the writers use the output that they inherit.
  pid_t StartWriter(CWyAuditFileOutput& inherited) {
    const unsigned int uWriter = m_uWriters++;
    const pid_t pid = fork();
    if (pid != 0) return pid;
    auto pOwn = uWriter % 2 == 0 ? Open() : nullptr;
    CWyAuditFileOutput& output = pOwn != nullptr ? *pOwn : inherited;
    std::minstd_rand random(uWriter + 1);
    for (unsigned int u = 1; !m_pShared->bStop; ++u) {
      std::string strRecord = std::to_string(uWriter) + ' ' + std::to_string(u) + ' ';
      strRecord.append(random() % 6000, 'x').append("E\n");
      if (!Log(output, strRecord)) _exit(1);
      m_pShared->auAcknowledged[uWriter] = u;
    }
    _exit(0);
  }

  // Counts what a file has; reports records that are not in order or not whole.
  void ReadFile(const std::string& strName, bool bInOrder) {
    std::istringstream lines(m_directory.Read(strName));
    for (std::string strLine; std::getline(lines, strLine);) {
      char* pEnd = strLine.data();
      const unsigned long uWriter = std::strtoul(pEnd, &pEnd, 10);
      const unsigned long uRecord = std::strtoul(pEnd, &pEnd, 10);
      const std::string_view strRest(pEnd);
      const bool bWhole = uRecord != 0 && strRest.ends_with('E') &&
                          strRest.find_first_not_of('x', 1) == strRest.size() - 1;
      if (!bWhole) {
        ++m_uTorn;
        continue;
      }
      ASSERT_LT(uWriter, m_uWriters) << strName;
      EXPECT_EQ(++m_found[uWriter][uRecord], 1) << strName << ": " << uWriter << ' ' << uRecord;
      if (!bInOrder) continue;
      EXPECT_GT(uRecord, m_last[uWriter]) << strName << ": writer " << uWriter;
      m_last[uWriter] = uRecord;
    }
  }

  Shared* const m_pShared;
  unsigned int m_uWriters = 0;
  unsigned int m_uTorn = 0;
  std::map<unsigned long, std::map<unsigned long, int>> m_found;
  std::map<unsigned long, unsigned long> m_last;
};

TEST_F(SharedFileUnderKills, KeepsEveryRecordThatWasWrittenOnceWholeAndInOrder) {
  constexpr int Kills = test_support::IsSanitized ? 30 : 100;
  const auto pInherited = Open();
  std::vector<pid_t> pids;
  for (unsigned int u = 0; u < Writers; ++u) pids.push_back(StartWriter(*pInherited));
  std::minstd_rand random(7);
  Names moved;
  for (int i = 0; i < Kills; ++i) {
    const timespec interval = {0, static_cast<long>(random() % 10000000)};
    nanosleep(&interval, nullptr);
    if (i % 10 == 5) {
      moved.insert("moved." + std::to_string(i));
      rename(m_options.path.c_str(), m_directory.Path("moved." + std::to_string(i)).c_str());
      continue;
    }
    pid_t& pid = pids[random() % Writers];
    kill(pid, SIGKILL);
    EXPECT_TRUE(WIFSIGNALED(test_support::StatusOf(pid)));
    pid = StartWriter(*pInherited);
  }
  m_pShared->bStop = true;
  for (const pid_t pid : pids) EXPECT_EQ(test_support::StatusOf(pid), 0);

  for (const std::string& strName : moved) ReadFile(strName, false);
  size_t uBackups = 0, uSmall = 0;
  for (const std::string& strName : Files()) {
    if (moved.count(strName) != 0) continue;
    ReadFile(strName, true);
    const auto lSize = static_cast<off_t>(m_directory.Read(strName).size());
    EXPECT_LT(lSize, Limit) << strName;
    // Rolled over once, when it was full; what a process that was killed last has left is empty.
    uSmall += lSize != 0 && lSize < Limit / 16 * 15 - 8000 && strName != "a.log" ? 1 : 0;
    ++uBackups;
  }
  EXPECT_GT(uBackups, 5u);
  EXPECT_LE(uSmall, moved.size());  // begun while the full one was renamed from outside
  EXPECT_LE(m_uTorn, static_cast<unsigned int>(Kills));
  for (unsigned int u = 0; u < m_uWriters; ++u) {
    const unsigned int uAcknowledged = m_pShared->auAcknowledged[u];
    const auto& found = m_found[u];
    // A process may die between the write and its acknowledgement.
    EXPECT_TRUE(found.size() == uAcknowledged || found.size() == uAcknowledged + 1) << u;
    EXPECT_EQ(found.empty() ? 0 : found.rbegin()->first, found.size()) << u;
  }
}

// A process dies at each step of a rollover; another one goes on, and none of its records and files
// shows it.
TEST_F(SharedFile, AProcessThatDiesWhileItRollsOverLeavesNothingBehind) {
  const std::string strHalf(600000, 'x');
  m_options.backups = 2;
  for (const Effect effect : {Effect::DeathBefore, Effect::DeathAfter}) {
    for (const Call call : {Call::Open, Call::OpenDir, Call::Rename, Call::Write}) {
      const auto pSurvivor = Open();
      ASSERT_TRUE(Log(*pSurvivor, "first\n" + strHalf + "\n"));
      const pid_t child = fork();
      if (child == 0) {
        stand_ins::Inject({call, effect, 0, call == Call::Open ? 2 : 1});
        Log(*pSurvivor, "second\n" + strHalf + "\n");
        _exit(1);
      }
      ASSERT_TRUE(WIFSIGNALED(test_support::StatusOf(child)));
      EXPECT_EQ(m_directory.Names().count("a.log"), 1u);
      ASSERT_TRUE(Log(*pSurvivor, "third\n" + strHalf + "\n"));
      unsigned int uFirst = 0, uThird = 0;
      for (const std::string& strName : Files()) {
        const std::string strText = m_directory.Read(strName);
        EXPECT_FALSE(strText.empty()) << strName;
        uFirst += strText.find("first\n") != std::string::npos ? 1 : 0;
        uThird += strText.find("third\n") != std::string::npos ? 1 : 0;
        unlink(m_directory.Path(strName).c_str());
      }
      EXPECT_TRUE(uFirst == 1 && uThird == 1) << static_cast<int>(call);
    }
  }
}

TEST_F(SharedFile, KeepsNumberHeadersOwnerAndPermissionsAcrossRolloversOfBoth) {
  m_options.backups = 2;
  m_options.permissions = 0660;
  stand_ins::coarse_clock = 0;
  umask(0);
  const auto pOne = Open(), pTwo = Open();
  CWyErrLogMessage first(false), second(false);
  first.SetFormattedMessage("head\n");
  second.SetFormattedMessage("====\n");
  for (const auto& pOutput : {pOne.get(), pTwo.get()}) pOutput->SetHeaders(first, second);
  umask(077);
  const std::string strRecord(100000, 'x');
  for (int i = 0; i < 60; ++i) ASSERT_TRUE(Log(i % 3 == 0 ? *pOne : *pTwo, strRecord + "\n"));
  const std::vector<std::string> files = Files();
  EXPECT_EQ(files.size(), 3u);
  for (const std::string& strName : files) {
    struct stat status;
    ASSERT_EQ(stat(m_directory.Path(strName).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0660u) << strName;
    EXPECT_LT(status.st_size, Limit) << strName;
    EXPECT_EQ(m_directory.Read(strName).substr(0, 11), "head\n====\nx") << strName;
  }
}

TEST_F(SharedFile, BeginsAFileForEachDayOnceForAllProcesses) {
  RestartWithoutLimit();
  m_options.daily = true;
  const auto pOne = Open(), pTwo = Open();
  ASSERT_TRUE(Log(*pOne, "today\n"));
  stand_ins::clock = time(nullptr) + 86400;
  ASSERT_TRUE(Log(*pOne, "tomorrow\n"));
  const timespec times[2] = {{stand_ins::clock, 0}, {stand_ins::clock, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, m_options.path.c_str(), times, 0), 0);
  ASSERT_TRUE(Log(*pTwo, "tomorrow too\n"));
  EXPECT_EQ(Files().size(), 2u);
  EXPECT_EQ(m_directory.Read("a.log"), "tomorrow\ntomorrow too\n");
}

// What other programs do with the file between two records, and what the next one finds.
TEST_F(SharedFile, FollowsWhatHappensToTheFileFromOutside) {
  RestartWithoutLimit();
  const std::string strOther = m_directory.Path("other");
  const auto pOne = Open(), pTwo = Open();
  ASSERT_TRUE(Log(*pOne, "1\n"));
  ASSERT_EQ(rename(m_options.path.c_str(), strOther.c_str()), 0);
  EXPECT_TRUE(Log(*pOne, "2\n") && Log(*pTwo, "3\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "2\n3\n");
  ASSERT_EQ(unlink(m_options.path.c_str()), 0);
  EXPECT_TRUE(Log(*pTwo, "4\n") && Log(*pOne, "5\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "4\n5\n");
  // Deleted within the tick, and while the record is written: it is written again.
  ASSERT_EQ(unlink(m_options.path.c_str()), 0);
  stand_ins::coarse_clock -= 4;
  EXPECT_TRUE(Log(*pOne, "5a\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "5a\n");
  stand_ins::before_write = [&] {
    stand_ins::before_write = nullptr;
    unlink(m_options.path.c_str());
  };
  EXPECT_TRUE(Log(*pOne, "6\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "6\n");
  // No other file can be opened: the one at hand goes on while it has a name.
  ASSERT_EQ(rename(m_options.path.c_str(), strOther.c_str()), 0);
  stand_ins::Inject({Call::Open, Effect::Failure, EMFILE, 1, stand_ins::AllCalls});
  EXPECT_TRUE(Log(*pOne, "7\n"));
  ASSERT_EQ(unlink(strOther.c_str()), 0);
  EXPECT_FALSE(Log(*pOne, "8\n"));
  EXPECT_EQ(errno, EMFILE);
  stand_ins::Withdraw(Call::Open);
  EXPECT_TRUE(Log(*pOne, "9\n"));
  EXPECT_EQ(m_directory.Read("a.log"), "9\n");
}

TEST_F(SharedFile, ARecordBehindATornOneHasItsOwnLineWhicheverProcessHasTornIt) {
  RestartWithoutLimit();
  const auto pOne = Open(), pTwo = Open();
  const std::string strPage(4096, 'x');
  ASSERT_TRUE(Log(*pOne, strPage));  // as a full disk cuts a record short
  EXPECT_TRUE(Log(*pTwo, "whole\n"));
  stand_ins::Inject({Call::Write, Effect::Short, 0});
  EXPECT_FALSE(Log(*pOne, "torn"));
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_TRUE(Log(*pTwo, "next\n"));
  EXPECT_EQ(m_directory.Read("a.log"), strPage + "\nwhole\nt\nnext\n");
  // Torn after the end of the file was looked at.
  stand_ins::before_write = [&] {
    stand_ins::before_write = nullptr;
    struct stat status;
    stat(m_options.path.c_str(), &status);
    std::ofstream(m_options.path, std::ios::app)
        << std::string(static_cast<size_t>(8192 - status.st_size), 'y');
  };
  EXPECT_TRUE(Log(*pOne, "last\n"));
  EXPECT_EQ(m_directory.Read("a.log").substr(8190), "y\nlast\n");
}

TEST_F(SharedFile, RefusesWhatItCannotShare) {
  m_directory.Write("other", "");
  ASSERT_EQ(symlink("other", m_options.path.c_str()), 0);
  CWyAuditFileOutput linked(m_options);
  EXPECT_TRUE(!linked.Open() && errno == ELOOP) << errno;
  m_options.path = "/dev/null";
  CWyAuditFileOutput device(m_options);
  EXPECT_TRUE(!device.Open() && errno == ENOTSUP) << errno;
  RestartWithoutLimit();
  m_options.mode = WyFileMode::Overwrite;
  CWyAuditFileOutput emptied(m_options);
  EXPECT_TRUE(!emptied.Open() && errno == EINVAL) << errno;
}

// The offset of the parent's descriptor stays where it was: the child has one of its own.
TEST_F(SharedFile, AForkedChildOpensTheFileItself) {
  const auto pOutput = Open();
  ASSERT_TRUE(Log(*pOutput, "parent\n"));
  std::string strInfo;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const auto target = std::filesystem::read_symlink(entry.path(), error);
    if (target != m_options.path) continue;
    strInfo = "/proc/self/fdinfo/" + entry.path().filename().string();
  }
  const pid_t child = fork();
  if (child == 0) _exit(Log(*pOutput, "child\n") ? 0 : 1);
  EXPECT_EQ(test_support::StatusOf(child), 0);
  std::string strLine;
  std::getline(std::ifstream(strInfo), strLine);
  EXPECT_EQ(strLine, "pos:\t7");
  EXPECT_EQ(m_directory.Read("a.log"), "parent\nchild\n");
}

// Where names cannot be exchanged, and where a rollover fails, no record is lost either.
TEST_F(SharedFile, RollsOverWithoutExchangeAndTriesAFailedRolloverAgain) {
  const std::string strHalf(600000, 'x');
  const auto pOne = Open(), pTwo = Open();
  ASSERT_TRUE(Log(*pOne, "1" + strHalf + "\n"));
  stand_ins::Inject({Call::Rename, Effect::Failure, EINVAL});
  EXPECT_TRUE(Log(*pTwo, "2" + strHalf + "\n"));
  EXPECT_EQ(Files().size(), 2u);
  EXPECT_EQ(m_directory.Read("a.log")[0], '2');
  stand_ins::Inject({Call::Rename, Effect::Failure, EACCES});
  EXPECT_TRUE(Log(*pOne, "3" + strHalf + "\n"));
  EXPECT_EQ(Files().size(), 2u);
  stand_ins::clock = time(nullptr) + 301;
  EXPECT_TRUE(Log(*pOne, "4\n"));
  EXPECT_EQ(Files().size(), 3u);
  EXPECT_EQ(m_directory.Read("a.log"), "4\n");
}

}  // namespace
