// Both commands print findings of the same reading: check the warnings and errors, explain the
// effects.

#include "tools/wylogctl/ConfigCommand.h"

#include <memory>

#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/Table.h"

namespace {

struct WyCheckOptions : WyConfigOptions {
  std::string strFailOn = "warning";
};

WyCell NumberCell(unsigned int uNumber) {
  return uNumber == 0 ? WyCell() : WyCell(std::uint64_t{uNumber});
}
WyCell TextCell(const std::string& strText) { return strText.empty() ? WyCell() : WyCell(strText); }

// ---- check --------------------------------------------------------------------------------------

void PrintRows(CWyTable& table, const std::string& strFile, const CWyConfigFile& config) {
  for (const WyTraceFinding& finding : config.Findings()) {
    if (finding.level == WyTraceLevel::Effect) continue;
    table.Row({strFile, NumberCell(finding.uLine), NumberCell(finding.uColumn),
               NumberCell(finding.uLength),
               finding.level == WyTraceLevel::Error ? "error" : "warning", finding.strCode,
               TextCell(finding.strWord), finding.strText, TextCell(finding.strHelp)});
  }
}

int RunCheck(CWyContext& context, const WyCheckOptions& options) {
  context.Start(false);
  CWyConfigTables tables;
  if (!tables.Load(context, options.bLoad)) return WyFailed;
  std::size_t uErrors = 0;
  std::size_t uWarnings = 0;
  const bool bText = context.options.strFormat.empty() || context.options.strFormat == "table";
  CWyTable table(context,
                 {"file", "line", "column", "length", "level", "code", "word", "text", "help"});
  for (const std::string& strFile : options.files) {
    CWyConfigFile config(tables);
    if (!config.Read(context, strFile, options)) continue;
    if (bText) {
      config.PrintDiagnostics(context);
    } else {
      PrintRows(table, strFile, config);
    }
    uErrors += config.CountOf(WyTraceLevel::Error);
    uWarnings += config.CountOf(WyTraceLevel::Warning);
  }
  context.Note("errors: " + std::to_string(uErrors) + ", warnings: " + std::to_string(uWarnings));
  const bool bFindings = options.strFailOn == "warning" ? uErrors + uWarnings > 0
                         : options.strFailOn == "error" ? uErrors > 0
                                                        : false;
  return context.Exit(!bFindings);
}

// ---- explain ------------------------------------------------------------------------------------

const char* WhatOf(const std::string& strCode) {
  if (strCode == "T002") return "field";
  return strCode == "T003" ? "filter" : "component";
}

int RunExplain(CWyContext& context, const WyConfigOptions& options) {
  context.Start(true);
  CWyConfigTables tables;
  CWyConfigFile config(tables);
  if (!tables.Load(context, options.bLoad) || !config.Read(context, options.files[0], options)) {
    return WyFailed;
  }
  if (!config.IsAccepted()) {
    config.PrintDiagnostics(context);
    context.Warning(options.files[0] + " is refused: the trace stays as it was");
    return context.Exit(false);
  }
  CWyTable table(context, {"line", "what", "name", "width", "effect"});
  for (const WyTraceFinding& finding : config.Findings()) {
    if (finding.level != WyTraceLevel::Effect) continue;
    const bool bField = finding.strCode == "T002";
    table.Row({NumberCell(finding.uLine), WhatOf(finding.strCode), finding.strName,
               bField ? NumberCell(tables.Fields()[finding.uId].uWidth) : WyCell(),
               finding.strText});
  }
  table.End();
  const std::size_t uWarnings = config.CountOf(WyTraceLevel::Warning);
  if (uWarnings > 0) {
    context.Note("warnings: " + std::to_string(uWarnings) + "; wylogctl config check shows them");
  }
  return context.Exit(config.CountOf(WyTraceLevel::Effect) > 0);
}

}  // namespace

void WyAddConfigOptions(CWyCommand& command, WyConfigOptions& options) {
  command.Arguments("FILE", "A trace configuration; - is the standard input", options.files);
  command.Flag(
      "--load",
      "Ask the component libraries themselves, in a process of its own; this runs their code",
      options.bLoad);
}

void RegisterConfigCommands(CWyProgram& program) {
  auto pCheck = std::make_shared<WyCheckOptions>();
  CWyCommand& check = program.Add("config check", "Find what a trace configuration does in silence",
                                  {"table", "json", "csv"});
  WyAddConfigOptions(check, *pCheck);
  check.Choice("--fail-on", "LEVEL", "What makes the exit code 1", pCheck->strFailOn,
               {"warning", "error", "never"});
  check.About(
      "Reports unknown names with what was probably meant, lines that filter nothing, and all else "
      "that a program that reads the file passes over. Findings go to the standard error output, "
      "with -o json and csv to the standard output.");
  check.Example("wylogctl config check trace.conf", "Before the trace is turned on");
  check.Run([pCheck](CWyContext& context) {
    if (pCheck->files.empty()) pCheck->files.emplace_back("-");
    return RunCheck(context, *pCheck);
  });

  auto pExplain = std::make_shared<WyConfigOptions>();
  CWyCommand& explain = program.Add("config explain", "Show what a trace configuration turns on",
                                    {"table", "json", "csv"});
  WyAddConfigOptions(explain, *pExplain);
  explain.About(
      "Prints each component, field and filter that is in force, with the line that it comes "
      "from.");
  explain.Example("wylogctl config explain trace.conf", "What is traced, in which columns");
  explain.Run([pExplain](CWyContext& context) {
    if (pExplain->files.size() == 1) return RunExplain(context, *pExplain);
    context.Error("config explain takes one file");
    return static_cast<int>(WyFailed);
  });
}
