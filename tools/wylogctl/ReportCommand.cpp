// The store is asked by psql, as for seal verify --anchors; this command reads the rows.

#include "tools/wylogctl/ReportCommand.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>

#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/ReportPage.h"

namespace {

int RunReport(CWyContext& context, const std::vector<std::string>& files) {
  context.Start(false);
  if (files.size() > 1) context.Error("report takes the rows of one report");
  const std::string strFile = files.empty() ? "-" : files[0];
  if (files.empty() && isatty(STDIN_FILENO) == 1) {
    context.Error("no rows: pipe the output of psql into this command, as --help shows");
  }
  std::ifstream file;
  if (strFile != "-") file.open(strFile);
  std::istream& lines = strFile == "-" ? std::cin : file;
  if (!lines) context.Error(strFile + ": " + std::strerror(errno));
  if (context.HasFailed()) return WyFailed;
  WyReport report;
  std::string strReason;
  if (!WyReadReport(lines, report, strReason)) {
    context.Error(strFile + ":" + strReason + "; see what psql reports");
    return WyFailed;
  }
  context.out.Write(WyReportPage(report));
  if (report.uRecords == 0) context.Note("the store has no records of this time");
  return context.Exit(report.uRecords > 0);
}

}  // namespace

void RegisterReportCommand(CWyProgram& program) {
  const auto pFiles = std::make_shared<std::vector<std::string>>();
  CWyCommand& command = program.Add("report", "Make a page of the logs in the store", {});
  command.Arguments("FILE", "Rows of wyerrlog.report, one a line; the standard input if not given",
                    *pFiles);
  command.About(
      "Prints one HTML page without scripts: requests, refusals and errors by key over time, with "
      "their tables. The exit code is 1 if the store has no records of the time.");
  command.Example(
      "psql -h store.example -d wyerrlog -AtX -c \"select wyerrlog.report(now() - interval '1 "
      "day')\" | wylogctl report >report.html",
      "Of the last day, all hosts");
  command.Example(
      "psql -h store.example -d wyerrlog -AtX -c \"select wyerrlog.report('2026-11-16', "
      "'2026-11-17', 'web1')\" | wylogctl report >report.html",
      "Of one day and one host");
  command.Run([pFiles](CWyContext& context) { return RunReport(context, *pFiles); });
}
