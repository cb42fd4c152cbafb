#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "wyerrlog/WyLogOutput.h"

namespace {

std::vector<std::string> received;
void* received_param = nullptr;

void Receive(const char* pszText, int iLength) {
  EXPECT_EQ(pszText[iLength], '\0');
  received.emplace_back(pszText, iLength);
}
void ReceiveAsync(const char* pszText, int iLength, void (*pfnFree)(char*)) {
  pfnFree(const_cast<char*>(pszText));
  Receive(pszText, iLength);
}
void ReceiveParam(const char* pszText, int iLength, void* pParam) {
  received_param = pParam;
  Receive(pszText, iLength);
}
void ReceiveAsyncParam(const char* pszText, int iLength, void (*pfnFree)(char*), void* pParam) {
  received_param = pParam;
  ReceiveAsync(pszText, iLength, pfnFree);
}

template <typename Output, typename... Params>
std::unique_ptr<CWyLogOutput> Make(Params... params) {
  auto pOutput = std::make_unique<Output>();
  EXPECT_TRUE(pOutput->SetParams(params...));
  return pOutput;
}

std::vector<std::unique_ptr<CWyLogOutput>> AllKinds(bool bFunction, void* pParam) {
  std::vector<std::unique_ptr<CWyLogOutput>> kinds;
  kinds.push_back(Make<CWySyncCallbackOutput>(bFunction ? Receive : nullptr));
  kinds.push_back(Make<CWyAsyncCallbackOutput>(bFunction ? ReceiveAsync : nullptr));
  kinds.push_back(
      Make<CWySyncParameterizedCallbackOutput>(bFunction ? ReceiveParam : nullptr, pParam));
  kinds.push_back(
      Make<CWyAsyncParameterizedCallbackOutput>(bFunction ? ReceiveAsyncParam : nullptr, pParam));
  return kinds;
}

TEST(CallbackOutput, HandsOverEachTextWithItsLength) {
  int iType = 2;
  for (const auto& pOutput : AllKinds(true, &iType)) {
    received.clear();
    ASSERT_EQ(pOutput->GetType(), iType);
    EXPECT_EQ(pOutput->IsAsync(), iType == 3 || iType == 5);
    EXPECT_TRUE(pOutput->Open());
    CWyErrLogMessage msg(false);
    EXPECT_TRUE(pOutput->Log(msg));
    msg.SetFormattedMessage("100 % of it\n");
    EXPECT_TRUE(pOutput->Log(msg));
    EXPECT_EQ(received, (std::vector<std::string>{"", "100 % of it\n"}));
    EXPECT_EQ(received_param, iType < 4 ? nullptr : &iType);
    ++iType;
  }
}

TEST(CallbackOutput, CallsOnlyWhatIsSet) {
  CWyErrLogMessage msg(false);
  for (const auto& pOutput : AllKinds(false, &msg)) {
    EXPECT_EQ(pOutput->Open(), pOutput->GetType() < 4);
    EXPECT_FALSE(pOutput->Log(msg));
  }
  for (const auto& pOutput : AllKinds(true, nullptr)) {
    EXPECT_EQ(pOutput->Open(), pOutput->GetType() < 4);
    EXPECT_EQ(pOutput->Log(msg), pOutput->GetType() < 4);
  }
  for (const auto& pOutput : AllKinds(true, &msg)) {
    EXPECT_TRUE(pOutput->Close());
    EXPECT_EQ(pOutput->Log(msg), pOutput->IsAsync()) << "a synchronous one forgets its function";
  }
}

}  // namespace
