// The message components of the repository, loaded by the process logger as any host loads them,
// and the catalogs that belong to them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wyerrlog/WyLogger.h>
#include <wyxlate/WyXlate.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include "components/IsAuthorized/IsAuthorizedMessages.h"
#include "components/Login_Logout/LoginLogoutMessages.h"
#include "components/wytestcomponent/TestMessages.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StrEq;

std::string MessageFolder() {
  const char* pszRoot = getenv("ORVA_WA_ROOT");
  return std::string(pszRoot != nullptr ? pszRoot : ".") + "/messages";
}

std::set<std::string> Placeholders(const std::string& strText) {
  std::set<std::string> placeholders;
  for (size_t u = strText.find('{'); u != std::string::npos; u = strText.find('{', u + 1)) {
    placeholders.insert(strText.substr(u, strText.find('}', u) - u + 1));
  }
  return placeholders;
}

// The placeholders of each entry of a catalog, by key.
std::map<std::string, std::set<std::string>> ReadCatalog(const std::string& strName) {
  std::map<std::string, std::set<std::string>> catalog;
  std::ifstream file(MessageFolder() + "/" + strName);
  for (std::string strLine; std::getline(file, strLine);) {
    const size_t uSign = strLine.find(" = ");
    if (strLine.starts_with('#') || uSign == std::string::npos) continue;
    catalog[strLine.substr(0, uSign)] = Placeholders(strLine.substr(uSign));
  }
  return catalog;
}

std::set<std::string> KeysOfComponent(unsigned int uComponent) {
  std::set<std::string> keys;
  for (unsigned int uNumber = 1;; ++uNumber) {
    const char* pszKey = theLogger()->FetchMsg(uComponent | uNumber);
    if (pszKey == nullptr) return keys;
    EXPECT_TRUE(keys.insert(pszKey).second) << pszKey << " is the key of two messages";
  }
}

void ExpectTranslated(unsigned int uComponent) {
  const std::string strBundle = theLogger()->GetMsgBundle(uComponent);
  const auto english = ReadCatalog(strBundle + ".properties");
  const auto german = ReadCatalog(strBundle + "_de.properties");
  std::set<std::string> keysInCatalog;
  for (const auto& [strKey, placeholders] : english) keysInCatalog.insert(strKey);
  EXPECT_THAT(keysInCatalog, Not(IsEmpty()));
  EXPECT_EQ(keysInCatalog, KeysOfComponent(uComponent));
  EXPECT_EQ(english, german) << "a key or a placeholder is in one language alone";
}

std::string LineOf(unsigned int uMessage, const char* pszFirst, const char* pszSecond) {
  CWyErrLogMessage msg;
  return msg.FormatMessage(uMessage, pszFirst, pszSecond);
}

TEST(Components, AreListedWithTheirSubComponentsForTraceConfigurations) {
  const std::string strList = theLogger()->GetAvailableComponents();
  EXPECT_THAT(strList,
              HasSubstr(" | wytestcomponent ; Messages for tests : Parser ; Reads requests&"
                        "A_name_of_exactly_31_characters ; Fills its array&"
                        "Writer ; Writes answers | "));
  EXPECT_THAT(strList,
              HasSubstr(" | Login_Logout ; Login and logout of users : Authentication ; "));
  EXPECT_THAT(strList,
              HasSubstr("&Receive_Request ; Login requests as they arrive&Send_Response ; "));
  EXPECT_THAT(strList,
              HasSubstr(" | IsAuthorized ; Decides what users may do : Receive_Request ; "));
}

TEST(Components, ProductMessagesAreInTheEnglishAndTheGermanCatalogWithTheSamePlaceholders) {
  ExpectTranslated(LoginLogout::Component);
  ExpectTranslated(IsAuthorized::Component);
}

TEST(Components, FindMessagesByNumberWhateverTheirSeverityAndSubComponent) {
  EXPECT_THAT(theLogger()->FetchMsg(TestComponent::NoSeverity), StrEq("wytest-00004"));
  EXPECT_THAT(theLogger()->FetchMsg(TestComponent::NoSeverity | 0x00FFC000u),
              StrEq("wytest-00004"));
  EXPECT_THAT(theLogger()->FetchMsg(TestComponent::EmptyPattern), StrEq(""));
  EXPECT_EQ(theLogger()->FetchMsg(TestComponent::EmptyPattern + 1), nullptr);
  EXPECT_EQ(theLogger()->FetchMsg(TestComponent::Component), nullptr);
}

TEST(Components, SpeakGermanAndFallBackToEnglishAndThenToTheKey) {
  setenv("LC_ALL", "de_DE.UTF-8", 1);
  ASSERT_TRUE(CWyXlate::SetResourceDirectory(MessageFolder().c_str()));
  EXPECT_EQ(LineOf(TestComponent::CopyRefused, "a", "b"),
            "[ERROR][wytest-00005] Nach b darf a nicht kopiert werden.\n");
  EXPECT_EQ(LineOf(TestComponent::DiskNearlyFull, "98", ""),
            "[WARNING][wytest-00002] The disk is 98 percent full.\n");
  EXPECT_EQ(LineOf(TestComponent::Untranslated, "a", "b"), "[ERROR][wytest-00003] wytest-00003\n");
}

TEST(Components, KeepPrintfPatternsBesideTranslatedMessages) {
  CWyErrLogMessage msg;
  EXPECT_TRUE(
      msg.FormatLogMessage(TestComponent::Statistics, "agent", 7, 4000000000u, 99.96, 'r', 0x2aul));
  EXPECT_THAT(msg.GetBuffer(),
              StrEq("[INFO] agent served 7 of 4000000000 requests (100.0%) in state "
                    "'r', flags 0x002a\n"));
}

}  // namespace
