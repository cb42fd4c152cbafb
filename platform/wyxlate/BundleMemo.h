#ifndef WYXLATE_BUNDLEMEMO_H
#define WYXLATE_BUNDLEMEMO_H

// A small cache in front of the process's bundle cache, one for each thread: no lock, no hash
// table.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "wyxlate/LoadedBundle.h"

// The bundles that one thread looked up last. A plain object, which the thread can still use when
// its other thread-local objects are destroyed.
//
// A thread's messages come from few components and in one locale, so that nearly every look-up ends
// here.
//
// It holds a reference to each of its bundles: after SetResourceDirectory an old bundle stays in
// memory until the thread looks up other bundles, or ends.
class CWyBundleMemo {
 public:
  // The calling thread's.
  static CWyBundleMemo& OfThisThread();

  // Returns the bundle as it was read after the SetResourceDirectory with that number; null if it
  // is not kept. Names are compared as texts, so each spelling of a locale has an entry of its own.
  // The memo keeps its reference.
  CWyLoadedBundle* Find(const char* pszBundle, const char* pszLocale,
                        unsigned long uGeneration) const {
    const Entry& entry = m_entries[IndexOf(pszBundle, pszLocale)];
    const bool bKept = entry.uGeneration == uGeneration && entry.pBundle != nullptr &&
                       std::strcmp(entry.szBundle, pszBundle) == 0 &&
                       std::strcmp(entry.szLocale, pszLocale) == 0;
    return bKept ? entry.pBundle : nullptr;
  }

  // Keeps the bundle in place of the entry that the names share with it. No effect if a name has
  // more than 31 bytes, or if the thread is ending.
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

  // By the addresses of the texts, which are nearly always the same for the same names. The factor
  // is 2^64 divided by the golden ratio; the two upper bits of the product select one of four
  // entries.
  static std::size_t IndexOf(const char* pszBundle, const char* pszLocale) {
    const auto uPlaces =
        reinterpret_cast<std::uintptr_t>(pszBundle) ^ reinterpret_cast<std::uintptr_t>(pszLocale);
    return uPlaces * 0x9E3779B97F4A7C15 >> 62;
  }

  // Releases all bundles when the thread ends.
  class ThreadEnd;

  std::array<Entry, Entries> m_entries;
  bool m_bThreadEnds = false;
};

#endif
