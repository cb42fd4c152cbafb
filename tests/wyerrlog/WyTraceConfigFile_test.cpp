// The trace configuration file: what it selects, and how it treats malformed texts.

#include <gtest/gtest.h>

#include "test_support/TraceConfiguration.h"

namespace {

using namespace std::string_literals;
using test_support::Configure;

std::string Components(CWyTraceData& data) {
  std::string strNames;
  for (const WyTraceComponentInfo& component : test_support::ComponentTable()) {
    if (data.ComponentSelected(component.uId)) strNames += component.pszName + " "s;
  }
  return strNames;
}

// The fields in their order, each in brackets, and the filters.
std::string Fields(CWyTraceData& data) {
  const std::string strTitles = test_support::Line(data, 1);
  std::string strFields = strTitles.substr(0, strTitles.find('\n'));
  for (unsigned int uId = 0; uId < CWyTraceData::FieldCount; ++uId) {
    if (!data.FieldFiltered(uId)) continue;
    const WyTraceDataFieldInfo& field = *data.GetDataFieldInfo(uId);
    strFields +=
        " " + (field.pszName + std::to_string(field.uFilterOp)) + "<" + field.pszFilter + ">";
  }
  return strFields;
}

TEST(TraceConfigFile, SelectsComponentsByVersion) {
  const auto strAlone = "Login_Logout/Authentication "s;
  const auto strExpanded = strAlone + "Login_Logout/Send_Response Login_Logout/Receive_Request ";
  const auto strOne = "components Login_Logout/Authentication\n"s;
  const struct {
    std::string strText, strComponents;
  } cases[] = {{"", ""},
               {"#first\n\ncomponents: Log Unknown, log\n", "Log Log/Legacy "},
               {"::components:\tLog/Legacy, Log/Legacy", "Log/Legacy "},
               // A file of an older version selects what had no names of its own then.
               {strOne, strExpanded},
               {"version 2 1.1\n" + strOne, strExpanded},
               {"version: 1.1\n" + strOne, strAlone},
               {strOne + "data\nUser ==x\nversion 1.10\nversion 1.0\n", strAlone},
               // The carriage return belongs to the last token of its line, zero ends the line.
               {"version 1.1\r\ncomponents Log/Legacy,IsAuthorized\r\n", "Log/Legacy "},
               {"components Log\0 IsAuthorized\n"s, "Log Log/Legacy "}};
  for (const auto& [strText, strComponents] : cases) {
    CWyTraceData data;
    EXPECT_TRUE(Configure(data, strText)) << strText;
    EXPECT_EQ(Components(data), strComponents) << strText;
  }
}

TEST(TraceConfigFile, DoesNotChangeTheRecordsOfTheFileReadBefore) {
  CWyTraceData data, record;
  ASSERT_TRUE(Configure(data, "components Log\ndata\nUser ==alice\n"));
  record = data;
  const test_support::InMemoryFile next("components IsAuthorized/Policy\ndata\nUser ==bob\n");
  ASSERT_TRUE(data.ReadConfigFile(next.Path()));
  EXPECT_EQ(Fields(data), " User1<bob>");
  EXPECT_EQ(Components(record) + Fields(record), "Log Log/Legacy  User1<alice>");
}

TEST(TraceConfigFile, SelectsFieldsAndFilters) {
  const std::pair<std::string, std::string> cases[] = {
      {"data: User Date,,User:Tid user Date\n", "[User][Date][Tid]"},
      {"data: Date,Time\r\nUser ==a\r\n", "[Date] User1<a\r>"},
      {"data User\0Date\nUser ==a\0b\n\0\n"s, "[User] User1<a>"},
      // Verbatim behind the operator, up to the end of the line.
      {"data\nUser == a, b:c\t \n", " User1< a, b:c\t >"},
      {"data\nUser:==/x\nGroup:\t !=\nRealm,@@==\n::Rule !@e\nState !@",
       " User1</x> Group2<> Realm7<==> Rule8<e> State8<>"},
      {"data\nUser ==a\nUser !=b\n", " User2<b>"},
      // No filters: without separator, operator or known field; two separators; one character.
      {"data\nUser==x\nUser\nUser :==x\nUser \t=\nUser <>x\nuser ==x\nUser x==\nUser =", ""}};
  for (const auto& [strText, strFields] : cases) {
    CWyTraceData data;
    EXPECT_TRUE(Configure(data, "components: Log\n" + strText)) << strText;
    EXPECT_EQ(Fields(data), strFields) << strText;
  }
}

TEST(TraceConfigFile, TakesALongLineForLinesOf8092Bytes) {
  const auto pad = [](std::string strText) {
    strText.resize(8092, ' ');
    return strText;
  };
  CWyTraceData data;
  ASSERT_TRUE(Configure(data, pad("components Log") + pad("data User") +
                                  "User ==" + std::string(100000, 'x') + "\nGroup ==y\n"));
  EXPECT_EQ(Fields(data), "[User] User1<" + std::string(8092 - 7, 'x') + "> Group1<y>");
}

TEST(TraceConfigFile, RefusesFilesThatDoNotBeginWithComponentsAndData) {
  for (const char* pszText : {"data: User\n", "Components: Log\n", "components\r\n",
                              "components Log\ncomponents Log\n", "components Log\nDATA User\n"}) {
    CWyTraceData data;
    EXPECT_FALSE(Configure(data, pszText)) << pszText;
  }
}

TEST(TraceConfigFile, FindsEntriesByNumberAndExactName) {
  CWyTraceData data;
  EXPECT_EQ(data.GetDataFieldInfo("User"), nullptr) << "no names yet";
  ASSERT_TRUE(Configure(data, "components Log\ndata Tenant\nUser ==x"));
  EXPECT_EQ(data.GetDataFieldInfo("Tenant"), data.GetDataFieldInfo(65u));
  EXPECT_EQ(data.GetComponentInfo("Log/Legacy"), data.GetComponentInfo(0x01010000u));
  EXPECT_TRUE(data.ComponentSelected(0x01010000));
  EXPECT_FALSE(data.ComponentSelected(0x01000001)) << "the whole identifier counts";
  EXPECT_FALSE(data.GetDataFieldInfo("tenant") || data.GetComponentInfo("Log/Leg") ||
               data.GetDataFieldInfo(66u) || data.FieldTraced(66) || data.FieldFiltered(~0u));
}

}  // namespace
