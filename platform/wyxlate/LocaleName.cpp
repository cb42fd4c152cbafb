// The names of bundles and locales, which may come from a client's request, become parts of file
// names. Hence only what is known to be harmless passes: no result has a slash or a "..", so that
// no name leaves the resource directory.

#include "wyxlate/LocaleName.h"

#include <algorithm>
#include <cstddef>

namespace {

// Language, script, region and variant; BCP 47's longest subtag, and its script codes (ISO 15924).
constexpr std::size_t MaxParts = 4;
constexpr std::size_t LongestPart = 8;
constexpr std::size_t ScriptLength = 4;

// Not those of the C library, which follow the process's locale: names do not.
char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }
char ToUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c; }
bool IsLetter(char c) { return ToLower(c) >= 'a' && ToLower(c) <= 'z'; }
bool IsLetterOrDigit(char c) { return IsLetter(c) || (c >= '0' && c <= '9'); }

// All characters that occur in locale names, codeset and modifier included. The part behind the
// language is checked too, although it is left out: a name with a slash anywhere is no locale name.
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

// Takes the text up to the next separator, and the separator, from the front of `name`.
std::string_view TakePart(std::string_view& name) {
  const std::string_view part = name.substr(0, name.find_first_of("-_"));
  name.remove_prefix(std::min(part.size() + 1, name.size()));
  return part;
}

// A script has a capital first letter, everything else is in upper case. A subtag that is so
// spelled already is appended unchanged, so canonical names stay the same.
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
  // Dots are allowed between the parts of a name; a leading one would hide the file.
  return !name.empty() && name.front() != '.' && name.find("..") == std::string_view::npos &&
         std::all_of(name.begin(), name.end(), isNameCharacter);
}

std::string CanonicalLocale(std::string_view locale) {
  if (!HasLocaleCharacters(locale)) {
    return {};
  }
  std::string_view name = locale.substr(0, locale.find_first_of(".@"));
  if (name == "C" || name == "POSIX") return std::string(DefaultLocale);
  // TakePart takes a separator at the end with the part before it, and would hide it.
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
