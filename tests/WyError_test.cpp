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
  }
  ~ErrorChain() override { theLogger()->DisableLog(); }

  static CWyErrData* Entry(int iError) {
    CWyErrData* const pEntry = CWyError::NewErrData();
    EXPECT_TRUE(pEntry->GetErr() == 0 && !pEntry->GetLogged() && pEntry->GetNext() == nullptr);
    pEntry->GetMsg().SetFormattedMessage(std::to_string(iError).c_str());
    pEntry->SetErr(iError);
    return pEntry;
  }
  static void Fill(CWyError& chain) {
    for (const int iError : {5, 6, 7}) chain.AddError(Entry(iError));
  }

  OutputScript m_script;
};

TEST_F(ErrorChain, LogsEachEntryOnceAlsoWhenThatFailed) {
  CWyError chain;
  EXPECT_EQ(chain.GetLastError(), 0);
  EXPECT_TRUE(chain.LogMessages());
  chain.AddError(nullptr);
  Fill(chain);
  EXPECT_EQ(chain.GetLastError(), 7);
  m_script.onLog = [this] { m_script.bLogs = m_script.Events().back() != "log 6"; };
  EXPECT_FALSE(chain.LogMessages());
  EXPECT_TRUE(chain.LogMessages());
  chain.AddError(Entry(8));
  EXPECT_TRUE(chain.LogMessages());
  EXPECT_THAT(m_script.Events(), ElementsAre("log 5", "log 6", "log 7", "log 8"));
}

TEST_F(ErrorChain, LogsTheLastEntryForAll) {
  CWyError chain;
  EXPECT_TRUE(chain.LogLastMessage());
  Fill(chain);
  m_script.bLogs = false;
  EXPECT_TRUE(chain.LogLastMessage());
  EXPECT_TRUE(chain.LogMessages());
  EXPECT_TRUE(chain.LogLastMessage());
  EXPECT_THAT(m_script.Events(), ElementsAre("log 7", "log 7"));
}

TEST_F(ErrorChain, IsReplacedAndCleared) {
  CWyError chain;
  Fill(chain);
  CWyErrData* const pEntry = Entry(9);
  CWyErrData stray;
  pEntry->SetNext(&stray);
  chain.SetError(pEntry);
  EXPECT_EQ(pEntry->GetNext(), nullptr);
  EXPECT_EQ(chain.GetLastError(), 9);
  EXPECT_TRUE(chain.LogMessages());
  chain.Clear();
  EXPECT_EQ(chain.GetLastError(), 0);
  EXPECT_TRUE(chain.LogLastMessage() && chain.LogMessages());
  EXPECT_THAT(m_script.Events(), ElementsAre("log 9"));
}

TEST_F(ErrorChain, MovesWhenCopied) {
  CWyError chain, assigned;
  Fill(chain);
  const CWyError copied(chain);
  EXPECT_EQ(chain.GetLastError(), 0);
  assigned.AddError(Entry(1));
  assigned = copied;
  EXPECT_EQ(copied.GetLastError(), 0);
  EXPECT_TRUE(assigned.LogMessages());
  EXPECT_THAT(m_script.Events(), ElementsAre("log 5", "log 6", "log 7"));
}

}  // namespace
