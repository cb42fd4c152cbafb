#ifndef WYXLATE_LOCALENAME_H
#define WYXLATE_LOCALENAME_H

// The names that callers give for bundles and locales, and what of them may become part of a file
// name. No result of these functions has a slash in it.

#include <string>
#include <string_view>

// The locale of callers that name none.
inline constexpr std::string_view DefaultLocale = "en";

// True for names of letters, digits, "_", "-" and single dots between them.
bool IsBundleName(std::string_view name);

// The spelling of a locale in file names, "de", "de_DE" or "zh_Hant_TW": language in lower case,
// script with a capital, everything else in upper case; at most four parts. Codeset, modifier and
// BCP 47 extensions are left out, "C" and "POSIX" are DefaultLocale. The empty text for everything
// that is no locale name. A result given in again comes out unchanged.
std::string CanonicalLocale(std::string_view locale);

#endif
