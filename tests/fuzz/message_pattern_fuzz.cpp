// Substitutes arguments into message patterns, against the rules written down a second time; and
// makes translated and printf-style messages of them.
//
// The first line is a size, its first byte; then come a line with the arguments, tabs between them,
// and the pattern. An argument "null" is a null pointer.

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "wyerrlog/WyErrLogMessage.h"
#include "wyxlate/WyXlate.h"

namespace {

using fuzz::Require;

constexpr unsigned long MaxArguments = 13;

// What stands at an opening brace up to the closing one; empty when another opening one comes
// first, or none closes it.
std::string_view Braces(std::string_view rest) {
  const std::size_t uEnd = rest.find_first_of("{}", 1);
  return uEnd != rest.npos && rest[uEnd] == '}' ? rest.substr(0, uEnd + 1) : std::string_view();
}

// The number of the placeholder; MaxArguments for what is none, and for numbers that are too large.
std::size_t Placeholder(std::string_view braces) {
  if (braces.size() < 3) return MaxArguments;
  std::size_t uIndex = 0;
  for (const char c : braces.substr(1, braces.size() - 2)) {
    if (c < '0' || c > '9') return MaxArguments;
    uIndex = std::min(uIndex * 10 + static_cast<std::size_t>(c - '0'), MaxArguments);
  }
  return uIndex;
}

std::string Substituted(std::string_view pattern, const std::vector<const char*>& arguments) {
  std::string strText;
  bool bQuoted = false;
  while (!pattern.empty()) {
    std::string_view taken = pattern.substr(0, 1);
    if (pattern.starts_with("''")) {
      taken = pattern.substr(0, 2);
      strText += '\'';
    } else if (pattern[0] == '\'') {
      bQuoted = !bQuoted;
    } else if (pattern[0] == '{' && !bQuoted && !Braces(pattern).empty()) {
      taken = Braces(pattern);
      const std::size_t uIndex = Placeholder(taken);
      const bool bGiven = uIndex < std::min(arguments.size(), std::size_t{MaxArguments});
      if (!bGiven) strText += taken;
      if (bGiven && arguments[uIndex] != nullptr) strText += arguments[uIndex];
    } else {
      strText += taken;
    }
    pattern.remove_prefix(taken.size());
  }
  return strText;
}

void CompareWithSize(const std::string& strPattern, std::vector<const char*> arguments,
                     const std::string& strWhole, std::size_t uSize) {
  std::string strBuffer(uSize + 2, '\x7f');
  const int iLength = CWyXlate::FormatMessage(strBuffer.data(), uSize, strPattern.c_str(),
                                              arguments.size(), arguments.data());
  const std::size_t uLength = std::min(strWhole.size(), uSize);
  Require(iLength == static_cast<int>(uLength));
  Require(strBuffer.compare(0, uLength, strWhole, 0, uLength) == 0);
  Require(strBuffer[uLength] == '\0');
  Require(strBuffer.find_first_not_of('\x7f', uLength + 1) == std::string::npos);
}

// The built-in component's message 1 is its argument.
void CheckMessage(const std::string& strArgument) {
  constexpr std::size_t MaxText = 4095;
  CWyErrLogMessage message(false);
  message.FormatMessage(0x01004001u, strArgument.c_str());
  Require(message.GetBuffer() == "[INFO][wy-log-00000] " + strArgument.substr(0, MaxText) + "\n");

  message.CleanUpMessage();
  Require(message.FormatLogMessage(0x0100C001, strArgument.c_str()));
  const std::string strText = strArgument.empty() ? " " : strArgument.substr(0, MaxText);
  Require(message.GetBuffer() == "[ERROR] " + strText + "\n");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  std::string_view input = fuzz::Text(pData, uSize);
  const std::string_view size = fuzz::Take(input, '\n');
  std::string_view list = fuzz::Take(input, '\n');
  const std::string strPattern(input.substr(0, input.find('\0')));

  std::vector<std::string> texts;
  while (!list.empty()) texts.push_back(fuzz::Argument(fuzz::Take(list, '\t')));
  std::vector<const char*> arguments;
  for (const std::string& strText : texts) {
    arguments.push_back(strText == "null" ? nullptr : strText.c_str());
  }

  const std::string strWhole = Substituted(strPattern, arguments);
  CompareWithSize(strPattern, arguments, strWhole, strWhole.size());
  CompareWithSize(strPattern, arguments, strWhole, strWhole.size() + 1);
  CompareWithSize(strPattern, arguments, strWhole, size.empty() ? 0 : size[0] & 0x7f);
  CheckMessage(strPattern);
  return 0;
}
