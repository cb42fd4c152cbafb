// A text without anything to escape, as nearly all are, is found by one scan and copied in one
// piece. Any other is copied in the pieces between what must be escaped.

#include "wyerrlog/internal/WyJsonText.h"

#include <algorithm>
#include <cstring>

#include "wyerrlog/WyEscape.h"
#include "wyerrlog/internal/WyTextBuffer.h"

namespace {

constexpr std::string_view Replacement = "\xEF\xBF\xBD";  // U+FFFD

bool IsQuoteOrBackslash(char c) { return c == '"' || c == '\\'; }

bool IsPlainInJson(std::string_view text) {
  return WyLogDetail::IsPlain(text.data(), text.size()) &&
         std::memchr(text.data(), '"', text.size()) == nullptr &&
         std::memchr(text.data(), '\\', text.size()) == nullptr;
}

// The code point of a control character: they have one to three bytes.
unsigned int CodePoint(std::string_view sequence) {
  const auto uLast = static_cast<unsigned char>(sequence.back());
  if (sequence.size() == 1) return uLast;
  // U+0080 to U+009F have the code of their last byte; U+2028 and U+2029 end with A8 and A9.
  return sequence.size() == 2 ? uLast : 0x2000u + (uLast & 0x3Fu);
}

void AppendEscape(CWyTextBuffer& buffer, std::string_view sequence) {
  constexpr char Digits[] = "0123456789abcdef";
  const unsigned int u = CodePoint(sequence);
  if (u == '\n') return buffer.Append(std::string_view("\\n"));
  if (u == '\r') return buffer.Append(std::string_view("\\r"));
  if (u == '\t') return buffer.Append(std::string_view("\\t"));
  buffer.Append(std::string_view("\\u"), Digits[u >> 12 & 0xF], Digits[u >> 8 & 0xF],
                Digits[u >> 4 & 0xF], Digits[u & 0xF]);
}

// The length of what can be copied from the front of the text.
std::size_t LengthToCopy(std::string_view text) {
  std::size_t uLength = 0;
  while (uLength < text.size()) {
    const std::string_view rest = text.substr(uLength);
    const std::size_t uSequence = WyLogDetail::SequenceLength(rest);
    if (uSequence == 0 || IsQuoteOrBackslash(rest[0]) ||
        WyLogDetail::IsControl(rest.substr(0, uSequence))) {
      break;
    }
    uLength += uSequence;
  }
  return uLength;
}

void AppendInPieces(CWyTextBuffer& buffer, std::string_view text) {
  buffer.Append('"');
  for (;;) {
    const std::size_t uCopied = LengthToCopy(text);
    buffer.Append(text.substr(0, uCopied));
    text.remove_prefix(uCopied);
    if (text.empty()) break;
    const std::size_t uSequence = WyLogDetail::SequenceLength(text);
    if (uSequence == 0) {
      buffer.Append(Replacement);
    } else if (IsQuoteOrBackslash(text[0])) {
      buffer.Append('\\', text[0]);
    } else {
      AppendEscape(buffer, text.substr(0, uSequence));
    }
    text.remove_prefix(std::max<std::size_t>(uSequence, 1));
  }
  buffer.Append('"');
}

// Removes the digits at the front of the text; returns false if there are none.
bool TakeDigits(std::string_view& text) {
  const std::size_t uEnd = std::min(text.find_first_not_of("0123456789"), text.size());
  text.remove_prefix(uEnd);
  return uEnd != 0;
}

// -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
bool IsNumber(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  if (text.starts_with('0') && text.size() > 1 && text[1] >= '0' && text[1] <= '9') return false;
  if (!TakeDigits(text)) return false;
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    if (!TakeDigits(text)) return false;
  }
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    if (!TakeDigits(text)) return false;
  }
  return text.empty();
}

}  // namespace

void WyAppendJsonText(CWyTextBuffer& buffer, std::string_view text) {
  if (IsPlainInJson(text)) return buffer.Append('"', text, '"');
  AppendInPieces(buffer, text);
}

void WyAppendJsonNumber(CWyTextBuffer& buffer, std::string_view text) {
  if (IsNumber(text) || text == "true" || text == "false") return buffer.Append(text);
  WyAppendJsonText(buffer, text);
}
