// Only the first fault of each kind is reported: a file in Latin-1, or with CR LF, has one in every
// line.
#include "tools/wymsgc/Encoding.h"

#include <algorithm>

#include "tools/common/Utf8.h"

namespace {

bool CheckUtf8(const CWySourceText& source, CWyDiagnostics& diagnostics) {
  const std::size_t uInvalid = FindInvalidUtf8(source.Text());
  if (uInvalid == std::string_view::npos) return true;
  diagnostics.Error("M103", source.At(source.Text().substr(uInvalid, 1)), "invalid UTF-8")
      .Help("save the file in UTF-8; from Latin-1: `iconv -f LATIN1 -t UTF-8`");
  return false;
}

bool CheckCarriageReturns(const CWySourceText& source, CWyDiagnostics& diagnostics) {
  const std::size_t uReturn = source.Text().find('\r');
  if (uReturn == std::string_view::npos) return true;
  diagnostics.Error("M102", source.At(source.Text().substr(uReturn, 1)), "carriage return")
      .Help("lines end with a newline alone: `sed -i 's/\\r$//'` removes them");
  return false;
}

bool CheckControlCharacters(const CWySourceText& source, CWyDiagnostics& diagnostics) {
  const std::string_view text = source.Text();
  const auto isControl = [](char c) {
    const auto u = static_cast<unsigned char>(c);
    return (u < 0x20 && c != '\t' && c != '\n' && c != '\r') || u == 0x7F;
  };
  const auto found = std::find_if(text.begin(), text.end(), isControl);
  if (found == text.end()) return true;
  const auto uAt = static_cast<std::size_t>(found - text.begin());
  diagnostics.Error("M104", source.At(text.substr(uAt, 1)), "control character").Help("remove it");
  return false;
}

}  // namespace

bool CheckEncoding(const CWySourceText& source, CWyDiagnostics& diagnostics) {
  const std::string_view text = source.Text();
  if (text.starts_with("\xEF\xBB\xBF")) {
    diagnostics.Error("M101", source.At(text.substr(0, 3)), "byte order mark")
        .Help("save the file as UTF-8 without it: `sed -i '1s/^\\xEF\\xBB\\xBF//'` removes it");
    return false;
  }
  const bool bUtf8 = CheckUtf8(source, diagnostics);
  const bool bLineEnds = CheckCarriageReturns(source, diagnostics);
  return CheckControlCharacters(source, diagnostics) && bUtf8 && bLineEnds;
}
