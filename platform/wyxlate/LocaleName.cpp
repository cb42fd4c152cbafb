#include "wyxlate/LocaleName.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr std::size_t MaxParts = 4;
constexpr std::size_t LongestPart = 8;
constexpr std::size_t ScriptLength = 4;

// The C library's functions follow the locale of the process; names do not.
char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }
char ToUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c; }
bool IsLetter(char c) { return ToLower(c) >= 'a' && ToLower(c) <= 'z'; }
bool IsLetterOrDigit(char c) { return IsLetter(c) || (c >= '0' && c <= '9'); }

// Nothing else occurs in a locale name, codeset and modifier included.
bool HasLocaleCharacters(std::string_view locale) {
  return std::all_of(locale.begin(), locale.end(), [](char c) {
    return IsLetterOrDigit(c) || std::string_view("-_.@:=+,;").find(c) != std::string_view::npos;
  });
}

bool IsLanguage(std::string_view part) {
  return part.size() >= 2 && part.size() <= LongestPart &&
         std::all_of(part.begin(), part.end(), IsLetter);
}

bool IsSubtag(std::string_view part) {
  return !part.empty() && part.size() <= LongestPart &&
         std::all_of(part.begin(), part.end(), IsLetterOrDigit);
}

bool IsScript(std::string_view part) {
  return part.size() == ScriptLength && std::all_of(part.begin(), part.end(), IsLetter);
}

std::string_view TakePart(std::string_view& name) {
  const std::string_view part = name.substr(0, name.find_first_of("-_"));
  name.remove_prefix(std::min(part.size() + 1, name.size()));
  return part;
}

void AppendSubtag(std::string_view part, std::string& strLocale) {
  strLocale += '_';
  const bool bScript = IsScript(part);
  for (const char c : part) {
    const bool bLower = bScript && strLocale.back() != '_';
    strLocale += bLower ? ToLower(c) : ToUpper(c);
  }
}

}  // namespace

bool IsBundleName(std::string_view name) {
  const auto isNameCharacter = [](char c) {
    return IsLetterOrDigit(c) || c == '_' || c == '-' || c == '.';
  };
  return !name.empty() && name.front() != '.' && name.find("..") == std::string_view::npos &&
         std::all_of(name.begin(), name.end(), isNameCharacter);
}

std::string CanonicalLocale(std::string_view locale) {
  if (!HasLocaleCharacters(locale)) {
    return {};
  }
  std::string_view name = locale.substr(0, locale.find_first_of(".@"));
  if (name == "C" || name == "POSIX") return std::string(DefaultLocale);
  const bool bEndsInSeparator = name.ends_with('-') || name.ends_with('_');
  const std::string_view language = TakePart(name);
  if (!IsLanguage(language) || bEndsInSeparator) {
    return {};
  }
  std::string strLocale(language);
  std::transform(strLocale.begin(), strLocale.end(), strLocale.begin(), ToLower);
  for (std::size_t n = 1; n < MaxParts && !name.empty(); ++n) {
    const std::string_view part = TakePart(name);
    if (!IsSubtag(part)) {
      return {};
    }
    if (part.size() == 1) {
      break;  // the beginning of the extensions
    }
    AppendSubtag(part, strLocale);
  }
  return strLocale;
}
