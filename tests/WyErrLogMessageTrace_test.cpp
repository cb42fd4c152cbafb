// The layouts of trace records, audit records and free texts.

#include <gmock/gmock.h>

#include "wyerrlog/WyErrLogMessage.h"

namespace {

struct Column {
  const char* pszName;
  const char* pszValue;
  int iWidth;
};

std::string Record(int iLayout, const char* pszTag, const std::vector<Column>& columns) {
  CWyErrLogMessage msg(false);
  msg.BeginTraceFormat(iLayout, false, pszTag);
  for (const auto& [pszName, pszValue, iWidth] : columns) {
    msg.FormatTraceField(pszValue, pszName);  // without effect in layout 1
    if (iLayout == 1) msg.FormatTraceField(pszValue, iWidth);
  }
  msg.EndTraceFormat();
  return msg.GetBuffer();
}

TEST(TraceLayout, WritesFieldsInFourWays) {
  const std::vector<Column> row = {
      {"Date", "11/16/2026", 16}, {"Tid", "2916542208", 8}, {"Message", "<a> & b", 10}};
  EXPECT_EQ(Record(0, nullptr, row), "[11/16/2026][2916542208][<a> & b]\n");
  EXPECT_EQ(Record(1, nullptr, row), "11/16/2026        29165422  <a> & b   \n");
  EXPECT_EQ(Record(2, ", ", row), "11/16/2026, 2916542208, <a> & b\n");
  EXPECT_EQ(Record(3, "TraceMessage", row),
            "<TraceMessage>\n\t<Date>11/16/2026</Date>\n\t<Tid>2916542208</Tid>\n"
            "\t<Message><a> & b</Message>\n</TraceMessage>\n");
}

TEST(TraceLayout, TakesOddLayoutsTagsAndValues) {
  const std::vector<Column> odd = {{"A", "", 0}, {nullptr, nullptr, 2}, {"", "abcdefg", 5}};
  EXPECT_EQ(Record(0, nullptr, odd), "[][][abcdefg]\n");
  EXPECT_EQ(Record(1, nullptr, odd), "      abcde\n") << "two blanks between, also at width 0";
  EXPECT_EQ(Record(2, "|", odd), "||abcdefg\n");
  EXPECT_EQ(Record(2, nullptr, odd), "abcdefg\n");
  EXPECT_EQ(Record(3, nullptr, odd), "<>\n\t<A></A>\n\t<></>\n\t<>abcdefg</>\n</>\n");
  for (const int iUnknown : {-1, 4, 1000}) EXPECT_EQ(Record(iUnknown, "|", odd), "\n");
  for (const int iLayout : {0, 1, 2}) EXPECT_EQ(Record(iLayout, "|", {}), "\n");
}

TEST(AuditMessage, IsWholeHoweverLong) {
  for (const size_t uLength : {1u, 4095u, 4096u, 4097u, 5u << 20}) {
    const std::string strText(uLength, 'x');
    CWyErrLogMessage msg(false);
    EXPECT_TRUE(msg.FormatAuditMessage("%s", strText.c_str()));
    EXPECT_EQ(msg.GetBuffer(), strText) << uLength;
  }
}

TEST(AuditMessage, ReplacesTheTextUpTo4095BytesAndIsAppendedBeyond) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage("before ");
  EXPECT_FALSE(msg.FormatAuditMessage(nullptr) || msg.FormatAuditMessage(std::string().c_str(), 1));
  EXPECT_STREQ(msg.GetBuffer(), "before ");
  EXPECT_TRUE(msg.FormatAuditMessage("%4095d", 7));
  // Its own text may be among the arguments.
  EXPECT_TRUE(msg.FormatAuditMessage("%s|%5000d", msg.GetBuffer(), 8));
  const std::string strFirst = std::string(4094, ' ') + '7';
  EXPECT_EQ(msg.GetBuffer(), strFirst + strFirst + '|' + std::string(4999, ' ') + '8');
  EXPECT_TRUE(msg.FormatAuditMessage("%lc", wint_t{0x110000})) << "no such character";
  EXPECT_STREQ(msg.GetBuffer(), "");
}

TEST(FreeTraceText, IsCutAt4095Bytes) {
  EXPECT_EQ(CWyErrLogMessage::FormatTraceMessage(nullptr), nullptr);
  EXPECT_EQ(CWyErrLogMessage::FormatTraceMessage(std::string().c_str(), 1), nullptr);
  CWyErrLogMessage::FreeFormattedMessage(nullptr);
  for (const size_t uLength : {2u, 4095u, 4096u, 5000u}) {
    char* const pszText =
        CWyErrLogMessage::FormatTraceMessage("%s", std::string(uLength, 'x').c_str());
    EXPECT_EQ(pszText, std::string(std::min<size_t>(uLength, 4095), 'x'));
    CWyErrLogMessage::FreeFormattedMessage(pszText);
  }
}

}  // namespace
