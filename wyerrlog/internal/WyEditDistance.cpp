// Optimal string alignment by rows: three rows of the table of distances are kept, since an
// exchange of neighbours looks back two.
#include "wyerrlog/internal/WyEditDistance.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace {

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

bool DifferInCaseAlone(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return ToLower(x) == ToLower(y); });
}

template <typename Name>
std::string_view Nearest(std::string_view word, std::span<const Name> candidates) {
  // At a third, "usr" still finds "user" and "info" does not find "error".
  std::size_t uBest = std::max<std::size_t>(1, word.size() / 3) + 1;
  std::string_view best;
  for (const std::string_view candidate : candidates) {
    if (DifferInCaseAlone(word, candidate)) return candidate;
    const auto [uShorter, uLonger] = std::minmax({word.size(), candidate.size()});
    if (uLonger - uShorter >= uBest) continue;  // the distance is at least that
    const std::size_t uDistance = EditDistance(word, candidate);
    if (uDistance >= uBest || uDistance >= uLonger) continue;
    uBest = uDistance;
    best = candidate;
  }
  return best;
}

}  // namespace

std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::swap(beforeLast, last);
    std::swap(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t uReplaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, uReplaced});
      const bool bExchanged = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (bExchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
  }
  return row.back();
}

std::string_view NearestName(std::string_view word, std::span<const std::string_view> candidates) {
  return Nearest(word, candidates);
}

std::string_view NearestName(std::string_view word, std::span<const std::string> candidates) {
  return Nearest(word, candidates);
}
