// The formatting of patterns that come from the host's data, from a Java caller for instance. They
// are never passed to printf, where a wrong pattern reads or writes memory that is not its own.

#include "wyerrlog/internal/WyTextPattern.h"

#include <algorithm>

namespace {

struct TextConversion {
  size_t uLength = 0;  // of the conversion in the pattern; 0: there is none
  bool bLeft = false;
  size_t uWidth = 0;
  size_t uPrecision = std::string_view::npos;
};

// Takes the digits at the front of the text; a number above the limit counts as the limit, so that
// no number of digits overflows.
size_t TakeNumber(std::string_view& text, size_t uLimit) {
  size_t uNumber = 0;
  while (!text.empty() && text.front() >= '0' && text.front() <= '9') {
    uNumber = std::min(uNumber * 10 + static_cast<size_t>(text.front() - '0'), uLimit);
    text.remove_prefix(1);
  }
  return uNumber;
}

// Reads the conversion that the pattern, at a "%", begins with. Flags that have no effect on texts
// are read over. A "*" or "1$" is none of the characters expected here, which leaves the length 0.
TextConversion ReadTextConversion(std::string_view pattern) {
  constexpr std::string_view Flags = "-+ #0";
  // Longer than any text, and multiplied by ten without an overflow.
  constexpr size_t LongestText = std::string_view::npos / 16;
  TextConversion conversion;
  std::string_view rest = pattern.substr(1);
  for (; !rest.empty() && Flags.find(rest.front()) != Flags.npos; rest.remove_prefix(1)) {
    if (rest.front() == '-') conversion.bLeft = true;
  }
  conversion.uWidth = TakeNumber(rest, WyMaxTextWidth);
  if (rest.starts_with('.')) {
    rest.remove_prefix(1);
    conversion.uPrecision = TakeNumber(rest, LongestText);
  }
  if (rest.starts_with('s')) conversion.uLength = pattern.size() - rest.size() + 1;
  return conversion;
}

void AppendConverted(std::string& strResult, const TextConversion& conversion,
                     std::string_view text) {
  // In bytes, as printf has it: a character of several bytes may be cut.
  text = text.substr(0, conversion.uPrecision);
  const size_t uPadding = conversion.uWidth - std::min(conversion.uWidth, text.size());
  if (!conversion.bLeft) strResult.append(uPadding, ' ');
  strResult.append(text);
  if (conversion.bLeft) strResult.append(uPadding, ' ');
}

}  // namespace

std::string WyFormatTexts(std::string_view pattern, std::span<const char* const> texts) {
  std::string strResult;
  auto itText = texts.begin();
  while (true) {
    const size_t uPlain = std::min(pattern.find('%'), pattern.size());
    strResult.append(pattern.substr(0, uPlain));
    pattern.remove_prefix(uPlain);
    if (pattern.empty()) return strResult;

    const TextConversion conversion = ReadTextConversion(pattern);
    // Of anything but these two cases the "%" alone is taken, as text; what follows it is text of
    // the next turn. Each turn takes at least one byte, so the loop ends.
    size_t uTaken = 1;
    if (pattern.starts_with("%%")) {
      strResult += '%';
      uTaken = 2;
    } else if (conversion.uLength > 0 && itText != texts.end()) {
      AppendConverted(strResult, conversion, *itText++);
      uTaken = conversion.uLength;
    } else {
      strResult += '%';
    }
    pattern.remove_prefix(uTaken);
  }
}
