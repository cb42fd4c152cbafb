#ifndef WYERRLOG_INTERNAL_WYMESSAGEMEMO_H
#define WYERRLOG_INTERNAL_WYMESSAGEMEMO_H

// What a thread remembers of the translated messages that it logged last, so that it logs them
// again without asking component and catalog: the line's beginning "[WARNING][key] ", and the
// pattern in parsed form.

#include <wyxlate/PatternParts.h>

#include <cstring>
#include <string_view>

#include "wyerrlog/internal/WyTextPieces.h"
#include "wyerrlog/internal/WyThreadOwned.h"

class CWyTextBuffer;
namespace WyLogDetail {
struct TextRef;
}

// What the form of a message depends on. Both generations are read before the message is looked up:
// if a component or the resource directory changes in between, the entry has the old number, and is
// never found.
struct WyMessageOrigin {
  unsigned int uId;
  unsigned long uComponents;  // CWyMessageCatalog::Generation
  unsigned long uDirectory;   // WyXlateInternals1::puDirectoryGeneration
};

// What a look-up of a message has found.
struct WyFoundMessage {
  std::string_view severity;  // "[WARNING]"
  const char* pszKey;
  const char* pszPattern;
  CWyXlateBundle* pBundle;  // a reference; null: the pattern is not a bundle's
};

// The remembered form of one message in one locale. Nothing in it belongs to the component; the
// pattern belongs to the bundle, of which it holds a reference.
class CWyMessageForm {
 public:
  CWyMessageForm() = default;
  ~CWyMessageForm() { Forget(); }
  CWyMessageForm(const CWyMessageForm&) = delete;
  CWyMessageForm& operator=(const CWyMessageForm&) = delete;

  bool Is(const WyMessageOrigin& origin, const char* pszLocale) const {
    return m_origin.uId == origin.uId && m_origin.uComponents == origin.uComponents &&
           m_origin.uDirectory == origin.uDirectory && m_pBundle != nullptr &&
           std::strcmp(m_szLocale, pszLocale) == 0;
  }

  // Appends the whole rest of the line, with its newline. Returns false, and appends nothing, for a
  // text that has to be cut. `uSize` is at least the size of all arguments together.
  bool AppendTo(CWyTextBuffer& text, const WyTextPiece* pArguments, std::size_t uCount,
                std::size_t uSize) const;

  // The same with the texts of a log statement. Returns false, and appends nothing, also if one of
  // them has to be escaped, is null or missing; a bit of `uAsTheyAre` is set for each that is not
  // escaped.
  bool AppendPlain(CWyTextBuffer& text, const WyLogDetail::TextRef* pTexts, std::size_t uCount,
                   unsigned int uAsTheyAre) const;

  // Returns false if the message was refused a short time ago: most that are refused stay so.
  bool MayLearn(const WyMessageOrigin& origin) {
    return m_pBundle != nullptr || m_origin.uId != origin.uId || m_uSkips-- == 0;
  }

  // Takes over what a look-up has found. A form that cannot be remembered leaves the entry empty.
  void Learn(const WyMessageOrigin& origin, const char* pszLocale, const WyFoundMessage& found);

 private:
  static constexpr std::size_t MaxParts = 19;    // nine arguments, and the texts around them
  static constexpr std::size_t NoArgument = 13;  // as in WyPatternPart

  // A literal text of the pattern, and the argument behind it.
  struct Step {
    const char* pText;            // sixteen bytes can be read there (WyCopyLiteral)
    std::uint16_t uLength;        // may be 0
    std::uint16_t uArgument;      // its index, or NoArgument
    std::uint16_t uMissingStart;  // the text, in the pattern, that stands for a missing argument
    std::uint16_t uMissingLength;
  };

  bool AppendGrowing(CWyTextBuffer& text, const WyTextPiece* pArguments, std::size_t uCount) const;
  WyTextPiece Argument(const Step& step, const WyTextPiece* pArguments, std::size_t uCount) const;
  const char* Literal(const WyPatternPart& part) const;
  char* CopyHead(char* pTo) const;
  void AddPart(const WyPatternPart& part);
  unsigned int Uses(unsigned int uArgument) const;
  void Forget();
  bool Store(const char* pszLocale, const WyFoundMessage& found);

  WyMessageOrigin m_origin{};
  CWyXlateBundle* m_pBundle = nullptr;  // null: an empty entry
  unsigned int m_uSkips = 0;            // messages that are not learned, after one that was refused
  unsigned int m_uMostUses = 0;         // of one argument in the pattern
  const char* m_pszPattern = nullptr;
  std::size_t m_uPatternLength = 0;
  // That the pattern needs: its highest index, plus one; at least one, since a call without
  // arguments is another case.
  std::size_t m_uArguments = 1;
  std::size_t m_uSteps = 0;
  std::size_t m_uHeadLength = 0;
  char m_szLocale[24];  // "sr_RS.UTF-8@latin", and some more
  // The pattern's last bytes, behind which its own memory may end.
  std::size_t m_uTailStart = 0;
  char m_szTail[2 * WyLiteralRoom];
  char m_szHead[64];
  Step m_steps[MaxParts];
};

// The forms that one thread logged last.
class CWyMessageMemo {
 public:
  // Returns null if there is no memory for it, while the thread ends, and if the host has put
  // operations of its own in the place of any of libWyXlate's: it expects them to be called.
  static CWyMessageMemo* OfThisThread() {
    return s_pInternals != nullptr ? CWyThreadOwned<CWyMessageMemo>::Get() : nullptr;
  }

  // The number of the resource directory (WyXlateInternals1::puDirectoryGeneration).
  static unsigned long DirectoryGeneration() {
    return s_pInternals != nullptr
               ? s_pInternals->puDirectoryGeneration->load(std::memory_order_acquire)
               : 0;
  }
  static const WyXlateInternals1& Internals() { return *s_pInternals; }

  // Each identifier has two places, the second beside the first; numbers that follow one another
  // get different ones. A form is in the first or, if it is not, in the second, or nowhere.
  const CWyMessageForm& First(unsigned int uId) const { return m_forms[PlaceOf(uId)]; }
  const CWyMessageForm& Second(unsigned int uId) const { return m_forms[PlaceOf(uId) ^ 1]; }

  // Remembers what a look-up has found, if it can, in one of the message's two places. Takes over
  // the reference to the bundle.
  void Learn(const WyMessageOrigin& origin, const char* pszLocale, const WyFoundMessage& found);

 private:
  static constexpr int PlacesLog2 = 4;
  // The factor is 2^64 divided by the golden ratio.
  static std::size_t PlaceOf(unsigned int uId) {
    return uId * 0x9E3779B97F4A7C15 >> (64 - PlacesLog2);
  }

  static const WyXlateInternals1* const s_pInternals;

  unsigned int m_uTurn = 0;  // which of its two places the next message takes
  CWyMessageForm m_forms[1 << PlacesLog2];
};

#endif
