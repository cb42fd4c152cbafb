#ifndef WYXLATE_LOADEDBUNDLE_H
#define WYXLATE_LOADEDBUNDLE_H

// One loaded bundle, its references, and the reading of its files.

#include <wyxlate/WyXlate.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "wyxlate/PatternTable.h"

// A bundle in one locale, merged from all its files. Immutable, and shared by reference counting:
// it is deleted when the cache and every caller have released it, by the thread that releases it
// last.
class CWyLoadedBundle final : public CWyXlateBundle {
 public:
  // The creator holds the first reference.
  CWyLoadedBundle(PropertyTable properties, bool bComplete)
      : m_patterns(std::move(properties)), m_bComplete(bComplete) {}

  // Returns false if one of its files may have been missed (LoadResult::bComplete).
  bool IsComplete() const { return m_bComplete; }

  // Returns the text of the key, valid as long as the bundle; null if there is none.
  const char* Find(std::string_view key) const { return m_patterns.Find(key); }

  void AddReference() { m_iReferences.fetch_add(1, std::memory_order_relaxed); }
  void DropReference() {
    if (m_iReferences.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

 private:
  ~CWyLoadedBundle() = default;

  const CWyPatternTable m_patterns;
  const bool m_bComplete;
  std::atomic<int> m_iReferences{1};
};

// The deleter of BundleRef.
struct CWyBundleReleaser {
  void operator()(CWyLoadedBundle* pBundle) const { pBundle->DropReference(); }
};

// One reference to a bundle; null stands for a bundle that has no files.
using BundleRef = std::unique_ptr<CWyLoadedBundle, CWyBundleReleaser>;

// Returns a second reference to the same bundle.
inline BundleRef Share(const BundleRef& bundle) {
  if (bundle != nullptr) bundle->AddReference();
  return BundleRef(bundle.get());
}

struct LoadResult {
  BundleRef bundle;
  bool bComplete;  // false: a file may have been missed (FileState::Busy)
};

// Reads the bundle's files from `strDirectory`. Throws std::bad_alloc. Requires: the bundle name
// has passed IsBundleName, and the locale is a result of CanonicalLocale, so that neither leads to
// another directory.
LoadResult LoadBundle(const std::string& strDirectory, std::string_view bundle,
                      std::string_view locale);

#endif
