// A record is set, filtered and formatted by the library's own CWyTraceData. A program stops at the
// first filter that drops a record; here all are asked, so that every line that would drop it is
// named.

#include "tools/wylogctl/ConfigSimulate.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>

#include "tools/wylogctl/ConfigCommand.h"
#include "tools/wylogctl/JsonText.h"
#include "tools/wylogctl/LogInput.h"
#include "tools/wylogctl/Program.h"
#include "wyerrlog/internal/WyTraceNames.h"

namespace {

struct WySimulateOptions : WyConfigOptions {
  std::string strComponent;
  std::string strFrom;
  std::vector<std::string> values;  // "User=alice"
};

struct Value {
  unsigned int uId;
  std::string strValue;
};

// What becomes of one record.
struct Verdict {
  std::string strVerdict;                      // "written", "dropped", "not traced"
  std::vector<const WyTraceFinding*> filters;  // that drop it, by line
  std::string strRecord;
};

class CWySimulation {
 public:
  CWySimulation(CWyContext& context, const WySimulateOptions& options)
      : m_context(context), m_options(options), m_config(m_tables) {}

  int Run();

 private:
  bool Prepare();
  bool TakeComponent();
  bool TakeValues();
  unsigned int FieldNumber(std::string_view name) const;
  void NoteUnusedValues(const std::vector<Value>& values);
  bool RunLog();

  Verdict Judge(const std::vector<Value>& values);
  void SetClock(const std::vector<Value>& values);
  void Print(const Verdict& verdict);
  void PrintJson(const Verdict& verdict);

  CWyContext& m_context;
  const WySimulateOptions& m_options;
  CWyConfigTables m_tables;
  CWyConfigFile m_config;
  const WyTraceFinding* m_pSelected = nullptr;  // what selects the component; null if nothing does
  std::vector<Value> m_values;
  std::map<std::string, std::uint64_t> m_counts;  // of records, by verdict
};

constexpr unsigned int NoField = CWyTraceData::FieldCount;
constexpr std::array<unsigned int, 3> ClockFields = {WyField::Date, WyField::Time,
                                                     WyField::PreciseTime};

unsigned int CWySimulation::FieldNumber(std::string_view name) const {
  for (const WyTraceDataFieldInfo& field : m_tables.Fields()) {
    if (name == field.pszName) return field.uId;
  }
  return NoField;
}

bool CWySimulation::TakeComponent() {
  if (m_options.strComponent.empty()) return true;
  for (const std::string_view code : {"T001", "T004"}) {
    if (m_pSelected == nullptr) m_pSelected = m_config.Effect(code, m_options.strComponent);
  }
  const CWyTraceNames names(m_tables.Components(), m_tables.Fields());
  if (m_pSelected != nullptr || names.IsComponent(m_options.strComponent)) return true;
  const WyUnknownName unknown = names.Component(m_options.strComponent);
  m_context.Error("--component: " + unknown.strText +
                  (unknown.strHelp.empty() ? "" : "; " + unknown.strHelp));
  return false;
}

bool CWySimulation::TakeValues() {
  for (const std::string& strSet : m_options.values) {
    const std::size_t uEqual = strSet.find('=');
    const std::string strName = strSet.substr(0, uEqual);
    const unsigned int uId = FieldNumber(strName);
    if (uEqual == std::string::npos) {
      m_context.Error("--set " + strSet + ": no value; write --set " + strSet + "=VALUE");
    } else if (uId == NoField) {
      const WyUnknownName unknown =
          CWyTraceNames(m_tables.Components(), m_tables.Fields()).Field(strName);
      m_context.Error("--set: " + unknown.strText +
                      (unknown.strHelp.empty() ? "" : "; " + unknown.strHelp));
    } else {
      m_values.push_back({uId, strSet.substr(uEqual + 1)});
    }
  }
  return !m_context.HasFailed();
}

bool CWySimulation::Prepare() {
  if (m_options.files.size() != 1) {
    m_context.Error("config simulate takes one file");
    return false;
  }
  if (!m_tables.Load(m_context, m_options.bLoad)) return false;
  if (!m_config.Read(m_context, m_options.files[0], m_options)) return false;
  if (!m_config.IsAccepted()) {
    m_config.PrintDiagnostics(m_context);
    m_context.Error(m_options.files[0] + " is refused: the trace stays as it was");
    return false;
  }
  return TakeComponent() && TakeValues();
}

// ---- One record ---------------------------------------------------------------------------------

// A program's records have the time of the clock.
void CWySimulation::SetClock(const std::vector<Value>& values) {
  CWyTraceData& data = m_config.Data();
  const bool bShown = std::any_of(ClockFields.begin(), ClockFields.end(),
                                  [&](unsigned int uId) { return data.FieldTraced(uId); });
  const bool bGiven = std::any_of(values.begin(), values.end(), [](const Value& value) {
    return std::find(ClockFields.begin(), ClockFields.end(), value.uId) != ClockFields.end();
  });
  if (bShown && !bGiven) data.PopulateDateandTime();
}

// In the order in which a program works: clean record, clock, values; filters are asked as each
// value is set.
Verdict CWySimulation::Judge(const std::vector<Value>& values) {
  CWyTraceData& data = m_config.Data();
  data.CleanUpData();
  SetClock(values);
  Verdict verdict;
  for (const Value& value : values) {
    if (!data.FieldTraced(value.uId)) continue;  // a program does not set it
    if (data.SetFieldValue(value.uId, value.strValue.c_str())) continue;
    const WyTraceFinding* const pFilter =
        m_config.Effect("T003", data.GetDataFieldInfo(value.uId)->pszName);
    if (pFilter != nullptr) verdict.filters.push_back(pFilter);
  }
  std::sort(verdict.filters.begin(), verdict.filters.end(),
            [](const auto* pA, const auto* pB) { return pA->uLine < pB->uLine; });
  CWyErrLogMessage record(false);
  if (data.AssembleTraceMessage(&record, WyTraceLine::Values))
    verdict.strRecord = record.GetBuffer();
  const bool bTraced = m_options.strComponent.empty() || m_pSelected != nullptr;
  verdict.strVerdict = !bTraced ? "not traced" : verdict.filters.empty() ? "written" : "dropped";
  return verdict;
}

void CWySimulation::PrintJson(const Verdict& verdict) {
  std::string strLine;
  CWyJsonObject object(strLine);
  object.Text("verdict", verdict.strVerdict);
  if (m_pSelected != nullptr && m_pSelected->uLine > 0)
    object.Number("selected", m_pSelected->uLine);
  if (!verdict.filters.empty()) {
    object.Number("line", verdict.filters[0]->uLine);
    object.Text("filter", verdict.filters[0]->strText);
  }
  object.Text("record", verdict.strRecord);
  object.End();
  m_context.out.Write(strLine + "\n");
}

void CWySimulation::Print(const Verdict& verdict) {
  ++m_counts[verdict.strVerdict];
  if (m_context.options.strFormat == "json") return PrintJson(verdict);
  std::string strText = verdict.strVerdict;
  if (verdict.strVerdict == "not traced") {
    strText += ": nothing selects " + m_options.strComponent;
  } else if (m_pSelected != nullptr && verdict.filters.empty()) {
    strText +=
        ": " + m_options.strComponent +
        (m_pSelected->uLine > 0 ? " is selected by line " + std::to_string(m_pSelected->uLine)
                                : " is " + m_pSelected->strText);
  }
  for (const WyTraceFinding* const pFilter : verdict.filters) {
    strText += (pFilter == verdict.filters[0] ? " by line " : ", and by line ") +
               std::to_string(pFilter->uLine) + ", which " + pFilter->strText;
  }
  strText += "\n" + verdict.strRecord;
  std::string strPrinted;
  WyAppendPrintable(strPrinted, strText);
  m_context.out.Write(m_context.out.IsTerminal() ? strPrinted : strText);
}

// ---- Which records ------------------------------------------------------------------------------

// Two silent reasons why a filter does not work in a program either: the field is not shown, or the
// statement passes no value for it.
void CWySimulation::NoteUnusedValues(const std::vector<Value>& values) {
  CWyTraceData& data = m_config.Data();
  for (const Value& value : values) {
    if (data.FieldTraced(value.uId)) continue;
    m_context.NoteOnce(std::string(m_tables.Fields()[value.uId].pszName) +
                       " is not on the data line: programs do not set it");
  }
  const auto isClock = [](unsigned int uId) {
    return std::find(ClockFields.begin(), ClockFields.end(), uId) != ClockFields.end();
  };
  for (unsigned int uId = 0; uId < CWyTraceData::FieldCount; ++uId) {
    if (!data.FieldFiltered(uId) || !data.FieldTraced(uId) || isClock(uId)) continue;
    const bool bGiven = std::any_of(values.begin(), values.end(),
                                    [uId](const Value& value) { return value.uId == uId; });
    if (bGiven) continue;
    const std::string strName = m_tables.Fields()[uId].pszName;
    m_context.NoteOnce("no value for " + strName + ": its filter is not asked (--set " + strName +
                       "=VALUE)");
  }
}

// The records of a trace as if their program had this configuration. Returns false if it cannot be
// read.
bool CWySimulation::RunLog() {
  CWyLogInput input(m_context);
  WyInputOptions options;
  options.paths = {m_options.strFrom};
  if (!input.Open(options)) return false;
  for (const WyRecord* pRecord; (pRecord = input.Next()) != nullptr;) {
    if (pRecord->raw.bTitles) continue;
    if (!WyIsTrace(pRecord->Kind())) {
      m_context.Error(m_options.strFrom + ": not a trace, but an " + WyKindName(pRecord->Kind()));
      return false;
    }
    std::vector<Value> values = m_values;
    for (const WyFieldValue& field : pRecord->fields) {
      const unsigned int uId = FieldNumber(field.name);
      const bool bGiven = std::any_of(values.begin(), values.end(),
                                      [uId](const Value& value) { return value.uId == uId; });
      if (uId != NoField && !bGiven) values.push_back({uId, std::string(field.value)});
    }
    NoteUnusedValues(values);
    Print(Judge(values));
  }
  input.ReportFlags();
  std::string strCounts;
  for (const auto& [strVerdict, uCount] : m_counts) {
    strCounts += (strCounts.empty() ? "" : ", ") + std::to_string(uCount) + " " + strVerdict;
  }
  m_context.Note("records: " + (strCounts.empty() ? "none" : strCounts));
  return true;
}

int CWySimulation::Run() {
  m_context.Start(!m_options.strFrom.empty());
  if (!Prepare()) return WyFailed;
  if (!m_options.strFrom.empty())
    return RunLog() ? m_context.Exit(m_counts["written"] > 0) : WyFailed;
  if (m_options.strComponent.empty()) {
    m_context.Error("name the component that traces: --component NAME");
    return WyFailed;
  }
  NoteUnusedValues(m_values);
  Print(Judge(m_values));
  return m_context.Exit(m_counts["written"] > 0);
}

}  // namespace

void RegisterConfigSimulateCommand(CWyProgram& program) {
  auto pOptions = std::make_shared<WySimulateOptions>();
  CWyCommand& command = program.Add(
      "config simulate", "Tell whether a trace configuration writes a record", {"table", "json"});
  WyAddConfigOptions(command, *pOptions);
  command.Value("--component", "NAME", "What traces: Session_Store/Cleanup",
                pOptions->strComponent);
  command.Value("--set", "FIELD=VALUE", "The value of a field: User=alice", pOptions->values);
  command.File("--from", "Records of this trace and its backups, in place of one made with --set",
               pOptions->strFrom);
  command.Value("--layout", "N", "The trace layout of the record, 0 to 3", pOptions->iLayout);
  command.Value("--separator", "TEXT", "The separator of layout 2", pOptions->strSeparator);
  command.About(
      "Prints `written`, `dropped` with the line of the filter, or `not traced`, and the record. "
      "Fields of the clock that are not set have the time of now, in UTC; other fields that are "
      "not set are empty, and their filters are not asked.");
  command.Example("wylogctl config simulate trace.conf --component IsAuthorized --set User=alice",
                  "Whether alice is traced");
  command.Example("wylogctl config simulate trace.conf --from trace.log",
                  "Which of yesterday's records this configuration would have written");
  command.Run([pOptions](CWyContext& context) { return CWySimulation(context, *pOptions).Run(); });
}
