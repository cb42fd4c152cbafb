// From an identifier and arguments to text: the printf way and the translated way.

#include <gmock/gmock.h>
#include <stdlib.h>
#include <wyxlate/WyXlate.h>

#include "components/wytestcomponent/TestMessages.h"
#include "test_support/TempDirectory.h"
#include "wyerrlog/WyLogger.h"

namespace {

using testing::IsNull;
using testing::StrEq;

constexpr unsigned int BuiltIn = 0x01000001;  // "%1s"
constexpr size_t Cut = 4095;

std::string Printf(int iId, ...) {
  CWyErrLogMessage msg(false);
  va_list args;
  va_start(args, iId);
  const bool bFound = msg.FormatLogMessageVA(iId, args);
  va_end(args);
  return bFound ? msg.GetBuffer() : "(none)";
}

std::string Substituted(unsigned int uId, std::vector<const char*> texts) {
  CWyErrLogMessage msg(false);
  return msg.FormatLogMessage(static_cast<int>(uId), const_cast<char**>(texts.data()),
                              static_cast<int>(texts.size()))
             ? msg.GetBuffer()
             : "(none)";
}

// ---- The printf way
// ------------------------------------------------------------------------------

TEST(PrintfMessage, CarriesSeverityTextAndNewline) {
  EXPECT_EQ(Printf(BuiltIn | 0x4000, "Server started"), "[INFO] Server started\n");
  EXPECT_EQ(Printf(BuiltIn | 0x8000, ""), "[WARNING]  \n");
  EXPECT_EQ(Printf(BuiltIn | 0xC000, "100 %s"), "[ERROR] 100 %s\n");
  EXPECT_EQ(Printf(BuiltIn, "x"), "[INVALID MESSAGE TYPE] x\n");
  EXPECT_EQ(Printf(TestComponent::EmptyPattern), "[ERROR] \n");
  EXPECT_EQ(Printf(TestComponent::Statistics, "a", -7, 4000000000u, 99.96, 'r', 0x2aul),
            "[INFO] a served -7 of 4000000000 requests (100.0%) in state 'r', flags 0x002a\n");
  EXPECT_EQ(Printf(TestComponent::Statistics, "a", 0, 0u, 0., '\0', 0ul),
            "[INFO] a served 0 of 0 requests (0.0%) in state '\n")
      << "ended by a zero byte, like every text";
}

TEST(PrintfMessage, IsCutAt4095Bytes) {
  for (const size_t uLength : {Cut - 1, Cut, Cut + 1, Cut + 2, size_t{3} << 20}) {
    const std::string strText(uLength, 'x');
    EXPECT_EQ(Printf(BuiltIn | 0x4000, strText.c_str()), "[INFO] " + strText.substr(0, Cut) + '\n');
    CWyErrLogMessage msg(false);
    msg.SetFormattedMessage("behind");
    EXPECT_TRUE(msg.FormatLogMessageForTrace(BuiltIn, strText.c_str()));
    EXPECT_EQ(msg.GetBuffer(), "behind " + strText.substr(0, Cut));
  }
}

TEST(PrintfMessage, ReplacesPlaceholdersByTextsOneAfterAnother) {
  constexpr auto Failed = TestComponent::CopyFailed;  // "Copying %s to %s failed: %s"
  EXPECT_EQ(Substituted(Failed, {"1", "2", "3", "4"}), "[WARNING] Copying 1 to 2 failed: 3\n");
  EXPECT_EQ(Substituted(Failed, {"1"}), "[WARNING] Copying 1 to %s failed: %s\n");
  EXPECT_EQ(Substituted(Failed, {"x%sy", "2"}), "[WARNING] Copying x2y to %s failed: %s\n");
  EXPECT_EQ(Substituted(Failed, {"%%d", "", "%"}), "[WARNING] Copying %%d to  failed: %\n");
  EXPECT_EQ(Substituted(Failed, {}), "[WARNING] Copying %s to %s failed: %s\n");
  EXPECT_EQ(Substituted(TestComponent::Statistics, {"a", "b"}),
            "[INFO] a served %d of %u requests (%.1f%%) in state '%c', flags %#06lx\n");
  EXPECT_EQ(Substituted(BuiltIn, {"a"}), "[INVALID MESSAGE TYPE] %1s\n");
  const std::string strLong(3 << 20, 'x');
  EXPECT_EQ(Substituted(Failed, {strLong.c_str(), "b", "c"}),
            "[WARNING] Copying " + strLong + " to b failed: c\n");
  CWyErrLogMessage msg(false);
  EXPECT_TRUE(msg.FormatLogMessage(Failed, nullptr, 3));
  EXPECT_THAT(msg.GetBuffer(), StrEq("[WARNING] Copying %s to %s failed: %s\n"));
}

TEST(PrintfMessage, OfAnUnknownIdentifierLeavesTheTextAsItIs) {
  for (const unsigned int uId :
       {0u, 1u, 0x01000000u, 0x01000004u, 0x02003FFFu, 0x1B000001u, 0x1C000001u, 0xFF00C001u}) {
    CWyErrLogMessage msg(false);
    msg.SetFormattedMessage("prolog");
    const auto iId = static_cast<int>(uId);
    char szText[] = "x";
    char* apszTexts[] = {szText};
    EXPECT_FALSE(msg.FormatLogMessage(iId, "x"));
    EXPECT_FALSE(msg.FormatLogMessage(iId, apszTexts, 1));
    EXPECT_FALSE(msg.FormatLogMessageForTrace(iId, "x"));
    EXPECT_THAT(msg.GetBuffer(), StrEq("prolog"));
  }
}

TEST(MessageSeverity, IsThatOfTheLastTranslatedOrTraceMessage) {
  const char* const apszWords[] = {"UNKNOWN", "INFO", "WARN", "ERROR"};
  CWyErrLogMessage msg(false);
  EXPECT_THAT(msg.GetMsgSeverity(), StrEq("UNKNOWN"));
  for (unsigned int u = 0; u < 4; ++u) {
    CWyErrLogMessage other(false);
    msg.FormatMessage(0xFF00001 | u << 14);
    other.FormatLogMessageForTrace(static_cast<int>(u << 14));
    msg.FormatLogMessage(BuiltIn | (3 - u) << 14, "does not count");
    EXPECT_THAT(msg.GetMsgSeverity(), StrEq(apszWords[u]));
    EXPECT_THAT(other.GetMsgSeverity(), StrEq(apszWords[u]));
  }
}

// ---- The translated way
// --------------------------------------------------------------------------

class TranslatedMessage : public testing::Test {
 protected:
  TranslatedMessage() {
    setenv("LC_ALL", "en_US.UTF-8", 1);
    const std::string strMessages = std::string(getenv("ORVA_WA_ROOT")) + "/messages";
    EXPECT_TRUE(CWyXlate::SetResourceDirectory(strMessages.c_str()));
  }

  CWyErrLogMessage m_msg{false};
};

TEST_F(TranslatedMessage, IsInTheLanguageThatTheAdministratorHasAtThatMoment) {
  m_msg.SetFormattedMessage("[prolog]");
  m_msg.FormatMessage(TestComponent::CopyRefused, "a", "b");
  setenv("LC_ALL", "de_DE.UTF-8", 1);
  EXPECT_THAT(m_msg.FormatMessage(TestComponent::CopyRefused, "a", "b"),
              StrEq("[prolog][ERROR][wytest-00005] a may not be copied to b.\n"
                    "[ERROR][wytest-00005] Nach b darf a nicht kopiert werden.\n"));
  EXPECT_THAT(m_msg.FormatMessageForTrace(TestComponent::CopyRefused),
              StrEq("[wytest-00005] a may not be copied to b."))
      << "in English, in the place of what stood there";
  EXPECT_EQ(m_msg.GetBufferLen(), 40);
}

TEST_F(TranslatedMessage, FallsBackToTextsOfItsOwn) {
  const struct {
    unsigned int uId;
    const char* pszText;
  } cases[] = {
      {BuiltIn | 0x4000, "[INFO][wy-log-00000] a\n"},
      {0x0100FFFF, "[ERROR][wy-log-00000] a\n"},
      {0x02004000, "[INFO][wy-log-00002] missing message key\n"},
      {0x1B00C001, "[ERROR][wy-log-00001] missing component library\n"},
      {0xFF000001, "[INVALID MESSAGE TYPE][wy-log-00001] missing component library\n"},
      {TestComponent::Untranslated, "[ERROR][wytest-00003] wytest-00003\n"},
      {TestComponent::EmptyPattern, "[ERROR][] \n"},
  };
  for (const auto& [uId, pszText] : cases) {
    m_msg.CleanUpMessage();
    EXPECT_THAT(m_msg.FormatMessage(uId, "a"), StrEq(pszText));
  }
  theLogger()->Release();
  EXPECT_THAT(m_msg.FormatMessageForTrace(TestComponent::CopyRefused),
              StrEq("[wy-log-00001] missing component library"));
  EXPECT_EQ(Printf(BuiltIn, "x"), "(none)");
  theLogger()->Init();
  TempDirectory noBundles;
  EXPECT_TRUE(CWyXlate::SetResourceDirectory(noBundles.Path(".").c_str()));
  EXPECT_THAT(m_msg.FormatMessageForTrace(TestComponent::CopyRefused),
              StrEq("[wytest-00005] wytest-00005"));
}

TEST_F(TranslatedMessage, TakesTheIdentifierUsedLastForZero) {
  EXPECT_THAT(m_msg.FormatMessage(0),
              StrEq("[INVALID MESSAGE TYPE][wy-log-00001] missing component library\n"));
  m_msg.FormatMessageForTrace(TestComponent::NoSeverity | 0x8000);
  EXPECT_THAT(m_msg.FormatMessage(0, "unused"),
              StrEq("[wytest-00004] A message of no severity."
                    "[WARNING][wytest-00004] A message of no severity.\n"));
}

TEST_F(TranslatedMessage, HasThirteenArgumentsAndAtMost4095Bytes) {
  TempDirectory bundles;
  bundles.Write("wytest.properties",
                "wytest-00001 = {12}{0}{1}{2}{3}{4}{5}{6}{7}{8}{9}{10}{11}{13}\n");
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(bundles.Path(".").c_str()));
  const char* const pszNull = nullptr;
  EXPECT_THAT(m_msg.FormatMessage(TestComponent::ServerStarted, pszNull, "", "2", "3", "4", "5",
                                  "6", "7", "8", "9", "10", "11", "twelve", "dropped"),
              StrEq("[INFO][wytest-00001] twelve<null>234567891011{13}\n"));
  const std::string strLong(1 << 20, 'x');
  EXPECT_EQ(m_msg.FormatMessageForTrace(TestComponent::ServerStarted), m_msg.GetBuffer());
  m_msg.CleanUpMessage();
  EXPECT_EQ(m_msg.FormatMessage(BuiltIn, strLong.c_str()),
            "[INVALID MESSAGE TYPE][wy-log-00000] " + strLong.substr(0, Cut) + '\n');
}

TEST_F(TranslatedMessage, FitsTheCallersBuffer) {
  const std::string strText = "The disk is {0} percent full.";
  for (const char* pszArgument : {"", "7"}) {
    const bool bArgument = *pszArgument != '\0';
    if (bArgument) m_msg.FormatMessage(BuiltIn, pszArgument);
    const std::string strWhole = bArgument ? "The disk is 7 percent full." : strText;
    for (const size_t uSize : {strWhole.size() + 1, strWhole.size(), size_t{1}}) {
      std::vector<char> buffer(uSize, '#');
      EXPECT_THAT(m_msg.PreformatMessage(TestComponent::DiskNearlyFull, "en", buffer.data(), uSize),
                  StrEq("wytest-00002"));
      EXPECT_EQ(buffer.data(), strWhole.substr(0, uSize - 1));
    }
    char cUntouched = '#';
    m_msg.PreformatMessage(0, "en", &cUntouched, 0);
    EXPECT_EQ(cUntouched, '#');
    EXPECT_THAT(m_msg.PreformatMessage(0, "en", nullptr, 100), StrEq("wytest-00002"));
  }
}

TEST(ArgumentList, HoldsThirteenTexts) {
  CpaArgList list;
  for (int i = 0; i < 14; ++i) list.add(std::to_string(i).c_str());
  const char* apszArguments[13];
  ASSERT_EQ(list.toArgv(apszArguments), 13u);
  EXPECT_THAT(apszArguments[0], StrEq("0"));
  EXPECT_THAT(apszArguments[12], StrEq("12"));
  const char* const pszNull = nullptr;
  ASSERT_EQ(list.clear().add(pszNull).add("").add("x").toArgv(apszArguments), 3u);
  EXPECT_THAT(apszArguments[0], StrEq("<null>"));
  EXPECT_THAT(apszArguments[1], StrEq(""));
  EXPECT_THAT(apszArguments[2], StrEq("x"));
}

}  // namespace
