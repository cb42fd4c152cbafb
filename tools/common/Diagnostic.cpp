// The two forms of findings, text and JSON. The mark below a line is placed by display width, and
// repeats the tabs of the line, so that it stands right on every terminal.
#include "tools/common/Diagnostic.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "tools/common/Utf8.h"

namespace {

using Json = nlohmann::ordered_json;

struct Palette {
  std::string_view error, warning, note, help, place, off;
};
constexpr Palette Plain{"", "", "", "", "", ""};
constexpr Palette Colored{"\x1b[1;31m", "\x1b[1;35m", "\x1b[1;36m",
                          "\x1b[1;32m", "\x1b[1m",    "\x1b[0m"};

std::string_view Word(WyLevel level) { return level == WyLevel::Error ? "error" : "warning"; }

void PrintPlace(std::ostream& out, const WyLocation& where, const Palette& palette) {
  out << palette.place << Printable(where.strFile) << ':';
  if (where.uLine > 0) out << where.uLine << ':' << where.uColumn << ':';
  out << palette.off << ' ';
}

// The bytes of the first `uCount` characters of a line.
std::string_view FirstCharacters(std::string_view line, std::size_t uCount) {
  std::size_t uBytes = 0;
  for (; uCount > 0 && uBytes < line.size(); --uCount) {
    uBytes += std::max<std::size_t>(1, Utf8CharacterLength(line.substr(uBytes)));
  }
  return line.substr(0, std::min(uBytes, line.size()));
}

// Blanks as wide as the text; tabs stay tabs. A tab is as wide as the terminal makes it, which only
// the terminal knows.
std::string BlanksFor(std::string_view text) {
  std::string strBlanks;
  for (std::size_t uTab; (uTab = text.find('\t')) != std::string_view::npos;) {
    strBlanks.append(DisplayWidth(Printable(text.substr(0, uTab))), ' ').push_back('\t');
    text.remove_prefix(uTab + 1);
  }
  return strBlanks.append(DisplayWidth(Printable(text)), ' ');
}

// Room for line numbers of five digits; longer ones move their own line and its mark alone.
constexpr std::size_t GutterWidth = 5;

void PrintLineWithMark(std::ostream& out, const WyLocation& where, std::string_view color,
                       const Palette& palette) {
  if (where.uLine == 0) return;
  const std::string strNumber = std::to_string(where.uLine);
  const std::size_t uPad = GutterWidth - std::min(GutterWidth, strNumber.size());
  const std::string_view before = FirstCharacters(where.strLine, where.uColumn - 1);
  const std::string_view rest = std::string_view(where.strLine).substr(before.size());
  const std::size_t uWidth = DisplayWidth(Printable(FirstCharacters(rest, where.uLength)));
  out << std::string(uPad, ' ') << strNumber << " | " << Printable(where.strLine) << '\n'
      << std::string(std::max(GutterWidth, strNumber.size()), ' ') << " | " << BlanksFor(before)
      << color << std::string(std::max<std::size_t>(1, uWidth), '^') << palette.off << '\n';
}

void PrintNote(std::ostream& out, const WyNote& note, const Palette& palette) {
  PrintPlace(out, note.where, palette);
  out << palette.note << "note" << palette.off << ": " << Printable(note.strText) << '\n';
  PrintLineWithMark(out, note.where, palette.note, palette);
}

Json ToJson(const WyLocation& where) {
  Json json{{"file", ValidUtf8(where.strFile)}};
  if (where.uLine == 0) return json;
  json["line"] = where.uLine;
  json["column"] = where.uColumn;
  json["length"] = where.uLength;
  return json;
}

Json ToJson(const WyDiagnostic& diagnostic) {
  Json json{{"level", Word(diagnostic.level)}, {"code", diagnostic.strCode}};
  json.update(ToJson(diagnostic.where));
  json["message"] = ValidUtf8(diagnostic.strMessage);
  json["help"] = Json::array();
  for (const std::string& strHelp : diagnostic.help) json["help"].push_back(ValidUtf8(strHelp));
  json["notes"] = Json::array();
  for (const WyNote& note : diagnostic.notes) {
    Json entry = ToJson(note.where);
    entry["text"] = ValidUtf8(note.strText);
    json["notes"].push_back(std::move(entry));
  }
  return json;
}

}  // namespace

std::string DidYouMean(std::string_view name) {
  return name.empty() ? std::string() : "did you mean `" + std::string(name) + "`?";
}

WyDiagnostic& WyDiagnostic::Help(std::string strText) {
  if (!strText.empty()) help.push_back(std::move(strText));
  return *this;
}

WyDiagnostic& WyDiagnostic::Note(WyLocation place, std::string strText) {
  notes.push_back({std::move(place), std::move(strText)});
  return *this;
}

WyDiagnostic& CWyDiagnostics::Error(std::string_view code, WyLocation where,
                                    std::string strMessage) {
  m_all.push_back(
      {WyLevel::Error, std::string(code), std::move(where), std::move(strMessage), {}, {}});
  return m_all.back();
}

WyDiagnostic& CWyDiagnostics::Warning(std::string_view code, WyLocation where,
                                      std::string strMessage) {
  WyDiagnostic& diagnostic = Error(code, std::move(where), std::move(strMessage));
  diagnostic.level = WyLevel::Warning;
  return diagnostic;
}

// Allowed codes go first: `--werror` does not bring a warning back that was allowed.
std::vector<WyDiagnostic> CWyDiagnostics::Findings() const {
  std::vector<WyDiagnostic> findings;
  for (const WyDiagnostic& diagnostic : m_all) {
    const bool bWarning = diagnostic.level == WyLevel::Warning;
    if (bWarning && m_policy.allowed.contains(diagnostic.strCode)) continue;
    findings.push_back(diagnostic);
    if (m_policy.bWarningsAreErrors) findings.back().level = WyLevel::Error;
  }
  return findings;
}

bool CWyDiagnostics::HasErrors() const {
  return std::any_of(m_all.begin(), m_all.end(), [this](const WyDiagnostic& diagnostic) {
    return diagnostic.level == WyLevel::Error ||
           (m_policy.bWarningsAreErrors && !m_policy.allowed.contains(diagnostic.strCode));
  });
}

// All texts pass Printable: names and lines come from files that another person may have written,
// and no byte of them controls the terminal.
void PrintText(std::ostream& out, const WyDiagnostic& diagnostic, WyColor color) {
  const Palette& palette = color == WyColor::Always ? Colored : Plain;
  const std::string_view levelColor =
      diagnostic.level == WyLevel::Error ? palette.error : palette.warning;
  PrintPlace(out, diagnostic.where, palette);
  out << levelColor << Word(diagnostic.level) << '[' << diagnostic.strCode << ']' << palette.off
      << ": " << Printable(diagnostic.strMessage) << '\n';
  PrintLineWithMark(out, diagnostic.where, levelColor, palette);
  for (const std::string& strHelp : diagnostic.help) {
    out << std::string(GutterWidth, ' ') << " = " << palette.help << "help" << palette.off << ": "
        << Printable(strHelp) << '\n';
  }
  for (const WyNote& note : diagnostic.notes) PrintNote(out, note, palette);
}

void PrintJson(std::ostream& out, const std::vector<WyDiagnostic>& diagnostics) {
  Json json = Json::array();
  for (const WyDiagnostic& diagnostic : diagnostics) json.push_back(ToJson(diagnostic));
  out << json.dump(2) << '\n';
}
