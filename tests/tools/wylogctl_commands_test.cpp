// Every command with its error cases, as one table: the command line, the exit code, and what it
// prints.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "test_support/Sanitizer.h"
#include "test_support/TempDirectory.h"
#include "tools/RunProgram.h"

namespace {

std::string Line(const std::string& strClock, const std::string& strRest) {
  return "[7/11][Mon Nov 16 2026 " + strClock + "][a.cpp:41]" + strRest + "\n";
}

// A folder with one log of each kind, a manifest and two catalogs.
class Commands : public testing::Test {
 protected:
  Commands() {
    m_folder.Write("error_20261116_170000.log",
                   Line("16:59:58", "[INFO][store-00001] The store at /a is open.") +
                       Line("16:59:59", "[ERROR][store-00002] alice: 17 of 5.\nsecond line"));
    m_folder.Write("error.log", Line("17:00:01", "[WARNING][store-00003] Full.") +
                                    Line("17:00:03", "[INFO] no key, request 4711."));
    m_folder.Write("trace.log",
                   "[Date][PreciseTime][Tid][TransactionID][User][Message]\n"
                   "[====][===========][===][=============][====][=======]\n"
                   "[11/16/2026][17:00:00.500][11][4711][alice][start]\n"
                   "[11/16/2026][17:00:02.250][11][4712][b][o][b]\n"
                   "[11/16/2026][17:00:04.000][11][4711][alice][a][b]\n");
    m_folder.Write("audit.log", "[Mon Nov 16 2026 17:00:02] allow request=4711\n");
    m_folder.Write("bad.log", Line("17:00:00", "[INFO][store-00009] a" + std::string(1, '\0')) +
                                  Line("16:00:00", "[INFO] \xff [1/2][Mon Nov 16 2026 17:00:00][") +
                                  "[7/11][Mon Nov 16 2026 17:00:09][tor");
    m_folder.Write("Store.messages.json", R"({"format":1,
      "component":{"number":12,"name":"Session_Store","bundle":"store","about":"Sessions"},
      "subComponents":[{"number":1,"name":"Cleanup","description":"Ends sessions"}],
      "messages":[
       {"id":"0x0C004001","number":1,"key":"store-00001","name":"Opened","severity":"info",
        "arguments":[{"name":"file","type":"string"}],"text":"The store at {0} is open."},
       {"id":"0x0C00C002","number":2,"key":"store-00002","severity":"error","advice":"Make room."},
       {"id":"0x0C00C003","number":3,"severity":"error"},
       {"id":"0x0C004004","number":4,"key":"store-00004","name":"Swept","severity":"info",
        "printf":"%d sessions swept"}]})");
    m_folder.Write(
        "store.properties",
        "# texts\nstore-00001 = The store at {0} is open.\nstore-00002 = {0}: {1} of {2}.\n");
    m_folder.Write("store_de.properties", "store-00001 = Der Speicher {0} ist offen.\n");
  }

  ProgramResult Run(const std::string& strArguments) {
    return RunProgram(m_folder.Path(""), "\"$WYLOGCTL\" " + strArguments);
  }

  TempDirectory m_folder;
};

struct Case {
  const char* pszArguments;
  int iExit;
  std::vector<const char*> out;    // texts in the order in which the output holds them
  std::vector<const char*> error;  // likewise on the standard error output
};

void ExpectInOrder(const std::string& strText, const std::vector<const char*>& parts,
                   const char* pszWhere) {
  if (parts.empty()) {
    EXPECT_EQ(strText, "") << pszWhere;
  }
  std::size_t u = 0;
  for (const char* const pszPart : parts) {
    const std::size_t uFound = strText.find(pszPart, u);
    ASSERT_NE(uFound, std::string::npos) << pszWhere << " lacks \"" << pszPart << "\":\n"
                                         << strText;
    u = uFound + std::string_view(pszPart).size();
  }
}

TEST_F(Commands, PrintAndEndAsTheTableSays) {
  const char* const Any = "";
  const std::vector<Case> cases = {
      // Which records.
      {"log -q error.log", 0, {"16:59:58", "second line\n", "17:00:01", "17:00:03"}, {}},
      {"log -q --no-backups error.log -n 1", 0, {"[7/11][Mon Nov 16 2026 17:00:03]"}, {}},
      {"log -q -n 3 error.log", 0, {"16:59:59", "second", "17:00:01", "17:00:03"}, {}},
      {"log -q --severity warning error.log", 0, {"16:59:59", "second line", "17:00:01"}, {}},
      {"log -q --key store-00003 error.log", 0, {"[store-00003] Full.\n"}, {}},
      {"log -q --grep 'sec+ond' error.log", 0, {"alice: 17 of 5.\nsecond line\n"}, {}},
      {"log -q --grep nothing error.log", 1, {}, {}},
      {"log -q --pid 8 error.log", 1, {}, {}},
      {"log -q --where 'SrcFile==a.cpp:41' --where 'Message@@Full' error.log", 0, {"Full"}, {}},
      {"log -q --where 'User==alice' trace.log", 0, {"start"}, {}},
      {"log -q --where 'User!=alice' error.log", 1, {}, {}},
      {"log -q --since 17:00:01 --since 2026-11-16T17:00:02 error.log", 2, {}, {Any}},
      {"log --since 2026-11-16T17:00:02 error.log",
       0,
       {"17:00:03"},
       {"local time of this machine (Europe/Berlin)"}},
      {"log -q --until '2026-11-16 16:59:58' error.log", 0, {"16:59:58"}, {}},
      {"log -q --component Session_Store --messages . error.log -n 1", 0, {"Full"}, {}},
      {"log -q --request 4711 -o json error.log trace.log audit.log",
       0,
       {R"("User":"alice","Message":"start")", R"("log":"audit")", "no key, request",
        R"(17:00:04.000)"},
       {}},
      // All logs in one stream, by time.
      {"log -q error.log trace.log audit.log -o table",
       0,
       {"16:59:58", "16:59:59", "17:00:00.500", "17:00:01", "17:00:02 ", "17:00:02.250",
        "ambiguous", "17:00:03", "17:00:04.000"},
       {}},
      // Forms.
      {"log -q -n 1 -o json --messages . --key store-00001 error.log",
       0,
       {R"({"v":1,"log":"error","file":"error_20261116_170000.log","offset":0,)",
        R"("time":"2026-11-16T16:59:58","utc":"2026-11-16T15:59:58Z","pid":7,"tid":11,"src":"a.cpp",)",
        R"("line":41,"severity":"INFO","key":"store-00001","id":"0x0C004001",)",
        R"("component":"Session_Store","text":"The store at /a is open.","flags":[]})"},
       {}},
      {"log -q -o json bad.log --tz utc",
       0,
       {R"(a\u0000)", "\xef\xbf\xbd", R"("raw_b64":")", R"("unterminated")"},
       {}},
      {"log -q -o csv -n 1 error.log", 0, {"time,utc,", "2026-11-16T17:00:03,"}, {}},
      {"log -q -o csv bad.log", 0, {",raw_b64\n", "\xef\xbf\xbd", ",bad.log,65,WzcvMT"}, {}},
      {"log -x -q --messages . --severity ERROR error.log",
       0,
       {"second line\n    -- Make room.\n"},
       {}},
      {"log -q --lang de --messages . --key store-00001 error.log",
       0,
       {"[store-00001] Der Speicher /a ist offen.\n"},
       {}},
      {"log -q --color=always --severity ERROR error.log", 0, {"\033[31m", "\033[0m"}, {}},
      // Counts.
      {"stats -q error.log", 0, {"KEY", "COUNT", "(no key)", "1", "store-00001", "1"}, {}},
      {"stats -q --by minute -o json error.log",
       0,
       {R"({"minute":"2026-11-16T16:59","count":2})", R"({"minute":"2026-11-16T17:00","count":2})"},
       {}},
      {"stats -q --by User -o csv trace.log", 0, {"User,count\n", "alice,"}, {}},
      {"stats --by key -n 1 error.log", 0, {"KEY"}, {"3 more values with 3 records"}},
      {"stats --by usr error.log", 2, {}, {"--by usr"}},
      {"stats --by component error.log", 2, {}, {"--messages DIR"}},
      // Damage.
      {"verify error.log", 0, {}, {"4 records: 0 errors, 0 warnings"}},
      {"verify -q error.log --messages .", 1, {"severity", "store-00003 is ERROR there"}, {}},
      {"verify -q bad.log --messages .", 1, {"unknown-key", "store-00009"}, {}},
      {"verify -q bad.log",
       1,
       {"error", "nul", "invalid-utf8", "joined", "time-back", "torn", "unterminated"},
       {}},
      {"verify -q bad.log --fail-on=never", 0, {"torn"}, {}},
      {"verify -q trace.log --fail-on=error", 0, {"ambiguous"}, {}},
      {"verify -q --gap 1s error.log", 1, {"gap", "2 s"}, {}},
      // Files, and what is known.
      {"files -q error.log trace.log",
       0,
       {"error_20261116_170000.log", "error", "2026-11-16T16:59:58", "2026-11-16T16:59:59",
        "error.log", "trace.log", "trace", "0"},
       {}},
      {"list fields -o csv", 0, {"number,name,width\n0,Message,64\n", "65,Tenant,64\n"}, {}},
      {"list components --messages .", 0, {"12", "Session_Store", "Session_Store/Cleanup"}, {}},
      {"list messages --messages . -o json", 0, {R"("id":"0x0C004001","key":"store-00001")"}, {}},
      {"list messages --messages . -o json",
       0,
       {R"("name":"Swept","text":"%d sessions swept")"},
       {}},
      {"message Swept --messages .", 0, {"store-00004", "printf      %d sessions swept\n"}, {}},
      {"message Swept --messages . -o json",
       0,
       {R"("printf":"%d sessions swept","translations":[],"missing":[])"},
       {}},
      {"list messages", 1, {}, {"no manifests"}},
      {"list messages --load", 2, {}, {"--load belongs to wylogctl list components"}},
      {"message --messages . 0x0C004001",
       0,
       {"store-00001  0x0C004001  INFO", "Opened", "file (string)", "store.properties:2",
        "Der Speicher", "store_de.properties:1"},
       {}},
      {"message --messages . store-00002",
       0,
       {"missing in", "store_de.properties", "Make room."},
       {}},
      {"message --messages . -o json 'The store at /x is open.'",
       0,
       {R"("key":"store-00001")"},
       {}},
      {"message --messages . store-0001", 1, {}, {"did you mean store-00001?"}},
      // What cannot be done.
      {"log nowhere.log", 2, {}, {"nowhere.log: no such log, and no backups of it"}},
      {"log nowhere.log error.log -n 1", 2, {"17:00:03"}, {"nowhere.log"}},
      {"log .", 2, {}, {"is a folder"}},
      {"log --sevrity ERROR error.log", 2, {}, {"--sevrity", "did you mean --severity?"}},
      {"log --severity BAD error.log", 2, {}, {"INFO, WARNING or ERROR"}},
      {"log --where Usr==x error.log", 2, {}, {"did you mean User?"}},
      {"log --where User error.log", 2, {}, {"no operator"}},
      {"log --where 'User=x' error.log", 2, {}, {"operator is =="}},
      {"log --grep '(' error.log", 2, {}, {"--grep ("}},
      {"log --since soon error.log", 2, {}, {"--since soon: not a time"}},
      {"log --tz Nowhere/City error.log", 2, {}, {"--tz Nowhere/City"}},
      {"log --component Nobody --messages . error.log", 2, {}, {"--component Nobody"}},
      {"log --lang fr --messages . error.log", 2, {}, {"--lang fr", "en de"}},
      {"log -n many error.log", 2, {}, {"-n many"}},
      {"log --layout 2 error.log", 2, {}, {"belong together"}},
      {"log -o yaml error.log", 2, {}, {"yaml"}},
      {"log --messages nowhere -x error.log", 2, {"17:00:03"}, {"nowhere"}},
      {"lgo error.log", 2, {}, {"lgo", "did you mean log?"}},
      {"", 2, {}, {"--help"}},
      {"--version", 0, {"wylogctl "}, {}},
  };
  for (const Case& entry : cases) {
    SCOPED_TRACE(entry.pszArguments);
    const ProgramResult result = Run(entry.pszArguments);
    EXPECT_EQ(result.iExit, entry.iExit) << result.strError;
    ExpectInOrder(result.strOut, entry.out, "the output");
    ExpectInOrder(result.strError, entry.error, "the error output");
  }
}

TEST_F(Commands, RawOutputsJoinedAreTheFiles) {
  const std::string strAll =
      m_folder.Read("error_20261116_170000.log") + m_folder.Read("error.log");
  EXPECT_EQ(Run("log -q error.log").strOut, strAll);
  EXPECT_EQ(Run("log -q trace.log").strOut, m_folder.Read("trace.log"));
  EXPECT_EQ(Run("log -q - <error.log").strOut, m_folder.Read("error.log"));
  ASSERT_EQ(RunProgram(m_folder.Path(""), "gzip error_20261116_170000.log").iExit, 0);
  EXPECT_EQ(Run("log -q error.log").strOut, strAll);
}

// A search from the end, or by time, begins far behind the first header lines, and must not give
// the columns their names if there are others between.
TEST_F(Commands, ColumnsHaveTheNamesOfTheLastHeaderLinesBeforeThem) {
  std::string strLog;
  const std::string strFill = std::string(150, 'x') + " is done]\n";
  for (const char* const pszField : {"User", "Rule"}) {
    strLog += std::string("[Date][Time][") + pszField + "][Message]\n[====][====][====][=======]\n";
    for (int i = 0; i < 60'000; ++i) {
      const std::string strSecond = std::to_string(10 + i / 1200);
      strLog += "[11/16/2026][" + std::string(*pszField == 'U' ? "17" : "18") + ":00:" + strSecond +
                "][alice][Request " + std::to_string(i) + strFill;
    }
  }
  m_folder.Write("long.log", strLog);
  const std::string strLast = "[11/16/2026][18:00:59][alice][Request 59999" + strFill;
  EXPECT_EQ(Run("log -q -n 1 long.log").strOut, strLast);
  EXPECT_EQ(Run("log -q --since 2026-11-16T18:00:59 long.log | tail -n 1").strOut, strLast);
  for (const char* const pszSearch : {"-n 1", "--since 2026-11-16T18:00:59"}) {
    const std::string strNear = std::string("log -o json long.log ") + pszSearch;
    const ProgramResult assumed = Run(strNear);
    EXPECT_NE(assumed.strOut.find(R"("flags":["names-assumed"])"), std::string::npos) << pszSearch;
    EXPECT_NE(assumed.strError.find("--scan searches the whole file"), std::string::npos);
    const std::string strOut = Run(strNear + " --scan").strOut;
    EXPECT_NE(strOut.find("\"Rule\":\"alice\""), std::string::npos) << pszSearch;
    EXPECT_EQ(strOut.find("\"User\""), std::string::npos) << pszSearch;
    EXPECT_EQ(strOut.find("assumed"), std::string::npos) << pszSearch;
  }
  EXPECT_NE(Run("log -q --where Rule==alice -n 1 --scan long.log").strOut, "");
}

// Six records of 6 MB, one in each log, and memory for three of them: only the one whose turn it is
// is kept.
TEST_F(Commands, LongRecordsOfSeveralLogsAreInMemoryOneByOne) {
  if (test_support::IsSanitized) GTEST_SKIP() << "sanitizers need more address space";
  std::string strFirst, strLong, strLast;
  for (char c = 'a'; c < 'g'; ++c) {
    const std::string strSecond = std::to_string(6 - (c - 'a'));
    const std::string strText = Line("17:00:0" + strSecond, "[INFO] " + std::string(6'000'000, c));
    m_folder.Write(std::string(1, c) + ".long.log",
                   Line("17:00:00", "[INFO] first") + strText + Line("17:00:09", "[INFO] last"));
    strFirst += Line("17:00:00", "[INFO] first");
    strLong.insert(0, strText);
    strLast += Line("17:00:09", "[INFO] last");
  }
  for (const char* const pszLines : {"", "-n 18"}) {
    const ProgramResult result =
        RunProgram(m_folder.Path(""), std::string("ulimit -v 45000 && \"$WYLOGCTL\" log -q ") +
                                          pszLines + " [a-f].long.log");
    EXPECT_EQ(result.iExit, 0) << result.strError;
    EXPECT_TRUE(result.strOut == strFirst + strLong + strLast) << result.strOut.size() << " bytes";
  }
}

TEST_F(Commands, FilterAndMergeCommute) {
  const std::string strMerged = Run("log -q -o json --tid 11 error.log trace.log audit.log").strOut;
  std::string strExpected;
  std::istringstream all(Run("log -q -o json error.log trace.log audit.log").strOut);
  for (std::string strLine; std::getline(all, strLine);) {
    if (strLine.find("\"tid\":11") != std::string::npos) strExpected += strLine + "\n";
  }
  EXPECT_FALSE(strExpected.empty());
  EXPECT_EQ(strMerged, strExpected);
}

TEST_F(Commands, TheCursorGoesOnWhereTheLastRunEnded) {
  const std::string strCommand = "log -q --cursor-file c error.log";
  EXPECT_EQ(Run(strCommand).iExit, 0);
  EXPECT_EQ(Run(strCommand).iExit, 1) << "nothing new";
  // Rolled over, and a line that is not finished.
  ASSERT_EQ(RunProgram(m_folder.Path(""),
                       "printf '[7/11][Mon Nov 16 2026 17:00:05][a][INFO] late\\n' >>error.log &&"
                       "mv error.log error_20261116_170005.log && printf '[7/11][Mon' >error.log")
                .iExit,
            0);
  EXPECT_EQ(Run(strCommand).strOut, "[7/11][Mon Nov 16 2026 17:00:05][a][INFO] late\n");
  ASSERT_EQ(
      RunProgram(m_folder.Path(""), "printf ' Nov 16 2026 17:00:06][a][INFO] new\\n' >>error.log")
          .iExit,
      0);
  EXPECT_EQ(Run(strCommand).strOut, "[7/11][Mon Nov 16 2026 17:00:06][a][INFO] new\n");
  ASSERT_EQ(RunProgram(m_folder.Path(""), "rm error*.log && echo x >error.log").iExit, 0);
  EXPECT_NE(Run("log --cursor-file c error.log").strError.find("is gone"), std::string::npos);
}

// Clocks are set back at 01:00 UTC, and forward at 01:00 UTC. What was logged within the last hour
// is shown, whichever hour a line means.
TEST_F(Commands, TheLastHourIsWholeWhereClocksWereChanged) {
  if (test_support::IsSanitized) GTEST_SKIP() << "faketime is no sanitizer's";
  m_folder.Write("dst.log",
                 "[7/11][Sun Mar 29 2026 01:20:00][a][INFO] March\n"
                 "[7/11][Sun Mar 29 2026 01:45:00][a][INFO] winter\n"
                 "[7/11][Sun Mar 29 2026 03:10:00][a][INFO] summer\n"
                 "[7/11][Sun Oct 25 2026 01:20:00][a][INFO] October\n"
                 "[7/11][Sun Oct 25 2026 02:40:00][a][INFO] first\n"
                 "[7/11][Sun Oct 25 2026 02:10:00][a][INFO] second\n"
                 "[7/11][Sun Oct 25 2026 03:10:00][a][INFO] winter again\n");
  const auto at = [this](const std::string& strUtc, const std::string& strFilter) {
    return RunProgram(m_folder.Path(""),
                      "TZ=UTC faketime '" + strUtc +
                          "' env TZ=Europe/Berlin \"$WYLOGCTL\" log -q -o json " + strFilter +
                          " dst.log")
        .strOut;
  };
  const auto lastHour = [&](const std::string& strUtc) { return at(strUtc, "--since -1h"); };
  const std::string strSpring = lastHour("2026-03-29 01:30:00");
  const std::string strAutumn = lastHour("2026-10-25 01:30:00");
  ExpectInOrder(strSpring, {"T00:45:00Z", "winter", "T01:10:00Z", "summer"}, "spring");
  ExpectInOrder(strAutumn, {"\"utc\":null", "first", "\"utc\":null", "second"}, "autumn");
  EXPECT_EQ(strSpring.find("March"), std::string::npos) << "earlier than the last hour";
  EXPECT_EQ(strAutumn.find("October"), std::string::npos) << "earlier than the last hour";
  // In the second of the two hours the first is over; in the first one the second is still to come.
  for (const char* const pszUntil : {"--until now", "--until -2m"}) {
    const std::string strUntil = at("2026-10-25 01:12:30", pszUntil);
    ExpectInOrder(strUntil, {"October", "first", "second"}, pszUntil);
    EXPECT_EQ(strUntil.find("again"), std::string::npos) << pszUntil;
  }
  const std::string strSince = at("2026-10-25 00:30:00", "--since now");
  ExpectInOrder(strSince, {"first", "second", "again"}, "since");
  EXPECT_EQ(strSince.find("October"), std::string::npos);
}

TEST_F(Commands, ManifestsOfAnotherFormatAreRefused) {
  m_folder.Write("Other.messages.json", R"({"format":2})");
  const ProgramResult result = Run("list messages --messages .");
  EXPECT_EQ(result.iExit, 2);
  EXPECT_NE(result.strError.find("Other.messages.json: a manifest of format 2"), std::string::npos);
  EXPECT_NE(result.strOut.find("store-00001"), std::string::npos) << "the rest is still printed";
}

TEST_F(Commands, TextsDoNotControlTheTerminal) {
  m_folder.Write("evil.log", "\033[2Jgone\n");
  const std::string strRun = "script -qec '\"$WYLOGCTL\" log --no-pager evil.log' /dev/null";
  const ProgramResult result = RunProgram(m_folder.Path(""), strRun);
  EXPECT_NE(result.strOut.find("\\x1b[2Jgone"), std::string::npos) << result.strOut;
  EXPECT_EQ(result.strOut.find("\033[2J"), std::string::npos);
}

TEST_F(Commands, APagerAndAProgressLineAreForTerminalsAlone) {
  std::string strLog;
  for (int i = 0; i < 20000; ++i) strLog += Line("17:00:00", "[INFO] fill");
  m_folder.Write("long.log", strLog);
  const auto onTerminal = [this](const std::string& strCommand) {
    return RunProgram(m_folder.Path(""), "export WYLOGCTL_PAGER='sed s/^/paged:/'; script -qec '" +
                                             strCommand + "' /dev/null")
        .strOut;
  };
  EXPECT_NE(onTerminal("\"$WYLOGCTL\" log -q error.log").find("paged:[7/11]"), std::string::npos);
  EXPECT_EQ(onTerminal("\"$WYLOGCTL\" log -q --no-pager error.log").find("paged:"),
            std::string::npos);
  EXPECT_EQ(onTerminal("\"$WYLOGCTL\" log -q error.log | cat").find("paged:"), std::string::npos);
  if (test_support::IsSanitized) GTEST_SKIP() << "faketime is no sanitizer's";
  // A clock that runs 100,000 times as fast: the work takes more than a second.
  const std::string strFast = "faketime -f \"+0 x100000\" \"$WYLOGCTL\" stats ";
  EXPECT_NE(onTerminal(strFast + "long.log >counts").find(" % of 1."), std::string::npos);
  EXPECT_EQ(onTerminal(strFast + "-q long.log >counts"), "");
  EXPECT_EQ(onTerminal(strFast + "long.log >counts 2>&1").find('%'), std::string::npos);
}

TEST_F(Commands, AReaderThatEndsEarlyIsNoFailure) {
  std::string strLog;
  for (int i = 0; i < 20000; ++i) strLog += Line("17:00:00", "[INFO] fill");
  m_folder.Write("long.log", strLog);
  const ProgramResult result =
      RunProgram(m_folder.Path(""), "bash -c 'set -o pipefail; $WYLOGCTL log long.log | head -1'");
  EXPECT_EQ(result.iExit, 0);
  EXPECT_EQ(result.strError, "");
}

// One table of options is behind the help, the man page and both completions.
TEST_F(Commands, HelpManPageAndCompletionsHaveTheSameOptions) {
  const std::string strMan = Run("completion man").strOut;
  const std::string strBash = Run("completion bash").strOut;
  const std::string strZsh = Run("completion zsh").strOut;
  m_folder.Write("c.bash", strBash);
  EXPECT_EQ(RunProgram(m_folder.Path(""), "bash -n c.bash").iExit, 0);
  std::istringstream commands(Run("--help").strOut);
  int iOptions = 0;
  for (std::string strLine; std::getline(commands, strLine);) {
    if (!strLine.starts_with("  ")) continue;
    const std::string strName = strLine.substr(2, strLine.find("  ", 2) - 2);
    std::istringstream help(Run(strName + " --help").strOut);
    const std::size_t uMan = strMan.find(".SS " + strName + "\n");
    std::string strLabel = strName;
    std::replace(strLabel.begin(), strLabel.end(), ' ', '_');
    const std::size_t uBash = strBash.find("    " + strLabel + ")\n");
    const std::size_t uZsh = strZsh.find("  '" + strName + "')");
    ASSERT_TRUE(uMan != std::string::npos && uBash != std::string::npos &&
                uZsh != std::string::npos)
        << strName;
    for (std::string strOption; std::getline(help, strOption);) {
      if (!strOption.starts_with("  -")) continue;
      std::istringstream words(strOption);
      for (std::string strWord; words >> strWord && strWord[0] == '-';) {
        if (strWord.back() == ',') strWord.pop_back();
        ++iOptions;
        std::string strEscaped;
        for (const char c : strWord)
          strEscaped += c == '-' ? std::string("\\-") : std::string(1, c);
        EXPECT_NE(strMan.find(strEscaped, uMan), std::string::npos) << strName << " " << strWord;
        EXPECT_NE(strBash.substr(uBash, strBash.find(";;\n", uBash)).find(strWord),
                  std::string::npos)
            << strName << " " << strWord;
        EXPECT_NE(strZsh.substr(uZsh, strZsh.find("return ;;", uZsh)).find(strWord + "["),
                  std::string::npos)
            << strName << " " << strWord;
      }
    }
  }
  EXPECT_GT(iOptions, 60);
}

}  // namespace
