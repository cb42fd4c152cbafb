// Both kinds of text are read once, from left to right, against the list of arguments.
#include "tools/wymsgc/TextPattern.h"

#include <algorithm>
#include <string>
#include <vector>

#include "tools/common/EditDistance.h"

namespace {

std::string Quoted(std::string_view word) { return '`' + std::string(word) + '`'; }

std::string Braced(std::string_view name) { return '{' + std::string(name) + '}'; }

class CWyTextReader {
 public:
  CWyTextReader(const CWySourceText& source, WyMessageEntry& message, CWyDiagnostics& diagnostics)
      : m_source(source),
        m_message(message),
        m_diagnostics(diagnostics),
        m_used(message.arguments.size(), false) {}

  void ReadTranslated() {
    ReadBraces(m_message.text);
    for (std::size_t u = 0; u < m_used.size(); ++u) ReportUnused(u);
  }

  void ReadPrintf();

  // Advice names arguments in the same way.
  void CheckAdvice() {
    std::vector<WyTextPart> parts;
    std::swap(m_message.parts, parts);
    ReadBraces(m_message.advice);
    std::swap(m_message.parts, parts);
  }

 private:
  void ReadBraces(std::string_view rest) {
    while (!rest.empty()) {
      const std::size_t uRun = std::min(rest.find_first_of("{}"), rest.size());
      AddLiteral(rest.substr(0, uRun));
      rest.remove_prefix(uRun);
      if (!rest.empty()) rest.remove_prefix(ReadBrace(rest));
    }
  }

  WyDiagnostic& Error(std::string_view code, std::string_view part, std::string strMessage) {
    return m_diagnostics.Error(code, m_source.At(part), std::move(strMessage));
  }

  void AddLiteral(std::string_view text) {
    if (text.empty()) return;
    auto& parts = m_message.parts;
    if (parts.empty() || parts.back().uArgument) parts.push_back({});
    parts.back().strLiteral += text;
  }

  std::size_t ReadBrace(std::string_view rest);
  void AddArgument(std::string_view placeholder);
  void ReportUnknown(std::string_view placeholder, std::string_view name);
  void ReportUnused(std::size_t uArgument);
  std::string_view TakeConversion(std::string_view& rest);
  void CheckConversion(std::string_view conversion, std::size_t uArgument);

  const CWySourceText& m_source;
  WyMessageEntry& m_message;
  CWyDiagnostics& m_diagnostics;
  std::vector<bool> m_used;
};

// Reads the brace at the front of `rest`; returns how many bytes belong to it.
std::size_t CWyTextReader::ReadBrace(std::string_view rest) {
  if (rest.size() > 1 && rest[1] == rest[0]) {
    AddLiteral(rest.substr(0, 1));
    return 2;
  }
  const std::size_t uEnd = rest.find_first_of("{}", 1);
  if (rest[0] == '{' && uEnd != std::string_view::npos && rest[uEnd] == '}') {
    AddArgument(rest.substr(0, uEnd + 1));
    return uEnd + 1;
  }
  const bool bOpening = rest[0] == '{';
  Error("M148", rest.substr(0, 1), bOpening ? "`{` without `}`" : "`}` without `{`")
      .Help(std::string("a brace that is text is written twice: `") + (bOpening ? "{{" : "}}") +
            '`');
  return 1;
}

void CWyTextReader::AddArgument(std::string_view placeholder) {
  const std::string_view name = placeholder.substr(1, placeholder.size() - 2);
  const auto& arguments = m_message.arguments;
  const auto found = std::find_if(arguments.begin(), arguments.end(),
                                  [name](const WyArgumentEntry& a) { return a.name == name; });
  if (found == arguments.end()) return ReportUnknown(placeholder, name);
  const auto uIndex = static_cast<std::size_t>(found - arguments.begin());
  m_used[uIndex] = true;
  m_message.parts.push_back({{}, uIndex});
}

void CWyTextReader::ReportUnknown(std::string_view placeholder, std::string_view name) {
  std::vector<std::string_view> names;
  for (const WyArgumentEntry& argument : m_message.arguments) names.push_back(argument.name);
  const std::string_view nearest = NearestName(name, names);
  std::string strKnown;
  for (const std::string_view known : names) {
    strKnown += (strKnown.empty() ? "" : ", ") + Quoted(Braced(known));
  }
  WyDiagnostic& error =
      Error("M146", placeholder,
            Quoted(placeholder) + " is not an argument of " + std::string(m_message.name));
  if (!nearest.empty()) {
    // Its only fault is its name.
    const auto meant = std::find(names.begin(), names.end(), nearest);
    m_used[static_cast<std::size_t>(meant - names.begin())] = true;
    error.Help(DidYouMean(Braced(nearest)));
  } else {
    error.Help(strKnown.empty() ? "the message has no arguments; add `args`"
                                : "its arguments are " + strKnown);
  }
}

void CWyTextReader::ReportUnused(std::size_t uArgument) {
  if (m_used[uArgument]) return;
  const std::string_view name = m_message.arguments[uArgument].name;
  m_diagnostics
      .Warning("M305", m_source.At(name),
               "argument " + Quoted(name) + " is not in the text of " + std::string(m_message.name))
      .Help("add " + Quoted(Braced(name)) + " to the text, or remove the argument");
}

// Takes the text up to the next conversion, and it, from the front of `rest`; "%%" is none. Empty
// at the end.
std::string_view CWyTextReader::TakeConversion(std::string_view& rest) {
  for (std::size_t uAt = 0; (uAt = rest.find('%', uAt)) != std::string_view::npos; uAt += 2) {
    if (rest.substr(uAt, 2) == "%%") continue;
    const std::size_t uLast = rest.find_first_not_of("%-+ #0123456789.*hlLqjzt", uAt + 1);
    const std::size_t uEnd = uLast == std::string_view::npos ? rest.size() : uLast + 1;
    const std::string_view conversion = rest.substr(uAt, uEnd - uAt);
    rest.remove_prefix(uEnd);
    return conversion;
  }
  rest = {};
  return rest;
}

void CWyTextReader::ReadPrintf() {
  std::string_view rest = m_message.text;
  std::size_t uCount = 0;
  for (std::string_view conversion; !(conversion = TakeConversion(rest)).empty(); ++uCount) {
    if (uCount >= m_message.arguments.size()) {
      Error("M150", conversion, Quoted(conversion) + " has no argument")
          .Help("add it to `args`, or write `%%` for a percent sign");
      return;
    }
    CheckConversion(conversion, uCount);
  }
  for (; uCount < m_message.arguments.size(); ++uCount) ReportUnused(uCount);
}

// The conversions that take an argument as WyLogPrintf passes it, by type; without flags and width.
std::string_view ConversionsOf(WyArgumentType type) {
  switch (type) {
    case WyArgumentType::String:
      return "s";
    case WyArgumentType::Int:
    case WyArgumentType::Bool:
      return "d i";
    case WyArgumentType::UInt:
      return "u x X o";
    case WyArgumentType::Long:
      return "ld li";
    case WyArgumentType::ULong:
      return "lu lx lX lo zu zx";
    case WyArgumentType::Double:
      return "f F e E g G a A";
    case WyArgumentType::Char:
      return "c";
  }
  return "";
}

bool HasWord(std::string_view words, std::string_view word) {
  for (std::size_t uAt = 0; (uAt = words.find(word, uAt)) != std::string_view::npos; ++uAt) {
    const std::size_t uEnd = uAt + word.size();
    if ((uAt == 0 || words[uAt - 1] == ' ') && (uEnd == words.size() || words[uEnd] == ' ')) {
      return true;
    }
  }
  return false;
}

void CWyTextReader::CheckConversion(std::string_view conversion, std::size_t uArgument) {
  const WyArgumentEntry& argument = m_message.arguments[uArgument];
  const std::size_t uFlags = conversion.find_first_not_of("%-+ #0123456789.");
  const std::string_view bare = conversion.substr(std::min(uFlags, conversion.size()));
  const std::string_view fitting = ConversionsOf(argument.type);
  if (!bare.empty() && HasWord(fitting, bare)) return;
  const std::string strFirst(fitting.substr(0, fitting.find(' ')));
  Error("M150", conversion,
        Quoted(conversion) + " does not fit argument " + Quoted(argument.name) + ", of type " +
            std::string(TypeWord(argument.type)))
      .Help("write `%" + strFirst + "`, or another type in `args`");
}

}  // namespace

void ReadTexts(const CWySourceText& source, WyDefinition& definition, CWyDiagnostics& diagnostics) {
  for (WyMessageEntry& message : definition.messages) {
    if (!message.bHasText) continue;
    CWyTextReader reader(source, message, diagnostics);
    message.bPrintf ? reader.ReadPrintf() : reader.ReadTranslated();
    reader.CheckAdvice();
  }
}
