// Formats with printf rules, in all the ways that the library does, against the C library's
// vsnprintf.
//
// The first four lines are the arguments, the rest is the format. Its conversions are made ones
// that fit the arguments, so that any input may be formatted.

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyTraceData.h"

namespace {

using fuzz::Require;

constexpr std::size_t MaxArguments = 4;

using FormatArgument = std::variant<int, long, double, const char*>;

// ---- A format that is safe, and what it takes
// -----------------------------------------------------

struct Conversion {
  std::string_view text;    // from the "%" to the letter; empty: none that we know
  std::string_view length;  // "l" and the like
  char cLetter = '\0';
};

std::string_view TakeAny(std::string_view& rest, std::string_view characters) {
  const std::string_view taken =
      rest.substr(0, std::min(rest.find_first_not_of(characters), rest.size()));
  rest.remove_prefix(taken.size());
  return taken;
}

// Reads the conversion that begins at the "%" in front. Widths and precisions have four digits at
// most: what is compared is the text, not the patience.
Conversion ReadConversion(std::string_view format) {
  constexpr std::string_view Digits = "0123456789";
  std::string_view rest = format.substr(1);
  TakeAny(rest, "-+ #0");
  if (TakeAny(rest, Digits).size() > 4) return {};
  if (rest.starts_with('.')) {
    rest.remove_prefix(1);
    if (TakeAny(rest, Digits).size() > 4) return {};
  }
  const std::string_view length = TakeAny(rest, "hljzt");
  if (rest.empty()) return {};
  return {format.substr(0, format.size() - rest.size() + 1), length, rest[0]};
}

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> texts) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// The input's text as the argument that the conversion takes; false when it takes none that we
// have.
bool ToArgument(const Conversion& conversion, const std::string& strText,
                FormatArgument& argument) {
  const bool bInteger = std::strchr("diuxXo", conversion.cLetter) != nullptr;
  if (bInteger && IsOneOf(conversion.length, {"l", "ll", "j", "z", "t"})) {
    argument = std::atol(strText.c_str());
  } else if (bInteger && IsOneOf(conversion.length, {"", "h", "hh"})) {
    argument = std::atoi(strText.c_str());
  } else if (!conversion.length.empty()) {
    return false;
  } else if (conversion.cLetter == 'c') {
    argument = 'A' + static_cast<int>(strText.size() % 26);
  } else if (conversion.cLetter == 's') {
    argument = strText == "null" ? nullptr : strText.c_str();
  } else if (std::strchr("feg", conversion.cLetter) != nullptr) {
    argument = std::atof(strText.c_str());
  } else {
    return false;
  }
  return true;
}

struct SafeFormat {
  std::string strFormat;
  std::vector<FormatArgument> arguments;
};

SafeFormat MakeSafe(std::string_view format, const std::vector<std::string>& texts) {
  SafeFormat safe;
  while (!format.empty()) {
    const std::size_t uPlain = std::min(format.find('%'), format.size());
    safe.strFormat += format.substr(0, uPlain);
    format.remove_prefix(uPlain);
    if (format.empty()) break;

    const Conversion conversion = ReadConversion(format);
    const std::size_t uNext = safe.arguments.size();
    FormatArgument argument;
    if (conversion.cLetter != '\0' && uNext < MaxArguments &&
        ToArgument(conversion, texts[uNext], argument)) {
      safe.strFormat += conversion.text;
      safe.arguments.push_back(argument);
      format.remove_prefix(conversion.text.size());
    } else {
      // A "%" at the very end stays one: formatting fails there.
      safe.strFormat += format == "%" ? "%" : "%%";
      format.remove_prefix(format.starts_with("%%") ? 2 : 1);
    }
  }
  return safe;
}

// ---- The comparison
// -------------------------------------------------------------------------------

// A buffer of exactly this size in memory of its own, so that the sanitizer sees what is beyond.
std::unique_ptr<char[]> NewBuffer(std::size_t uSize) {
  auto pBuffer = std::make_unique<char[]>(uSize);
  std::fill_n(pBuffer.get(), uSize, '\x7f');
  return pBuffer;
}

void CompareBounded(int iSize, const std::string& strWhole, bool bFails, const char* pszFormat,
                    va_list args) {
  const auto pBuffer = NewBuffer(static_cast<std::size_t>(iSize) + 1);
  va_list copy;
  va_copy(copy, args);
  const int iResult = VSNPRINTFEX(pBuffer.get(), iSize, pszFormat, copy);
  va_end(copy);

  const int iLength = static_cast<int>(strWhole.size());
  Require(bFails ? iResult < 0 : iResult == (iLength < iSize ? iLength : iLength + 1));
  Require(pBuffer[static_cast<std::size_t>(iSize)] == '\x7f');
  if (iSize == 0) return;
  const std::string strKept = strWhole.substr(0, static_cast<std::size_t>(iSize) - 1);
  Require(std::string(pBuffer.get()) == strKept);
}

void CompareMessages(const std::string& strWhole, const char* pszFormat, va_list args) {
  if (*pszFormat == '\0') return;
  va_list copy;
  va_copy(copy, args);
  CWyErrLogMessage message(false);
  Require(message.FormatAuditMessageVA(pszFormat, copy));
  va_end(copy);
  Require(message.GetBuffer() == strWhole);

  static CWyTraceData s_record;
  va_copy(copy, args);
  Require(s_record.FormatTraceMessageVA(pszFormat, copy) == strWhole);
  va_end(copy);
}

void Compare(const char* pszFormat, ...) {
  va_list args;
  va_list copy;
  va_start(args, pszFormat);
  va_copy(copy, args);
  const int iLength = vsnprintf(nullptr, 0, pszFormat, copy);
  va_end(copy);
  std::string strWhole(static_cast<std::size_t>(std::max(iLength, 0)) + 1, '\0');
  va_copy(copy, args);
  if (iLength > 0) vsnprintf(strWhole.data(), strWhole.size(), pszFormat, copy);
  va_end(copy);
  strWhole.pop_back();

  const int iSize = static_cast<int>(strWhole.size());
  for (const int iBuffer : {0, 1, iSize / 2, iSize, iSize + 1, iSize + 2}) {
    CompareBounded(iBuffer, strWhole, iLength < 0, pszFormat, args);
  }
  CompareMessages(strWhole, pszFormat, args);
  va_end(args);
}

// Calls Compare with the arguments as what they are.
template <typename... Given>
void CompareWith(const SafeFormat& format, Given... given) {
  if constexpr (sizeof...(given) < MaxArguments) {
    if (sizeof...(given) < format.arguments.size()) {
      std::visit([&](auto argument) { CompareWith(format, given..., argument); },
                 format.arguments[sizeof...(given)]);
      return;
    }
  }
  Compare(format.strFormat.c_str(), given...);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  std::string_view input = fuzz::Text(pData, uSize);
  std::vector<std::string> texts;
  while (texts.size() < MaxArguments) texts.push_back(fuzz::Argument(fuzz::Take(input, '\n')));
  CompareWith(MakeSafe(input.substr(0, input.find('\0')), texts));
  return 0;
}
