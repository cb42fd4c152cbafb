#ifndef TESTS_FAULTS_LOGGINGRUN_H
#define TESTS_FAULTS_LOGGINGRUN_H

#include <cerrno>
#include <map>
#include <thread>
#include <vector>

#include "faults/MessageLedger.h"
#include "test_support/SystemStandIns.h"
#include "wyerrlog/WyLogger.h"

namespace faults {

// What a host does with its log, from the installing to the removing of the output.
struct Scenario {
  const char* pszName;
  int iMode;  // a size limit of 0 lets every message of modes 3 and 4 roll the file over
  int iMaxBackups = 0;
  int iSecondsBetween = 0;    // messages; more than 300 let refused rollovers be tried again
  bool bPlainRename = false;  // the system has no renaming that does not replace
  size_t uThreads = 1;
};

inline std::string NameOf(const testing::TestParamInfo<Scenario>& scenario) {
  return scenario.param.pszName;
}

// One go of it, in a directory of its own that holds a log with one message and eight backups.
class LoggingRun {
 public:
  static constexpr int MessagesPerThread = 5;

  explicit LoggingRun(const Scenario& scenario) : m_scenario(scenario) {
    stand_ins::clock = 1709627829;
    stand_ins::Inject({stand_ins::Call::Rename, stand_ins::Effect::Failure, EINVAL, 1,
                       scenario.bPlainRename ? stand_ins::ForEver : 0});
    for (int i = 1; i <= 8; ++i) {
      const std::string strName = "a_2001010" + std::to_string(i) + "_000000.log";
      m_backups[strName] = "backup\n";
      m_directory.Write(strName, m_backups[strName]);
    }
    if (scenario.iMode == 0) return;  // truncates what it finds
    m_ledger.Log(0, [this](const std::string& strText) {
      m_directory.Write("a.log", strText);
      return true;
    });
  }

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
    const size_t uBefore = m_ledger.Count(true);
    LogOne(0);
    EXPECT_EQ(m_ledger.Count(true), uBefore + 1);
    theLogger()->DisableLog();
    ExpectAgreement();
  }

  size_t RefusedMessages() const { return m_ledger.Count(false); }

 private:
  void Install(int iMode, int iMaxBackups) {
    CWyLogger& logger = *theLogger();
    CWyLogOutput* const pOutput =
        logger.NewLogOutput(1, m_directory.Path("a.log").c_str(), iMode, 0, iMaxBackups);
    CWyErrLogMessage first(false), second(false);
    first.SetFormattedMessage("first header\n");
    second.SetFormattedMessage("second header\n");
    pOutput->SetHeaders(first, second);
    if (!logger.SetLogOutput(pOutput)) logger.DeleteLogOutput(pOutput);
  }

  void LogAs(size_t uThread) {
    for (int i = 0; i < MessagesPerThread; ++i) LogOne(uThread);
  }

  void LogOne(size_t uThread) {
    stand_ins::clock += m_scenario.iSecondsBetween;
    m_ledger.Log(uThread, [](const std::string& strText) {
      CWyErrLogMessage msg(false);
      msg.SetFormattedMessage(strText.c_str());
      return theLogger()->LogErrMsg(msg);
    });
  }

  void ExpectAgreement() {
    m_ledger.ExpectAgreement(m_directory, {"backup", "first header", "second header"});
    const std::set<std::string> names = m_directory.Names();
    for (const auto& [strName, strContent] : m_backups) {
      EXPECT_TRUE(m_scenario.iMaxBackups > 0 || names.contains(strName)) << strName;
      if (names.contains(strName)) {
        EXPECT_EQ(m_directory.Read(strName), strContent);
      }
    }
  }

  const Scenario m_scenario;
  TempDirectory m_directory;
  MessageLedger m_ledger;
  std::map<std::string, std::string> m_backups;
};

}  // namespace faults

#endif
