// One function for each kind of decision. The codes are documented in docs/wylogctl.md.

#include "wyerrlog/internal/WyTraceFindings.h"

#include <algorithm>

#include "wyerrlog/internal/WyEditDistance.h"

namespace {

using WyFindingText::FindOperator;
using WyFindingText::Quoted;
using WyFindingText::WithoutReturn;

// Editors write it unseen; the parser has no rule for it.
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
std::string DidYouMean(std::string_view name) { return WyDidYouMean({&name, 1}); }

std::string ComponentText(const WyTraceComponentInfo& component) {
  return component.pszName != nullptr ? component.pszName : "";
}

}  // namespace

void CWyTraceFindings::Begin(std::span<const WyTraceComponentInfo> components,
                             std::span<const WyTraceDataFieldInfo> fields) {
  m_bBegun = true;
  m_components = components;
  m_fields = fields;
  m_names = CWyTraceNames(components, fields);
  m_selected.assign(components.size(), false);
}

void CWyTraceFindings::Decided(const WyTraceDecision& decision) {
  switch (decision.kind) {
    case WyTraceDecision::Version:
      return OnVersion(decision);
    case WyTraceDecision::Refused:
      return OnRefused(decision);
    case WyTraceDecision::Statement:
      ++m_uStatements;
      m_bBehindHash = false;
      return;
    case WyTraceDecision::Component:
      return OnComponent(decision);
    case WyTraceDecision::Field:
      return OnField(decision);
    case WyTraceDecision::Filter:
      return OnFilter(decision);
    case WyTraceDecision::Added:
      return OnAdded(decision);
    case WyTraceDecision::LongLine:
    case WyTraceDecision::ZeroByte:
      return OnRest(decision);
    case WyTraceDecision::End:
      return OnEnd(decision);
  }
}

// In the order of the file, since the parser decides some things late: what version 1.0 adds is
// known only at the end. Stable, so that an effect stays behind the warning of the same word.
// Findings of the whole file (line 0) wrap around to the largest number, and come last.
bool CWyTraceFindings::Finish(const char* pszReason) {
  if (pszReason != nullptr) {
    WyTraceFinding& finding = m_findings.emplace_back();
    finding.level = Level::Error;
    finding.strCode = "T101";
    finding.strText = pszReason;
  }
  const auto first = m_findings.begin() + static_cast<std::ptrdiff_t>(m_uFirst);
  const auto place = [](const WyTraceFinding& finding) {
    return std::pair(finding.uLine - 1, finding.uColumn);  // of line 0: last
  };
  std::stable_sort(first, m_findings.end(),
                   [&](const auto& a, const auto& b) { return place(a) < place(b); });
  return std::none_of(first, m_findings.end(),
                      [](const WyTraceFinding& finding) { return finding.level == Level::Error; });
}

WyTraceFinding& CWyTraceFindings::Add(Level level, const char* pszCode,
                                      const WyTraceDecision& decision, std::string_view word,
                                      std::string strText, std::string strHelp) {
  WyTraceFinding& finding = m_findings.emplace_back();
  finding.level = level;
  finding.strCode = pszCode;
  finding.strText = std::move(strText);
  finding.strHelp = std::move(strHelp);
  finding.uLine = decision.uLine;
  if (decision.uLine == 0) return finding;
  finding.strWord = word;
  finding.uColumn = decision.ColumnOf(word);
  // At least 1, so that a caret can be shown under an empty word.
  finding.uLength = std::max(1u, static_cast<unsigned int>(word.size()));
  return finding;
}

// Returns false, with nothing added, if the word does not contain a carriage return.
bool CWyTraceFindings::AddCarriageReturn(Level level, const WyTraceDecision& decision,
                                         const std::string& strEffect) {
  if (decision.word.find('\r') == std::string_view::npos) return false;
  Add(level, "T104", decision, decision.word,
      "a carriage return (CR LF line end) belongs to the word before it: " + strEffect,
      m_bCarriageReturn ? "" : "convert the line ends: sed -i 's/\\r$//' FILE");
  m_bCarriageReturn = true;
  return true;
}

// ---- Statements ---------------------------------------------------------------------------------

// The parser takes any value that contains "1.1", so "1.10" and "v1.1" count too; everything else
// leaves the file at version 1.0, with its added components (T206).
void CWyTraceFindings::OnVersion(const WyTraceDecision& decision) {
  const std::string_view value = WithoutReturn(decision.text);
  if (value == "1.1" || value == "1.0") return;
  const std::string strHelp = "the versions are 1.0 and 1.1; write `version: 1.1`";
  if (value.empty()) {
    Add(Level::Warning, "T205", decision, WithoutReturn(decision.word), "the version has no value",
        strHelp);
    return;
  }
  Add(Level::Warning, "T205", decision, value,
      "version " + Quoted(value) + (decision.bTaken ? " counts as 1.1" : " counts as no version"),
      strHelp);
}

// The parser gives up at the first statement that is out of order, and nothing behind it is read:
// so this is an error, and what follows guesses the one cause, the likeliest first. A wrong byte
// order mark or line end makes the keyword look right on the screen, so these come before
// misspellings.
void CWyTraceFindings::OnRefused(const WyTraceDecision& decision) {
  const bool bComponents = decision.expected == WyTraceStatement::Components;
  const std::string_view expected = bComponents ? "components" : "data";
  const std::string_view word = decision.word;
  if (decision.uLine == 1 && word.starts_with(ByteOrderMark)) {
    Add(Level::Error, "T103", decision, word,
        "the file begins with a byte order mark, which "
        "belongs to its first word",
        "save it as UTF-8 without one: sed -i '1s/^\\xEF\\xBB\\xBF//' FILE");
    return;
  }
  if (decision.uLine == 1 && (word.starts_with("\xFF\xFE") || word.starts_with("\xFE\xFF"))) {
    Add(Level::Error, "T103", decision, word, "the file is UTF-16, not UTF-8",
        "convert it: iconv -f UTF-16 -t UTF-8 FILE");
    return;
  }
  if (AddCarriageReturn(Level::Error, decision, "`" + std::string(expected) + "` must stand here"))
    return;
  if (!bComponents && WyEqualButCase(word, "components")) {
    Add(Level::Error, "T203", decision, word,
        "a second components line stands in the place of the data line",
        "name all components on one line");
    return;
  }
  std::string strHelp;
  const std::array<std::string_view, 3> keywords = {"components", "data", "version"};
  const std::string_view nearest = NearestName(word, keywords);
  if (word.starts_with("version")) {
    strHelp = "put a separator behind `version`: `version: 1.1`";
  } else if (bComponents && nearest == "data") {
    strHelp = "put the components line before the data line";
  } else if (!nearest.empty()) {
    strHelp = DidYouMean(nearest);
    // The list was continued on a second line, which the format does not have.
  } else if (!bComponents && m_names.IsComponent(word)) {
    strHelp = "all components stand on one line";
  } else {
    strHelp = "the order is: components, data, filters";
  }
  Add(Level::Error, bComponents ? "T201" : "T202", decision, word,
      "the " + std::string(expected) + " line must stand here, and the file is refused", strHelp);
}

// Whether a name is settled, because it stands behind a word that begins with "#". Unknown words
// behind it are passed over: they are the comment's prose, and a warning for each would hide the
// one that matters.
bool CWyTraceFindings::IsBehindHash(const WyTraceDecision& decision, bool bKnown) {
  if (decision.word.starts_with('#')) {
    m_bBehindHash = true;
    Add(Level::Warning, "T207", decision, decision.word,
        "`#` begins a comment only at the start of a line: the names behind it count",
        "put the comment on a line of its own");
    return true;
  }
  if (!m_bBehindHash) return false;
  if (!bKnown) return true;
  Add(Level::Warning, "T207", decision, decision.word,
      Quoted(decision.word) + " is taken although it stands behind `#`");
  return false;
}

// The parser passes over a name that it does not know, so that one file serves programs with
// different components: hence a warning and no error.
void CWyTraceFindings::OnComponent(const WyTraceDecision& decision) {
  if (IsBehindHash(decision, decision.pComponent != nullptr)) return;
  if (decision.pComponent != nullptr) {
    AddSelected(decision, "T001", decision.word, "");
    return;
  }
  const std::string_view word = WithoutReturn(decision.word);
  if (word.empty() || AddCarriageReturn(Level::Warning, decision, Quoted(word) + " is not traced"))
    return;
  WyUnknownName unknown = m_names.Component(word);
  Add(Level::Warning, unknown.bNotInstalled ? "T302" : "T301", decision, word,
      std::move(unknown.strText), std::move(unknown.strHelp));
}

// Reports what has become selected since the last decision. Compares the whole table, since one
// name can select many: a component's name selects its sub-components too.
void CWyTraceFindings::AddSelected(const WyTraceDecision& decision, const char* pszCode,
                                   std::string_view word, const std::string& strText) {
  for (size_t u = 0; u < m_components.size(); ++u) {
    if (!m_components[u].bTraced || m_selected[u]) continue;
    m_selected[u] = true;
    const std::string strName = ComponentText(m_components[u]);
    std::string strWhy = strText;
    if (strWhy.empty()) strWhy = strName == word ? "selected" : "selected with " + Quoted(word);
    WyTraceFinding& finding = Add(Level::Effect, pszCode, decision, word, strWhy);
    finding.strName = strName;
    finding.uId = m_components[u].uId;
  }
}

// Columns have the order in which fields are named first; the parser refuses the second naming.
void CWyTraceFindings::OnField(const WyTraceDecision& decision) {
  if (IsBehindHash(decision, decision.pField != nullptr)) return;
  const std::string_view word = WithoutReturn(decision.word);
  if (decision.pField == nullptr) {
    if (word.empty() || AddCarriageReturn(Level::Warning, decision, Quoted(word) + " is not shown"))
      return;
    WyUnknownName unknown = m_names.Field(word);
    const size_t uOperator = FindOperator(word);
    if (uOperator != std::string_view::npos)
      unknown.strHelp = "each filter stands on a line of its own";
    Add(Level::Warning, "T401", decision, word, std::move(unknown.strText),
        std::move(unknown.strHelp));
    return;
  }
  if (!decision.bTaken) {
    Add(Level::Warning, "T402", decision, word,
        Quoted(word) + " is named twice: its first place counts", "name it once");
    return;
  }
  WyTraceFinding& finding =
      Add(Level::Effect, "T002", decision, word, "column " + std::to_string(++m_uColumns));
  finding.strName = word;
  finding.uId = decision.pField->uId;
}

// ---- The file as a whole ------------------------------------------------------------------------

// No word of the file has caused this, so it has no place; a component that the file names itself
// has been reported there.
void CWyTraceFindings::OnAdded(const WyTraceDecision& decision) {
  const auto index = static_cast<size_t>(decision.pComponent - m_components.data());
  if (m_selected[index]) return;
  const std::string strName = ComponentText(*decision.pComponent);
  const std::string strBy = Quoted(ComponentText(*decision.pBy));
  WyTraceDecision nowhere = decision;
  nowhere.uLine = 0;
  AddSelected(nowhere, "T004", {}, "selected with " + strBy + ": the file is not of version 1.1");
  Add(Level::Warning, "T206", nowhere, {},
      Quoted(strName) + " is selected too, because " + strBy +
          " is and the file is not of version 1.1",
      "write `version: 1.1` as the first line, and name all components that you want");
}

// The reader takes pieces of at most PieceSize bytes: the rest of a longer line is parsed as if it
// were the next line, and can so be taken for a filter or refuse the file.
void CWyTraceFindings::OnRest(const WyTraceDecision& decision) {
  if (decision.kind == WyTraceDecision::ZeroByte) {
    Add(Level::Warning, "T106", decision, decision.word.substr(0, 1),
        "a zero byte: what stands behind it on the line is not read", "remove it");
    return;
  }
  Add(Level::Warning, "T105", decision, decision.word.substr(0, 1),
      "the line is longer than " + std::to_string(CWyTraceConfigParser::PieceSize) +
          " bytes: what begins here is read as a line of its own",
      "shorten the line");
}

// A file without an error can still trace nothing; a person would look for the fault in the
// program.
void CWyTraceFindings::OnEnd(const WyTraceDecision& decision) {
  const bool bNoComponent =
      std::find(m_selected.begin(), m_selected.end(), true) == m_selected.end();
  if (!decision.bTaken) {
    Add(Level::Warning, "T102", decision, {}, "the file cannot be read to its end",
        "is it a folder?");
  }
  if (bNoComponent) {
    Add(Level::Warning, "T208", decision, {},
        m_uStatements == 0 ? "there is no components line: nothing is traced"
                           : "no component is selected: nothing is traced",
        "name components on the components line");
  }
  if (m_uColumns == 0) {
    Add(Level::Warning, "T209", decision, {},
        m_uStatements < 2 ? "there is no data line: records have no fields"
                          : "no field is selected: records have no fields",
        "name fields on the data line");
  }
}
