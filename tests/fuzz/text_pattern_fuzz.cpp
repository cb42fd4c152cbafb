// Formats texts into patterns that come from Java code. Where a pattern has conversions of texts
// alone, the result is snprintf's.
//
// The first five lines are the texts, the rest is the pattern.

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "fuzz/FuzzInput.h"
#include "wyerrlog/internal/WyTextPattern.h"

namespace {

using fuzz::Require;

constexpr std::size_t MaxTexts = 5;

// Whether every "%" is a conversion of one of the texts, or a doubled one.
bool IsPrintfOfTexts(std::string_view pattern) {
  std::size_t uTexts = 0;
  for (auto u = pattern.find('%'); u != pattern.npos; u = pattern.find('%')) {
    pattern.remove_prefix(u);
    const fuzz::Conversion conversion = fuzz::ReadConversion(pattern);
    const bool bText = conversion.cLetter == 's' && conversion.length.empty();
    if (!pattern.starts_with("%%") && (!bText || ++uTexts > MaxTexts)) return false;
    pattern.remove_prefix(pattern.starts_with("%%") ? 2 : conversion.text.size());
  }
  return true;
}

std::string Printed(const char* pszPattern, const std::array<const char*, MaxTexts>& texts) {
  const auto print = [&](char* pszBuffer, std::size_t uSize) {
    return std::snprintf(pszBuffer, uSize, pszPattern, texts[0], texts[1], texts[2], texts[3],
                         texts[4]);
  };
  const int iLength = print(nullptr, 0);
  Require(iLength >= 0);
  std::string strText(static_cast<std::size_t>(iLength) + 1, '\0');
  print(strText.data(), strText.size());
  strText.pop_back();
  return strText;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  std::string_view input = fuzz::Text(pData, uSize);
  std::array<std::string, MaxTexts> texts;
  std::array<const char*, MaxTexts> pointers;
  std::size_t uMost = 0;
  for (std::size_t i = 0; i < MaxTexts; ++i) {
    texts[i] = fuzz::Argument(fuzz::Take(input, '\n'));
    pointers[i] = texts[i].c_str();
    uMost += std::max<std::size_t>(texts[i].size(), WyMaxTextWidth);
  }
  const std::string strPattern(input.substr(0, input.find('\0')));

  const std::string strText = WyFormatTexts(strPattern, pointers);
  Require(strText.size() <= strPattern.size() + uMost);
  Require(WyFormatTexts(strPattern, {}).size() <= strPattern.size());
  if (IsPrintfOfTexts(strPattern)) Require(strText == Printed(strPattern.c_str(), pointers));
  return 0;
}
