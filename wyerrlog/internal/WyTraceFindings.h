#ifndef WYERRLOG_INTERNAL_WYTRACEFINDINGS_H
#define WYERRLOG_INTERNAL_WYTRACEFINDINGS_H

// Turns the decisions of the parser of trace configurations into findings for people. It parses
// nothing itself: what it knows of a file is what the parser reports.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "wyerrlog/WyTraceCheck.h"
#include "wyerrlog/internal/WyTraceConfigParser.h"
#include "wyerrlog/internal/WyTraceNames.h"

// One object checks one file, in one thread. The texts and the words of the findings are copies:
// they outlive the parser and its buffers, which a decision's views do not.
class CWyTraceFindings : public CWyTraceConfigObserver {
 public:
  // Appends to `findings`.
  explicit CWyTraceFindings(std::vector<WyTraceFinding>& findings)
      : m_findings(findings), m_uFirst(findings.size()) {}

  // The two tables belong to the configuration that the parser fills, and must live until Finish:
  // which components are selected is read from them after each decision.
  void Begin(std::span<const WyTraceComponentInfo> components,
             std::span<const WyTraceDataFieldInfo> fields) override;
  void Decided(const WyTraceDecision& decision) override;

  // After the reading: `pszReason` is why it could not begin, if it could not. Sorts the findings.
  // Returns true if none of them is an error.
  bool Finish(const char* pszReason);

  bool HasBegun() const { return m_bBegun; }

 private:
  using Level = WyTraceLevel;

  WyTraceFinding& Add(Level level, const char* pszCode, const WyTraceDecision& decision,
                      std::string_view word, std::string strText, std::string strHelp = "");
  // A word that ends with one is never the name that it seems to be, since the parser splits at
  // ":", ",", blanks, tabs and newlines alone.
  bool AddCarriageReturn(Level level, const WyTraceDecision& decision,
                         const std::string& strEffect);
  bool IsBehindHash(const WyTraceDecision& decision, bool bKnown);

  void OnVersion(const WyTraceDecision& decision);
  void OnRefused(const WyTraceDecision& decision);
  void OnComponent(const WyTraceDecision& decision);
  void OnField(const WyTraceDecision& decision);
  void OnNoFilter(const WyTraceDecision& decision);
  void OnFilter(const WyTraceDecision& decision);
  void CheckFilterText(const WyTraceDecision& decision, const std::string& strField);
  void CheckFilterField(const WyTraceDecision& decision, const std::string& strField);
  void OnAdded(const WyTraceDecision& decision);
  void OnRest(const WyTraceDecision& decision);
  void OnEnd(const WyTraceDecision& decision);

  void AddSelected(const WyTraceDecision& decision, const char* pszCode, std::string_view word,
                   const std::string& strText);
  bool SetsField(unsigned int uId) const;

  std::vector<WyTraceFinding>& m_findings;
  const size_t m_uFirst;
  bool m_bBegun = false;

  std::span<const WyTraceComponentInfo> m_components;
  std::span<const WyTraceDataFieldInfo> m_fields;
  CWyTraceNames m_names;
  std::vector<bool> m_selected;  // the components, as far as they are reported
  // The line of each field's filter; 0: none.
  std::array<unsigned int, CWyTraceData::FieldCount> m_auFilterLine{};
  // 2 when the components line and the data line have been accepted.
  unsigned int m_uStatements = 0;
  // Fields that the data line has put into records, without those named twice.
  unsigned int m_uColumns = 0;
  // A word of this line began with "#": what follows was meant as a comment, but is read.
  bool m_bBehindHash = false;
  // The remedy for line ends was given: it is the same for the whole file.
  bool m_bCarriageReturn = false;
};

// What both of its sources need.
namespace WyFindingText {

inline std::string Quoted(std::string_view text) { return "`" + std::string(text) + "`"; }

inline std::string_view WithoutReturn(std::string_view text) {
  return text.substr(0, text.find_last_not_of('\r') + 1);
}

// Where an operator, or a single "=" in its place, begins in a word; npos if there is none.
inline size_t FindOperator(std::string_view word) {
  size_t uFound = word.find('=');
  for (const WyTraceFilter::Sign& sign : WyTraceFilter::Signs) {
    uFound = std::min(uFound, word.find(sign.text));
  }
  return uFound;
}

}  // namespace WyFindingText

#endif
