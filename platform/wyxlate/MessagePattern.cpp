// The substitution of arguments into a pattern, in one pass and without an allocation. Every
// message passes here, so the text between quotes and braces is found by strchrnul(3) and
// memchr(3), which read many bytes at once. Parsing patterns when a catalog is loaded saves 75
// instructions of a message's 2,000, but needs a thread-specific note of the last look-up, and is
// not done.

#include <wyxlate/WyXlate.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <optional>

namespace {

// "{0}" to "{12}", as the contract has it (WyXlate.h).
constexpr unsigned long MaxArguments = 13;

// Writes text into a buffer of fixed size. What does not fit is dropped, within a character if need
// be, as the contract says.
class CWyBoundedWriter {
 public:
  CWyBoundedWriter(char* pBuffer, std::size_t uSize)
      : m_pBegin(pBuffer), m_pNext(pBuffer), m_pEnd(pBuffer + uSize) {}

  bool IsFull() const { return m_pNext == m_pEnd; }

  void Append(const char* pText, const char* pTextEnd) {
    const auto uCopied = static_cast<std::size_t>(std::min(pTextEnd - pText, m_pEnd - m_pNext));
    std::memcpy(m_pNext, pText, uCopied);
    m_pNext += uCopied;
  }

  // Ends the text with a zero byte, for which the buffer has one byte more; returns its length.
  int Finish() {
    *m_pNext = '\0';
    return static_cast<int>(m_pNext - m_pBegin);
  }

 private:
  char* const m_pBegin;
  char* m_pNext;
  char* const m_pEnd;
};

struct Placeholder {
  unsigned long uIndex;
  const char* pEnd;  // behind the closing brace
};

// The placeholder at `pBrace`, an opening brace: decimal digits and a closing brace follow. A
// larger index counts as MaxArguments, which no call has: digits without end cannot overflow it.
std::optional<Placeholder> ParsePlaceholder(const char* pBrace) {
  const char* p = pBrace + 1;
  unsigned long uIndex = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    uIndex = std::min(uIndex * 10 + static_cast<unsigned long>(*p - '0'), MaxArguments);
  }
  if (*p != '}' || p == pBrace + 1) return std::nullopt;
  return Placeholder{uIndex, p + 1};
}

// The end of what stands at `pBrace` and is no placeholder: behind the closing brace, or behind the
// opening brace alone if another one comes first or none closes it. The other one may begin a
// placeholder.
const char* EndOfBraces(const char* pBrace) {
  const char* pNext = pBrace + 1 + std::strcspn(pBrace + 1, "{}");
  return *pNext == '}' ? pNext + 1 : pBrace + 1;
}

class CWyPatternFormatter {
 public:
  CWyPatternFormatter(CWyBoundedWriter& writer, unsigned long uCount, const char** ppArguments)
      : m_writer(writer),
        m_uCount(ppArguments == nullptr ? 0 : std::min(uCount, MaxArguments)),
        m_ppArguments(ppArguments) {}

  // `pQuote` is the next quote from `p` on, and is searched again only after `p` has passed it, so
  // that each byte is searched for a quote once. A full buffer ends the loop: nothing more can
  // appear.
  void Format(const char* p) {
    const char* pQuote = EndOfRun(p);
    while (!m_writer.IsFull()) {
      const char* const pBrace = FindBrace(p, pQuote);
      m_writer.Append(p, pBrace);
      if (pBrace != pQuote) {
        p = FormatBraces(pBrace);
        if (p <= pQuote) continue;  // quotes in braces are copied with them
      } else if (*pQuote != '\0') {
        p = FormatQuote(pQuote);
      } else {
        return;
      }
      pQuote = EndOfRun(p);
    }
  }

 private:
  // The next single quote, or the end of the pattern.
  static const char* EndOfRun(const char* p) { return ::strchrnul(p, '\''); }

  // The next opening brace, or `pEnd`.
  static const char* FindBrace(const char* p, const char* pEnd) {
    const void* const pBrace = std::memchr(p, '{', static_cast<std::size_t>(pEnd - p));
    return pBrace != nullptr ? static_cast<const char*>(pBrace) : pEnd;
  }

  // Writes what the single quote at `pQuote` begins: one quote for two of them, otherwise the run
  // up to the next single one, or to the end. Returns where the pattern goes on.
  const char* FormatQuote(const char* pQuote) {
    if (pQuote[1] == '\'') {
      m_writer.Append(pQuote, pQuote + 1);
      return pQuote + 2;
    }
    for (const char* p = pQuote + 1;;) {
      const char* const pNext = EndOfRun(p);
      m_writer.Append(p, pNext);
      if (*pNext == '\0') return pNext;
      if (pNext[1] != '\'') return pNext + 1;
      m_writer.Append(pNext, pNext + 1);
      p = pNext + 2;
    }
  }

  // Writes what the opening brace at `pBrace` stands for; returns where the pattern goes on.
  const char* FormatBraces(const char* pBrace) {
    // An index without an argument is copied as it stands: the reader sees which one is missing.
    const std::optional<Placeholder> placeholder = ParsePlaceholder(pBrace);
    if (placeholder && placeholder->uIndex < m_uCount) {
      AppendArgument(m_ppArguments[placeholder->uIndex]);
      return placeholder->pEnd;
    }
    const char* pEnd = placeholder ? placeholder->pEnd : EndOfBraces(pBrace);
    m_writer.Append(pBrace, pEnd);
    return pEnd;
  }

  void AppendArgument(const char* pszArgument) {
    if (pszArgument != nullptr) {
      m_writer.Append(pszArgument, pszArgument + std::strlen(pszArgument));
    }
  }

  CWyBoundedWriter& m_writer;
  const unsigned long m_uCount;
  const char** const m_ppArguments;
};

}  // namespace

int CWyXlate::FormatMessage(char* out, unsigned long size, const char* pattern, unsigned long argc,
                            const char** argv) {
  if (out == nullptr || pattern == nullptr) return -1;
  // The length is returned as an int, so no text is longer than one can count.
  CWyBoundedWriter writer(out, std::min(size, static_cast<unsigned long>(INT_MAX)));
  CWyPatternFormatter(writer, argc, argv).Format(pattern);
  return writer.Finish();
}
