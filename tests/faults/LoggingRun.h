#ifndef TESTS_FAULTS_LOGGINGRUN_H
#define TESTS_FAULTS_LOGGINGRUN_H

// What the ladder and the crashes have in common: a host that logs numbered messages, and the
// question whether what it was told of them is what the files contain.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <map>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "test_support/HostOutput.h"
#include "test_support/SystemStandIns.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyAuditFileOutput.h"
#include "wyerrlog/WyDescriptorOutput.h"

namespace faults {

// What a host does with its log, from the installing to the removing of the output.
struct Scenario {
  const char* pszName;
  int iMode;  // a size limit of 0 lets every message of modes 3 and 4 roll the file over
  int iMaxBackups = 0;
  int iSecondsBetween = 0;    // messages; more than 300 let refused rollovers be tried again
  bool bPlainRename = false;  // the system has no renaming that does not replace
  size_t uThreads = 1;
  enum class Kind { PublishedFile, AuditFile, SharedFile, Descriptor } kind = Kind::PublishedFile;
};

inline std::string NameOf(const testing::TestParamInfo<Scenario>& scenario) {
  return scenario.param.pszName;
}

// What became of each message of each thread. In memory that a forked child shares: the answers
// survive its death.
enum class Answer : char { None, Pending, Accepted, Refused };
using Answers = std::array<std::array<std::atomic<Answer>, 8>, 4>;

inline Answers& NewAnswers() {
  void* const pMemory =
      mmap(nullptr, sizeof(Answers), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (pMemory == MAP_FAILED) throw std::runtime_error("mmap");
  return *new (pMemory) Answers;
}

// One go of it, in a directory of its own that holds a log with one message and eight backups.
class LoggingRun {
 public:
  explicit LoggingRun(const Scenario& scenario) : m_scenario(scenario), m_answers(NewAnswers()) {
    stand_ins::clock = 1709627829;
    stand_ins::Inject({stand_ins::Call::Rename, stand_ins::Effect::Failure, EINVAL, 1,
                       scenario.bPlainRename ? stand_ins::AllCalls : 0});
    for (int i = 1; i <= Backups; ++i) m_directory.Write(Backup(i), "backup\n");
    if (scenario.iMode == 0) return;  // truncates what it finds
    m_directory.Write("a.log", Text(0, 0) + '\n');
    m_answers[0][0] = Answer::Accepted;
    if (scenario.kind != Scenario::Kind::Descriptor) return;
    m_hFile = open(m_directory.Path("a.log").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  }
  ~LoggingRun() {
    munmap(&m_answers, sizeof m_answers);
    if (m_hFile >= 0) close(m_hFile);
  }
  LoggingRun(const LoggingRun&) = delete;
  LoggingRun& operator=(const LoggingRun&) = delete;

  void Log() {
    Install(m_scenario.iMode, m_scenario.iMaxBackups);
    std::vector<std::thread> others;
    for (size_t t = 1; t < m_scenario.uThreads; ++t) others.emplace_back([this, t] { LogAs(t); });
    LogAs(0);
    for (std::thread& other : others) other.join();
    theLogger()->DisableLog();
  }

  // The messages and the backups are where they belong, and an output that is installed now works.
  void ExpectNothingLost() {
    ExpectAgreement();
    Install(2, 0);
    EXPECT_TRUE(LogOne(0));
    theLogger()->DisableLog();
    ExpectAgreement();
  }

  size_t RefusedMessages() const {
    size_t uCount = 0;
    for (const auto& thread : m_answers) {
      uCount += static_cast<size_t>(std::count(thread.begin(), thread.end(), Answer::Refused));
    }
    return uCount;
  }

 private:
  static constexpr int MessagesPerThread = 5;
  static constexpr int Backups = 8;

  static std::string Backup(int i) { return "a_2001010" + std::to_string(i) + "_000000.log"; }
  static std::string Text(size_t uThread, size_t uNumber) {
    return "message " + std::to_string(uThread) + "." + std::to_string(uNumber) + " .... its end";
  }

  void Install(int iMode, int iMaxBackups) {
    CWyLogger& logger = *theLogger();
    CWyLogOutput* const pOutput = NewOutput(iMode, iMaxBackups);
    CWyErrLogMessage first(false), second(false);
    first.SetFormattedMessage("first header\n");
    second.SetFormattedMessage("second header\n");
    pOutput->SetHeaders(first, second);
    if (!logger.SetLogOutput(pOutput)) delete pOutput;
  }

  // An audit file is rolled over by day, so that a second between messages is a day.
  CWyLogOutput* NewOutput(int iMode, int iMaxBackups) {
    const std::string strPath = m_directory.Path("a.log");
    if (m_scenario.kind == Scenario::Kind::Descriptor) {
      return new CWyDescriptorOutput(m_hFile);
    }
    if (m_scenario.kind != Scenario::Kind::PublishedFile) {
      return new CWyAuditFileOutput({.path = strPath,
                                     .mode = iMode,
                                     .backups = iMaxBackups,
                                     .permissions = 0640,
                                     .daily = true,
                                     .shared = m_scenario.kind == Scenario::Kind::SharedFile});
    }
    return theLogger()->NewLogOutput(1, strPath.c_str(), iMode, 0, iMaxBackups);
  }

  void LogAs(size_t uThread) {
    for (int i = 0; i < MessagesPerThread; ++i) LogOne(uThread);
  }

  bool LogOne(size_t uThread) {
    stand_ins::clock += m_scenario.iSecondsBetween;
    auto& answers = m_answers[uThread];
    const auto next = std::find(answers.begin(), answers.end(), Answer::None);
    *next = Answer::Pending;
    const std::string strText = Text(uThread, static_cast<size_t>(next - answers.begin())) + '\n';
    const bool bLogged = test_support::Log(*theLogger(), &CWyLogger::LogErrMsg, strText.c_str());
    *next = bLogged ? Answer::Accepted : Answer::Refused;
    return bLogged;
  }

  // Every accepted message is a line of one file, once, and no refused one is. A message that was
  // neither when its process died may be. All else is a header, or a part of one or of a message
  // that was not accepted.
  void ExpectAgreement() const {
    std::vector<std::string> otherLines = {"backup", "first header", "second header"};
    std::map<std::string, int> found = Lines();
    for (size_t t = 0; t < m_answers.size(); ++t) {
      for (size_t i = 0; i < m_answers[t].size(); ++i) {
        const Answer answer = m_answers[t][i];
        const std::string strText = Text(t, i);
        const int iFound = found[strText];
        EXPECT_GE(iFound, answer == Answer::Accepted ? 1 : 0) << strText;
        EXPECT_LE(iFound, answer == Answer::Accepted || answer == Answer::Pending ? 1 : 0);
        if (answer != Answer::Accepted) otherLines.push_back(strText);
        found.erase(strText);
      }
    }
    for (const auto& line : found) {
      EXPECT_TRUE(std::any_of(otherLines.begin(), otherLines.end(), [&](const auto& other) {
        return other.starts_with(line.first);
      })) << line.first;
    }
    ExpectBackups();
  }

  // How often each line is in the files. One that is cut short before its newline counts as a
  // shorter one.
  std::map<std::string, int> Lines() const {
    std::map<std::string, int> lines;
    for (const std::string& strName : m_directory.Names()) {
      std::istringstream content(m_directory.Read(strName));
      for (std::string strLine; std::getline(content, strLine); ++lines[strLine]) {
        if (content.eof()) strLine.pop_back();
      }
    }
    return lines;
  }

  void ExpectBackups() const {
    const std::set<std::string> names = m_directory.Names();
    for (int i = 1; i <= Backups; ++i) {
      const bool bThere = names.contains(Backup(i));
      EXPECT_TRUE(bThere || m_scenario.iMaxBackups > 0) << Backup(i);
      EXPECT_EQ(m_directory.Read(Backup(i)), bThere ? "backup\n" : "");
    }
  }

  const Scenario m_scenario;
  int m_hFile = -1;  // the host's, for an output that does not open one
  TempDirectory m_directory;
  Answers& m_answers;
};

}  // namespace faults

#endif
