// Places in a value are kept as offsets of the unescaped text; the offsets that the reader of
// bundle files notes lead from there to the byte in the file, over escapes and continuation lines.
#include "tools/wymsgc/CatalogEntry.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "platform/wyxlate/PatternReader.h"
#include "platform/wyxlate/WyXlate.h"

namespace {

std::string Quoted(std::string_view word) { return '`' + std::string(word) + '`'; }

// "{1}, the limit"
std::string Named(const WyBundleMessage& message, std::size_t uArgument) {
  return "`{" + std::to_string(uArgument) + "}`, the " + message.arguments[uArgument];
}

// A part of a text, by offsets.
struct Span {
  std::size_t uBegin, uEnd;
};

// What the pattern reader finds, as offsets. The sink of the library's own pattern reader: what is
// a placeholder here is one when the message is logged.
class CWyPatternParts {
 public:
  explicit CWyPatternParts(const char* pBegin) : m_pBegin(pBegin) {}

  static bool IsFull() { return false; }
  void Text(const char* p, const char* pEnd) {
    for (const char* pBrace = p; (pBrace = std::find(pBrace, pEnd, '}')) != pEnd; ++pBrace) {
      loose.push_back(At(pBrace, pBrace + 1));
    }
  }
  void Placeholder(unsigned long uIndex, const char* p, const char* pEnd) {
    placeholders.emplace_back(uIndex, At(p, pEnd));
  }
  void Braces(const char* p, const char* pEnd) { loose.push_back(At(p, pEnd)); }
  // Braces within quotes are meant as text.
  void Quotes(const char* p, const char* pEnd) {
    const Span run = At(p, pEnd);
    std::erase_if(loose, [run](const Span& brace) { return brace.uBegin >= run.uBegin; });
    quotes.push_back(run);
  }

  std::vector<std::pair<std::size_t, Span>> placeholders;
  std::vector<Span> loose;  // braces that the library copies
  std::vector<Span> quotes;

 private:
  Span At(const char* p, const char* pEnd) const {
    return {static_cast<std::size_t>(p - m_pBegin), static_cast<std::size_t>(pEnd - m_pBegin)};
  }

  const char* m_pBegin;
};

// Whether a quoted run is meant as one: it begins and ends with what needs quotes. "'{'" and "'{}'"
// are meant; "it's {0} o'clock" is not, although both of its quotes are there.
bool IsMeant(std::string_view run) {
  if (run.size() < 3 || run.back() != '\'') return false;
  const std::string_view content = run.substr(1, run.size() - 2);
  constexpr std::string_view Quotable = "{}'";
  return content.find_first_of("{}") != std::string_view::npos &&
         Quotable.find(content.front()) != std::string_view::npos &&
         Quotable.find(content.back()) != std::string_view::npos;
}

class CWyEntryCheck {
 public:
  CWyEntryCheck(const CWySourceText& source, const PropertyEntry& entry, const std::string& strText,
                const WyBundleMessage& message, CWyDiagnostics& diagnostics)
      : m_source(source),
        m_entry(entry),
        m_strText(strText),
        m_message(message),
        m_diagnostics(diagnostics),
        m_used(message.arguments.size(), false) {
    UnescapeProperty(entry.line.substr(entry.nValue), &m_offsets);
  }

  void Check() {
    CWyPatternParts parts(m_strText.c_str());
    CWyPatternReader(parts).Read(m_strText.c_str());
    for (const Span& run : parts.quotes) CheckQuotes(run);
    for (const Span& braces : parts.loose) ReportBraces(braces);
    for (const auto& [uIndex, span] : parts.placeholders) {
      if (uIndex < m_used.size()) m_used[uIndex] = true;
    }
    for (const auto& [uIndex, span] : parts.placeholders) CheckPlaceholder(uIndex, span);
    // What a lone quote hides, or a wrong number stands for, is there.
    if (m_bLoneQuote || m_bMisnumbered) return;
    for (std::size_t u = 0; u < m_used.size(); ++u) ReportMissing(u);
  }

 private:
  // The place in the file of a part of the text.
  WyLocation At(const Span& span) const {
    const char* const pBegin = InFile(span.uBegin);
    const char* const pLast = span.uEnd > span.uBegin ? InFile(span.uEnd - 1) : pBegin;
    return m_source.At({pBegin, static_cast<std::size_t>(std::max(pLast, pBegin) - pBegin) + 1});
  }
  const char* InFile(std::size_t uOffset) const {
    const std::size_t uInValue =
        uOffset < m_offsets.size() ? m_offsets[uOffset] : m_entry.line.size() - m_entry.nValue;
    return m_entry.InText(m_entry.nValue + uInValue);
  }
  std::string_view TextOf(const Span& span) const {
    return std::string_view(m_strText).substr(span.uBegin, span.uEnd - span.uBegin);
  }
  std::string MessageName() const {
    return "message " + std::to_string(m_message.uNumber) + ", " + Quoted(m_message.strName);
  }

  void CheckQuotes(const Span& run);
  void ReportBraces(const Span& braces);
  // The argument that braces of another form are about, by its number or its name.
  std::size_t MeantArgument(std::string_view name) const {
    for (std::size_t u = 0; u < m_used.size(); ++u) {
      if (name == std::to_string(u) || name == m_message.arguments[u]) return u;
    }
    return m_used.size();
  }
  void CheckPlaceholder(std::size_t uIndex, const Span& span);
  void ReportMissing(std::size_t uArgument);
  // The only argument that the text lacks; the number of arguments when there is not exactly one.
  std::size_t OnlyUnused() const {
    if (std::count(m_used.begin(), m_used.end(), false) != 1) return m_used.size();
    return static_cast<std::size_t>(std::find(m_used.begin(), m_used.end(), false) -
                                    m_used.begin());
  }

  const CWySourceText& m_source;
  const PropertyEntry& m_entry;
  const std::string& m_strText;
  const WyBundleMessage& m_message;
  CWyDiagnostics& m_diagnostics;
  std::vector<bool> m_used;
  std::vector<std::size_t> m_offsets;
  bool m_bLoneQuote = false;
  bool m_bMisnumbered = false;
};

// One lone quote turns all that follows around, so only the first is reported.
void CWyEntryCheck::CheckQuotes(const Span& run) {
  if (IsMeant(TextOf(run)) || m_bLoneQuote) return;
  m_bLoneQuote = true;
  m_diagnostics.Error("M216", At({run.uBegin, run.uBegin + 1}), "lone apostrophe")
      .Help("write `''`; as it stands, this is logged: " + RenderedWithNames(m_strText, m_message));
}

void CWyEntryCheck::ReportBraces(const Span& braces) {
  const std::string_view text = TextOf(braces);
  WyDiagnostic& error = m_diagnostics.Error("M217", At(braces),
                                            Quoted(text) +
                                                " is no placeholder, and is logged as it "
                                                "stands");
  if (text.size() < 3) {
    error.Help("a brace that is text is written in quotes: `'" + std::string(text) + "'`");
    return;
  }
  const std::string_view name = text.substr(1, text.find_first_of(",}") - 1);
  const std::size_t uMeant = MeantArgument(name);
  if (uMeant < m_used.size()) {
    m_used[uMeant] = true;
    error.Help("write `{" + std::to_string(uMeant) + "}`; the library has no " +
               (text.find(',') != std::string_view::npos ? "formats" : "names"));
  } else {
    error.Help("arguments are written `{0}` to `{12}`; text in braces in quotes: `'" +
               std::string(text) + "'`");
  }
}

void CWyEntryCheck::CheckPlaceholder(std::size_t uIndex, const Span& span) {
  if (uIndex < m_used.size()) return;
  std::string strHelp;
  if (const std::size_t uMissing = OnlyUnused(); uMissing < m_used.size()) {
    // Exactly one argument is missing and one number is wrong: the same mistake, reported once.
    m_bMisnumbered = true;
    strHelp = "did you mean " + Named(m_message, uMissing) + '?';
  } else if (m_used.empty()) {
    strHelp = "the message has no arguments";
  } else {
    for (std::size_t u = 0; u < m_used.size(); ++u) {
      strHelp += (u == 0 ? "the arguments are " : "; ") + Named(m_message, u);
    }
  }
  m_diagnostics
      .Error("M214", At(span), Quoted(TextOf(span)) + " is not an argument of " + MessageName())
      .Help(strHelp);
}

void CWyEntryCheck::ReportMissing(std::size_t uArgument) {
  const std::string strPlaceholder = '{' + std::to_string(uArgument) + '}';
  // An argument that the English text does not show either may be left out.
  const bool bInSource = m_message.strPattern.find(strPlaceholder) != std::string::npos;
  if (m_used[uArgument] || !bInSource) return;
  m_diagnostics
      .Error("M215", At({0, m_strText.size()}),
             "the text lacks " + Named(m_message, uArgument) + " of " + MessageName())
      .Help("the English text is: " + m_message.strPattern);
}

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The digits of the "\u" at `uAt` that are there: 4 in a complete one.
std::size_t CountHexDigits(std::string_view line, std::size_t uAt) {
  const std::string_view digits = line.substr(uAt + 2, 4);
  return static_cast<std::size_t>(std::find_if_not(digits.begin(), digits.end(), IsHexDigit) -
                                  digits.begin());
}

}  // namespace

std::string RenderedWithNames(const std::string& strPattern, const WyBundleMessage& message) {
  std::vector<std::string> names;
  for (const std::string& strName : message.arguments) names.push_back('<' + strName + '>');
  std::array<const char*, MaxPatternArguments> arguments{};
  for (std::size_t u = 0; u < std::min<std::size_t>(names.size(), MaxPatternArguments); ++u) {
    arguments[u] = names[u].c_str();
  }
  std::string strText(MaxTextLength + 1, '\0');
  const int iLength = CWyXlate::FormatMessage(strText.data(), MaxTextLength, strPattern.c_str(),
                                              names.size(), arguments.data());
  strText.resize(static_cast<std::size_t>(iLength));
  return strText;
}

void CheckEscapes(const CWySourceText& source, const PropertyEntry& entry,
                  CWyDiagnostics& diagnostics) {
  const std::string_view line = entry.line;
  for (std::size_t u = 0; (u = line.find('\\', u)) != std::string_view::npos; u += 2) {
    if (line.substr(u, 2) != "\\u") continue;
    const std::size_t uDigits = CountHexDigits(line, u);
    if (uDigits == 4) continue;
    diagnostics
        .Error("M213", source.At({entry.InText(u), 2 + uDigits}),
               "unfinished " + Quoted(line.substr(u, 2 + uDigits)))
        .Help(
            "`\\u` is followed by four hexadecimal digits; files are UTF-8, the character itself "
            "can stand here");
  }
}

void CheckPattern(const CWySourceText& source, const PropertyEntry& entry,
                  const std::string& strText, const WyBundleMessage& message,
                  CWyDiagnostics& diagnostics) {
  CWyEntryCheck(source, entry, strText, message, diagnostics).Check();
}
