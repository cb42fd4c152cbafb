// What is to say of filters: the lines behind the data line.

#include <algorithm>

#include "wyerrlog/internal/WyEditDistance.h"
#include "wyerrlog/internal/WyTraceFindings.h"

namespace {

using WyFindingText::FindOperator;
using WyFindingText::Quoted;
using WyFindingText::WithoutReturn;

constexpr std::string_view Blanks = " \t";
constexpr const char* OperatorHelp = "the operators are ==, !=, @@ (contains) and !@ (does not)";

std::string DidYouMean(std::string_view name) { return WyDidYouMean({&name, 1}); }

// The word and all that stands behind it on its line. Up to a zero byte: the parser reads no
// further.
std::string_view RestOfLine(const WyTraceDecision& decision) {
  const std::string_view piece = decision.piece;
  const auto uStart = static_cast<size_t>(decision.word.data() - piece.data());
  return WithoutReturn(
      piece.substr(uStart, piece.find_first_of(std::string_view("\n\0", 2), uStart) - uStart));
}

// From the parser's own table, so that a new operator needs no change here.
std::string OperatorText(unsigned int uOperator) {
  const auto pSign =
      std::find_if(WyTraceFilter::Signs.begin(), WyTraceFilter::Signs.end(),
                   [uOperator](const WyTraceFilter::Sign& sign) { return sign.op == uOperator; });
  if (pSign == WyTraceFilter::Signs.end()) return " ";
  return " " + std::string(pSign->meaning) + " ";
}

}  // namespace

// A line in the place of a filter whose first word is not a field. Behind the data line every line
// is a filter to the parser, and an unknown field is passed over in silence: this is where most
// misunderstandings end up. The keyword's tests come first; "data" would otherwise be reported as
// an unknown field.
void CWyTraceFindings::OnNoFilter(const WyTraceDecision& decision) {
  const std::string_view word = WithoutReturn(decision.word);
  if (word.empty()) return;
  if (WyEqualButCase(word, "components")) {
    Add(Level::Warning, "T203", decision, word, "a second components line is passed over",
        "name all components on one line");
    return;
  }
  if (WyEqualButCase(word, "data")) {
    Add(Level::Warning, "T204", decision, word, "a second data line is passed over",
        "name all fields on one line");
    return;
  }
  // `user==alice` is one word, since an operator is no separator.
  const size_t uOperator = FindOperator(word);
  const std::string_view name = word.substr(0, uOperator);
  if (uOperator != std::string_view::npos && m_names.IsField(name)) {
    std::string_view behind = RestOfLine(decision).substr(uOperator);
    const bool bSingle = behind.starts_with('=') && !behind.starts_with("==");
    Add(Level::Warning, "T501", decision, word,
        "a separator is missing between " + Quoted(name) +
            " and the operator: the line filters nothing",
        "write `" + std::string(name) + ": " + (bSingle ? "=" : "") + std::string(behind) + "`");
    return;
  }
  if (AddCarriageReturn(Level::Warning, decision, "the line filters nothing")) return;
  WyUnknownName unknown = m_names.Field(name);
  if (NearestName(word, std::array<std::string_view, 1>{"version"}) == "version") {
    unknown.strHelp = DidYouMean("version");
  }
  Add(Level::Warning, "T502", decision, name.empty() ? word : name,
      unknown.strText + ": the line filters nothing", std::move(unknown.strHelp));
}

void CWyTraceFindings::OnFilter(const WyTraceDecision& decision) {
  if (decision.pField == nullptr) return OnNoFilter(decision);
  const std::string strField(decision.word);
  // The parser looks for an operator directly behind the field and one separator, blanks aside: in
  // `user: , ==alice` there is none.
  if (decision.uOperator == 0) {
    const std::string_view text = WithoutReturn(decision.text);
    const size_t uOperator = FindOperator(text);
    std::string strHelp = OperatorHelp;
    if (uOperator != std::string_view::npos) {
      const bool bSingle = text[uOperator] == '=' && !text.substr(uOperator).starts_with("==");
      strHelp = "write `" + strField + ": " + (bSingle ? "=" : "") +
                std::string(text.substr(uOperator)) + "`";
    }
    Add(Level::Warning, "T503", decision, text.empty() ? decision.word : text,
        "no operator stands behind " + Quoted(strField) +
            " and one separator: the line filters nothing",
        strHelp);
    return;
  }
  // Before the effect is added: it removes the effect of an earlier filter for the field, by its
  // code and name, and must not remove this one.
  CheckFilterField(decision, strField);
  CheckFilterText(decision, strField);
  WyTraceFinding& finding = Add(
      Level::Effect, "T003", decision, decision.word,
      "keeps a record if " + strField + OperatorText(decision.uOperator) + Quoted(decision.text));
  finding.strName = strField;
  finding.uId = decision.pField->uId;
}

// The library sets the three fields of the clock together, as soon as one of them is shown. Whoever
// changes that in CWyTraceData changes it here.
bool CWyTraceFindings::SetsField(unsigned int uId) const {
  const auto isClock = [](unsigned int u) {
    return u >= WyField::Date && u <= WyField::PreciseTime;
  };
  if (!isClock(uId)) return m_fields[uId].bTraced;
  return std::any_of(m_fields.begin(), m_fields.end(), [&](const WyTraceDataFieldInfo& field) {
    return field.bTraced && isClock(field.uId);
  });
}

void CWyTraceFindings::CheckFilterField(const WyTraceDecision& decision,
                                        const std::string& strField) {
  const unsigned int uId = decision.pField->uId;
  if (!SetsField(uId)) {
    Add(Level::Warning, "T507", decision, decision.word,
        strField + " is not on the data line: programs do not set it, and the filter drops nothing",
        "name " + Quoted(strField) + " on the data line");
  }
  unsigned int& uLine = m_auFilterLine[uId];
  if (uLine != 0) {
    Add(Level::Warning, "T508", decision, decision.word,
        "this filter replaces that of line " + std::to_string(uLine) + " for the same field",
        "a field has one filter: keep one of the two");
    std::erase_if(m_findings, [&](const WyTraceFinding& finding) {
      return finding.strCode == "T003" && finding.strName == strField;
    });
  }
  uLine = decision.uLine;
}

void CWyTraceFindings::CheckFilterText(const WyTraceDecision& decision,
                                       const std::string& strField) {
  const std::string_view text = decision.text;
  const std::string_view visible = WithoutReturn(text);
  const auto warn = [&](const char* pszCode, std::string_view part, const char* pszText) {
    Add(Level::Warning, pszCode, decision, part, pszText + strField, "");
    return &m_findings.back();
  };
  // The finding is of the text and not of the field's name, so the word is replaced in a copy.
  if (visible.size() < text.size()) {
    WyTraceDecision atReturn = decision;
    atReturn.word = text;
    AddCarriageReturn(Level::Warning, atReturn, "no value of " + strField + " ends with one");
  }
  if (visible.empty()) {
    warn("T506", text, "the filter's text is empty: this is what it looks for in ")->strHelp =
        "write the text directly behind the operator, or remove the line";
    return;
  }
  // Parsed, the text begins directly behind the operator and ends with the line; blanks, quotes and
  // "#" in it are compared byte by byte. Each of these is legal and nearly always a mistake.
  const size_t uStart = std::min(visible.find_first_not_of(Blanks), visible.size());
  if (uStart > 0) {
    warn("T504", visible.substr(0, uStart),
         "the blank behind the operator belongs to the text for ")
        ->strHelp = "write the text directly behind the operator";
  }
  const size_t uEnd = visible.find_last_not_of(Blanks) + 1;
  if (uEnd > uStart && uEnd < visible.size()) {
    warn("T505", visible.substr(uEnd), "the blank at the end of the line belongs to the text for ")
        ->strHelp = "remove it";
  }
  const std::string_view inner = visible.substr(uStart, std::max(uStart, uEnd) - uStart);
  const bool bQuotes = inner.size() > 1 && inner.front() == inner.back() &&
                       (inner.front() == '"' || inner.front() == '\'');
  if (bQuotes)
    warn("T509", inner, "the quotes belong to the text for ")->strHelp = "leave them out";
  const size_t uHash = inner.find(" #");
  if (uHash != std::string_view::npos) {
    warn("T207", inner.substr(uHash + 1), "`#` begins no comment here: it belongs to the text for ")
        ->strHelp = "put the comment on a line of its own";
  }
}
