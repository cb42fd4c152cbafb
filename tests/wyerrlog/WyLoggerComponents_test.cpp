// Loading and unloading of component libraries, and the lists made of what they offer.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdlib>
#include <latch>
#include <list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "test_support/ChildProcess.h"
#include "test_support/HostOutput.h"
#include "test_support/Sanitizer.h"
#include "test_support/TestThread.h"
#include "test_support/Tracing.h"
#include "wyerrlog/WyMessageId.h"

namespace {

constexpr const char* BuiltIn = "Log ; Log description : Legacy ; Legacy Description.";

TEST(LoggerComponents, WithoutLibrariesTheBuiltInOneIsThere) {
  unsetenv("ORVA_WA_ROOT");
  const auto pLogger = std::make_unique<CWyLogger>();
  EXPECT_STREQ(pLogger->GetAvailableComponents(), BuiltIn);
  EXPECT_TRUE(std::string(pLogger->GetAvailableDataFields()).starts_with("Message SrcFile "));
  for (const unsigned int uId : {0x01000001u, 0x01FFC001u, 0x01000003u}) {
    EXPECT_STREQ(pLogger->FetchMsg(uId), "%1s");
    EXPECT_STREQ(pLogger->GetMsgBundle(uId), "Log");
  }
  for (const unsigned int uId : {1u, 0x02000001u, 0x1C000001u, 0xFF000001u}) {
    EXPECT_EQ(pLogger->FetchMsg(uId), nullptr) << uId;
    EXPECT_EQ(pLogger->GetMsgBundle(uId), nullptr) << uId;
  }
  EXPECT_EQ(pLogger->FetchMsg(0x01000004), nullptr);
  pLogger->Release();
  EXPECT_EQ(pLogger->FetchMsg(0x01000001), nullptr);
  EXPECT_EQ(pLogger->GetAvailableComponents(), nullptr);
  EXPECT_EQ(pLogger->LoadComponent(0x02000000, nullptr), nullptr);
  pLogger->UnloadComponent(nullptr);
}

// "C8 ;  : S1 ; &S2 ; &..." for 200 sub-components
std::string WideComponent(const char* pszName) {
  std::string strText = pszName + std::string(" ;  : ");
  for (int i = 1; i <= 200; ++i) strText += "S" + std::to_string(i) + " ; " + (i < 200 ? "&" : "");
  return strText;
}

void* Loaded(const char* pszName) {
  const std::string strPath = std::string(getenv("ORVA_WA_ROOT")) + "/bin/lib" + pszName + ".so";
  return dlopen(strPath.c_str(), RTLD_LAZY | RTLD_NOLOAD);
}

bool IsLoaded(const char* pszName = "Apache_Agent") {
  void* const hLib = Loaded(pszName);
  return hLib != nullptr && dlclose(hLib) == 0;
}

TEST(LoggerComponents, LibrariesThatGiveNoComponentOrThrowLeaveTheirSlotsEmpty) {
  const auto pLogger = std::make_unique<CWyLogger>();
  for (const unsigned int uComponent : {5u, 6u, 10u, 11u, 12u, 13u}) {
    EXPECT_EQ(pLogger->GetMsgBundle(WyComponentId(uComponent)), nullptr) << uComponent;
  }
  for (const char* pszName :
       {"Certificate_Validation", "Password_Services", "Session_Store", "Session_Management"}) {
    EXPECT_FALSE(IsLoaded(pszName)) << pszName;
  }
  EXPECT_EQ(
      pLogger->GetAvailableComponents(),
      BuiltIn + std::string(" | C7 ;  | ") + WideComponent("C8") + " | " + WideComponent("C9"));
}

TEST(LoggerComponents, OfAnyNumberCanBeSelected) {
  test_support::OutputScript script;
  const auto pLogger = std::make_unique<CWyLogger>();
  ASSERT_TRUE(test_support::EnableTrace(*pLogger, new test_support::HostOutput(script),
                                        "components: C7, C8/S1, C9/S200\ndata: Message\n"));
  EXPECT_TRUE(pLogger->TraceEnabled(WyComponentId(7)));
  EXPECT_TRUE(pLogger->TraceEnabled(WyComponentId(8, 1)));
  EXPECT_FALSE(pLogger->TraceEnabled(WyComponentId(8, 2)));
  EXPECT_FALSE(pLogger->TraceEnabled(WyComponentId(9, 199)));
  EXPECT_TRUE(pLogger->TraceEnabled(WyComponentId(9, 200)));
}

TEST(LoggerComponents, AreUnloadedByTheFirstLoggerThatIsReleasedAndNeverAgain) {
  auto pLogger = std::make_unique<CWyLogger>();
  EXPECT_TRUE(IsLoaded());
  CWyErrLogComponent* const pAgain = pLogger->LoadComponent(WyComponentId(7), "Apache_Agent");
  EXPECT_EQ(pAgain->GetComponentID(), WyComponentId(7));
  pLogger->UnloadComponent(pAgain);
  EXPECT_STREQ(pLogger->FetchMsg(WyComponentId(7) | 1), "C7") << "a balanced pair changes nothing";
  pLogger->Release();
  EXPECT_FALSE(IsLoaded());
  pLogger->Init();
  EXPECT_STREQ(pLogger->FetchMsg(WyComponentId(7) | 1), "C7");
  pLogger.reset();
  EXPECT_TRUE(IsLoaded());
}

void DoDuringFetchMessage(void (*pfnBody)()) {
  void* const hLib = Loaded("Apache_Agent");
  ASSERT_NE(hLib, nullptr);
  auto* const ppfnDuringFetchMessage = static_cast<void (**)()>(dlsym(hLib, "DuringFetchMessage"));
  ASSERT_NE(ppfnDuringFetchMessage, nullptr);
  *ppfnDuringFetchMessage = pfnBody;
  dlclose(hLib);
}

const char* FormatNumberSeven() {
  static thread_local CWyErrLogMessage msg(false);
  msg.CleanUpMessage();
  return msg.FormatMessage(WyComponentId(7) | 1);
}

TEST(LoggerComponents, AKeyWhoseFetchingThrowsIsMissing) {
  theLogger();
  const auto throwSomethingElse = [] { throw std::string("not derived from std::exception"); };
  for (void (*pfnThrow)() :
       {+[] { throw std::runtime_error("by the plug-in"); }, +throwSomethingElse}) {
    DoDuringFetchMessage(pfnThrow);
    EXPECT_EQ(theLogger()->FetchMsg(WyComponentId(7) | 1), nullptr);
    EXPECT_STREQ(FormatNumberSeven(), "[INVALID MESSAGE TYPE][wy-log-00002] missing message key\n");
  }
  DoDuringFetchMessage([] { pthread_exit(nullptr); });
  {
    const test_support::TestThread ending([] {
      FormatNumberSeven();
      ADD_FAILURE() << "the end of a thread is not an exception";
    });
  }
  DoDuringFetchMessage(nullptr);
  EXPECT_STREQ(FormatNumberSeven(), "[INVALID MESSAGE TYPE][C7] C7\n");
  theLogger()->Release();
}

// A thread that looks a message up, and is in the component until End.
class LookUp {
 public:
  LookUp() {
    theLogger();
    DoDuringFetchMessage([] {
      s_inComponent.count_down();
      s_leaveComponent.wait();
    });
    m_thread.emplace([] { EXPECT_STREQ(FormatNumberSeven(), "[INVALID MESSAGE TYPE][C7] C7\n"); });
    s_inComponent.wait();
  }
  static void End() { s_leaveComponent.count_down(); }

 private:
  static inline std::latch s_inComponent{1}, s_leaveComponent{1};
  std::optional<test_support::TestThread> m_thread;
};

TEST(LoggerComponents, AreNotUnloadedWhileAMessageIsLookedUp) {
  const LookUp lookUp;
  test_support::TestThread releasing([] { theLogger()->Release(); });
  // Many times the work that it has to do when nobody is waited for.
  EXPECT_TRUE(test_support::Eventually(
      [&] { return releasing.IsDone() || releasing.Worked() > std::chrono::milliseconds(50); }));
  EXPECT_FALSE(releasing.IsDone());
  EXPECT_TRUE(IsLoaded());
  EXPECT_EQ(theLogger()->GetMsgBundle(WyComponentId(9)), nullptr) << "to later look-ups";
  LookUp::End();
}

TEST(LoggerComponents, AreUnloadedInAForkedChildWhoseParentLooksAMessageUp) {
  const LookUp lookUp;
  const pid_t pid = fork();
  if (pid == 0) {
    alarm(5);
    if constexpr (!test_support::IsSanitized) theLogger()->Release();
    _exit(0);
  }
  EXPECT_EQ(test_support::StatusOf(pid), 0);
  LookUp::End();
}

TEST(LoggerComponents, AreSharedByLoggersOfManyThreads) {
  std::list<test_support::TestThread> threads;
  for (int iThread = 0; iThread < 4; ++iThread) {
    threads.emplace_back([] {
      for (int i = 0; i < 5; ++i) {
        const auto pLogger = std::make_unique<CWyLogger>();
        EXPECT_STREQ(pLogger->FetchMsg(WyComponentId(7) | 1), "C7");
        pLogger->Release();
        pLogger->Init();
        EXPECT_STREQ(pLogger->GetMsgBundle(WyComponentId(9)), "bundle");
      }
    });
  }
}

}  // namespace
