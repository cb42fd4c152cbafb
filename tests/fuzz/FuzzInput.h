#ifndef WYERRLOG_TESTS_FUZZINPUT_H
#define WYERRLOG_TESTS_FUZZINPUT_H

// What the fuzz targets share. Each takes its input as lines of text, so that the seeds can be read
// and written by hand; any bytes are an input.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize);

namespace fuzz {

// What must hold for every input.
inline void Require(bool bHolds) {
  if (!bHolds) std::abort();
}

inline std::string_view Text(const std::uint8_t* pData, std::size_t uSize) {
  return {reinterpret_cast<const char*>(pData), uSize};
}

// Takes the part up to the separator from the front of the text, and the separator with it.
inline std::string_view Take(std::string_view& text, char cSeparator) {
  const std::size_t uEnd = std::min(text.find(cSeparator), text.size());
  const std::string_view part = text.substr(0, uEnd);
  text.remove_prefix(std::min(uEnd + 1, text.size()));
  return part;
}

inline std::vector<std::string> SplitLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) lines.emplace_back(Take(text, '\n'));
  return lines;
}

// A text as the library's callers have it: up to its first zero byte. Forty times when it begins
// with "*", so that long texts are cheap to find.
inline std::string Argument(std::string_view text) {
  const std::string strOnce(text.substr(0, text.find('\0')));
  if (!strOnce.starts_with('*')) return strOnce;
  std::string strLong;
  for (int i = 0; i < 40; ++i) strLong += strOnce;
  return strLong;
}

// Takes as many of these characters as the text begins with.
inline std::string_view TakeAny(std::string_view& text, std::string_view characters) {
  const std::size_t uEnd = std::min(text.find_first_not_of(characters), text.size());
  const std::string_view part = text.substr(0, uEnd);
  text.remove_prefix(uEnd);
  return part;
}

// A conversion of printf.
struct Conversion {
  std::string_view text;    // from the "%" to the letter; empty: none that we know
  std::string_view length;  // "l" and the like
  char cLetter = '\0';
};

// Reads the conversion that begins at the "%" in front. Widths and precisions have three digits at
// most: what is compared is the text, not the patience.
inline Conversion ReadConversion(std::string_view format) {
  constexpr std::string_view Digits = "0123456789";
  std::string_view rest = format.substr(1);
  TakeAny(rest, "-+ #0");
  if (TakeAny(rest, Digits).size() > 3) return {};
  if (rest.starts_with('.')) {
    rest.remove_prefix(1);
    if (TakeAny(rest, Digits).size() > 3) return {};
  }
  const std::string_view length = TakeAny(rest, "hljzt");
  if (rest.empty()) return {};
  return {format.substr(0, format.size() - rest.size() + 1), length, rest[0]};
}

}  // namespace fuzz

#endif
