#ifndef WYERRLOG_INTERNAL_WYEDITDISTANCE_H
#define WYERRLOG_INTERNAL_WYEDITDISTANCE_H

// "Did you mean": the known name that is most like a misspelt word.

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

// The number of single-byte insertions, deletions and replacements, and of exchanges of two
// neighbours, that turn `a` into `b` (optimal string alignment).
std::size_t EditDistance(std::string_view a, std::string_view b);

// The candidate that `word` is most likely a misspelling of: one that differs in case alone,
// otherwise the nearest one, if at most a third of the word has to change, and at least one
// character may. The first of equals; empty when none is near enough.
std::string_view NearestName(std::string_view word, std::span<const std::string_view> candidates);
std::string_view NearestName(std::string_view word, std::span<const std::string> candidates);

#endif
