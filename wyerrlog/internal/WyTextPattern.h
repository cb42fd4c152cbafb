#ifndef WYERRLOG_INTERNAL_WYTEXTPATTERN_H
#define WYERRLOG_INTERNAL_WYTEXTPATTERN_H

// The formatting of texts into a pattern from outside the library: a Java program's, for instance.

#include <span>
#include <string>
#include <string_view>

// A width above this counts as this, so that no pattern can ask for more memory than its texts
// need.
inline constexpr unsigned int WyMaxTextWidth = 4096;  // bytes

// The pattern with its text conversions replaced by the texts, one after another. A text conversion
// is "%s" with any of the flags "-+ #0", a width and a precision, in printf's meaning: of the flags
// only "-" changes a text, widths and precisions are decimal digits and count bytes. "%%" is one
// "%". Everything else appears as it stands: other conversions, "%*s", "%1$s", a lone "%", and text
// conversions when there are no texts left. So a pattern of any kind is safe.
std::string WyFormatTexts(std::string_view pattern, std::span<const char* const> texts);

#endif
