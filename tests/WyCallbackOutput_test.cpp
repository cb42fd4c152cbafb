#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "wyerrlog/WyLogger.h"

namespace {

// A text that was received, with the length that was said; and what came with it.
std::string received;
void* received_param = nullptr;

void Receive(const char* pszText, int iLength) {
  received = pszText + (":" + std::to_string(iLength));
}
void ReceiveAsync(const char* pszText, int iLength, void (*pfnFree)(char*)) {
  Receive(pszText, iLength);
  pfnFree(const_cast<char*>(pszText));
}
void ReceiveParam(const char* pszText, int iLength, void* pParam) {
  received_param = pParam;
  Receive(pszText, iLength);
}
void ReceiveAsyncParam(const char* pszText, int iLength, void (*pfnFree)(char*), void* pParam) {
  received_param = pParam;
  ReceiveAsync(pszText, iLength, pfnFree);
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
  CWyAsyncParameterizedCallbackOutput async;
  EXPECT_TRUE(async.SetParams(ReceiveAsyncParam, nullptr));
  EXPECT_FALSE(async.Open() || async.Log(msg)) << "no parameter";
}

}  // namespace
