// Feeds the reader of bundle files: once as a file, and once as keys and values of a file, written
// with escapes and continuation lines, which must come back as they were.
//
// Of each line of the input the part before the first tab is a key, the rest its value.

#include <map>
#include <string>
#include <string_view>

#include "fuzz/FuzzInput.h"
#include "test_support/TempDirectory.h"
#include "wyxlate/WyXlate.h"

namespace {

using fuzz::Require;

CWyXlateBundle* Load(std::string_view content) {
  static const TempDirectory s_directory;
  s_directory.Write("fuzz.properties", std::string(content));
  Require(CWyXlate::SetResourceDirectory(s_directory.Path("").c_str()));
  CWyXlateBundle* const pBundle = CWyXlate::GetBundle("fuzz", "en");
  Require(pBundle != nullptr);
  return pBundle;
}

// A byte of a key or a value in one of the ways that the file format has, chosen by a number.
std::string Written(char c, std::size_t uWay) {
  constexpr std::string_view Special = "\t\n\f\r !#:=\\";
  constexpr std::string_view Digits = "0123456789aBcDeF";
  const auto uByte = static_cast<unsigned char>(c);
  const std::string strContinuation = uWay % 7 == 0 ? "\\\n \t" : uWay % 11 == 0 ? "\\\r\n" : "";
  if (uByte < 0x80 && uWay % 3 == 0) {
    return strContinuation + "\\u00" + Digits[uByte / 16] + Digits[uByte % 16];
  }
  if (c == '\n') return strContinuation + "\\n";
  if (c == '\r') return strContinuation + "\\r";
  if (Special.find(c) != Special.npos) return strContinuation + '\\' + c;
  return strContinuation + c;
}

std::string Written(std::string_view text, std::size_t uSeed) {
  std::string strWritten;
  for (const char c : text) strWritten += Written(c, uSeed += static_cast<unsigned char>(c) + 1);
  return strWritten;
}

void CheckEntries(std::string_view input) {
  constexpr std::string_view Separators[] = {"=", " = ", ":", "\t", " :\f"};
  constexpr std::string_view LineEnds[] = {"\n", "\r", "\r\n\r\n", "\n # no entry\n\t"};
  std::map<std::string, std::string> entries;
  std::string strFile = "# a byte order mark further down belongs to its key\n";
  for (std::size_t uLine = 0; !input.empty(); ++uLine) {
    std::string_view line = fuzz::Take(input, '\n');
    const std::string strKey = fuzz::Argument(fuzz::Take(line, '\t'));
    const std::string strValue = fuzz::Argument(line);
    strFile.append(Written(strKey, uLine)).append(Separators[strKey.size() % 5]);
    strFile.append(Written(strValue, uLine + 1)).append(LineEnds[strValue.size() % 4]);
    entries[strKey] = strValue;
  }

  CWyXlateBundle* const pBundle = Load(strFile);
  for (const auto& [strKey, strValue] : entries) {
    const char* const pszPattern = pBundle->Lookup(strKey.c_str());
    Require(pszPattern != nullptr && pszPattern == strValue);
  }
  pBundle->Release();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  const std::string_view input = fuzz::Text(pData, uSize);
  CWyXlateBundle* const pBundle = Load(input);
  Require(pBundle->Lookup("\xff not a key") == nullptr || uSize > 0);
  pBundle->Release();

  CheckEntries(input);
  return 0;
}
