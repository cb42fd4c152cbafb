#ifndef WYXLATE_PATTERNREADER_H
#define WYXLATE_PATTERNREADER_H

// The grammar of message patterns, in one place: the formatter and the message compiler read
// patterns with it. WyXlate.h has the rules.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>

// "{0}" to "{12}", as the contract has it (WyXlate.h).
inline constexpr unsigned long MaxPatternArguments = 13;

// Reads a pattern, and calls for its parts, in order:
//
//   void Text(const char* p, const char* pEnd)       text that stands for itself
//   void Placeholder(unsigned long uIndex, const char* p, const char* pEnd)
//                                                    "{n}"; an index above 12 is given as 13
//   void Braces(const char* p, const char* pEnd)     braces that are no placeholder; they are text
//   void Quotes(const char* p, const char* pEnd)     after the text within it: a run from a single
//                                                    quote to the next, or to the pattern's end
//   bool IsFull()                                    true ends the reading
template <typename Sink>
class CWyPatternReader {
 public:
  explicit CWyPatternReader(Sink& sink) : m_sink(sink) {}

  // `pQuote` is the next quote from `p` on, and is searched again only after `p` has passed it, so
  // that each byte is searched for a quote once.
  void Read(const char* p) {
    const char* pQuote = EndOfRun(p);
    while (!m_sink.IsFull()) {
      const char* const pBrace = FindBrace(p, pQuote);
      m_sink.Text(p, pBrace);
      if (pBrace != pQuote) {
        p = ReadBraces(pBrace);
        if (p <= pQuote) continue;  // quotes in braces are copied with them
      } else if (*pQuote != '\0') {
        p = ReadQuote(pQuote);
      } else {
        return;
      }
      pQuote = EndOfRun(p);
    }
  }

 private:
  struct FoundPlaceholder {
    unsigned long uIndex;
    const char* pEnd;  // behind the closing brace
  };

  // The next single quote, or the end of the pattern.
  static const char* EndOfRun(const char* p) { return ::strchrnul(p, '\''); }

  // The next opening brace, or `pEnd`.
  static const char* FindBrace(const char* p, const char* pEnd) {
    const void* const pBrace = std::memchr(p, '{', static_cast<std::size_t>(pEnd - p));
    return pBrace != nullptr ? static_cast<const char*>(pBrace) : pEnd;
  }

  // The placeholder at `pBrace`, an opening brace: decimal digits and a closing brace follow. A
  // larger index counts as MaxPatternArguments, which no call has: digits without end cannot
  // overflow it.
  static std::optional<FoundPlaceholder> ParsePlaceholder(const char* pBrace) {
    const char* p = pBrace + 1;
    unsigned long uIndex = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
      uIndex = std::min(uIndex * 10 + static_cast<unsigned long>(*p - '0'), MaxPatternArguments);
    }
    if (*p != '}' || p == pBrace + 1) return std::nullopt;
    return FoundPlaceholder{uIndex, p + 1};
  }

  // The end of what stands at `pBrace` and is no placeholder: behind the closing brace, or behind
  // the opening brace alone if another one comes first or none closes it. The other one may begin a
  // placeholder.
  static const char* EndOfBraces(const char* pBrace) {
    const char* pNext = pBrace + 1 + std::strcspn(pBrace + 1, "{}");
    return *pNext == '}' ? pNext + 1 : pBrace + 1;
  }

  // Reads what the single quote at `pQuote` begins: one quote for two of them, otherwise the run up
  // to the next single one, or to the end. Returns where the pattern goes on.
  const char* ReadQuote(const char* pQuote) {
    if (pQuote[1] == '\'') {
      m_sink.Text(pQuote, pQuote + 1);
      return pQuote + 2;
    }
    const char* const pEnd = ReadQuotedRun(pQuote + 1);
    m_sink.Quotes(pQuote, pEnd);
    return pEnd;
  }

  const char* ReadQuotedRun(const char* p) {
    for (;;) {
      const char* const pNext = EndOfRun(p);
      m_sink.Text(p, pNext);
      if (*pNext == '\0') return pNext;
      if (pNext[1] != '\'') return pNext + 1;
      m_sink.Text(pNext, pNext + 1);
      p = pNext + 2;
    }
  }

  // Reads what the opening brace at `pBrace` stands for; returns where the pattern goes on.
  const char* ReadBraces(const char* pBrace) {
    if (const auto placeholder = ParsePlaceholder(pBrace)) {
      m_sink.Placeholder(placeholder->uIndex, pBrace, placeholder->pEnd);
      return placeholder->pEnd;
    }
    const char* const pEnd = EndOfBraces(pBrace);
    m_sink.Braces(pBrace, pEnd);
    return pEnd;
  }

  Sink& m_sink;
};

#endif
