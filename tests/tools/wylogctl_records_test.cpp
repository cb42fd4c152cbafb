// What the library writes is what wylogctl reads: values of all kinds go through the library in the
// trace layouts and in typed audit records, and come back equal, or the record is flagged.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "test_support/TempDirectory.h"
#include "test_support/TraceConfiguration.h"
#include "tools/wylogctl/LogChain.h"
#include "tools/wylogctl/LogTime.h"
#include "tools/wylogctl/RecordParser.h"
#include "tools/wylogctl/Translation.h"
#include "wyerrlog/WyLog.h"

std::function<void()> g_beforeStat, g_afterStat;  // once

// In place of the C library's: a log is rolled over just before or after it is listed.
extern "C" __attribute__((visibility("default"))) int stat(const char* pszPath,
                                                           struct stat* pStatus) noexcept {
  static const auto pfnNext = reinterpret_cast<decltype(&stat)>(dlsym(RTLD_NEXT, "stat"));
  if (const auto before = std::exchange(g_beforeStat, nullptr)) before();
  const int iResult = pfnNext(pszPath, pStatus);
  if (const auto after = std::exchange(g_afterStat, nullptr)) after();
  return iResult;
}

namespace {

class MemorySource : public CWyByteSource {
 public:
  // Returns at most `uMost` bytes at a time.
  explicit MemorySource(std::string_view text, std::size_t uMost = SIZE_MAX)
      : m_rest(text), m_uMost(uMost) {}
  ssize_t Read(char* pBuffer, std::size_t uSize) override {
    const std::size_t uTaken = m_rest.copy(pBuffer, std::min(uSize, m_uMost));
    m_rest.remove_prefix(uTaken);
    return static_cast<ssize_t>(uTaken);
  }

 private:
  std::string_view m_rest;
  std::size_t m_uMost;
};

struct Layout {
  const char* pszName;
  int iFormat;
  const char* pszSeparator;
  const char* pszFields;
  bool bAlwaysFlagged = false;
};

void PrintTo(const Layout& layout, std::ostream* pOut) { *pOut << layout.pszName; }

constexpr Layout Layouts[] = {
    {"Brackets", 0, nullptr, "Date Time Tid User Message Resource"},
    {"BracketsOneText", 0, nullptr, "Date Time Message Tid"},
    {"Columns", 1, nullptr, "Date Time User Message Resource"},
    {"Separator", 2, "|", "Date Time Tid User Message Resource"},
    {"SeparatorOfTwo", 2, ", ", "PreciseTime Message User"},
    {"SeparatorThatOverlaps", 2, "||", "Time User Message", true},
    {"Xml", 3, nullptr, "Date Time Message User Resource"},
    {"Json", WyTraceLayout::Json, nullptr, "Date Time Tid Message User Resource"},
};

// Pieces of which values are made: what separates values, and what looks like the next record.
constexpr const char* Pieces[] = {"a",
                                  "]",
                                  "[",
                                  "][",
                                  "|",
                                  ", ",
                                  "||",
                                  "\n",
                                  "<",
                                  ">",
                                  "b c",
                                  "</",
                                  "\t",
                                  "\xc3\xbc",
                                  "Message",
                                  "User",
                                  "</Message>",
                                  "\n\t<User>",
                                  "</TraceMessage>\n",
                                  "=",
                                  "x y",
                                  "\",\"User\":\"",
                                  "\\",
                                  "\x7f\xc2\x9b\xe2\x80\xa8",
                                  "]\n["};

class RoundTrip : public testing::TestWithParam<Layout> {
 protected:
  using Values = std::map<std::string, std::string>;

  std::string Value(std::size_t uPieces) {
    std::string strValue;
    for (std::size_t i = m_random() % (uPieces + 1); i > 0; --i) {
      strValue += Pieces[m_random() % std::size(Pieces)];
    }
    return strValue;
  }

  // A record with random texts, as the library writes it.
  std::string Write(CWyTraceData& record, Values& values) {
    for (const char* const pszName :
         {"User", "Message", "Resource", "Date", "Time", "PreciseTime", "Tid"}) {
      const WyTraceDataFieldInfo* const pField = record.GetDataFieldInfo(pszName);
      if (!pField->bTraced) continue;
      std::string strValue = Value(m_random() % 4 == 0 ? 8 : 1);
      if (pField->uId == 4) strValue = "11/16/2026";
      if (pField->uId == 5) strValue = "17:16:13";
      if (pField->uId == 6) strValue = "17:16:13.005";
      if (pField->uId == 3) strValue = std::to_string(m_random());
      EXPECT_TRUE(record.SetFieldValue(pField->uId, strValue.c_str()));
      values[pszName] = strValue;
    }
    const std::string strText = test_support::Line(record, 0);
    record.LeaveNoBody();
    return strText;
  }

  // A file with its header lines; `logged` gets the values by the offsets of the records.
  std::string WriteFile(CWyTraceData& writer, int iCount, std::map<std::uint64_t, Values>& logged) {
    const Layout layout = GetParam();
    const auto pMaster = test_support::NewConfiguration(
        std::string("components Log\ndata ") + layout.pszFields + "\n", layout.iFormat,
        layout.pszSeparator);
    EXPECT_NE(pMaster, nullptr);
    writer = *pMaster;
    std::string strFile;
    if (layout.iFormat < WyTraceLayout::Xml) {
      strFile = test_support::Line(writer, 1) + test_support::Line(writer, 3);
    }
    for (int i = 0; i < iCount; ++i) {
      Values values;
      const std::string strText = Write(writer, values);
      logged[strFile.size()] = std::move(values);
      strFile += strText;
    }
    return strFile;
  }

  // Whether the value is what layout 1 shows of the one that was logged: blanks at the end are
  // lost.
  static bool IsShown(const std::string& strLogged, std::string_view read, std::size_t uWidth) {
    std::string strShown = strLogged.substr(0, uWidth);
    strShown.resize(strShown.find_last_not_of(' ') + 1);
    return read == strShown;
  }

  std::mt19937 m_random{20261116};
};

TEST_P(RoundTrip, ValuesAreEqualOrFlagged) {
  const Layout layout = GetParam();
  CWyTraceData writer;
  constexpr int Count = 4000;
  std::map<std::uint64_t, Values> logged;
  const std::string strFile = WriteFile(writer, Count, logged);

  MemorySource source(strFile);
  CWyRecordReader reader(source);
  CWyRecordParser parser;
  WyRecord record;
  int iEqual = 0;
  for (WyRawRecord raw; reader.Next(raw) || reader.TakeRest(raw);) {
    parser.Parse(raw, record);
    if (raw.bTitles) continue;
    if ((record.uFlags & ~static_cast<unsigned int>(WyMaybeCut)) != 0) continue;
    const auto found = logged.find(raw.uOffset);
    ASSERT_NE(found, logged.end()) << "no record begins here: " << raw.text;
    for (const auto& [strName, strValue] : found->second) {
      const std::string_view read = record.Field(strName);
      const std::size_t uWidth = writer.GetDataFieldInfo(strName.c_str())->uWidth;
      if (layout.iFormat == 1) {
        ASSERT_TRUE(IsShown(strValue, read, uWidth)) << strName << " in " << raw.text;
      } else {
        ASSERT_EQ(read, strValue) << strName << " in " << raw.text;
      }
    }
    ++iEqual;
  }
  // Most values hold nothing that could be taken for something else.
  EXPECT_GT(iEqual, layout.bAlwaysFlagged ? -1 : Count / 4);
}

TEST_P(RoundTrip, AnyChunkingGivesTheSameRecords) {
  CWyTraceData writer;
  std::map<std::uint64_t, Values> logged;
  const std::string strFile = WriteFile(writer, 500, logged);
  const auto read = [&strFile](std::size_t uMost, std::size_t uChunk) {
    MemorySource source(strFile, uMost);
    CWyRecordReader reader(source, 0, uChunk);
    std::vector<std::tuple<std::uint64_t, std::string, unsigned int, bool>> records;
    for (WyRawRecord raw; reader.Next(raw) || reader.TakeRest(raw);) {
      records.emplace_back(raw.uOffset, raw.text, raw.uFlags, raw.bTitles);
    }
    return records;
  };
  const auto whole = read(SIZE_MAX, std::size_t{1} << 20);
  std::string strJoined;
  for (const auto& record : whole) strJoined += std::get<1>(record);
  EXPECT_EQ(strJoined, strFile);
  for (const std::size_t uMost : {1u, 7u, 64u, 4099u}) {
    for (const std::size_t uChunk : {16u, 512u, 65536u}) {
      EXPECT_EQ(read(uMost, uChunk), whole) << uMost << " bytes, chunks of " << uChunk;
    }
  }
}

// ---- Typed audit records ------------------------------------------------------------------------

class TypedAudit : public RoundTrip {};

TEST_P(TypedAudit, ReadsBackWhatWasWritten) {
  static std::string s_strFile;
  CWyLogger& logger = *theLogger();
  const auto keep = [](const char* pszText, int) { s_strFile += pszText; };
  ASSERT_TRUE(logger.EnableAuditLogRollover(logger.NewLogOutput(2, keep)));
  std::vector<Values> logged;
  for (int i = 0; i < 500; ++i) {
    WySetAuditFormat(i % 2 == 0 ? WyAuditFormat::Json : WyAuditFormat::Logfmt);
    logged.push_back({{"TransactionID", Value(3)}, {"fields.user", Value(8)}, {"fields.a", "[1]"}});
    Values& values = logged.back();
    const WyRequestScope scope(WyField::TransactionID, values["TransactionID"]);
    WY_AUDIT(values["Message"] = Value(2))
        .Set("user", values["fields.user"])
        .Set("a", WyRaw("[1]"))
        .Set("none", std::optional<int>());
    values["Pid"] = std::to_string(getpid());
    if (i % 50 == 0) s_strFile += "time=torn\n";
    if (i % 50 == 0) logged.emplace_back();
  }
  MemorySource source(s_strFile);
  CWyRecordReader reader(source);
  CWyRecordParser parser;
  WyRecord record;
  std::size_t uRecord = 0;
  for (WyRawRecord raw; reader.Next(raw) || reader.TakeRest(raw); ++uRecord) {
    parser.Parse(raw, record);
    ASSERT_EQ(record.uFlags, 0u) << raw.text;
    EXPECT_EQ(record.utc.has_value(), !logged.at(uRecord).empty()) << raw.text;
    for (const auto& [strName, strValue] : logged.at(uRecord)) {
      ASSERT_EQ(record.Field(strName), strValue) << strName << " in " << raw.text;
    }
  }
  EXPECT_EQ(uRecord, logged.size());
}

INSTANTIATE_TEST_SUITE_P(Once, TypedAudit, testing::Values(Layout{"Both", 0, nullptr, ""}),
                         [](const auto& entry) { return entry.param.pszName; });

INSTANTIATE_TEST_SUITE_P(Layouts, RoundTrip, testing::ValuesIn(Layouts),
                         [](const auto& entry) { return entry.param.pszName; });

TEST(LongRecords, AreCutAndMarkedAndTheOthersStayWhole) {
  const std::string strStart = "[7/11][Mon Nov 16 2026 17:00:00][a.cpp:1][INFO] ";
  const std::string strLong = strStart + std::string(CWyRecordReader::LargestRecord + 5000, 'x');
  const std::string strFile = strStart + "one\n" + strLong + "\n" + strStart + "three\n";
  for (const std::size_t uChunk : {std::size_t{1} << 16, strFile.size()}) {
    MemorySource source(strFile);
    CWyRecordReader reader(source, 0, uChunk);
    std::vector<std::pair<std::size_t, unsigned int>> records;
    for (WyRawRecord raw; reader.Next(raw) || reader.TakeRest(raw);) {
      records.emplace_back(raw.text.size(), raw.uFlags);
    }
    const std::vector<std::pair<std::size_t, unsigned int>> expected = {
        {strStart.size() + 4, 0},
        {CWyRecordReader::LargestRecord, WyTooLong},
        {strStart.size() + 6, 0}};
    EXPECT_EQ(records, expected) << uChunk;
    EXPECT_EQ(reader.DroppedBytes(), strLong.size() + 1 - CWyRecordReader::LargestRecord);
  }
}

TEST(LogTimes, AreReadAndPrintedByTheCalendar) {
  std::string strIso;
  WyAppendIso(strIso, WyParseDateTime("Sun Feb 29 2032 23:59:59"), false);
  strIso += ' ';
  WyAppendIso(strIso, WyParseDate("11/16/2026") + WyParseTimeOfDay("17:16:13.005"), true);
  EXPECT_EQ(strIso, "2032-02-29T23:59:59 2026-11-16T17:16:13.005");
  for (const char* const pszBad : {"Sun Feb 30 2026 10:00:00", "Sun Abc 10 2026 10:00:00",
                                   "Sun Feb 10 2026 24:00:00", "Sun Feb 10 2026"}) {
    EXPECT_EQ(WyParseDateTime(pszBad), WyNoTime) << pszBad;
  }
}

TEST(LogTimes, UtcIsOnlyGivenWhereTheZoneHasOne) {
  CWyZone zone;
  ASSERT_TRUE(zone.Set("Europe/Berlin"));
  const auto utc = [&zone](const char* pszTime) -> std::string {
    const auto time = zone.ToUtc(WyParseDateTime(pszTime));
    std::string strText = time ? "" : "none";
    if (time) WyAppendIso(strText, *time, false);
    return strText;
  };
  EXPECT_EQ(utc("Mon Nov 16 2026 17:16:13"), "2026-11-16T16:16:13");
  EXPECT_EQ(utc("Sun Oct 25 2026 01:59:59"), "2026-10-24T23:59:59");
  EXPECT_EQ(utc("Sun Oct 25 2026 02:30:00"), "none") << "occurs twice";
  EXPECT_EQ(utc("Sun Oct 25 2026 03:00:00"), "2026-10-25T02:00:00");
  EXPECT_EQ(utc("Sun Mar 29 2026 02:30:00"), "none") << "does not occur";
}

TEST(TextPatterns, AreTakenApartWhereThereIsOneWay) {
  using Result = CWyTextPattern::Result;
  struct Case {
    const char* pszPattern;
    const char* pszText;
    Result result;
    const char* pszFirst;
  };
  for (const Case& entry :
       {Case{"Login of {0} from {1} refused.", "Login of al from x refused.", Result::Unique, "al"},
        {"It''s {0}", "It's 5", Result::Unique, "5"},
        {"{1} and {0}", "x and y", Result::Unique, "y"},
        {"{0} and {1}", "a and b and c", Result::Ambiguous, ""},
        {"{0}{1}", "ab", Result::Ambiguous, ""},
        {"{0} is {0}", "a is a", Result::Unique, "a"},
        {"{0} is {0}", "a is b", Result::NoMatch, ""},
        {"Stopped", "Stopped", Result::Unique, ""},
        {"Stopped", "Started", Result::NoMatch, ""},
        {"at {0}.", "at 5", Result::NoMatch, ""}}) {
    std::vector<std::string> arguments;
    EXPECT_EQ(CWyTextPattern(entry.pszPattern).Match(entry.pszText, arguments), entry.result)
        << entry.pszPattern << " | " << entry.pszText;
    if (entry.result == Result::Unique) {
      EXPECT_EQ(arguments[0], entry.pszFirst) << entry.pszPattern;
    }
  }
}

TEST(LogChain, ListsALogOnceThatIsRolledOverMeanwhile) {
  for (auto* const pMoment : {&g_beforeStat, &g_afterStat}) {
    const TempDirectory folder;
    folder.Write("a.log", "old");
    *pMoment = [&] {
      std::filesystem::rename(folder.Path("a.log"), folder.Path("a_20261116_171613.log"));
      folder.Write("a.log", "newer");
    };
    std::string strSizes;
    for (const WyLogFile& file : CWyLogChain(folder.Path("a.log"), true).List()) {
      strSizes += std::to_string(file.uSize) + ' ';
    }
    EXPECT_EQ(strSizes, pMoment == &g_beforeStat ? "3 5 " : "3 ");
  }
}

}  // namespace
