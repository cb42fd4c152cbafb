// From an identifier and arguments to text: the printf way and the translated way.

#include <gmock/gmock.h>

#include "TestComponentMessages.h"
#include "test_support/ChildProcess.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLogger.h"

namespace {

using testing::StrEq;

constexpr unsigned int BuiltIn = 0x01000001;  // "%1s"

std::string Printf(unsigned int uId, ...) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage(">");
  va_list args;
  va_start(args, uId);
  const bool bFound = msg.FormatLogMessageVA(static_cast<int>(uId), args);
  va_end(args);
  return bFound ? msg.GetBuffer() : std::string("(none)") + msg.GetBuffer();
}

std::string Substituted(unsigned int uId, std::vector<const char*> texts) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage(">");
  const bool bFound = msg.FormatLogMessage(
      static_cast<int>(uId), texts.empty() ? nullptr : const_cast<char**>(texts.data()),
      texts.empty() ? 3 : static_cast<int>(texts.size()));
  return bFound ? msg.GetBuffer() : std::string("(none)") + msg.GetBuffer();
}

TEST(PrintfMessage, CarriesSeverityTextAndNewline) {
  EXPECT_EQ(Printf(BuiltIn | 0x4000, "Server started"), ">[INFO] Server started\n");
  EXPECT_EQ(Printf(BuiltIn | 0x8000, ""), ">[WARNING]  \n");
  EXPECT_EQ(Printf(BuiltIn, "100 %s"), ">[INVALID MESSAGE TYPE] 100 %s\n");
  EXPECT_EQ(Printf(TestComponent::EmptyPattern), ">[ERROR] \n");
}

TEST(PrintfMessage, MayHaveItsOwnTextAmongTheArguments) {
  CWyErrLogMessage msg(false);
  for (int i = 0; i < 2; ++i) {  // the format is known the second time
    msg.SetFormattedMessage(">");
    EXPECT_TRUE(msg.FormatLogMessage(static_cast<int>(TestComponent::CopyFailed), msg.GetBuffer(),
                                     "b", msg.GetBuffer()));
    // The severity belongs to the text by then.
    EXPECT_STREQ(msg.GetBuffer(), ">[WARNING] Copying >[WARNING]  to b failed: >[WARNING] \n");
  }
}

TEST(PrintfMessage, ReplacesPlaceholdersByTextsOneAfterAnother) {
  constexpr auto Failed = TestComponent::CopyFailed;  // "Copying %s to %s failed: %s"
  EXPECT_EQ(Substituted(Failed, {"1", "2", "3", "4"}), ">[WARNING] Copying 1 to 2 failed: 3\n");
  EXPECT_EQ(Substituted(Failed, {"x%sy", "2"}), ">[WARNING] Copying x2y to %s failed: %s\n");
}

TEST(PrintfMessage, OfAnUnknownIdentifierLeavesTheTextAsItIs) {
  for (const unsigned int uId : {0u, 0x01000004u, 0x1C000001u, 0xFF00C001u}) {
    EXPECT_EQ(Printf(uId, "x"), "(none)>");
    EXPECT_EQ(Substituted(uId, {"x"}), "(none)>");
    EXPECT_FALSE(CWyErrLogMessage(false).FormatLogMessageForTrace(static_cast<int>(uId), "x"));
  }
}

TEST(MessageSeverity, IsThatOfTheLastTranslatedOrTraceMessage) {
  const char* const apszWords[] = {"UNKNOWN", "INFO", "WARN", "ERROR"};
  CWyErrLogMessage msg(false);
  EXPECT_STREQ(msg.GetMsgSeverity(), "UNKNOWN");
  for (unsigned int u = 0; u < 4; ++u) {
    CWyErrLogMessage other(false);
    msg.FormatMessage(0xFF000001 | u << 14);
    other.FormatLogMessageForTrace(static_cast<int>(u << 14));
    msg.FormatLogMessage(static_cast<int>(BuiltIn | (3 - u) << 14), "does not count");
    EXPECT_STREQ(msg.GetMsgSeverity(), apszWords[u]);
    EXPECT_STREQ(other.GetMsgSeverity(), apszWords[u]);
  }
}

// ---- The translated way -------------------------------------------------------------------------

class TranslatedMessage : public testing::Test {
 protected:
  TranslatedMessage() {
    setenv("LC_ALL", "en_US.UTF-8", 1);
    test_support::SetMessageDirectory();
  }

  CWyErrLogMessage m_msg{false};
};

TEST_F(TranslatedMessage, IsInTheLanguageThatTheAdministratorHasAtThatMoment) {
  m_msg.SetFormattedMessage(">");
  m_msg.FormatMessage(TestComponent::CopyRefused, "a", "b");
  setenv("LC_ALL", "de_DE.UTF-8", 1);
  EXPECT_STREQ(m_msg.FormatMessage(0, "a", "b"),
               ">[ERROR][wytest-00005] a may not be copied to b.\n"
               "[ERROR][wytest-00005] Nach b darf a nicht kopiert werden.\n");
  EXPECT_STREQ(m_msg.FormatMessageForTrace(0), "[wytest-00005] a may not be copied to b.")
      << "in English, in the place of what stood there";
}

TEST_F(TranslatedMessage, FallsBackToTextsOfItsOwn) {
  const auto line = [&](unsigned int uId) {
    m_msg.CleanUpMessage();
    return m_msg.FormatMessage(uId, "a");
  };
  EXPECT_STREQ(line(0), "[INVALID MESSAGE TYPE][wy-log-00001] missing component library\n");
  EXPECT_STREQ(line(0x02004000), "[INFO][wy-log-00002] missing message key\n");
  EXPECT_STREQ(line(0xFF000001),
               "[INVALID MESSAGE TYPE][wy-log-00001] missing component library\n");
  EXPECT_STREQ(line(TestComponent::EmptyPattern), "[ERROR][] \n");
  theLogger()->Release();
  EXPECT_STREQ(line(TestComponent::CopyRefused),
               "[ERROR][wy-log-00001] missing component library\n");
  EXPECT_EQ(Printf(BuiltIn, "x"), "(none)>");
  theLogger()->Init();
  const TempDirectory noBundles;
  EXPECT_TRUE(CWyXlate::SetResourceDirectory(noBundles.Path(".").c_str()));
  EXPECT_STREQ(line(TestComponent::CopyRefused), "[ERROR][wytest-00005] wytest-00005\n");
}

TEST_F(TranslatedMessage, FitsTheCallersBuffer) {
  for (const std::string strText :
       {"The disk is {0} percent full.", "The disk is 7 percent full."}) {
    for (const size_t uSize : {strText.size() + 1, strText.size(), size_t{1}}) {
      std::vector<char> buffer(uSize);
      EXPECT_THAT(m_msg.PreformatMessage(TestComponent::DiskNearlyFull, "en", buffer.data(), uSize),
                  StrEq("wytest-00002"));
      EXPECT_EQ(buffer.data(), strText.substr(0, uSize - 1));
    }
    EXPECT_STREQ(m_msg.PreformatMessage(0, "en", nullptr, 100), "wytest-00002");
    m_msg.FormatMessage(BuiltIn, "7");  // the argument of the second round
  }
}

}  // namespace
