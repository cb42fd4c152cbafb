// Decodes the "Authorization" header of the basic scheme (RFC 7617).

#include "Credentials.h"

#include <strings.h>

namespace {

constexpr std::string_view Base64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::optional<std::string> DecodeBase64(std::string_view text) {
  text = text.substr(0, text.find_last_not_of('=') + 1);
  std::string strBytes;
  unsigned int uBits = 0;
  int nBits = 0;
  for (const char c : text) {
    const size_t uDigit = Base64Digits.find(c);
    if (uDigit == std::string_view::npos) return std::nullopt;
    uBits = (uBits << 6 | static_cast<unsigned int>(uDigit)) & 0xFFFFFF;
    nBits += 6;
    if (nBits < 8) continue;
    nBits -= 8;
    strBytes.push_back(static_cast<char>(uBits >> nBits & 0xFF));
  }
  return strBytes;
}

}  // namespace

std::optional<Credentials> ReadBasicCredentials(std::string_view header) {
  constexpr std::string_view Scheme = "Basic ";
  if (header.size() < Scheme.size()) return std::nullopt;
  if (strncasecmp(header.data(), Scheme.data(), Scheme.size()) != 0) return std::nullopt;
  const std::optional<std::string> text = DecodeBase64(header.substr(Scheme.size()));
  if (!text || text->find('\0') != std::string::npos) return std::nullopt;
  const size_t uColon = text->find(':');
  if (uColon == std::string::npos || uColon == 0) return std::nullopt;
  return Credentials{text->substr(0, uColon), text->substr(uColon + 1)};
}
