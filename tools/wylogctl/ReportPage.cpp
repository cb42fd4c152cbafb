// Every text of a log comes from outside and passes through WyHtml. The policy in the page's head
// forbids scripts and loading for the case that one does not.

#include "tools/wylogctl/ReportPage.h"

#include <algorithm>
#include <array>

#include "tools/wylogctl/ReportChart.h"
#include "tools/wylogctl/ReportStyle.h"

namespace {

constexpr std::size_t MostSeries = 5;  // with colours of their own

class Page {
 public:
  explicit Page(const WyReport& report) : m_report(report) {}

  std::string Text();

 private:
  void AppendHead();
  void AppendTotals();
  void AppendTotal(const char* pszClass, std::uint64_t uCount, const char* pszName);
  void AppendRequests();
  void AppendRefusals();
  void AppendErrors();
  void AppendErrorChart();
  void AppendFoot();
  void BeginSection(const char* pszTitle, const std::string& strWhat);
  void AppendNothing(const char* pszText);
  void BeginTable(const char* pszCaption, const std::vector<const char*>& columns);
  void Name(const std::string& strText);
  void Number(std::uint64_t uNumber);
  void Time(std::int64_t lSeconds);
  std::string StepText() const;

  const WyReport& m_report;
  std::string m_strPage;
};

// A text of a log, which cannot change the direction of what is around it either.
std::string Isolated(const std::string& strText, const char* pszNone) {
  if (strText.empty()) return std::string("<i>") + pszNone + "</i>";
  return "<bdi>" + WyHtml(strText) + "</bdi>";
}

std::uint64_t SumOf(const WyCounts& counts) {
  std::uint64_t uSum = 0;
  for (const auto& [at, uCount] : counts) uSum += uCount;
  return uSum;
}

std::string Page::StepText() const {
  const std::int64_t step = m_report.step;
  if (step % 86400 == 0) {
    return step == 86400 ? "day" : std::to_string(step / 86400) + " days";
  }
  if (step % 3600 == 0) return step == 3600 ? "hour" : std::to_string(step / 3600) + " hours";
  return step == 60 ? "minute" : std::to_string(step / 60) + " minutes";
}

void Page::AppendHead() {
  const std::string strHost = m_report.strHost.empty() ? "all hosts" : "host " + m_report.strHost;
  const std::string strRange =
      WyMomentText(m_report.since) + " to " + WyMomentText(m_report.until) + " UTC";
  m_strPage +=
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
      "'unsafe-inline'\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n<title>Logs of " +
      WyHtml(strHost) + ", " + strRange + "</title>\n<style>" + WyReportStyle +
      "</style>\n</head>\n<body>\n<header><h1>Logs of <bdi>" + WyHtml(strHost) + "</bdi></h1><p>" +
      strRange + "</p></header>\n";
}

void Page::AppendTotal(const char* pszClass, std::uint64_t uCount, const char* pszName) {
  m_strPage += std::string("<li class=\"") + pszClass + "\"><b>" + WyNumberText(uCount) +
               "</b><span>" + pszName + (uCount == 1 ? "" : "s") + "</span></li>";
}

void Page::AppendTotals() {
  m_strPage += "<ul class=\"totals\">";
  AppendTotal("", m_report.uRequests, "request");
  AppendTotal(m_report.uRefusals > 0 ? "bad" : "", m_report.uRefusals, "refusal");
  AppendTotal(m_report.uErrors > 0 ? "bad" : "", m_report.uErrors, "error");
  AppendTotal("", m_report.uWarnings, "warning");
  AppendTotal("", m_report.uRecords, "record");
  AppendTotal("", m_report.uHosts, "host");
  m_strPage += "</ul>\n";
  if (m_report.uRecords > 0) return;
  m_strPage +=
      "<p class=\"none\">The store has no records of this time. <code>select * from "
      "wyerrlog.lag</code> shows how far each host is.</p>\n";
}

void Page::BeginSection(const char* pszTitle, const std::string& strWhat) {
  m_strPage += std::string("<section><h2>") + pszTitle + "</h2><p class=\"what\">" + strWhat +
               "</p>\n<div class=\"beside\">\n";
}

void Page::AppendNothing(const char* pszText) {
  m_strPage += std::string("<p class=\"none\">") + pszText + "</p>\n";
}

void Page::BeginTable(const char* pszCaption, const std::vector<const char*>& columns) {
  m_strPage += "<div class=\"table\" tabindex=\"0\"><table><caption>" + std::string(pszCaption) +
               "</caption><thead><tr>";
  for (const char* const pszColumn : columns) {
    const bool bNumber = *pszColumn == '#';
    m_strPage += bNumber ? "<th scope=\"col\" class=\"n\">" : "<th scope=\"col\">";
    m_strPage += std::string(pszColumn + (bNumber ? 1 : 0)) + "</th>";
  }
  m_strPage += "</tr></thead><tbody>\n";
}

void Page::Name(const std::string& strText) {
  m_strPage += "<td class=\"name\">" + strText + "</td>";
}

void Page::Number(std::uint64_t uNumber) {
  m_strPage += "<td class=\"n\">" + WyNumberText(uNumber) + "</td>";
}

void Page::Time(std::int64_t lSeconds) {
  m_strPage += "<td class=\"short\">" + WyMomentText(lSeconds) + "</td>";
}

void Page::AppendRequests() {
  BeginSection("Requests", "Requests that began, per " + StepText());
  if (m_report.requests.empty()) {
    AppendNothing("No requests in this time.");
  } else {
    WyAppendChart(m_strPage, m_report, "Requests over time", {{"", "s1", &m_report.requests}});
  }
  if (!m_report.hosts.empty()) {
    BeginTable("Hosts with the most records",
               {"Host", "#Requests", "#Errors", "#Records", "Newest"});
    for (const WyReportRow& row : m_report.hosts) {
      m_strPage += "<tr>";
      Name(Isolated(row.strName, "no name"));
      Number(row.uRequests);
      Number(row.uErrors);
      Number(row.uCount);
      Time(row.last);
      m_strPage += "</tr>\n";
    }
    m_strPage += "</tbody></table></div>\n";
  }
  m_strPage += "</div></section>\n";
}

void Page::AppendRefusals() {
  BeginSection("Refusals", "Audit records of refused requests, per " + StepText());
  if (m_report.refusals.empty()) {
    AppendNothing("No refusals in this time.");
  } else {
    WyAppendChart(m_strPage, m_report, "Refusals over time", {{"", "s2", &m_report.refusals}});
    BeginTable("Users with the most refusals", {"User", "#Refusals", "#Hosts", "Last"});
    for (const WyReportRow& row : m_report.users) {
      m_strPage += "<tr>";
      Name(Isolated(row.strName, "no user"));
      Number(row.uCount);
      Number(row.uHosts);
      Time(row.last);
      m_strPage += "</tr>\n";
    }
    m_strPage += "</tbody></table></div>\n";
  }
  m_strPage += "</div></section>\n";
}

// The most frequent keys have a colour each, all others one together.
void Page::AppendErrorChart() {
  std::vector<const std::pair<const std::string, WyCounts>*> keys;
  for (const auto& entry : m_report.errors) keys.push_back(&entry);
  std::sort(keys.begin(), keys.end(), [](const auto* pA, const auto* pB) {
    const std::uint64_t uA = SumOf(pA->second);
    const std::uint64_t uB = SumOf(pB->second);
    return uA != uB ? uA > uB : pA->first < pB->first;
  });
  WyCounts others;
  std::vector<WyReportSeries> series;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (i >= MostSeries) {
      for (const auto& [at, uCount] : keys[i]->second) others[at] += uCount;
      continue;
    }
    const std::string& strKey = keys[i]->first;
    series.push_back(
        {strKey.empty() ? "no key" : strKey, "k" + std::to_string(i + 1), &keys[i]->second});
  }
  if (!others.empty()) {
    const std::size_t uOthers = keys.size() - MostSeries;
    series.push_back(
        {WyNumberText(uOthers) + (uOthers == 1 ? " other key" : " other keys"), "k0", &others});
  }
  m_strPage += "<div>";
  WyAppendChart(m_strPage, m_report, "Errors by key over time", series);
  m_strPage += "<ul class=\"legend\">";
  for (const WyReportSeries& entry : series) {
    m_strPage += "<li><span class=\"" + entry.strClass + "\"></span><bdi>" + WyHtml(entry.strName) +
                 "</bdi> " + WyNumberText(SumOf(*entry.pCounts)) + "</li>";
  }
  m_strPage += "</ul></div>\n";
}

void Page::AppendErrors() {
  BeginSection("Errors by key", "Messages of severity ERROR, per " + StepText());
  if (m_report.errors.empty()) {
    AppendNothing("No errors in this time.");
  } else {
    AppendErrorChart();
  }
  m_strPage += "</div>\n";
  if (!m_report.messages.empty()) {
    BeginTable("Most frequent messages: errors, then warnings",
               {"Severity", "Key", "#Count", "Over time", "#Hosts", "Last", "Newest record"});
    for (const WyReportRow& row : m_report.messages) {
      const bool bError = row.strSeverity == "ERROR";
      const auto& all = bError ? m_report.errors : m_report.warnings;
      const auto counts = all.find(row.strName);
      m_strPage += bError ? "<tr class=\"error\">" : "<tr>";
      m_strPage += "<td class=\"short\">" + WyHtml(row.strSeverity) + "</td>";
      Name(Isolated(row.strName, "no key"));
      Number(row.uCount);
      m_strPage += "<td>";
      if (counts != all.end()) {
        WyAppendSparkline(m_strPage, m_report, counts->second);
      }
      m_strPage += "</td>";
      Number(row.uHosts);
      Time(row.last);
      m_strPage += "<td class=\"text\">" + Isolated(row.strText, "empty") + "</td></tr>\n";
    }
    m_strPage += "</tbody></table></div>\n";
  }
  m_strPage += "</section>\n";
}

void Page::AppendFoot() {
  m_strPage += "<footer>Made " + WyMomentText(m_report.made) +
               " UTC by wylogctl report. Times are UTC. Tables have at most 20 rows, texts 500 "
               "characters. Records without a time are not counted.</footer>\n</body>\n</html>\n";
}

std::string Page::Text() {
  AppendHead();
  AppendTotals();
  AppendRequests();
  AppendRefusals();
  AppendErrors();
  AppendFoot();
  return std::move(m_strPage);
}

}  // namespace

std::string WyReportPage(const WyReport& report) { return Page(report).Text(); }
