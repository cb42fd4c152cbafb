#ifndef WYLOGCTL_REPORTCHART_H
#define WYLOGCTL_REPORTCHART_H

// Columns over time as inline SVG. Positions along the time are in per cent and heights in pixels,
// so that a chart fits every width without scaling its texts; colours are classes of the page's
// style.

#include <string>
#include <vector>

#include "tools/wylogctl/ReportData.h"

struct WyReportSeries {
  std::string strName;   // empty if it is the only one
  std::string strClass;  // "s1"
  const WyCounts* pCounts;
};

// Appends the chart. `strTitle` is for those who cannot see it.
void WyAppendChart(std::string& strPage, const WyReport& report, const std::string& strTitle,
                   const std::vector<WyReportSeries>& series);

// Appends columns alone, as high as a line of text.
void WyAppendSparkline(std::string& strPage, const WyReport& report, const WyCounts& counts);

// The text with what has a meaning in HTML escaped, and without control characters and bytes that
// are not UTF-8.
std::string WyHtml(std::string_view text);

std::string WyNumberText(std::uint64_t uNumber);  // "12,345"
std::string WyMomentText(std::int64_t lSeconds);  // "2026-11-23 14:00"

#endif
