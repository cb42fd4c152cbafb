#ifndef WYXLATE_TEXTHASH_H
#define WYXLATE_TEXTHASH_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// The hash of the short texts that are looked up for every message: bundle names, locales and
// message keys. It is inline and reads eight bytes at a time, with less than half the instructions
// of std::hash. It has no defence against chosen keys: the keys come from the product's own files.

// By memcpy: the texts have any alignment. One load instruction on x86-64.
template <typename Word>
std::uint64_t LoadWord(const char* p) {
  Word word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

// Returns all bytes of a text of at most seven bytes, some of them twice. Reads only within the
// text, so that no byte behind it decides the hash (and no page behind it faults). Overlapping
// loads replace a loop over single bytes.
inline std::uint64_t LoadShortText(std::string_view text) {
  const char* p = text.data();
  const std::size_t n = text.size();
  if (n >= 4) return LoadWord<std::uint32_t>(p) << 32 | LoadWord<std::uint32_t>(p + n - 4);
  if (n > 0) {
    return LoadWord<unsigned char>(p) << 16 | LoadWord<unsigned char>(p + n / 2) << 8 |
           LoadWord<unsigned char>(p + n - 1);
  }
  return 0;
}

// The multiplication moves differences upwards, the shift brings them back to the low bits, which
// alone choose a slot.
inline std::uint64_t MixHash(std::uint64_t uHash, std::uint64_t uWord) {
  uHash = (uHash ^ uWord) * 0x9E3779B97F4A7C15;  // 2^64 divided by the golden ratio
  return uHash ^ uHash >> 32;
}

// Begins with the size, since a short text and the same one with zero bytes in front would
// otherwise have one hash. The value differs between byte orders and releases: never store it.
inline std::size_t HashText(std::string_view text) {
  std::uint64_t uHash = text.size();
  for (; text.size() >= 8; text.remove_prefix(8)) {
    uHash = MixHash(uHash, LoadWord<std::uint64_t>(text.data()));
  }
  return MixHash(uHash, LoadShortText(text));
}

// Finds strings in a table by any kind of text, without constructing a string.
struct CWyTextHash {
  using is_transparent = void;
  // Not noexcept: the standard library then keeps each key's hash with the key.
  std::size_t operator()(std::string_view text) const { return HashText(text); }
};

#endif
