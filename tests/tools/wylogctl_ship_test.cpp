// wylogctl ship check: the shipped configurations with one fault each, and a log whose rate,
// backups and positions are known.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "test_support/TempDirectory.h"
#include "tools/RunProgram.h"

namespace {

// As imfile names the state of the oldest backup below, behind its inode.
constexpr const char* HashOfOldest = ":ba37d6064242c813";
constexpr const char* Oldest = "logs/error_20261116_170010.log";
constexpr const char* Middle = "logs/error_20261116_170020.log";
constexpr const char* Live = "logs/error.log";

std::string Shipped(const std::string& strName) {
  std::ifstream file(SHIPPING "/" + strName);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Records of 100 bytes, one a second.
std::string Records(int iFirst, int iCount) {
  std::string strAll;
  for (int i = iFirst; i < iFirst + iCount; ++i) {
    std::string strLine =
        "[7/11][Mon Nov 16 2026 17:00:" + std::to_string(100 + i).substr(1) + "][a.cpp:41][INFO] ";
    strAll += strLine.append(99 - strLine.size(), 'x') + "\n";
  }
  return strAll;
}

class Ship : public testing::Test {
 protected:
  Ship() {
    mkdir(m_folder.Path("logs").c_str(), 0700);
    mkdir(m_folder.Path("spool").c_str(), 0700);
    m_folder.Write(Oldest, Records(0, 10));
    m_folder.Write(Middle, Records(10, 10));
    m_folder.Write(Live, Records(20, 5));
    m_folder.Write("logs/trace.log", "");
    m_folder.Write("logs/audit.log", "");
    m_folder.Write("spool/wyerrlog-running", "");
    m_folder.Write("env", "# variables\nWYERRLOG_LOGS=\"" + m_folder.Path("logs") +
                              "\"\nWYERRLOG_ZONE=UTC\nWYERRLOG_STORE=x\nWYERRLOG_SPOOL=x\n"
                              "WYERRLOG_STORE_QUEUE=Disk\nWYERRLOG_CONFIGURATION=" SHIPPING
                              "\nWYERRLOG_STORE_HOST=x\nWYERRLOG_STORE_PORT=5432\n");
    m_folder.Write("good.conf", Rsyslog());
    Note(Oldest, HashOfOldest, 1000);
    Note(Middle, "", 1000);
    Note(Live, "", 500);
  }

  std::string Rsyslog() const {
    return "$WorkDirectory " + m_folder.Path("spool") + "\n" +
           Shipped("rsyslog/wyerrlog-inputs.conf") + Shipped("rsyslog/wyerrlog-parse.conf") +
           Shipped("rsyslog/wyerrlog-store.conf");
  }

  void Note(const std::string& strFile, const std::string& strHash, int iOffset) const {
    struct stat status {};
    ASSERT_EQ(stat(m_folder.Path(strFile).c_str(), &status), 0);
    m_folder.Write("spool/imfile-state:" + std::to_string(status.st_ino) + strHash,
                   R"({ "filename": "\/old\/name", "prev_was_nl": 0, "curr_offs": )" +
                       std::to_string(iOffset) + R"(, "strt_offs": 0 })");
  }

  ProgramResult Run(const std::string& strArguments) {
    return RunProgram(m_folder.Path(""), "\"$WYLOGCTL\" ship check " + strArguments);
  }

  TempDirectory m_folder;
};

struct Fault {
  std::string strWhat;  // replaced once in the shipped configuration
  std::string strWith;
  std::string strCode;
  std::string strHelp;
};

const std::vector<Fault> RsyslogFaults = {
    {"/error*.log", "/error.log", "S110", "/error*.log"},
    {"/error*.log", "/error.log*", "S111", "/error*.log"},
    {"/trace*.log", "/*.log", "S112", "make the patterns differ"},
    {"/trace*.log", "/tracing*.log", "S114", "WYERRLOG_LOGS"},
    {"$WYERRLOG_LOGS/error", "$WYERRLOG_LOG/error", "S102", "--env FILE"},
    {"tag=\"error.agent\"", "tag=\"error.agent", "S101", "not closed"},
    {"$WorkDirectory", "#", "S200", "workDirectory"},
    {"persistStateAfterSubmission=\"on\"", "persistStateInterval=\"100\"", "S201",
     "leave out persiststateinterval"},
    {"persistStateAfterSubmission=\"on\"", "", "S202", "persiststateaftersubmission=\"on\""},
    {"addMetadata=\"on\"", "addMetadata=\"on\" freshStartTail=\"on\"", "S203", "\"off\""},
    {"addMetadata=\"on\"", "", "S204", "addmetadata=\"on\""},
    {"\\\\[[0-9]+/", "\\\\[[0-9]+", "S205", "\"^\\\\[[0-9]+/[0-9]+\\\\]\\\\[[A-Z]\""},
    {"readTimeout=\"2\"", "", "S206", "readtimeout=\"2\""},
    {"escapeLF=\"off\"", "", "S207", "escapelf=\"off\""},
    {"mode=\"polling\"", "mode=\"inotify\"", "S210", "mode=\"polling\""},
    {"global(maxMessageSize=\"4m\")", "", "S211", "4m"},
    {" ruleset=\"wyerrlog\"", "", "S220", "ruleset=\"wyerrlog\""},
    {" ruleset=\"wyerrlog\"", " ruleset=\"other\"", "S220", "wyerrlog-store.conf"},
    {"`echo $WYERRLOG_STORE_QUEUE`", "\"LinkedList\"", "S221", "queue.type=\"Disk\""},
    {"queue.checkpointInterval=\"1\"", "", "S222", "\"1\""},
    {"queue.timeoutEnqueue=\"2000000000\"", "", "S223", "\"2000000000\""},
    {"queue.maxDiskSpace=\"4g\"", "queue.maxDiskSpace=\"900m\"", "S224", "\"4g\""},
    {"action.resumeRetryCount=\"-1\"", "", "S231", "\"-1\""},
    {"template=\"wyerrlog-insert\"", "template=\"plain\"", "S232", "wyerrlog-insert"},
};

const std::vector<Fault> SyslogNgFaults = {
    {"filename-pattern(\"error*.log\")", "filename-pattern(\"error.log\")", "S110", "error*.log"},
    {"wildcard-file(base-dir(\"`WYERRLOG_LOGS`\") filename-pattern(\"audit*.log\")",
     "file(\"`WYERRLOG_LOGS`/audit.log\"", "S110", "audit*.log"},
    {"max-files(1000)", "max-files(10)", "S212", "max-files(1000)"},
    {"multi-line-mode(regexp)", "", "S205", "multi-line-mode(regexp)"},
    {"reliable(yes)", "reliable(no)", "S221", "reliable(yes)"},
    {"flags(flow-control)", "", "S223", "flags(flow-control)"},
};

TEST_F(Ship, EachFaultOfAConfigurationIsFoundWithItsRemedy) {
  const std::string strForward = "$WorkDirectory /x\n" + Shipped("rsyslog/wyerrlog-inputs.conf") +
                                 Shipped("rsyslog/wyerrlog-forward.conf") +
                                 Shipped("rsyslog/wyerrlog-parse.conf");
  const std::string strSyslogNg = "@version: 3.38\n" + Shipped("syslog-ng/wyerrlog.conf");
  const std::vector<std::pair<std::string, std::vector<Fault>>> shipped = {
      {Rsyslog(), RsyslogFaults},
      {strForward, {{"windowSize=\"128\"", "windowSize=\"10000\"", "S233", "\"128\""}}},
      {strSyslogNg, SyslogNgFaults}};
  m_folder.Write("more",
                 "WYERRLOG_TLS=x\nWYERRLOG_CENTRAL=x\nWYERRLOG_CENTRAL_PORT=1\n"
                 "WYERRLOG_CENTRAL_NAME=x\n" +
                     m_folder.Read("env"));
  const std::string strRun = "--env more --outage 10s --spool spool --config f";
  for (const auto& [strConfig, faults] : shipped) {
    m_folder.Write("f", strConfig);
    const ProgramResult good = Run(strRun);
    EXPECT_EQ(good.iExit, 0) << good.strError;
    for (const Fault& fault : faults) {
      SCOPED_TRACE(fault.strWith + " instead of " + fault.strWhat);
      const std::size_t u = strConfig.find(fault.strWhat);
      ASSERT_NE(u, std::string::npos);
      std::string strFaulty = strConfig;
      m_folder.Write("f", strFaulty.replace(u, fault.strWhat.size(), fault.strWith));
      const ProgramResult result = Run(strRun);
      EXPECT_EQ(result.iExit, 1);
      const std::size_t uCode = result.strError.find("[" + fault.strCode + "]");
      ASSERT_NE(uCode, std::string::npos) << result.strError;
      const std::string strRest = result.strError.substr(result.strError.find("= help:", uCode));
      EXPECT_NE(strRest.substr(0, strRest.find('\n')).find(fault.strHelp), std::string::npos)
          << result.strError;
    }
  }
}

// 2,500 bytes in 24 s; two backups of 1,000 bytes; the live file is half full.
TEST_F(Ship, MeasuresRateRetentionAndLag) {
  const std::string strRun = "--env env --config good.conf -o json ";
  const std::string strLog = R"("span_s":24,"backups":2,"backup_size":1000,"last_s":19,)";
  const std::string strNext = R"(,"next":"error_20261116_170010.log","next_s":4})";
  const auto expect = [&](const std::string& strOptions, int iExit, const std::string& strWanted) {
    const bool bOutage = strOptions.find("--outage") != std::string::npos;
    const ProgramResult result = Run(strRun + (bOutage ? "" : "--outage 10s ") + strOptions);
    EXPECT_EQ(result.iExit, iExit) << result.strError;
    EXPECT_NE((result.strOut + result.strError).find(strWanted), std::string::npos)
        << strOptions << "\n"
        << strWanted << "\n"
        << result.strOut << result.strError;
  };
  expect("", 0,
         R"("size":2500,"rate":104,)" + strLog + R"("not_shipped":0,"behind_s":0)" + strNext);
  expect(
      "--outage 1m", 1,
      R"("code":"S301","text":"the backups last 19 s at 104 B/s, an outage 60 s","help":"keep 7 )");
  expect("--outage 1m --backups 7 --fail-on error", 0, R"("backups":7,)");
  expect("--outage 1m --max-size 0.004", 0, R"("backup_size":4194,"last_s":80)");

  // The store is behind, by its own time; in summer time it would be an hour more.
  const std::string strRow =
      R"({"host":"h","program":"agent","kind":"error","newest":"2026-11-16T)";
  m_folder.Write("store", strRow + "16:00:14.5+00:00\"}\n" +
                              R"({"host":"i","program":"agent","kind":"error","newest":null})");
  expect("--host h --store store logs/error.log", 0, R"("not_shipped":1000,"behind_s":9)");
  expect("--host i --store store logs/error.log", 1, R"("code":"S306")");
  m_folder.Write("store", strRow + "17:00:24+01:00\"}\n");
  expect("--host h --store - <store logs/error.log", 0, R"("not_shipped":0)");
  expect("--host h --store good.conf", 2, "good.conf:1: `$WorkDirectory");

  Note(Oldest, HashOfOldest, 400);
  expect("", 1, R"("not_shipped":600,"behind_s":20)" + strNext);
  expect(
      "", 1,
      R"("level":"error","code":"S303","text":"600 B of this backup are not shipped, and it is deleted in 4 s, at 2026-11-16T17:00:28")");
  expect("--lag 19s", 1, R"("code":"S304")");
  Note(Oldest, HashOfOldest, 1000);
  Note(Oldest, "", 0);  // of a file that had this inode before
  Note(Oldest, ":0000000000000000", 0);
  expect("", 0, R"("not_shipped":0)");
  Note(Middle, "", 400);
  expect("", 0, R"("not_shipped":600,"behind_s":10)");
  expect("--outage 15s", 1, R"("level":"warning","code":"S303")");
  m_folder.Write("logs/error_20261116_160000.log.gz", "");
  expect("logs/error.log", 1, R"("code":"S302")");
  ASSERT_EQ(RunProgram(m_folder.Path(""), "mv spool/wyerrlog-running .; rm spool/*").iExit, 0);
  expect("", 1, R"("code":"S305")");
  expect("", 1, R"("code":"S310")");
}

TEST_F(Ship, WhatCannotBeDoneIsReported) {
  struct stat status {};
  stat(m_folder.Path(Live).c_str(), &status);
  m_folder.Write("spool/imfile-state:" + std::to_string(status.st_ino), "{\"curr_offs\":\"x\"}");
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"--config good.conf", "number `curr_offs` is missing"},
      {"--config nowhere.conf", "nowhere.conf: No such file"},
      {"--config env", "no inputs of logs"},
      {"--config good.conf --outage soon", "--outage soon: not a time"},
      {"--config good.conf --max-size 0", "--max-size"},
      {"--config good.conf --spool nowhere", "--spool names the folder"},
      {"--config good.conf --store nowhere", "--store nowhere: No such file"},
      {"--config good.conf logs/other.log", "no such log"},
  };
  for (const auto& [strArguments, strWanted] : rows) {
    const ProgramResult result = Run("--env env " + strArguments);
    EXPECT_EQ(result.iExit, 2) << strArguments;
    EXPECT_NE(result.strError.find(strWanted), std::string::npos) << result.strError;
  }
}

// Rows of the store as wyerrlog.report returns them, with texts of an attacker.
constexpr const char* Rows =
    R"({"what":"report","v":1,"since":1763276400,"until":1763287200,"made":1763287200,"step":3600,"host":"<web1>"}
{"what":"total","records":1234567,"requests":7,"refusals":2,"errors":5,"warnings":1,"hosts":1}
{"what":"requests","at":1763280000,"count":7}
{"what":"errors","key":"<k>","at":1763280000,"count":4}
{"what":"errors","key":null,"at":1763283600,"count":1}
{"what":"message","key":"<k>","severity":"ERROR","count":4,"hosts":1,"last":1763280000,"text":"</td><script>\u001b\u202e"}
{"what":"host","host":"web1","records":9,"requests":7,"errors":5,"last":1763280000}
)";

TEST_F(Ship, TheReportIsOnePageWithoutForeignMarkup) {
  const auto report = [this](const std::string& strRows) {
    m_folder.Write("rows", strRows);
    return RunProgram(m_folder.Path(""), "\"$WYLOGCTL\" report rows");
  };
  const std::string strEnd = "{\"what\":\"end\"}\n";
  const ProgramResult page = report(Rows + strEnd);
  EXPECT_EQ(page.iExit, 0) << page.strError;
  for (const char* const pszWanted :
       {"<title>Logs of host &lt;web1&gt;, 2025-11-16 07:00 to 2025-11-16 10:00 UTC</title>",
        "<b>1,234,567</b><span>records</span>", "prefers-color-scheme:dark",
        "<title>2025-11-16 08:00 UTC: 4\n&lt;k&gt;: 4</title>", "No refusals in this time.",
        "<bdi>&lt;/td&gt;&lt;script&gt;\xef\xbf\xbd\xef\xbf\xbd</bdi>", "no key</bdi> 1</li>",
        "per hour", "</html>"}) {
    EXPECT_NE(page.strOut.find(pszWanted), std::string::npos) << pszWanted << "\n" << page.strOut;
  }
  for (const char* const pszForeign :
       {"<script", "src=", "href=", "url(", "@import", "<k>", "\x1b"}) {
    EXPECT_EQ(page.strOut.find(pszForeign), std::string::npos) << pszForeign;
  }

  const std::string strHead = std::string(Rows).substr(0, std::string(Rows).find('\n') + 1);
  const ProgramResult empty = report(strHead + strEnd);
  EXPECT_EQ(empty.iExit, 1);
  EXPECT_NE(empty.strOut.find("The store has no records of this time"), std::string::npos);

  const std::vector<std::pair<std::string, std::string>> faults = {
      {Rows, "rows:8: the rows end before the last one"},
      {"ERROR:  permission denied\n", "rows:1: `ERROR:  permission denied` is not a row"},
      {strHead + "{\"what\":\"requests\",\"at\":\"x\"}\n", "rows:2: "},
      {strHead + "{\"what\":\"news\"}\n", "rows:2: `news` is not known"},
      {R"({"what":"report","v":1,"since":1,"until":999999999999,"step":1})", "rows:1: no time"},
      {R"({"what":"report","v":2})", "rows:1: a report of another version"},
      {strEnd, "rows:1: the first row is missing"},
  };
  for (const auto& [strRows, strWanted] : faults) {
    const ProgramResult result = report(strRows);
    EXPECT_EQ(result.iExit, 2) << strRows;
    EXPECT_EQ(result.strOut, "") << "a page that looks complete";
    EXPECT_NE(result.strError.find(strWanted), std::string::npos) << result.strError;
  }
}

}  // namespace
