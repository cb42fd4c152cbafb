// Lines become words, words become selections. The behaviour, with all that it passes over, is the
// file format: other programs' files depend on it.

#include "wyerrlog/internal/WyTraceConfigParser.h"

#include <array>

namespace {

constexpr std::string_view Separators = ":, \t\n";
constexpr std::string_view Blanks = " \t";

// What a file of version 1.0 selects besides: it was written before these had names of their own.
struct Expansion {
  const char* pszSelected;
  std::array<const char*, 2> apszAdded;
};
constexpr std::array<Expansion, 2> Expansions = {{
    {"Login_Logout/Authentication", {"Login_Logout/Send_Response", "Login_Logout/Receive_Request"}},
    {"IsAuthorized", {"IsAuthorized/Send_Response", "IsAuthorized/Receive_Request"}},
}};

// The rest of `text` behind the skipped characters, always a view into it.
std::string_view SkipLeading(std::string_view text, std::string_view skipped) {
  const size_t uStart = text.find_first_not_of(skipped);
  return text.substr(uStart == std::string_view::npos ? text.size() : uStart);
}

WyTraceDecision Decision(WyTraceDecision::Kind kind, std::string_view word) {
  WyTraceDecision decision;
  decision.kind = kind;
  decision.word = word;
  return decision;
}

}  // namespace

// Splits a line at the separators; several in a row count as one.
class CWyLineTokens {
 public:
  explicit CWyLineTokens(std::string_view line) : m_rest(line) {}

  // The next token, empty when there is none.
  std::string_view Next() {
    const std::string_view text = SkipLeading(m_rest, Separators);
    const std::string_view token = text.substr(0, text.find_first_of(Separators));
    m_rest = text.substr(token.size());
    return token;
  }

  // What stands behind the last token and the one separator that ended it.
  std::string_view TextBehind() const { return m_rest.substr(m_rest.empty() ? 0 : 1); }

 private:
  std::string_view m_rest;
};

void CWyTraceConfigParser::Report(WyTraceDecision decision) const {
  decision.uLine = m_uLine;
  decision.uPieceColumn = m_uPieceColumn;
  decision.piece = m_piece;
  m_pObserver->Decided(decision);
}

// ---- Reading ------------------------------------------------------------------------------------

bool CWyTraceConfigParser::Read(CWyFile& file) {
  if (m_pObserver != nullptr) {
    m_pObserver->Begin(m_target.Components(), m_target.Fields());
  }
  char szPiece[PieceSize + 1];
  int iLength = 0;
  while ((iLength = file.ReadLine(szPiece, PieceSize)) > 0) {
    if (!ParsePiece({szPiece, static_cast<size_t>(iLength)})) return false;
  }
  Finish();
  if (m_pObserver != nullptr) {
    m_uLine = 0;
    WyTraceDecision decision = Decision(WyTraceDecision::End, {});
    decision.bTaken = iLength == 0;
    Report(decision);
  }
  return true;
}

// A zero byte ends what is read of a piece.
bool CWyTraceConfigParser::ParsePiece(std::string_view piece) {
  m_uPieceColumn = m_bLineGoesOn ? m_uPieceColumn + PieceSize : 1;
  if (!m_bLineGoesOn) ++m_uLine;
  const bool bRest = m_bLineGoesOn;
  m_bLineGoesOn = piece.back() != '\n';
  m_piece = piece;

  const size_t uZero = piece.find('\0');
  if (m_pObserver != nullptr) {
    if (bRest) Report(Decision(WyTraceDecision::LongLine, piece));
    if (uZero != std::string_view::npos) {
      Report(Decision(WyTraceDecision::ZeroByte, piece.substr(uZero)));
    }
  }
  return ParseLine(piece.substr(0, uZero));
}

bool CWyTraceConfigParser::ParseLine(std::string_view line) {
  CWyLineTokens tokens(line);
  const std::string_view first = tokens.Next();
  if (first.empty() || first.front() == '#') return true;
  if (first == "version") {
    ParseVersion(first, tokens);
    return true;
  }
  return ParseStatement(first, tokens);
}

void CWyTraceConfigParser::ParseVersion(std::string_view keyword, CWyLineTokens& tokens) {
  const std::string_view value = tokens.Next();
  const bool bTaken = value.find("1.1") != std::string_view::npos;
  if (bTaken) m_bExpand = false;
  if (m_pObserver == nullptr) return;
  WyTraceDecision decision = Decision(WyTraceDecision::Version, value.empty() ? keyword : value);
  decision.text = value;
  decision.bTaken = bTaken;
  Report(decision);
}

// ---- Statements ---------------------------------------------------------------------------------

bool CWyTraceConfigParser::ParseStatement(std::string_view keyword, CWyLineTokens& tokens) {
  if (m_expected == WyTraceStatement::Filters) {
    AddFilter(keyword, tokens.TextBehind());
    return true;
  }
  const bool bComponents = m_expected == WyTraceStatement::Components;
  const bool bExpected = keyword == (bComponents ? "components" : "data");
  if (m_pObserver != nullptr) {
    WyTraceDecision decision =
        Decision(bExpected ? WyTraceDecision::Statement : WyTraceDecision::Refused, keyword);
    decision.expected = m_expected;
    decision.text = tokens.TextBehind();
    Report(decision);
  }
  if (!bExpected) return false;
  if (bComponents) {
    SelectComponents(tokens);
    m_expected = WyTraceStatement::Data;
  } else {
    SelectFields(tokens);
    m_expected = WyTraceStatement::Filters;
  }
  return true;
}

void CWyTraceConfigParser::SelectComponents(CWyLineTokens& tokens) {
  for (auto name = tokens.Next(); !name.empty(); name = tokens.Next()) {
    const WyTraceComponentInfo* pComponent = m_target.FindComponent(name);
    if (pComponent != nullptr) m_target.SelectComponent(*pComponent);
    if (m_pObserver == nullptr) continue;
    WyTraceDecision decision = Decision(WyTraceDecision::Component, name);
    decision.pComponent = pComponent;
    Report(decision);
  }
}

void CWyTraceConfigParser::SelectFields(CWyLineTokens& tokens) {
  for (auto name = tokens.Next(); !name.empty(); name = tokens.Next()) {
    const WyTraceDataFieldInfo* pField = m_target.FindField(name);
    const bool bTaken = pField != nullptr && m_target.SelectField(*pField);
    if (m_pObserver == nullptr) continue;
    WyTraceDecision decision = Decision(WyTraceDecision::Field, name);
    decision.pField = pField;
    decision.bTaken = bTaken;
    Report(decision);
  }
}

void CWyTraceConfigParser::AddFilter(std::string_view name, std::string_view text) {
  const WyTraceDataFieldInfo* pField = m_target.FindField(name);
  text = SkipLeading(text.substr(0, text.find('\n')), Blanks);
  const auto op = pField != nullptr ? WyTraceFilter::AtStartOf(text) : WyTraceFilter::None;
  if (op != WyTraceFilter::None) {
    text.remove_prefix(2);
    m_target.SetFilter(*pField, op, text);
  }
  if (m_pObserver == nullptr) return;
  WyTraceDecision decision = Decision(WyTraceDecision::Filter, name);
  decision.pField = pField;
  decision.uOperator = op;
  decision.text = text;
  Report(decision);
}

void CWyTraceConfigParser::Finish() {
  if (!m_bExpand) return;
  for (const Expansion& expansion : Expansions) {
    const WyTraceComponentInfo* pSelected = m_target.FindComponent(expansion.pszSelected);
    if (pSelected == nullptr || !pSelected->bTraced) continue;
    for (const char* pszAdded : expansion.apszAdded) {
      const WyTraceComponentInfo* pAdded = m_target.FindComponent(pszAdded);
      if (pAdded == nullptr) continue;
      m_target.SelectComponent(*pAdded);
      if (m_pObserver == nullptr) continue;
      WyTraceDecision decision = Decision(WyTraceDecision::Added, {});
      decision.pComponent = pAdded;
      decision.pBy = pSelected;
      Report(decision);
    }
  }
}
