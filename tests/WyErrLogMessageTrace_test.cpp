// The layouts of trace records, audit records and free texts.

#include <gmock/gmock.h>

#include <memory>

#include "wyerrlog/WyErrLogMessage.h"

namespace {

using testing::StrEq;

struct Column {
  const char* pszName;
  const char* pszValue;
  int iWidth;
};

const std::vector<Column> Row = {
    {"Date", "11/16/2026", 16}, {"Tid", "2916542208", 8}, {"Message", "<a> & b", 10}};

std::string Record(int iLayout, const char* pszTag, const std::vector<Column>& columns = Row) {
  CWyErrLogMessage msg(false);
  msg.BeginTraceFormat(iLayout, false, pszTag);
  for (const auto& [pszName, pszValue, iWidth] : columns) {
    if (iLayout == 1) {
      msg.FormatTraceField(pszValue, pszName);  // without effect
      msg.FormatTraceField(pszValue, iWidth);
    } else {
      msg.FormatTraceField(pszValue, pszName);
    }
  }
  msg.EndTraceFormat();
  return msg.GetBuffer();
}

TEST(TraceLayout, WritesFieldsInFourWays) {
  EXPECT_EQ(Record(0, nullptr), "[11/16/2026][2916542208][<a> & b]\n");
  EXPECT_EQ(Record(1, nullptr), "11/16/2026        29165422  <a> & b   \n");
  EXPECT_EQ(Record(2, "|"), "11/16/2026|2916542208|<a> & b\n");
  EXPECT_EQ(Record(2, ", "), "11/16/2026, 2916542208, <a> & b\n");
  EXPECT_EQ(Record(3, "TraceMessage"),
            "<TraceMessage>\n\t<Date>11/16/2026</Date>\n\t<Tid>2916542208</Tid>\n"
            "\t<Message><a> & b</Message>\n</TraceMessage>\n");
}

TEST(TraceLayout, TakesOddLayoutsTagsAndValues) {
  for (const int iUnknown : {-1, 4, 1000}) EXPECT_EQ(Record(iUnknown, "|"), "\n");
  for (const char* pszNoTag : {"", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(Record(2, pszNoTag), "11/16/20262916542208<a> & b\n");
    EXPECT_EQ(Record(3, pszNoTag, {}), "<>\n</>\n");
  }
  for (const int iLayout : {0, 1, 2}) EXPECT_EQ(Record(iLayout, "|", {}), "\n");
  const std::vector<Column> odd = {{"A", "", 0}, {nullptr, nullptr, 2}, {"", "abcdefg", 5}};
  EXPECT_EQ(Record(0, nullptr, odd), "[][][abcdefg]\n");
  EXPECT_EQ(Record(1, nullptr, odd), "      abcde\n") << "two blanks between, also at width 0";
  EXPECT_EQ(Record(2, "|", odd), "||abcdefg\n");
  EXPECT_EQ(Record(3, "T", odd), "<T>\n\t<A></A>\n\t<></>\n\t<>abcdefg</>\n</T>\n");
}

TEST(TraceLayout, StartsAnewWithEachRecordAndAppendsToTheText) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage("behind:");
  for (const int iLayout : {2, 0, 2}) {
    msg.BeginTraceFormat(iLayout, false, "|");
    msg.FormatTraceField("a", "A");
    msg.FormatTraceField("b", "B");
    msg.EndTraceFormat();
  }
  EXPECT_THAT(msg.GetBuffer(), StrEq("behind:a|b\n[a][b]\na|b\n"));
}

TEST(AuditMessage, IsWholeHoweverLong) {
  for (const size_t uLength : {1, 4094, 4095, 4096, 4097, 5 << 20}) {
    const std::string strText(uLength, 'x');
    CWyErrLogMessage msg(false);
    EXPECT_TRUE(msg.FormatAuditMessage("%s", strText.c_str()));
    EXPECT_EQ(msg.GetBuffer(), strText) << uLength;
    EXPECT_EQ(msg.GetBufferLen(), static_cast<int>(uLength));
  }
}

TEST(AuditMessage, ReplacesTheTextUpTo4095BytesAndIsAppendedBeyond) {
  CWyErrLogMessage msg(false);
  msg.SetFormattedMessage("before ");
  EXPECT_FALSE(msg.FormatAuditMessage(nullptr));
  EXPECT_FALSE(msg.FormatAuditMessage(""));
  EXPECT_THAT(msg.GetBuffer(), StrEq("before "));
  EXPECT_TRUE(msg.FormatAuditMessage("%4095d", 7));
  EXPECT_EQ(msg.GetBufferLen(), 4095);
  // Its own text may be among the arguments.
  EXPECT_TRUE(msg.FormatAuditMessage("%s|%5000d", msg.GetBuffer(), 8));
  const std::string strFirst = std::string(4094, ' ') + '7';
  EXPECT_EQ(msg.GetBuffer(), strFirst + strFirst + '|' + std::string(4999, ' ') + '8');
  EXPECT_TRUE(msg.FormatAuditMessage("%.4s%lc", "", wint_t{0x110000})) << "cannot be converted";
  EXPECT_THAT(msg.GetBuffer(), StrEq(""));
}

TEST(FreeTraceText, IsCutAt4095Bytes) {
  EXPECT_EQ(CWyErrLogMessage::FormatTraceMessage(nullptr), nullptr);
  EXPECT_EQ(CWyErrLogMessage::FormatTraceMessage(""), nullptr);
  CWyErrLogMessage::FreeFormattedMessage(nullptr);
  for (const int iLength : {2, 4095, 4096, 5000}) {
    char* const pszText = CWyErrLogMessage::FormatTraceMessage("%*d", iLength, 7);
    EXPECT_EQ(pszText, (std::string(static_cast<size_t>(iLength) - 1, ' ') + '7').substr(0, 4095));
    CWyErrLogMessage::FreeFormattedMessage(pszText);
  }
}

}  // namespace
