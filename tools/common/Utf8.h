#ifndef WYERRLOG_TOOLS_COMMON_UTF8_H
#define WYERRLOG_TOOLS_COMMON_UTF8_H

// UTF-8 in the files that the programs read: whether it is valid, and how wide it is on a terminal.

#include <cstddef>
#include <string>
#include <string_view>

// The length in bytes of the character at the front of `text`: 1 to 4, or 0 when the bytes there
// are no UTF-8 (an overlong form, a surrogate, a value above U+10FFFF, a cut sequence) or `text` is
// empty.
std::size_t Utf8CharacterLength(std::string_view text);

// The offset of the first byte that is not part of a valid character; npos if all are.
std::size_t FindInvalidUtf8(std::string_view text);

// The number of characters of `text`. A byte that is no UTF-8 counts as one.
std::size_t CountCharacters(std::string_view text);

// The columns that `text` takes on a terminal: two for a wide East Asian character or a pictograph,
// none for a combining mark.
std::size_t DisplayWidth(std::string_view text);

// `text` for a terminal: control characters, and bytes that are no UTF-8, are written as "\xNN".
// Tabs are kept.
std::string Printable(std::string_view text);

// `text` with U+FFFD in the place of every byte that is no UTF-8: what JSON can carry.
std::string ValidUtf8(std::string_view text);

#endif
