// The steps of time that have no row have no records: they are columns of height 0. Grid lines are
// at round numbers, and at times of day that people read: midnight, full hours.

#include "tools/wylogctl/ReportChart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "tools/common/Utf8.h"

namespace {

constexpr std::int64_t Day = 86400;
constexpr int Height = 190;  // of a chart in pixels
constexpr int Top = 16;      // above the highest grid line, for its number
constexpr int Bottom = 24;   // below the columns, for the times
constexpr int Plot = Height - Top - Bottom;
constexpr int MostTimes = 6;  // more would touch each other on a narrow screen

std::string Percent(double dPart) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3f%%", 100 * dPart);
  return text.data();
}

std::string Pixels(double dPixels) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f", dPixels);
  return text.data();
}

std::int64_t FirstStep(const WyReport& report) { return report.since / report.step * report.step; }

std::size_t StepCount(const WyReport& report) {
  const std::int64_t length = report.until - FirstStep(report);
  return static_cast<std::size_t>((length + report.step - 1) / report.step);
}

std::uint64_t CountAt(const WyCounts& counts, std::int64_t at) {
  const auto found = counts.find(at);
  return found == counts.end() ? 0 : found->second;
}

// The highest column, as the next number of the form 1, 2 or 5 with zeros, so that half of it is
// round too.
std::uint64_t RoundedUp(std::uint64_t uCount) {
  for (std::uint64_t uPower = 1;; uPower *= 10) {
    for (const std::uint64_t uFirst : {1U, 2U, 4U, 6U, 10U}) {
      if (uFirst * uPower >= uCount && (uFirst * uPower) % 2 == 0) return uFirst * uPower;
    }
  }
}

// At which distance times are written below the columns.
std::int64_t TimeDistance(const WyReport& report) {
  const std::int64_t length = report.until - report.since;
  for (const std::int64_t distance :
       {60, 300, 600, 900, 1800, 3600, 7200, 14400, 21600, 43200, 86400, 172800, 432000, 604800}) {
    if (length / distance <= MostTimes && distance >= report.step) return distance;
  }
  return (length / MostTimes / Day + 1) * Day;
}

std::string AxisText(std::int64_t at) {
  constexpr std::string_view Months = "JanFebMarAprMayJunJulAugSepOctNovDec";
  const std::string strMoment = WyMomentText(at);
  if (at % Day != 0) return strMoment.substr(11);
  const std::size_t uMonth = static_cast<std::size_t>(std::stoi(strMoment.substr(5, 2)));
  const std::string strDay = std::to_string(std::stoi(strMoment.substr(8, 2)));
  return std::string(Months.substr(3 * uMonth - 3, 3)) + " " + strDay;
}

class Chart {
 public:
  Chart(std::string& strPage, const WyReport& report, const std::vector<WyReportSeries>& series)
      : m_strPage(strPage), m_report(report), m_series(series), m_uSteps(StepCount(report)) {
    std::uint64_t uHighest = 1;
    for (std::size_t i = 0; i < m_uSteps; ++i) uHighest = std::max(uHighest, SumAt(StepAt(i)));
    m_uScale = RoundedUp(uHighest);
  }

  void AppendGrid();
  void AppendNumbers();
  void AppendTimes();
  void AppendColumns();

 private:
  std::int64_t StepAt(std::size_t i) const {
    return FirstStep(m_report) + static_cast<std::int64_t>(i) * m_report.step;
  }
  std::uint64_t SumAt(std::int64_t at) const {
    std::uint64_t uSum = 0;
    for (const WyReportSeries& series : m_series) uSum += CountAt(*series.pCounts, at);
    return uSum;
  }
  static double LineAt(int iPart) { return Top + Plot - Plot * iPart / 2.0; }
  std::string StepText(std::int64_t at) const;

  std::string& m_strPage;
  const WyReport& m_report;
  const std::vector<WyReportSeries>& m_series;
  std::size_t m_uSteps;
  std::uint64_t m_uScale = 1;
};

void Chart::AppendGrid() {
  for (const int iPart : {0, 1, 2}) {
    m_strPage += "<line x1=\"0\" x2=\"100%\" y1=\"" + Pixels(LineAt(iPart)) + "\" y2=\"" +
                 Pixels(LineAt(iPart)) + "\" class=\"" + (iPart == 0 ? "axis" : "grid") + "\"/>";
  }
}

void Chart::AppendNumbers() {
  for (const int iPart : {1, 2}) {
    m_strPage += "<text x=\"0\" y=\"" + Pixels(LineAt(iPart) - 4) + "\">" +
                 WyNumberText(m_uScale * static_cast<std::uint64_t>(iPart) / 2) + "</text>";
  }
}

// No time is written so near to an edge that it would be cut.
void Chart::AppendTimes() {
  const std::int64_t distance = TimeDistance(m_report);
  const std::int64_t first = FirstStep(m_report);
  const auto length = static_cast<double>(static_cast<std::int64_t>(m_uSteps) * m_report.step);
  for (std::int64_t at = (first / distance + 1) * distance; at < m_report.until; at += distance) {
    const double dX = static_cast<double>(at - first) / length;
    if (dX < 0.05 || dX > 0.95) continue;
    m_strPage += "<text x=\"" + Percent(dX) + "\" y=\"" + std::to_string(Height - 6) +
                 "\" class=\"t\">" + AxisText(at) + "</text>";
  }
}

// What is shown when the pointer rests on a column.
std::string Chart::StepText(std::int64_t at) const {
  std::string strText = WyMomentText(at) + " UTC: " + WyNumberText(SumAt(at));
  for (const WyReportSeries& series : m_series) {
    const std::uint64_t uCount = CountAt(*series.pCounts, at);
    if (series.strName.empty() || uCount == 0) continue;
    strText += "\n" + WyHtml(series.strName) + ": " + WyNumberText(uCount);
  }
  return strText;
}

void Chart::AppendColumns() {
  const std::string strWidth = Percent(1 / static_cast<double>(m_uSteps));
  for (std::size_t i = 0; i < m_uSteps; ++i) {
    const std::int64_t at = StepAt(i);
    if (SumAt(at) == 0) continue;
    const std::string strX = Percent(static_cast<double>(i) / static_cast<double>(m_uSteps));
    m_strPage += "<g><title>" + StepText(at) + "</title>";
    double dY = Top + Plot;
    for (const WyReportSeries& series : m_series) {
      const auto dCount = static_cast<double>(CountAt(*series.pCounts, at));
      if (dCount == 0) continue;
      const double dHeight = std::max(4.0, Plot * dCount / static_cast<double>(m_uScale));
      dY -= dHeight;
      m_strPage += "<rect class=\"" + series.strClass + "\" x=\"" + strX + "\" width=\"" +
                   strWidth + "\" y=\"" + Pixels(dY) + "\" height=\"" + Pixels(dHeight) + "\"/>";
    }
    m_strPage += "</g>";
  }
}

constexpr std::pair<std::string_view, std::string_view> Escapes[] = {
    {"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"'", "&#39;"}};

// Control characters, and those that change the direction of a text: with them a name can look like
// another one.
bool IsControl(std::string_view character) {
  const auto byte = [&](std::size_t u) { return static_cast<unsigned char>(character[u]); };
  if (character == "\n" || character == "\t") return false;
  if (byte(0) < ' ' || byte(0) == 0x7f) return true;
  if (character.size() != 3 || byte(0) != 0xe2) return false;
  return (byte(1) == 0x80 && byte(2) >= 0xaa && byte(2) <= 0xae) ||  // U+202A to U+202E
         (byte(1) == 0x81 && byte(2) >= 0xa6 && byte(2) <= 0xa9);    // U+2066 to U+2069
}

}  // namespace

void WyAppendChart(std::string& strPage, const WyReport& report, const std::string& strTitle,
                   const std::vector<WyReportSeries>& series) {
  strPage += "<svg class=\"chart\" role=\"img\" aria-label=\"" + WyHtml(strTitle) +
             "\" width=\"100%\" height=\"" + std::to_string(Height) + "\">";
  Chart chart(strPage, report, series);
  chart.AppendGrid();
  chart.AppendColumns();
  chart.AppendNumbers();
  chart.AppendTimes();
  strPage += "</svg>\n";
}

void WyAppendSparkline(std::string& strPage, const WyReport& report, const WyCounts& counts) {
  const std::size_t uSteps = StepCount(report);
  std::uint64_t uHighest = 1;
  for (const auto& [at, uCount] : counts) uHighest = std::max(uHighest, uCount);
  strPage += "<svg class=\"spark\" width=\"100\" height=\"20\" viewBox=\"0 0 " +
             std::to_string(uSteps) + " 20\" preserveAspectRatio=\"none\" aria-hidden=\"true\">";
  for (const auto& [at, uCount] : counts) {
    const std::int64_t step = (at - FirstStep(report)) / report.step;
    const double dHeight =
        std::max(2.0, 20.0 * static_cast<double>(uCount) / static_cast<double>(uHighest));
    strPage += "<rect x=\"" + std::to_string(step) + "\" width=\"1\" y=\"" + Pixels(20 - dHeight) +
               "\" height=\"" + Pixels(dHeight) + "\"/>";
  }
  strPage += "</svg>";
}

std::string WyHtml(std::string_view text) {
  const std::string strText = ValidUtf8(text);
  std::string strHtml;
  for (std::size_t u = 0; u < strText.size();) {
    const std::string_view character(&strText[u], Utf8CharacterLength(strText.substr(u, 4)));
    u += character.size();
    const auto found = std::find_if(std::begin(Escapes), std::end(Escapes),
                                    [&](const auto& escape) { return escape.first == character; });
    if (found != std::end(Escapes)) {
      strHtml += found->second;
    } else {
      strHtml += IsControl(character) ? std::string_view("\xef\xbf\xbd") : character;
    }
  }
  return strHtml;
}

std::string WyNumberText(std::uint64_t uNumber) {
  std::string strText = std::to_string(uNumber);
  for (std::size_t u = strText.size(); u > 3;) strText.insert(u -= 3, ",");
  return strText;
}

std::string WyMomentText(std::int64_t lSeconds) {
  std::string strText;
  WyAppendIso(strText, lSeconds * 1000, false);
  strText[10] = ' ';
  return strText.substr(0, 16);
}
