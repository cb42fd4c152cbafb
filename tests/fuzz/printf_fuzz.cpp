// Formats with printf rules, in all the ways that the library does, against the C library's
// vsnprintf.
//
// The first four lines are a text, an int, a long and a double, the rest is the format. Its
// conversions are made ones of these, one after another, so that any input may be formatted.

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "wyerrlog/WyErrLogMessage.h"
#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyTraceData.h"

namespace {

using fuzz::Require;

// What an argument can be shown as: the lengths of its type, and the letters.
struct Slot {
  std::vector<std::string_view> lengths;
  std::string_view letters;
};

// The flags, the width and the precision of the conversion, and, if the argument has them, its
// length and its letter.
std::string Fitted(const fuzz::Conversion& conversion, const Slot& slot) {
  const auto& lengths = slot.lengths;
  const bool bLength = std::count(lengths.begin(), lengths.end(), conversion.length) > 0;
  const bool bLetter = slot.letters.find(conversion.cLetter) != slot.letters.npos;
  std::string strFitted(conversion.text.substr(0, conversion.text.find_first_of("hljzt")));
  if (strFitted.size() == conversion.text.size()) strFitted.pop_back();
  strFitted += bLength ? conversion.length : lengths.front();
  return strFitted + (bLetter ? conversion.cLetter : slot.letters.front());
}

std::string MakeSafe(std::string_view format) {
  static const Slot s_slots[] = {{{""}, "s"},
                                 {{"", "h", "hh"}, "diuxXo"},
                                 {{"l", "ll", "z", "j", "t"}, "diuxXo"},
                                 {{""}, "feg"}};
  std::string strSafe;
  const Slot* pSlot = std::begin(s_slots);
  while (true) {
    const std::string_view plain = format.substr(0, format.find('%'));
    strSafe += plain;
    format.remove_prefix(plain.size());
    if (format.empty()) return strSafe;
    const fuzz::Conversion conversion = fuzz::ReadConversion(format);
    if (conversion.text.empty() || conversion.text == "%%" || pSlot == std::end(s_slots)) {
      // A "%" at the very end stays one: formatting fails there.
      strSafe += format == "%" ? "%" : "%%";
      format.remove_prefix(format.starts_with("%%") ? 2 : 1);
    } else {
      strSafe += Fitted(conversion, *pSlot++);
      format.remove_prefix(conversion.text.size());
    }
  }
}

// A va_list for each call that reads it.
class Arguments {
 public:
  explicit Arguments(va_list args) { va_copy(m_args, args); }
  ~Arguments() { va_end(m_args); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  va_list m_args;
};

// A buffer in memory of its own, so that the sanitizer sees what is written behind it.
void CompareBounded(std::size_t uSize, const std::string& strWhole, bool bFails,
                    const char* pszFormat, va_list args) {
  std::vector<char> buffer(uSize + 1, '\x7f');
  const int iSize = static_cast<int>(uSize);
  const int iResult = VSNPRINTFEX(buffer.data(), iSize, pszFormat, Arguments(args).m_args);
  const int iLength = static_cast<int>(strWhole.size());
  Require(bFails ? iResult < 0 : iResult == (iLength < iSize ? iLength : iLength + 1));
  Require(buffer[uSize] == '\x7f');
  Require(uSize == 0 || buffer.data() == strWhole.substr(0, uSize - 1));
}

void CompareMessages(const std::string& strWhole, const char* pszFormat, va_list args) {
  if (*pszFormat == '\0') return;
  static CWyTraceData s_record;
  CWyErrLogMessage message(false);
  Require(message.FormatAuditMessageVA(pszFormat, Arguments(args).m_args));
  Require(message.GetBuffer() == strWhole);
  Require(s_record.FormatTraceMessageVA(pszFormat, Arguments(args).m_args) == strWhole);
}

void Compare(const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const int iLength = vsnprintf(nullptr, 0, pszFormat, Arguments(args).m_args);
  std::string strWhole(static_cast<std::size_t>(std::max(iLength, 0)), '\0');
  if (iLength > 0) {
    vsnprintf(strWhole.data(), strWhole.size() + 1, pszFormat, Arguments(args).m_args);
  }
  const std::size_t uSize = strWhole.size();
  for (const std::size_t uBuffer : {std::size_t{0}, uSize / 2, uSize, uSize + 1, uSize + 2}) {
    CompareBounded(uBuffer, strWhole, iLength < 0, pszFormat, args);
  }
  CompareMessages(strWhole, pszFormat, args);
  va_end(args);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  std::string_view input = fuzz::Text(pData, uSize);
  std::vector<std::string> texts;
  while (texts.size() < 4) texts.push_back(fuzz::Argument(fuzz::Take(input, '\n')));
  const std::string strFormat = MakeSafe(input.substr(0, input.find('\0')));
  Compare(strFormat.c_str(), texts[0] == "null" ? nullptr : texts[0].c_str(),
          std::atoi(texts[1].c_str()), std::atol(texts[2].c_str()), std::atof(texts[3].c_str()));
  return 0;
}
