#ifndef WYXLATE_BUNDLECACHE_H
#define WYXLATE_BUNDLECACHE_H

// The cache of loaded bundles behind CWyXlate: each file is read once, and a known bundle is found
// without waiting for any file.

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "wyxlate/ForkableLock.h"
#include "wyxlate/LoadedBundle.h"
#include "wyxlate/TextHash.h"

// The resource directory, and every bundle that was read from it, or that has no files there.
//
// A known bundle is found under a shared lock. Files are read without any lock: threads that miss
// the same bundle at the same time each read it, and the first to finish puts it into the cache; so
// no thread waits for another thread's file, and in a forked child nothing waits for a reader of
// the parent.
class CWyBundleCache {
 public:
  // See CWyXlate::SetResourceDirectory. Throws std::bad_alloc.
  bool SetDirectory(const char* pszDirectory);

  // See CWyXlate::GetBundle; neither name is null. Throws std::bad_alloc, but only if the bundle is
  // not yet known.
  BundleRef Get(const char* pszBundle, const char* pszLocale);

  // The number of directories that have been set so far.
  const std::atomic<unsigned long>& Generation() const { return m_uGeneration; }

  // Around fork(), called on the forking thread: no other thread is within the cache at the fork.
  void PrepareFork() { m_lock.lock(); }
  void ResumeAfterFork() { m_lock.unlock(); }

 private:
  struct Key {
    std::string strBundle;
    std::string strLocale;
  };
  struct KeyView {
    KeyView(std::string_view bundleName, std::string_view localeName)
        : bundle(bundleName), locale(localeName) {}
    KeyView(const Key& key) : bundle(key.strBundle), locale(key.strLocale) {}

    std::string_view bundle;
    std::string_view locale;
  };
  struct KeyHash {
    using is_transparent = void;
    std::size_t operator()(const KeyView& key) const {
      return HashText(key.bundle) * 31 + HashText(key.locale);
    }
  };
  struct KeyEqual {
    using is_transparent = void;
    bool operator()(const KeyView& a, const KeyView& b) const {
      return a.bundle == b.bundle && a.locale == b.locale;
    }
  };
  using BundleMap = std::unordered_map<Key, BundleRef, KeyHash, KeyEqual>;

  // A directory, and the number of the SetDirectory that set it.
  struct Origin {
    std::string strDirectory;
    unsigned long uGeneration;
  };

  std::optional<BundleRef> Find(const KeyView& key);
  Origin GetOrigin();
  BundleRef Load(const KeyView& key);
  void Remember(const Origin& origin, const KeyView& key, const BundleRef& bundle);

  // That of m_origin, stored last: a reader that finds it finds the whole change.
  std::atomic<unsigned long> m_uGeneration{0};
  CWyForkableLock m_lock;  // guards all that follows
  Origin m_origin{{}, 0};  // no directory at first
  BundleMap m_bundles;     // null: there are no files
};

// The cache of the process. It is constructed when the library is loaded and never destroyed.
CWyBundleCache& theBundleCache();

#endif
