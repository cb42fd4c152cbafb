// Programs get numbers in bytes and seconds, people texts with units.

#include "tools/wylogctl/ShipTable.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "tools/wylogctl/Table.h"

namespace {

std::string Rounded(double dNumber) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), dNumber < 99.95 ? "%.1f" : "%.0f", dNumber);
  return text.data();
}

WyCell Seconds(const std::optional<double>& seconds) {
  if (!seconds) return {};
  return static_cast<std::uint64_t>(std::min(*seconds, 1e15));
}

// The backup that is deleted next, and when.
std::string NextText(const CWyShipLog& log) {
  const auto deleted = log.DeletedIn(0);
  return deleted ? log.Files()[0].file.strName + " in " + WyTimeText(*deleted) : "none is deleted";
}

void PrintForPeople(CWyContext& context, const std::deque<CWyShipLog>& logs) {
  CWyTable table(context,
                 {"log", "rate", "over", "backups", "last", "not shipped", "behind", "next"});
  for (const CWyShipLog& log : logs) {
    const bool bKept = log.Backups() > 0;
    table.Row({log.Path(), WyBytesText(log.Rate()) + "/s",
               WyTimeText(static_cast<double>(log.Span())),
               bKept ? std::to_string(log.Backups()) + " x " +
                           WyBytesText(static_cast<double>(log.FileSize()))
                     : "none",
               log.Lasts() ? WyTimeText(*log.Lasts()) : "-",
               WyBytesText(static_cast<double>(log.Unshipped())),
               WyTimeText(static_cast<double>(log.BehindSeconds())), NextText(log)});
  }
  table.End();
}

// One table for programs: a row for each log, then one for each finding.
void PrintForPrograms(CWyContext& context, const std::deque<CWyShipLog>& logs,
                      const CWyDiagnostics& diagnostics) {
  CWyTable table(context, {"what", "file", "size", "rate", "span_s", "backups", "backup_size",
                           "last_s", "not_shipped", "behind_s", "next", "next_s", "line", "column",
                           "level", "code", "text", "help"});
  for (const CWyShipLog& log : logs) {
    const auto deleted = log.DeletedIn(0);
    table.Row({"log", log.Path(), log.Size(), static_cast<std::uint64_t>(log.Rate()), log.Span(),
               log.Backups(), log.FileSize(), Seconds(log.Lasts()), log.Unshipped(),
               log.BehindSeconds(), deleted ? WyCell(log.Files()[0].file.strName) : WyCell(),
               Seconds(deleted), WyCell(), WyCell(), WyCell(), WyCell(), WyCell(), WyCell()});
  }
  for (const WyDiagnostic& finding : diagnostics.Findings()) {
    const bool bLine = finding.where.uLine > 0;
    std::vector<WyCell> row(18);
    row[0] = "finding";
    row[1] = finding.where.strFile;
    if (bLine) row[12] = std::uint64_t{finding.where.uLine};
    if (bLine) row[13] = std::uint64_t{finding.where.uColumn};
    row[14] = finding.level == WyLevel::Error ? "error" : "warning";
    row[15] = finding.strCode;
    row[16] = finding.strMessage;
    row[17] = finding.help.empty() ? WyCell() : WyCell(finding.help[0]);
    table.Row(std::move(row));
  }
}

}  // namespace

std::string WyBytesText(double dBytes) {
  if (dBytes < 1000) return std::to_string(static_cast<std::uint64_t>(dBytes)) + " B";
  for (const char* const pszUnit : {" B", " kB", " MB", " GB"}) {
    if (dBytes < 1000) return Rounded(dBytes) + pszUnit;
    dBytes /= 1000;
  }
  return Rounded(dBytes) + " TB";
}

std::string WyTimeText(double dSeconds) {
  if (dSeconds < 120) return std::to_string(static_cast<int>(dSeconds)) + " s";
  if (dSeconds < 7200) return Rounded(dSeconds / 60) + " min";
  if (dSeconds < 172800) return Rounded(dSeconds / 3600) + " h";
  return Rounded(dSeconds / 86400) + " days";
}

void WyPrintShipLogs(CWyContext& context, const std::deque<CWyShipLog>& logs,
                     const CWyDiagnostics& diagnostics) {
  if (!context.options.strFormat.empty() && context.options.strFormat != "table") {
    return PrintForPrograms(context, logs, diagnostics);
  }
  PrintForPeople(context, logs);
  context.Diagnose(diagnostics);
}
