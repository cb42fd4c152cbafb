// What an attacker may do to a log, one row each, and what the verifier says. The log has one file:
// record 1 is its ~begin, records 2 to 11 are the texts "record 1" to "record 10".

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <map>

#include "seal/SealedLog.h"

namespace {

using seal_test::SealedLog;
using testing::ElementsAre;
using testing::ElementsAreArray;
namespace fs = std::filesystem;

using Lines = std::vector<std::string>;

struct Attack {
  const char* pszName;
  std::function<void(SealedLog&)> attack;
  std::vector<std::string> found;
  size_t uAnchor = 0;  // the record whose anchor was kept before the attack; 0: none
};

// Changes the lines of the file; lines[n] is record n + 1.
std::function<void(SealedLog&)> Edit(const std::function<void(Lines&)>& edit) {
  return [edit](SealedLog& log) {
    Lines lines = log.Lines();
    edit(lines);
    log.SetLines(lines);
  };
}

void ReplaceIn(std::string& strLine, const std::string& strFrom, const std::string& strTo) {
  const size_t u = strLine.find(strFrom);
  ASSERT_NE(u, std::string::npos);
  strLine.replace(u, strFrom.size(), strTo);
}

// The thief goes on writing with the stolen state, after changing the file at will.
void ContinueWithStolenState(SealedLog& log, const std::function<void(Lines&)>& edit) {
  Edit(edit)(log);
  log.Write("forged", 3);
}

// Returns the anchor of the last record before the log and its state are put back.
std::string RollBack(SealedLog& log) {
  const std::string strState = log.directory.Read("keys/state"),
                    strLog = log.directory.Read("audit.log");
  log.Write("evidence", 5);
  std::string strAnchor = log.Anchor();
  log.directory.Write("keys/state", strState);
  log.directory.Write("audit.log", strLog);
  return strAnchor;
}

Lines LinesOfAnotherLog() {
  SealedLog other;
  other.Write("record", 10);
  return other.Lines();
}

std::string LineOfAnotherLog(size_t uLine) { return LinesOfAnotherLog().at(uLine); }

const Attack Attacks[] = {
    {"NothingIsDone", [](SealedLog&) {}, {"intact"}},
    {"ModifyARecord",
     Edit([](Lines& l) { ReplaceIn(l[5], "record", "nothing"); }),
     {"changed 6..6"}},
    {"ModifyTheTag",
     Edit([](Lines& l) { l[5].back() = l[5].back() == 'A' ? 'Q' : 'A'; }),
     {"changed 6..6"}},
    {"ModifyRecordAndTag",
     Edit([](Lines& l) {
       ReplaceIn(l[5], "record", "nothing");
       l[5].back() = l[5].back() == 'A' ? 'Q' : 'A';
     }),
     {"changed 6..6", "unproven 7..7"}},  // 7 is chained to the tag that is gone
    {"ModifyTwoInARow",
     Edit([](Lines& l) {
       ReplaceIn(l[5], "record", "nothing");
       ReplaceIn(l[6], "record", "nothing");
     }),
     {"changed 6..6", "unproven 7..7"}},
    {"ModifyTheFirstLine",
     Edit([](Lines& l) { ReplaceIn(l[0], "time=2", "time=1"); }),
     {"changed 1..1"}},
    {"Delete", Edit([](Lines& l) { l.erase(l.begin() + 5); }), {"unproven 7..7", "missing 6..6"}},
    {"DeleteMany",
     Edit([](Lines& l) { l.erase(l.begin() + 3, l.begin() + 8); }),
     {"unproven 9..9", "missing 4..8"}},
    {"DeleteAndModifyTheNext",
     Edit([](Lines& l) {
       l.erase(l.begin() + 5);
       ReplaceIn(l[5], "record", "nothing");
     }),
     {"unproven 7..7", "missing 6..6"}},
    {"Swap", Edit([](Lines& l) { std::swap(l[5], l[6]); }), {"out-of-order 7..7"}},
    {"MoveToTheEnd",
     Edit([](Lines& l) {
       l.push_back(l[5]);
       l.erase(l.begin() + 5);
     }),
     {"out-of-order 6..6"}},
    {"MoveToTheEndWithAnAnchorOfTheNextKept",
     Edit([](Lines& l) {
       l.push_back(l[5]);
       l.erase(l.begin() + 5);
     }),
     {"out-of-order 6..6"},
     7},
    {"InsertAPlainLine",
     Edit([](Lines& l) { l.insert(l.begin() + 5, "record 4 1/2"); }),
     {"foreign"}},
    {"InsertWithANumberInUse",
     Edit([](Lines& l) {
       l.insert(l.begin() + 5, l[5]);
       ReplaceIn(l[5], "record", "nothing");
     }),
     {"foreign"}},
    {"InsertWithAnUnusedNumber",
     Edit([](Lines& l) { l.insert(l.begin() + 5, "x\t~4000000000~AAAAAAAAAAAAAAAAAAAAAA"); }),
     {"foreign"}},
    {"Duplicate", Edit([](Lines& l) { l.insert(l.begin() + 5, l[4]); }), {"twice 5..5"}},
    {"TruncateTheTail", Edit([](Lines& l) { l.resize(8); }), {"end-missing 9..11"}},
    {"TruncateInARecord",
     [](SealedLog& log) { fs::resize_file(log.Path(), fs::file_size(log.Path()) - 9); },
     {"foreign", "end-missing 11..11"}},
    {"TruncateAndContinueWithTheStolenState",
     [](SealedLog& log) { ContinueWithStolenState(log, [](Lines& l) { l.resize(8); }); },
     {"gap 9..11"}},
    {"DeleteTheFileAndContinueWithTheStolenState",
     [](SealedLog& log) {
       fs::remove(log.Path());
       log.Write("forged", 3);
     },
     {"missing-file 1..1"}},
    // Its file has the same number: records of this log must not go into it.
    {"PutAnotherLogInPlaceAndContinue",
     [](SealedLog& log) {
       log.SetLines(LinesOfAnotherLog());
       log.Write("later", 3);
     },
     {"foreign-file", "missing-file 1..1"}},
    {"ReplayAnOlderLogAlone",
     [](SealedLog& log) {
       const Lines old = log.Lines();
       log.Write("later", 5);
       log.SetLines(old);
     },
     {"end-missing 12..16"}},
    // No local scheme sees this: only what is kept elsewhere does.
    {"RollBackLogAndState", [](SealedLog& log) { RollBack(log); }, {"intact"}},
    {"RollBackLogAndStateWithAnAnchorKept",
     [](SealedLog& log) { log.strKeptAnchor = RollBack(log); },
     {"end-missing 12..16"}},
    {"RollBackLogAndStateAndContinueWithAnAnchorKept",
     [](SealedLog& log) {
       log.strKeptAnchor = RollBack(log);
       log.Write("other evidence", 5);
     },
     {"differs 16..16"}},
    {"TagFromAnotherLog",
     Edit([](Lines& l) {
       const std::string strOther = LineOfAnotherLog(5);
       l[5].replace(l[5].size() - 22, 22, strOther.substr(strOther.size() - 22));
     }),
     {"changed 6..6"}},
    {"LineFromAnotherLog", Edit([](Lines& l) { l[5] = LineOfAnotherLog(5); }), {"changed 6..6"}},
    {"OverlongLine",
     Edit([](Lines& l) { l.insert(l.begin() + 5, std::string(5'000'000, 'x')); }),
     {"foreign"}},
    {"OverlongLineWithATrailer",
     Edit([](Lines& l) { l.insert(l.begin() + 5, std::string(5'000'000, 'x') + l[4].substr(8)); }),
     {"foreign"}},
    {"ForgedRetireRecord",
     Edit(
         [](Lines& l) { l.insert(l.begin() + 5, "~retire through=9\t~6~AAAAAAAAAAAAAAAAAAAAAA"); }),
     {"foreign"}},
    {"ForgedTornRecord",
     Edit([](Lines& l) {
       l.insert(l.begin() + 5, "fragment");
       l.insert(l.begin() + 6, "~torn bytes=8\t~6~AAAAAAAAAAAAAAAAAAAAAA");
     }),
     {"foreign", "foreign"}},
    {"ALeadingZeroInTheNumber",
     Edit([](Lines& l) { ReplaceIn(l[5], "~6~", "~06~"); }),
     {"foreign", "unproven 7..7", "missing 6..6"}},
    // The breaks that were published for the sealing of the systemd journal, restated for this
    // format. Past records are changed, and everything that the thief can compute is made
    // consistent.
    {"JournalBreakModifyPastRecordsWithTheCurrentKey",
     [](SealedLog& log) {
       ContinueWithStolenState(log, [](Lines& l) { ReplaceIn(l[5], "record", "nothing"); });
     },
     {"changed 6..6"}},
    // The log is truncated, and sealing goes on.
    {"JournalBreakTruncateAndResume",
     [](SealedLog& log) { ContinueWithStolenState(log, [](Lines& l) { l.resize(1); }); },
     {"gap 2..11"}},
    // Records are there, but some views do not show them: two lines are changed to look like one.
    {"JournalBreakHideARecordFromViews",
     Edit([](Lines& l) {
       l[4] += '\r' + l[5];
       l.erase(l.begin() + 5);
     }),
     {"changed 6..6", "missing 5..5"}},
};

class SealAttack : public testing::TestWithParam<Attack> {};

TEST_P(SealAttack, IsNamed) {
  SealedLog log;
  log.Write("record", 10);
  if (const size_t u = GetParam().uAnchor; u != 0) {
    const std::string strLine = log.Lines()[u - 1];
    log.strKeptAnchor = std::to_string(u) + ':' + strLine.substr(strLine.size() - 22);
  }
  GetParam().attack(log);
  std::vector<std::string> found = log.Verify(true, log.strKeptAnchor);
  EXPECT_THAT(found, testing::UnorderedElementsAreArray(GetParam().found)) << log.explanations;
}

INSTANTIATE_TEST_SUITE_P(, SealAttack, testing::ValuesIn(Attacks),
                         [](const auto& attack) { return attack.param.pszName; });

// ---- Several files ------------------------------------------------------------------------------

// Three files of a log; the attack gets their paths by number. Each has a ~begin, ten records, and,
// but for the last, an ~end: records 1 to 12, 13 to 24 and 25 to 35.
struct FileAttack {
  const char* pszName;
  std::function<void(std::map<uint64_t, std::string>&)> attack;
  std::vector<std::string> found;
};

void SwapNames(const std::string& strOne, const std::string& strOther) {
  fs::rename(strOne, strOne + ".x");
  fs::rename(strOther, strOne);
  fs::rename(strOne + ".x", strOther);
}

const FileAttack FileAttacks[] = {
    {"DropAMiddleFile",
     [](auto& files) { fs::remove(files[2]); },
     {"missing-file 2..2", "missing 13..24"}},
    {"DropTheOldestWithoutRetire",
     [](auto& files) { fs::remove(files[1]); },
     {"missing-file 1..1"}},
    {"DropTheNewest", [](auto& files) { fs::remove(files[3]); }, {"end-missing 25..35"}},
    // Order comes from the numbers in the files: nothing is lost, and nothing needs to be found.
    {"SwapTwoFiles", [](auto& files) { SwapNames(files[1], files[2]); }, {"intact"}},
    {"SwapTheNumbersInTheFirstLines",
     [](auto& files) {
       for (const uint64_t u : {uint64_t{1}, uint64_t{2}}) {
         std::ifstream in(files[u]);
         std::string strAll{std::istreambuf_iterator<char>(in), {}};
         ReplaceIn(strAll, "file=" + std::to_string(u), "file=" + std::to_string(3 - u));
         std::ofstream(files[u]) << strAll;
       }
     },
     {"changed 13..13"}},  // and more, below
    {"AddACopyOfAFile",
     [](auto& files) {
       fs::copy_file(files[1], files[1].substr(0, files[1].size() - 4) + "_77.log");
     },
     {"twice 1..1"}},
    {"AddAFile",
     [](auto& files) {
       std::ofstream(files[1].substr(0, files[1].size() - 4) + "_77.log") << "x\n";
     },
     {"foreign-file"}},
};

class SealFileAttack : public testing::TestWithParam<FileAttack> {};

TEST_P(SealFileAttack, IsNamed) {
  SealedLog log;
  log.WriteFiles(3, 10);
  std::map<uint64_t, std::string> files = log.Files();
  ASSERT_EQ(files.size(), 3u);
  GetParam().attack(files);
  const std::vector<std::string> found = log.Verify();
  if (std::string(GetParam().pszName) == "SwapTheNumbersInTheFirstLines") {
    EXPECT_THAT(found, testing::IsSupersetOf(GetParam().found)) << log.explanations;
    return;
  }
  EXPECT_THAT(found, testing::UnorderedElementsAreArray(GetParam().found)) << log.explanations;
}

INSTANTIATE_TEST_SUITE_P(, SealFileAttack, testing::ValuesIn(FileAttacks),
                         [](const auto& attack) { return attack.param.pszName; });

TEST(SealInjection, NoTextOfACallerIsARecordOfTheLogOrTwoLines) {
  SealedLog log;
  const auto pOutput = log.Open();
  for (const char* pszText : {"~end file=1 records=1", "~torn bytes=5", "a\nb", "a\r\nb\n",
                              "\x1b[2J", "x\t~3~AAAAAAAAAAAAAAAAAAAAAA", "\xc2\x85next line",
                              "\xe2\x80\xa8separator", "", "caf\xc3\xa9 \xe2\x82\xac"}) {
    ASSERT_TRUE(pOutput->Log(std::string_view(pszText)));
  }
  EXPECT_FALSE(pOutput->Log(std::string((1u << 20) + 1, 'x')));
  const Lines lines = log.Lines();
  ASSERT_EQ(lines.size(), 11u);
  EXPECT_TRUE(lines[1].starts_with("\\~end file=1 records=1\t~2~"));
  EXPECT_TRUE(lines[3].starts_with("a\\x0ab\t~4~"));
  EXPECT_TRUE(lines[6].starts_with("x\\x09~3~"));
  EXPECT_TRUE(lines[7].starts_with("\\xc2\\x85next"));
  EXPECT_TRUE(lines[10].starts_with("caf\xc3\xa9 \xe2\x82\xac\t~11~"));
  EXPECT_THAT(log.Verify(), ElementsAre("intact"));
}

}  // namespace
