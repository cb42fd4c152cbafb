// Patterns in parsed form. The grammar is that of CWyPatternReader; the sink here records the parts
// where the formatter writes them.

#include "wyxlate/PatternParts.h"

#include <cstring>

#include "wyxlate/BundleCache.h"
#include "wyxlate/LoadedBundle.h"
#include "wyxlate/PatternReader.h"

namespace {

// Places and lengths of parts are stored in 16 bits; a longer pattern is formatted by the general
// way.
constexpr std::size_t LongestPattern = 0xFFFF;

// Records the parts of a pattern. Texts that lie side by side become one part. It writes no more
// than uMaxParts parts but counts one beyond them, which is how "too many" is told from "just
// enough"; the caller then falls back to CWyXlate::FormatMessage.
class CWyPartRecorder {
 public:
  CWyPartRecorder(const char* pszPattern, WyPatternPart* pParts, std::size_t uMaxParts)
      : m_pszPattern(pszPattern), m_pParts(pParts), m_uMaxParts(uMaxParts) {}

  // More parts than there is room for: the rest need not be read.
  bool IsFull() const { return m_uParts > m_uMaxParts; }
  void Text(const char* p, const char* pEnd) { Add(MaxPatternArguments, p, pEnd); }
  void Braces(const char* p, const char* pEnd) { Add(MaxPatternArguments, p, pEnd); }
  // The characters within quotes are reported as texts; the quotes themselves are not output.
  void Quotes(const char*, const char*) {}
  void Placeholder(unsigned long uIndex, const char* p, const char* pEnd) { Add(uIndex, p, pEnd); }

  std::size_t Parts() const { return IsFull() ? 0 : m_uParts; }

 private:
  void Add(unsigned long uArgument, const char* p, const char* pEnd) {
    if (p == pEnd || Extend(uArgument, p, pEnd)) return;
    if (m_uParts < m_uMaxParts) {
      m_pParts[m_uParts] = {Number(p - m_pszPattern), Number(pEnd - p),
                            static_cast<std::uint16_t>(uArgument)};
    }
    ++m_uParts;
  }

  // Only texts that are neighbours in the pattern: a doubled quote between them leaves a hole, and
  // the part must be a single range of it.
  bool Extend(unsigned long uArgument, const char* p, const char* pEnd) {
    if (m_uParts == 0 || IsFull() || uArgument != MaxPatternArguments) return false;
    WyPatternPart& last = m_pParts[m_uParts - 1];
    if (last.uArgument != MaxPatternArguments) return false;
    if (m_pszPattern + last.uStart + last.uLength != p) return false;
    last.uLength = Number(pEnd - p + last.uLength);
    return true;
  }

  // Cannot be cut: LongestPattern was compared first.
  static std::uint16_t Number(std::ptrdiff_t n) { return static_cast<std::uint16_t>(n); }

  const char* const m_pszPattern;
  WyPatternPart* const m_pParts;
  const std::size_t m_uMaxParts;
  std::size_t m_uParts = 0;
};

std::size_t Parse(const CWyXlateBundle& bundle, const char* pszPattern, WyPatternPart* pParts,
                  std::size_t uMaxParts) {
  // An incomplete bundle may be loaded again, and its patterns replaced: parts of them must not be
  // kept.
  if (!static_cast<const CWyLoadedBundle&>(bundle).IsComplete()) return 0;
  if (std::strlen(pszPattern) > LongestPattern) return 0;
  CWyPartRecorder recorder(pszPattern, pParts, uMaxParts);
  CWyPatternReader(recorder).Read(pszPattern);
  return recorder.Parts();
}

}  // namespace

// The number in the name is the version of the structure: the core library asks for the one that it
// was compiled with, so its layout never changes. A new member means a WyXlateInternals2.
const WyXlateInternals1& WyGetXlateInternals1() {
  static const WyXlateInternals1 s_internals = {&CWyXlate::SetResourceDirectory,
                                                &CWyXlate::GetBundle,
                                                &CWyXlate::FormatMessage,
                                                &CWyXlateBundle::Lookup,
                                                &CWyXlateBundle::Release,
                                                &theBundleCache().Generation(),
                                                Parse};
  return s_internals;
}
