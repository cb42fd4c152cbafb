#ifndef WYXLATE_PATTERNTABLE_H
#define WYXLATE_PATTERNTABLE_H

// The table from message keys to patterns, as every look-up of a message uses it.

#include <bit>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "wyxlate/PropertiesFile.h"
#include "wyxlate/TextHash.h"

// The patterns of a bundle by key; immutable, so any thread may read it. A hash table with open
// addressing: at most half of the slots are used, and their number is a power of two, so that a
// look-up divides nothing and seldom reads a second slot.
class CWyPatternTable {
 public:
  // Throws std::bad_alloc. The slots refer to the strings of m_properties: never copy a table, a
  // copy's slots would refer to the strings of the other. More than twice as many slots as keys:
  // there is always an empty one, at which Find ends.
  explicit CWyPatternTable(PropertyTable properties)
      : m_properties(std::move(properties)),
        m_slots(std::bit_ceil(2 * m_properties.size() + 1)),
        m_uMask(m_slots.size() - 1) {
    for (const auto& [strKey, strPattern] : m_properties) {
      std::size_t uSlot = HashText(strKey) & m_uMask;
      while (m_slots[uSlot].pszPattern != nullptr) uSlot = (uSlot + 1) & m_uMask;
      m_slots[uSlot] = {strKey, strPattern.c_str()};
    }
  }

  // Returns the pattern, valid as long as the table; null if there is none. Thread-safe. The
  // pattern ends with a zero byte. The key is compared in full: equal hashes cost a comparison and
  // never give a wrong message.
  const char* Find(std::string_view key) const {
    std::size_t uSlot = HashText(key) & m_uMask;
    while (m_slots[uSlot].pszPattern != nullptr && m_slots[uSlot].key != key) {
      uSlot = (uSlot + 1) & m_uMask;
    }
    return m_slots[uSlot].pszPattern;
  }

 private:
  // Both texts lie in m_properties.
  struct Slot {
    std::string_view key;
    const char* pszPattern = nullptr;
  };

  // Declared before the slots: the order of construction, and the keys' owner.
  const PropertyTable m_properties;
  std::vector<Slot> m_slots;
  const std::size_t m_uMask;
};

#endif
