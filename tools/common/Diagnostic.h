#ifndef WYERRLOG_TOOLS_COMMON_DIAGNOSTIC_H
#define WYERRLOG_TOOLS_COMMON_DIAGNOSTIC_H

// Findings of the programs, in the form that compilers have:
//
//   store_de.properties:4:40: error[M204]: placeholder {2} is not an argument of message 2, Refused
//      4 | sessionstore-00002 = Keine Sitzung für {2}: es gibt schon {1}.
//        |                                        ^^^
//        = help: did you mean {0}, the user?
//
// A program adds its findings to one CWyDiagnostics and prints them at its end.

#include <cstddef>
#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/common/SourceText.h"

enum class WyLevel { Error, Warning };

// A second place that belongs to a finding, such as the first definition of a name.
struct WyNote {
  WyLocation where;
  std::string strText;
};

struct WyDiagnostic {
  WyLevel level;
  std::string strCode;  // "M204"; an entry in the documentation
  WyLocation where;
  std::string strMessage;         // one sentence without a full stop
  std::vector<std::string> help;  // remedies, in order
  std::vector<WyNote> notes;

  // Add a remedy, and a place; an empty remedy is left out.
  WyDiagnostic& Help(std::string strText);
  WyDiagnostic& Note(WyLocation place, std::string strText);
};

// "did you mean `name`?", or "" for an empty name.
std::string DidYouMean(std::string_view name);

// What becomes of warnings.
struct WyPolicy {
  bool bWarningsAreErrors = false;
  std::set<std::string, std::less<>> allowed;  // codes of warnings that are not reported
};

class CWyDiagnostics {
 public:
  explicit CWyDiagnostics(WyPolicy policy = {}) : m_policy(std::move(policy)) {}

  // The returned reference, for Help and Note, is valid until the next call.
  WyDiagnostic& Error(std::string_view code, WyLocation where, std::string strMessage);
  WyDiagnostic& Warning(std::string_view code, WyLocation where, std::string strMessage);

  // In the order in which they were added, without allowed warnings; warnings are errors if the
  // policy says so.
  std::vector<WyDiagnostic> Findings() const;
  bool HasErrors() const;

 private:
  WyPolicy m_policy;
  std::vector<WyDiagnostic> m_all;
};

enum class WyColor { Never, Always };

// Writes one finding as above; colours are those of compilers.
void PrintText(std::ostream& out, const WyDiagnostic& diagnostic, WyColor color = WyColor::Never);

// Writes findings as one JSON array, an object for each:
// {"level","code","file","line","column","length","message","help":[],"notes":[{...}]}; line,
// column and length are absent for a file as a whole.
void PrintJson(std::ostream& out, const std::vector<WyDiagnostic>& diagnostics);

#endif
