// The n-th allocation of a host's calls fails, for every n: each call returns false or does its
// work, no exception leaves the library, and once memory is available again everything works.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <wyi18n/wyi18n.h>

#include <memory>
#include <string>

#include "TestComponentMessages.h"
#include "test_support/ChildProcess.h"
#include "test_support/FailingMemory.h"
#include "test_support/Sanitizer.h"
#include "test_support/TempDirectory.h"
#include "test_support/Tracing.h"
#include "wyerrlog/WyError.h"
#include "wyerrlog/WyLoggerList.h"

extern "C" void __lsan_do_leak_check() __attribute__((weak));

// In the place of the platform's: the one plug-in there is, with memory for the dynamic linker.
__attribute__((visibility("default"))) void* WyLoadLibrary(const char* pszName) {
  const test_support::FailingMemory::Spared spared;
  const std::string strName = pszName;
  if (!strName.ends_with("/libwytestcomponent.so")) return nullptr;
  return dlopen(pszName, RTLD_NOW | RTLD_LOCAL);
}

namespace {

using namespace test_support;

// One thread does everything: the thread sanitizer, slow as it is, need not see all of it.
constexpr long Step = IsThreadSanitized ? 20 : 1;

constexpr std::size_t LongValue = 3000;  // bytes; longer than what records and messages hold inline

// What a host does with the library, and the results that are expected. Calls may return false
// where an allocation failed.
class Host {
 public:
  void UseEverything() {
    m_strTag = "round " + std::to_string(++m_iRound);
    SetUpLogs();
    LogErrors(*theLogger(), "error");
    LogAudit();
    Trace();
    ChainErrors();
    UseNamedLogger();
    UseOwnLogger();
    Reconfigure();
    if (!FailingMemory::During([] { return theLogger(); })) ADD_FAILURE() << "no logger at all";
  }
  bool AllReturnedTrue() const { return m_bAllTrue; }
  void Forget() { m_bAllTrue = true; }

 private:
  // Returns what the call returns. Fails the test if the call throws.
  template <typename Call>
  auto Ask(Call call) -> decltype(call()) {
    try {
      const auto result = FailingMemory::During(call);
      if (!result) m_bAllTrue = false;
      return result;
    } catch (...) {
      ADD_FAILURE() << "an exception";
      m_bAllTrue = false;
      return {};
    }
  }
  CWyLogOutput* FileOutput(CWyLogger& logger, const char* pszName) {
    const std::string strPath = m_directory.Path(pszName);
    return Ask([&] { return logger.NewLogOutput(1, strPath.c_str(), 1, 0, 0); });
  }

  // Installs a file output; `install` returns whether the log took it.
  template <typename Install>
  void SetUp(CWyLogger& logger, const char* pszName, Install install) {
    CWyLogOutput* const pOutput = FileOutput(logger, pszName);
    if (pOutput != nullptr && !Ask([&] { return install(pOutput); })) {
      logger.DeleteLogOutput(pOutput);
    }
  }

  void SetUpLogs() {
    CWyLogger& logger = *Ask([] { return theLogger(); });
    SetUp(logger, "error", [&](CWyLogOutput* p) { return logger.SetLogOutput(p); });
    SetUp(logger, "audit", [&](CWyLogOutput* p) { return logger.EnableAuditLogRollover(p); });
    SetUp(logger, "trace", [&](CWyLogOutput* p) {
      return logger.EnableTrace(p, 3, nullptr, m_configuration.Path(), false, false, false);
    });
  }

  // A message that was taken is in the file, once; one that was not taken is not there.
  void ExpectWritten(bool bTaken, const char* pszFile, const std::string& strLine) {
    const std::string strText = m_directory.Read(pszFile);
    const auto uFirst = strText.find(strLine);
    EXPECT_EQ(uFirst != std::string::npos, bTaken) << strLine << " in " << strText;
    if (!bTaken) return;
    EXPECT_EQ(strText.find(strLine, uFirst + 1), std::string::npos) << strLine << " twice";
  }

  void LogErrors(CWyLogger& logger, const char* pszFile) {
    const std::string strPort = m_strTag + std::string(LongValue, 'p') + pszFile;
    const bool bTaken = Ask([&] {
      CWyErrLogMessage msg;
      return msg.FormatLogProlog("host.cpp", 1, 0) &&
             msg.FormatMessage(TestComponent::ServerStarted, strPort.c_str()) != nullptr &&
             logger.LogErrMsg(msg);
    });
    // Also without its bundle or component the message shows the argument or says what is missing.
    const bool bThere = m_directory.Read(pszFile).find("[host.cpp:1][INFO][") != std::string::npos;
    EXPECT_TRUE(bThere || !bTaken);
    char szFirst[] = "from";
    std::string strTo = m_strTag + std::string(LongValue, 't') + pszFile;
    char szThird[] = "why";
    char* apszArguments[] = {szFirst, strTo.data(), szThird};
    const bool bPrinted = Ask([&] {
      CWyErrLogMessage msg(false);
      return msg.FormatLogMessage(static_cast<int>(TestComponent::CopyFailed), apszArguments, 3) &&
             logger.LogErrMsg(msg);
    });
    ExpectWritten(bPrinted, pszFile, "[WARNING] Copying from to " + strTo + " failed: why\n");
  }

  void LogAudit() {
    const std::string strLine = m_strTag + std::string(LongValue * 2, 'a') + " audited\n";
    bool bTaken = false;
    try {
      bTaken = FailingMemory::During([&] {
        CWyErrLogMessage msg(false);
        return msg.FormatAuditMessage("%s", strLine.c_str()) && theLogger()->LogAuditMsg(msg);
      });
    } catch (const std::bad_alloc&) {
      // which FormatAuditMessage passes on
    }
    if (!bTaken) m_bAllTrue = false;
    ExpectWritten(bTaken, "audit", strLine);
  }

  void Trace() {
    const std::string strValue = m_strTag + std::string(LongValue, 'v') + " traced";
    const bool bTaken =
        Ask([&] { return test_support::Trace(*theLogger(), strValue.c_str(), LegacyId); });
    ExpectWritten(bTaken, "trace", ">" + strValue + "</Message>");
  }

  void ChainErrors() {
    CWyError errors;
    const std::string strLine = m_strTag + " chained\n";
    CWyErrData* const pEntry = Ask([] { return CWyError::NewErrData(); });
    if (pEntry == nullptr) return;
    FailingMemory::During([&] { pEntry->GetMsg().SetFormattedMessage(strLine.c_str()); });
    errors.AddError(pEntry);
    ExpectWritten(Ask([&] { return errors.LogMessages(); }), "error", strLine);
  }

  void UseNamedLogger() {
    CWyLogger* const pTenant = Ask([] { return getMyLogger("tenant"); });
    if (pTenant != nullptr) {
      EXPECT_NE(pTenant->GetAvailableDataFields(), nullptr) << "a logger that stays released";
      SetUp(*pTenant, "tenant", [&](CWyLogOutput* p) { return pTenant->SetLogOutput(p); });
      LogErrors(*pTenant, "tenant");
    }
    Ask([] { return removeMyLogger("tenant"); });
  }

  void UseOwnLogger() {
    alignas(CWyLogger) static unsigned char s_memory[sizeof(CWyLogger)];
    CWyLogger* const pOwn = Ask([] { return new (s_memory) CWyLogger; });
    ASSERT_NE(pOwn, nullptr);
    SetUp(*pOwn, "own", [&](CWyLogOutput* p) { return pOwn->SetLogOutput(p); });
    LogErrors(*pOwn, "own");
    pOwn->~CWyLogger();
  }

  void Reconfigure() {
    SetUp(*theLogger(), "trace", [&](CWyLogOutput* p) {
      return theLogger()->EnableTrace(p, 3, nullptr, m_configuration.Path(), false, true, false);
    });
    const std::string strTrace = m_directory.Path("rolled");
    CWyFileOutput unused;
    Ask([&] { return unused.SetParams(strTrace.c_str(), WyFileMode::AppendRollBySize, 1, 3); });
    m_directory.Write("rolled", "trace of the process before\n");
    Ask([&] {
      return WyInitLogger(false, true, 1, 2, ";", m_configuration.Path(), strTrace.c_str(), 3);
    });
    FailingMemory::During([] {
      theLogger()->DisableTrace(false);
      theLogger()->DisableAuditLog();
      theLogger()->DisableLog();
      theLogger()->Release();
      theLogger()->Init();
    });
  }

  TempDirectory m_directory;
  InMemoryFile m_configuration{"components: Log/Legacy\ndata: Message, User\nUser: !=nobody\n"};
  std::string m_strTag;
  int m_iRound = 0;
  bool m_bAllTrue = true;
};

// One run in a process of its own, where nothing is constructed yet. Returns whether an allocation
// failed.
bool FailsAt(long lNumber, bool bAllAfterIt) {
  const pid_t pid = fork();
  if (pid == 0) {
    alarm(60);
    Host host;
    FailingMemory::FailAt(lNumber, bAllAfterIt);
    host.UseEverything();
    const bool bFailed = FailingMemory::HasFailed();
    FailingMemory::FailAt(0, false);
    theLogger()->Init();  // which may have been where memory ran out
    host.Forget();
    host.UseEverything();
    EXPECT_TRUE(host.AllReturnedTrue()) << "with memory again";
    if (__lsan_do_leak_check != nullptr) __lsan_do_leak_check();
    _exit(testing::Test::HasFailure() ? 1 : bFailed ? 2 : 3);
  }
  const int iStatus = StatusOf(pid);
  EXPECT_TRUE(WIFEXITED(iStatus) && WEXITSTATUS(iStatus) >= 2)
      << "allocation " << lNumber << ", status " << iStatus;
  return WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 2;
}

class OutOfMemory : public testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Allocation, OutOfMemory, testing::Bool(),
                         [](const auto& param) { return param.param ? "AndAllAfterIt" : "Alone"; });

TEST_P(OutOfMemory, ThrowsNothingAndLosesNothingThatWasAnsweredTrue) {
  SetMessageDirectory();
  long lNumber = 1;
  for (; FailsAt(lNumber, GetParam()); lNumber += Step) {
    if (HasFailure()) FAIL() << "allocation " << lNumber;
  }
  EXPECT_GT(lNumber, 50) << "allocations";
}

}  // namespace
