#ifndef WYERRLOG_SEAL_WYSEALLINE_H
#define WYERRLOG_SEAL_WYSEALLINE_H

// Private: the lines of a sealed log.
//
//   TEXT <tab> ~SEQ~TAG <newline>       one record; TEXT has no control characters
//   ~begin log=... file=2 ...           the TEXT of the log's own records begins with "~"
//   \~begin                             that of a caller never does

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "extras/seal/internal/WySealCrypto.h"

// The longest TEXT. A verifier reads lines of any length, but keeps no more of one than this.
inline constexpr size_t WySealMaxText = 1u << 20;
// "\t~" + 20 digits + "~" + the tag + "\n".
inline constexpr size_t WySealMaxTrailer = 2 + 20 + 1 + WySealTagChars + 1;

// A caller's text as a TEXT: without one newline at its end; control characters (C0, DEL, C1, line
// and paragraph separators) and a "~" at the beginning escaped. `strBuffer` is used only if there
// is something to escape; the result is a part of it or of the argument.
std::string_view WySealEscape(std::string_view strText, std::string& strBuffer);

// Whether it is a TEXT as far as its characters go.
bool WySealIsText(std::string_view strText);

// The trailer of a record.
class CWySealTrailer {
 public:
  CWySealTrailer(uint64_t uSeq, const WySealTag& tag);
  std::string_view Text() const { return {m_szText, m_uLength}; }

 private:
  char m_szText[WySealMaxTrailer + 1];
  size_t m_uLength;
};

// A parsed line; the texts are parts of the line.
struct WySealLine {
  std::string_view strText;
  std::string_view strTag;
  uint64_t uSeq = 0;
};

// Returns false if the line, without its newline, has no trailer.
bool WySealParseLine(std::string_view strLine, WySealLine& line);

// The value of " NAME=value" in the TEXT of one of the log's own records; empty without one.
std::string_view WySealField(std::string_view strText, std::string_view strName);
// The same as a number or a tag; nothing if there is none or it is not one.
std::optional<uint64_t> WySealNumber(std::string_view strText, std::string_view strName);
std::optional<WySealTag> WySealTagField(std::string_view strText, std::string_view strName);
std::optional<uint64_t> WySealParseNumber(std::string_view strDigits);

// Whether the TEXT is one of the log's own records of that kind, "~begin" say.
bool WySealIsKind(std::string_view strText, std::string_view strKind);

// "a..b"
std::string WySealRange(uint64_t uFirst, uint64_t uLast);

// A time in seconds since the epoch as UTC, "2026-11-23T07:43:13Z".
std::string WySealTimeText(int64_t iSeconds);

#endif
