// The message components of the repository, loaded by the process logger as any host loads them,
// and the catalogs that belong to them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <wyerrlog/WyLogger.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include "components/IsAuthorized/IsAuthorizedMessages.h"
#include "components/Login_Logout/LoginLogoutMessages.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

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

TEST(Components, AreListedWithTheirSubComponentsForTraceConfigurations) {
  const std::string strList = theLogger()->GetAvailableComponents();
  EXPECT_THAT(strList,
              HasSubstr(" | wytestcomponent ; Messages for tests : Parser ; Reads requests&"
                        "A_name_of_exactly_31_characters ; Fills its array&"
                        "Writer ; Writes answers | "));
}

TEST(Components, ProductMessagesAreInTheEnglishAndTheGermanCatalogWithTheSamePlaceholders) {
  ExpectTranslated(LoginLogout::Component);
  ExpectTranslated(IsAuthorized::Component);
}

}  // namespace
