// What the outputs do with a text: consoles, functions of the host and files.

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <utility>

#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLogger.h"

namespace {

// ---- Console ------------------------------------------------------------------------------------

// The lowest descriptor that is free.
int NextDescriptor() {
  const int hNext = dup(STDIN_FILENO);
  close(hNext);
  return hNext;
}

bool Log(CWyConsoleOutput& output, const char* pszText) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage(pszText);
  return output.Log(msg);
}

void UseTerminal() {
  const int hTerminal = NextDescriptor();
  CWyConsoleOutput first, second;
  EXPECT_FALSE(Log(first, "too early "));
  EXPECT_TRUE(first.SetParams() && first.Open() && second.Open());
  EXPECT_FALSE(first.Open()) << "open already";
  EXPECT_EQ(NextDescriptor(), hTerminal + 1);
  EXPECT_TRUE(Log(first, "first ") && first.Close());
  EXPECT_FALSE(first.Close() || Log(first, "too late "));
  EXPECT_TRUE(Log(second, "second ") && second.Close());
  EXPECT_EQ(NextDescriptor(), hTerminal);
  EXPECT_TRUE(first.Open() && Log(first, "again") && first.Close());
}

TEST(ConsoleOutput, OutputsShareTheTerminalUntilTheLastOneCloses) {
  int hMaster = -1;
  const pid_t pid = forkpty(&hMaster, nullptr, nullptr, nullptr);
  if (pid == 0) {
    UseTerminal();
    _exit(HasFailure() ? 1 : 0);
  }
  std::string strScreen;
  char acPiece[256];  // until the child's end hangs up the terminal
  for (ssize_t n; (n = read(hMaster, acPiece, sizeof acPiece)) > 0;)
    strScreen.append(acPiece, static_cast<size_t>(n));
  int iStatus = -1;
  EXPECT_TRUE(waitpid(pid, &iStatus, 0) == pid && iStatus == 0);
  EXPECT_EQ(strScreen, "first second again");
  close(hMaster);
}

// ---- Callbacks ----------------------------------------------------------------------------------

// A text that was received, with the length that was said; and what came with it.
std::string received;
void* received_param = nullptr;

void ReceiveParam(const char* pszText, int iLength, void* pParam) {
  received = pszText + (":" + std::to_string(iLength));
  received_param = pParam;
}
void ReceiveAsyncParam(const char* pszText, int iLength, void (*pfnFree)(char*), void* pParam) {
  ReceiveParam(pszText, iLength, pParam);
  pfnFree(const_cast<char*>(pszText));
}
void Receive(const char* pszText, int iLength) { ReceiveParam(pszText, iLength, nullptr); }
void ReceiveAsync(const char* pszText, int iLength, void (*pfnFree)(char*)) {
  ReceiveAsyncParam(pszText, iLength, pfnFree, nullptr);
}

// Of the output that the logger makes for the parameters.
template <typename... Params>
void ExpectCalled(int iType, void* pParam, Params... params) {
  CWyLogger logger;
  const std::unique_ptr<CWyLogOutput> pOutput(logger.NewLogOutput(7, params...));
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage("100 % of it\n");
  EXPECT_EQ(pOutput->GetType(), iType);
  EXPECT_EQ(pOutput->IsAsync(), iType == 3 || iType == 5);
  EXPECT_TRUE(pOutput->Open() && pOutput->Log(msg));
  EXPECT_EQ(received, "100 % of it\n:12");
  EXPECT_EQ(received_param, pParam);
  EXPECT_TRUE(pOutput->Close());
  EXPECT_EQ(pOutput->Log(msg), pOutput->IsAsync()) << "a synchronous one forgets its function";
}

TEST(CallbackOutput, HandsOverEachTextWithItsLength) {
  int iParam = 0;
  ExpectCalled(2, nullptr, Receive);
  ExpectCalled(3, nullptr, ReceiveAsync);
  ExpectCalled(4, &iParam, ReceiveParam, static_cast<void*>(&iParam));
  ExpectCalled(5, &iParam, ReceiveAsyncParam, static_cast<void*>(&iParam));
}

TEST(CallbackOutput, CallsOnlyWhatIsSet) {
  CWyErrLogMessage msg(false);
  CWySyncCallbackOutput sync;
  EXPECT_TRUE(sync.SetParams(nullptr) && sync.Open());
  EXPECT_FALSE(sync.Log(msg));
  received.clear();
  CWySyncParameterizedCallbackOutput syncParam;
  EXPECT_TRUE(syncParam.SetParams(ReceiveParam, nullptr));
  EXPECT_FALSE(syncParam.Open() || syncParam.Log(msg)) << "no parameter";
  CWyAsyncParameterizedCallbackOutput asyncParam;
  EXPECT_TRUE(asyncParam.SetParams(ReceiveAsyncParam, nullptr));
  EXPECT_FALSE(asyncParam.Open()) << "no parameter";
  EXPECT_EQ(received, "");
  EXPECT_TRUE(asyncParam.Log(msg)) << "only Open looks at the parameter";
  EXPECT_EQ(received, ":0");
}

// ---- Files --------------------------------------------------------------------------------------

constexpr off_t MB = 1048576;

void SetHeaders(CWyFileOutput& output, const char* pszFirst, const char* pszSecond) {
  CWyErrLogMessage first(false), second(false);
  first.SetFormattedMessage(pszFirst);
  second.SetFormattedMessage(pszSecond);
  output.SetHeaders(first, second);
}

TEST(FileOutput, RefusesParametersOutOfRange) {
  CWyFileOutput output;
  EXPECT_FALSE(output.SetParams(nullptr, 0, 1, 1) || output.SetParams("", 0, 1, 1));
  EXPECT_FALSE(output.SetParams("log", -1, 1, 1) || output.SetParams("log", 5, 1, 1));
  EXPECT_FALSE(output.SetParams("log", 3, -1, 1) || output.SetParams("log", 3, 4096, 1));
  EXPECT_FALSE(output.SetParams("log", 3, 1, -1));
  EXPECT_FALSE(output.Open() || output.Rollover()) << "no path yet";
  EXPECT_TRUE(output.SetParams("log", 3, 4095, 1));
}

TEST(FileOutput, TheModeDecidesWhatBecomesOfAnExistingFile) {
  umask(022);
  for (int iMode = 0; iMode <= 4; ++iMode) {
    SCOPED_TRACE(iMode);
    const TempDirectory directory;
    const std::string strLog = directory.Path("a.log");
    CWyFileOutput output;
    ASSERT_TRUE(output.SetParams(strLog.c_str(), iMode, 1, 0));
    SetHeaders(output, "one\n", "two\n");
    ASSERT_TRUE(output.Open());
    EXPECT_EQ(std::filesystem::status(strLog).permissions(), std::filesystem::perms(0644));
    EXPECT_TRUE(output.Log("older\n") && output.Close());
    EXPECT_EQ(directory.Read("a.log"), "older\n") << "opening writes no headers";
    ASSERT_TRUE(output.Open());
    EXPECT_TRUE(output.Log("new\n"));
    const char* const apszContents[] = {"new\n", "older\nnew\n", "one\ntwo\nnew\n", "older\nnew\n",
                                        "one\ntwo\nnew\n"};
    EXPECT_EQ(directory.Read("a.log"), apszContents[iMode]);
    EXPECT_EQ(directory.Names().size(), iMode == 2 || iMode == 4 ? 2u : 1u);
  }
}

TEST(FileOutput, RefusesTextsThatItCannotWrite) {
  for (int iMode : {1, 3}) {
    CWyFileOutput output;
    ASSERT_TRUE(output.SetParams("/dev/full", iMode, 1, 0));
    EXPECT_FALSE(output.Log("not open\n"));
    ASSERT_TRUE(output.Open());
    EXPECT_FALSE(output.Log(static_cast<const char*>(nullptr)) || output.Log("disk full\n"));
  }
}

TEST(FileOutput, RollsOverBeforeTheMessageThatWouldReachTheLimit) {
  struct Case {
    off_t iFileSize;
    int iLimitMB;
    size_t uTextLength;
    bool bRollsOver;
  };
  for (const Case& c :
       {Case{1048500, 1, 75, false}, Case{1048500, 1, 76, true}, Case{4096 * MB + 10, 1, 5, true},
        Case{4095 * MB - 2, 4095, 1, false}, Case{0, 0, 1, true}}) {
    SCOPED_TRACE(c.iFileSize);
    const TempDirectory directory;
    directory.Write("a.log", "");
    ASSERT_EQ(truncate(directory.Path("a.log").c_str(), c.iFileSize), 0);
    CWyFileOutput output;
    ASSERT_TRUE(output.SetParams(directory.Path("a.log").c_str(), 3, c.iLimitMB, 0));
    SetHeaders(output, "one\n", "two\n");
    SetHeaders(output, "ignored\n", "");
    ASSERT_TRUE(output.Open());
    const std::string strText(c.uTextLength, 'x');
    EXPECT_TRUE(output.Log(strText.c_str()));
    EXPECT_EQ(directory.Names().size(), c.bRollsOver ? 2u : 1u);
    if (c.bRollsOver) {
      EXPECT_EQ(directory.Read("a.log"), "one\ntwo\n" + strText);
    }
  }
}

TEST(FileOutput, ADeviceHasNoSizeThatCouldReachTheLimit) {
  int hMaster = -1, hTerminal = -1;
  char szTerminal[64] = "";
  ASSERT_EQ(openpty(&hMaster, &hTerminal, szTerminal, nullptr, nullptr), 0);
  for (const auto& [pszDevice, strText] :
       {std::pair<const char*, std::string>{"/dev/null", std::string(100000, 'x')},
        {szTerminal, "x"}}) {
    CWyFileOutput output;
    ASSERT_TRUE(output.SetParams(pszDevice, 3, 1, 0) && output.Open());
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(output.Log(strText.c_str())) << pszDevice << i;
  }
  close(hTerminal);
  close(hMaster);
}

}  // namespace
