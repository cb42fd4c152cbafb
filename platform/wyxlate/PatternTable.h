#ifndef WYXLATE_PATTERNTABLE_H
#define WYXLATE_PATTERNTABLE_H

#include <bit>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "wyxlate/PropertiesFile.h"
#include "wyxlate/TextHash.h"

// The patterns of a bundle by key; immutable. Every message looks one up, so the slots are at most
// half taken and counted in a power of two: a look-up divides nothing and seldom sees a second
// slot.
class CWyPatternTable {
 public:
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

  // Null when there is none; otherwise valid as long as the table.
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

  const PropertyTable m_properties;
  std::vector<Slot> m_slots;
  const std::size_t m_uMask;
};

#endif
