#ifndef WYXLATE_BUNDLEMEMO_H
#define WYXLATE_BUNDLEMEMO_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "wyxlate/LoadedBundle.h"

// The bundles that one thread looked up last. A plain object, which the thread can still use when
// its other objects are destroyed.
//
// A thread's messages come from few components and in
// one locale, so that nearly every look-up ends here, without a lock and without a hash table.
//
// It holds a reference to each of its bundles: after SetResourceDirectory an old one lives on until
// the thread looks up others, or ends.
class CWyBundleMemo {
 public:
  // The calling thread's.
  static CWyBundleMemo& OfThisThread();

  // The bundle as the SetResourceDirectory with that number has it; null when it is not kept. The
  // names are compared by their texts, whatever they were kept under.
  CWyLoadedBundle* Find(const char* pszBundle, const char* pszLocale,
                        unsigned long uGeneration) const {
    const Entry& entry = m_entries[IndexOf(pszBundle, pszLocale)];
    const bool bKept = entry.uGeneration == uGeneration && entry.pBundle != nullptr &&
                       std::strcmp(entry.szBundle, pszBundle) == 0 &&
                       std::strcmp(entry.szLocale, pszLocale) == 0;
    return bKept ? entry.pBundle : nullptr;
  }

  // Keeps nothing when a name is too long, and nothing any more when the thread is ending.
  void Keep(const char* pszBundle, const char* pszLocale, unsigned long uGeneration,
            CWyLoadedBundle& bundle);

 private:
  static constexpr std::size_t NameSize = 32;
  static constexpr std::size_t Entries = 4;

  struct Entry {
    unsigned long uGeneration = 0;
    CWyLoadedBundle* pBundle = nullptr;  // a reference; null in an empty entry
    char szBundle[NameSize] = {};
    char szLocale[NameSize] = {};
  };

  // By the places of the texts, which are the same ones nearly always.
  static std::size_t IndexOf(const char* pszBundle, const char* pszLocale) {
    const auto uPlaces =
        reinterpret_cast<std::uintptr_t>(pszBundle) ^ reinterpret_cast<std::uintptr_t>(pszLocale);
    return uPlaces * 0x9E3779B97F4A7C15 >> 62;
  }

  // Forgets everything when the thread ends.
  class ThreadEnd;

  std::array<Entry, Entries> m_entries;
  bool m_bThreadEnds = false;
};

#endif
