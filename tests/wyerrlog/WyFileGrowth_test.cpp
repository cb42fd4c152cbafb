// When a size-limited file asks the system for its size, and that its limit holds whoever writes to
// it. The coarse clock stands still unless a test moves it.

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <vector>

#include "test_support/ChildProcess.h"
#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "test_support/TestThread.h"
#include "wyerrlog/WyLogOutput.h"

namespace {

using stand_ins::AllCalls;
using stand_ins::Call;
using stand_ins::Effect;
using test_support::TestThread;

constexpr std::size_t Limit = 1 << 20;
const std::string Record(100, 'r');

class FileGrowth : public testing::Test {
 protected:
  FileGrowth() {
    stand_ins::coarse_clock = 1000;
    Reopen();
  }
  ~FileGrowth() override { stand_ins::coarse_clock = 0; }

  void Reopen(std::size_t uSize = 0) {
    for (const auto& strName : m_directory.Names()) std::filesystem::remove(Path(strName));
    m_directory.Write("a.log", std::string(uSize, 'x'));
    EXPECT_TRUE(m_output.SetParams(Path("a.log").c_str(), 3, 1, 0) && m_output.Open());
  }
  std::string Path(const std::string& strName) const { return m_directory.Path(strName); }
  bool HasRolledOver() const { return m_directory.Names().size() > 1; }
  void Append(std::size_t uBytes) const {
    std::ofstream(Path("a.log"), std::ios::app) << std::string(uBytes, 'f');
  }

  // Logs records, and returns how many of them have asked for the size.
  long Asked(int iRecords) {
    stand_ins::Inject({Call::Lseek, Effect::Failure, EIO, AllCalls, 0});
    for (int i = 0; i < iRecords; ++i) m_output.Log(Record.c_str());
    return stand_ins::Calls(Call::Lseek);
  }

  TempDirectory m_directory;
  CWyFileOutput m_output;
};

TEST_F(FileGrowth, AsksAtEveryRecordThenOncePer64AndWhenSomethingHasHappened) {
  EXPECT_EQ(Asked(65), 65);
  EXPECT_EQ(Asked(63), 0);
  EXPECT_EQ(Asked(65), 2);

  const auto befalls = [](Effect effect) { stand_ins::Inject({Call::Write, effect, ENOSPC}); };
  Asked(0);
  befalls(Effect::Failure);
  EXPECT_FALSE(m_output.Log(Record.c_str()));
  EXPECT_EQ(Asked(60), 1) << "after a failed write";
  befalls(Effect::Short);
  EXPECT_TRUE(m_output.Log(Record.c_str()));
  EXPECT_EQ(Asked(60), 1) << "after a short write, whose bytes are its own";
  Append(1);
  stand_ins::coarse_clock += 4;
  EXPECT_EQ(Asked(70), 65) << "neither hides a foreign byte";
  stand_ins::coarse_clock += 3;
  EXPECT_EQ(Asked(1), 0);
  stand_ins::coarse_clock += 1;
  EXPECT_EQ(Asked(60), 1) << "after 4 ms";

  const pid_t pid = fork();
  if (pid == 0) _exit(Asked(20) == 1 ? 0 : 1);
  EXPECT_EQ(test_support::StatusOf(pid), 0);
  EXPECT_EQ(Asked(60), 60) << "after a fork, whose child has written";
  m_output.LogMessage(Record.c_str());
  EXPECT_EQ(Asked(10), 5) << "LogMessage counts as its own";
}

TEST_F(FileGrowth, AsksAtEveryRecordInTheLastSixteenth) {
  Reopen(Limit / 16 * 15 - 150 * Record.size());
  EXPECT_EQ(Asked(150), 67);
  EXPECT_EQ(Asked(100), 100);
  Append(Limit / 16 - 101 * Record.size());
  EXPECT_EQ(Asked(1), 2);  // the second one by the thread that rolls the file over
  EXPECT_TRUE(HasRolledOver());
}

// Another process appends, truncates, or moves the file away and writes to a new one: after any
// number of records, with the clock at any point of its 4 ms.
TEST_F(FileGrowth, SeesWhatOthersDoWithin4Milliseconds) {
  for (const int iRecords : {0, 1, 63, 64, 65, 66, 100, 128, 129, 130}) {
    SCOPED_TRACE(iRecords);
    Reopen();
    Asked(iRecords);
    Append(1);
    stand_ins::coarse_clock += 4;
    EXPECT_EQ(Asked(65), 65) << "one foreign byte";
    Append(Limit);
    stand_ins::coarse_clock += 4;
    Asked(1);
    EXPECT_TRUE(HasRolledOver());
    EXPECT_EQ(m_directory.Read("a.log"), Record);

    Reopen(Limit / 2);
    Asked(iRecords);
    std::filesystem::resize_file(Path("a.log"), 50);
    stand_ins::coarse_clock += 4;
    EXPECT_EQ(Asked(65), 65) << "a shorter file";
    Append(Limit - 65 * Record.size() - 50 - 101);
    stand_ins::coarse_clock += 4;
    Asked(1);
    EXPECT_FALSE(HasRolledOver());
    Asked(1);
    EXPECT_TRUE(HasRolledOver());

    Reopen(1);
    Asked(iRecords);
    std::filesystem::rename(Path("a.log"), Path("b.log"));
    Append(Limit);
    stand_ins::coarse_clock += 4;
    Asked(70);
    EXPECT_EQ(m_directory.Names().size(), 2u) << "the file that is open is the one that is limited";
    EXPECT_EQ(m_directory.Read("b.log").size(), 1 + (70u + static_cast<unsigned>(iRecords)) * 100);
  }
}

TEST_F(FileGrowth, CountsForTwoProcessesAndManyThreads) {
  const pid_t pid = fork();
  if (pid == 0) {
    CWyFileOutput output;
    bool bLogged = output.SetParams(Path("a.log").c_str(), 1, 0, 0) && output.Open();
    for (int i = 0; i < 1000; ++i) bLogged = output.Log(Record.c_str()) && bLogged;
    _exit(bLogged ? 0 : 1);
  }
  stand_ins::coarse_clock = 0;
  std::vector<std::unique_ptr<TestThread>> threads;
  for (int iThread = 1; iThread <= 4; ++iThread) {
    threads.push_back(std::make_unique<TestThread>([this, iThread] {
      const std::string strText(static_cast<unsigned>(40 * iThread + 3), 't');
      for (int i = 0; i < 10000; ++i) ASSERT_TRUE(m_output.Log(strText.c_str()));
    }));
  }
  threads.clear();
  EXPECT_EQ(test_support::StatusOf(pid), 0);
  std::size_t uAll = 0;
  for (const auto& strName : m_directory.Names()) {
    const std::size_t uSize = std::filesystem::file_size(Path(strName));
    // The process that does not roll the file over may go on writing to the backup.
    EXPECT_LT(uSize, Limit + 1000 * Record.size());
    uAll += uSize;
  }
  EXPECT_EQ(uAll, 1000 * Record.size() + 10000 * (40u * 10 + 12));
}

TEST_F(FileGrowth, KeepsTheLimitToTheByte) {
  for (const std::size_t uFirst : {1u, 997u}) {
    Reopen();
    std::size_t uSize = 0;
    for (std::size_t i = uFirst; !HasRolledOver(); ++i) {
      const std::string strText(i * 7919 % 300 + 1, 't');
      ASSERT_TRUE(m_output.Log(strText.c_str()));
      uSize += strText.size();
      EXPECT_EQ(uSize >= Limit, HasRolledOver());
    }
  }
}

}  // namespace
