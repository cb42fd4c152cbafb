// Counting records by what they have in common. The number of different values that are kept is
// bounded; what comes beyond is counted together and reported.

#include "tools/wylogctl/StatsCommand.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <unordered_map>

#include "tools/common/EditDistance.h"
#include "tools/wylogctl/LogInput.h"
#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/Table.h"

namespace {

// With LongestValue this bounds the memory to some 10 MB, whatever the log holds: a field can have
// another value in each record.
constexpr std::size_t MostValues = 50'000;
constexpr std::size_t LongestValue = 120;
constexpr std::size_t BarWidth = 40;
constexpr WyCivil MinuteSize = 60'000;

struct WyStatsOptions {
  WyInputOptions input;
  std::string strBy = "key";
  std::string strLines = "50";
};

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>()(text);
  }
};

struct Row {
  std::string strValue;
  std::uint64_t uCount;
};

class CWyCounter {
 public:
  void Add(std::string_view value) {
    ++m_uAll;
    // Logs repeat themselves: the value before last is often this one.
    if (m_pLast != nullptr && m_pLast->first == value) {
      ++m_pLast->second;
      return;
    }
    auto found = m_counts.find(value);
    if (found == m_counts.end()) {
      if (m_counts.size() >= MostValues) {
        ++m_uOthers;
        return;
      }
      found = m_counts.emplace(std::string(value), 0).first;
    }
    ++found->second;
    // Stays valid while the map grows: elements of an unordered_map do not move.
    m_pLast = &*found;
  }

  std::vector<Row> Rows(bool bByValue) const {
    std::vector<Row> rows;
    for (const auto& [strValue, uCount] : m_counts) rows.push_back({strValue, uCount});
    std::sort(rows.begin(), rows.end(), [bByValue](const Row& a, const Row& b) {
      if (!bByValue && a.uCount != b.uCount) return a.uCount > b.uCount;
      return a.strValue < b.strValue;
    });
    return rows;
  }

  std::uint64_t All() const { return m_uAll; }
  std::uint64_t Others() const { return m_uOthers; }

 private:
  std::unordered_map<std::string, std::uint64_t, TextHash, std::equal_to<>> m_counts;
  std::pair<const std::string, std::uint64_t>* m_pLast = nullptr;
  std::uint64_t m_uAll = 0;
  std::uint64_t m_uOthers = 0;
};

class CWyStatsRun {
 public:
  CWyStatsRun(CWyContext& context, const WyStatsOptions& options)
      : m_context(context), m_options(options), m_input(context) {}

  int Run();

 private:
  enum class By { Key, Severity, Component, Minute, File, Log, Field };

  bool SetBy();
  std::string_view ValueOf(const WyRecord& record);
  std::string_view MinuteOf(const WyRecord& record);
  void Print();

  CWyContext& m_context;
  const WyStatsOptions& m_options;
  CWyLogInput m_input;
  CWyCounter m_counter;
  By m_by = By::Key;
  std::size_t m_uLines = 0;
  WyCivil m_minute = WyNoTime;
  std::string m_strMinute;
};

bool CWyStatsRun::SetBy() {
  struct Entry {
    const char* pszName;
    By by;
  };
  constexpr Entry Entries[] = {{"key", By::Key},       {"severity", By::Severity},
                               {"minute", By::Minute}, {"component", By::Component},
                               {"file", By::File},     {"log", By::Log}};
  const std::string& strBy = m_options.strBy;
  m_uLines = std::strtoul(m_options.strLines.c_str(), nullptr, 10);
  if (m_options.strLines == "all") m_uLines = MostValues;
  if (m_uLines == 0) {
    m_context.Error("-n " + m_options.strLines + ": not a number of rows, and not \"all\"");
    return false;
  }
  std::vector<std::string> names;
  for (const Entry& entry : Entries) {
    m_by = entry.by;
    if (strBy == entry.pszName) return true;
    names.emplace_back(entry.pszName);
  }
  m_by = By::Field;
  if (WyIsKnownField(strBy) || strBy.starts_with("fields.")) return true;
  const std::string_view nearest = NearestName(strBy, names);
  m_context.Error("--by " + strBy + ": is key, severity, component, minute, log, file or a field" +
                  (nearest.empty() ? "" : "; did you mean " + std::string(nearest) + "?"));
  return false;
}

// By the record's own time, not converted: the rows then match what people find in the log.
std::string_view CWyStatsRun::MinuteOf(const WyRecord& record) {
  if (record.time == WyNoTime) return "(no time)";
  const WyCivil minute = record.time / MinuteSize;
  if (minute != m_minute) {
    m_minute = minute;
    m_strMinute.clear();
    WyAppendIso(m_strMinute, minute * MinuteSize, false);
    m_strMinute.resize(16);
  }
  return m_strMinute;
}

std::string_view CWyStatsRun::ValueOf(const WyRecord& record) {
  switch (m_by) {
    case By::Key:
      return record.key.empty() ? "(no key)" : record.key;
    case By::Severity:
      return record.severityWord.empty() ? "(no severity)" : record.severityWord;
    case By::Minute:
      return MinuteOf(record);
    case By::File:
      return record.file;
    case By::Log:
      return WyLogOfKind(record.Kind());
    case By::Component: {
      const WyKnownMessage* const pMessage = m_input.Manifests().ByKey(record.key);
      if (pMessage == nullptr) return "(unknown)";
      return m_input.Manifests().ComponentOf(*pMessage).strName;
    }
    default: {
      const std::string_view value = record.Field(m_options.strBy);
      return value.data() == nullptr ? "(no such field)" : value.empty() ? "(empty)" : value;
    }
  }
}

void CWyStatsRun::Print() {
  const std::vector<Row> rows = m_counter.Rows(m_by == By::Minute);
  std::uint64_t uLargest = 1;
  for (const Row& row : rows) uLargest = std::max(uLargest, row.uCount);
  CWyTable table(m_context, {m_options.strBy, "count"});
  std::uint64_t uRest = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i >= m_uLines) {
      uRest += rows[i].uCount;
      continue;
    }
    std::string strBar;
    if (m_context.out.IsTerminal()) {
      strBar = "  " + std::string(1 + BarWidth * rows[i].uCount / (uLargest + 1), '#');
    }
    table.Row({rows[i].strValue, rows[i].uCount}, strBar);
  }
  table.End();
  if (uRest > 0) {
    m_context.Note(std::to_string(rows.size() - m_uLines) + " more values with " +
                   std::to_string(uRest) + " records; -n all shows them");
  }
  if (m_counter.Others() > 0) {
    m_context.Warning(std::to_string(m_counter.Others()) +
                      " records have values beyond the first " + std::to_string(MostValues) +
                      " different ones, and are in no row");
  }
}

int CWyStatsRun::Run() {
  m_context.Start(true);
  if (!SetBy()) return WyFailed;
  const bool bManifests = m_by == By::Component || !m_options.input.query.components.empty();
  if (bManifests) m_input.Manifests().Load(m_context);
  if (bManifests && m_input.Manifests().Components().empty()) {
    m_context.Error("no manifests of components are found; --messages DIR says where they are");
    return WyFailed;
  }
  if (!m_input.Open(m_options.input)) return WyFailed;
  m_input.SeekSince();
  while (const WyRecord* const pRecord = m_input.Next()) {
    if (!pRecord->raw.bTitles) m_counter.Add(ValueOf(*pRecord).substr(0, LongestValue));
  }
  m_context.EndProgress();
  Print();
  m_input.ReportFlags();
  return m_context.Exit(m_counter.All() > 0);
}

}  // namespace

void RegisterStatsCommand(CWyProgram& program) {
  auto pOptions = std::make_shared<WyStatsOptions>();
  CWyCommand& command = program.Add("stats", "Count the records of logs", {"table", "json", "csv"});
  WyAddInput(command, pOptions->input, true);
  command.Value("--by", "WHAT", "key, severity, component, minute, log, file or a field's name",
                pOptions->strBy);
  command.Value("-n,--lines", "N", "The N most frequent values, 50 if not given, or all",
                pOptions->strLines);
  command.Example("wylogctl stats --by key /var/log/app/error.log", "Which messages there are");
  command.Example("wylogctl stats --by minute --severity ERROR error.log", "When errors came");
  command.Run([pOptions](CWyContext& context) { return CWyStatsRun(context, *pOptions).Run(); });
}
