#ifndef WYXLATE_LOCALENAME_H
#define WYXLATE_LOCALENAME_H

// The names of bundles and locales, from callers' spellings to parts of file names. No result of
// these functions has a slash in it.

#include <string>
#include <string_view>

// The locale of callers that name none.
inline constexpr std::string_view DefaultLocale = "en";

// Returns true for names of letters, digits, "_", "-" and single dots between them.
bool IsBundleName(std::string_view name);

// Returns the spelling of a locale in file names, "de", "de_DE" or "zh_Hant_TW": language in lower
// case, script with a capital, everything else in upper case; at most four parts. Codeset, modifier
// and BCP 47 extensions are left out, "C" and "POSIX" are DefaultLocale. Returns the empty text
// for a text that is no locale name. The result is its own canonical spelling. Throws
// std::bad_alloc.
std::string CanonicalLocale(std::string_view locale);

#endif
