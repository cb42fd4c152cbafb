// Errors collected in a chain and logged together.

#include "wyerrlog/WyError.h"

#include <gmock/gmock.h>

#include "test_support/HostOutput.h"

namespace {

using test_support::HostOutput;
using test_support::OutputScript;
using testing::ElementsAre;

class ErrorChain : public testing::Test {
 protected:
  ErrorChain() {
    EXPECT_TRUE(theLogger()->SetLogOutput(new HostOutput(m_script)));
    m_script.Forget();
    for (const int iError : {5, 6, 7}) m_chain.AddError(Entry(iError));
  }
  ~ErrorChain() override { theLogger()->DisableLog(); }

  static CWyErrData* Entry(int iError) {
    CWyErrData* const pEntry = CWyError::NewErrData();
    EXPECT_TRUE(pEntry->GetErr() == 0 && !pEntry->GetLogged() && pEntry->GetNext() == nullptr);
    pEntry->GetMsg().SetFormattedMessage(std::to_string(iError).c_str());
    pEntry->SetErr(iError);
    return pEntry;
  }

  OutputScript m_script;
  CWyError m_chain;
};

TEST_F(ErrorChain, LogsEachEntryOnceAlsoWhenThatFailed) {
  m_chain.AddError(nullptr);
  EXPECT_EQ(m_chain.GetLastError(), 7);
  m_script.onLog = [this] { m_script.bLogs = m_script.Events().back() != "log 6"; };
  EXPECT_FALSE(m_chain.LogMessages());
  EXPECT_TRUE(m_chain.LogMessages());
  m_chain.AddError(Entry(8));
  EXPECT_TRUE(m_chain.LogMessages());
  EXPECT_THAT(m_script.Events(), ElementsAre("log 5", "log 6", "log 7", "log 8"));
}

TEST_F(ErrorChain, LogsTheLastEntryForAllUntilItIsCleared) {
  m_script.bLogs = false;
  EXPECT_TRUE(m_chain.LogLastMessage());
  EXPECT_TRUE(m_chain.LogMessages());
  EXPECT_TRUE(m_chain.LogLastMessage());
  m_chain.Clear();
  EXPECT_EQ(m_chain.GetLastError(), 0);
  EXPECT_TRUE(m_chain.LogLastMessage() && m_chain.LogMessages());
  EXPECT_THAT(m_script.Events(), ElementsAre("log 7", "log 7"));
}

TEST_F(ErrorChain, MovesWhenCopiedAndIsReplaced) {
  CWyError assigned;
  const CWyError copied(m_chain);
  assigned.AddError(Entry(1));
  assigned = copied;
  EXPECT_EQ(m_chain.GetLastError() + copied.GetLastError(), 0);
  EXPECT_TRUE(assigned.LogMessages());
  CWyErrData* const pEntry = Entry(9);
  CWyErrData stray;
  pEntry->SetNext(&stray);
  assigned.SetError(pEntry);
  EXPECT_TRUE(assigned.LogMessages());
  EXPECT_THAT(m_script.Events(), ElementsAre("log 5", "log 6", "log 7", "log 9"));
}

}  // namespace
