// The three steps of a look-up: the calling thread's memo, without a lock; the map, under the
// shared lock; the files, without any lock. A bundle that was read is entered into the map only if
// the directory that it comes from is still set.

#include "wyxlate/BundleCache.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <mutex>
#include <shared_mutex>
#include <system_error>
#include <utility>

#include "wyxlate/BundleMemo.h"
#include "wyxlate/LocaleName.h"

namespace {

// More names than a product has. A host that passes on whatever locales its clients name must not
// fill the memory: at this number the map is emptied, and fills again with what is in use.
constexpr std::size_t MaxBundles = 4096;

// AT_EACCESS: the effective ids, which open(2) checks too. access(2) takes the real ones and would
// be wrong in a set-user-id host.
bool IsReadableDirectory(const char* pszDirectory) {
  struct stat info;
  return ::stat(pszDirectory, &info) == 0 && S_ISDIR(info.st_mode) &&
         ::faccessat(AT_FDCWD, pszDirectory, R_OK | X_OK, AT_EACCESS) == 0;
}

// The thread that forks holds the lock across the fork and releases it in both processes. So a
// child finds the map whole, and the lock not held by a thread that does not exist there.
void RegisterForkHandlers() {
  ::pthread_atfork([] { theBundleCache().PrepareFork(); },
                   [] { theBundleCache().ResumeAfterFork(); },
                   [] { theBundleCache().ResumeAfterFork(); });
}

// The handlers come first: from then on a fork by another thread waits in theBundleCache until the
// construction is complete.
CWyBundleCache* NewProcessCache() {
  RegisterForkHandlers();
  return new CWyBundleCache;
}

// Constructs the cache while the library is loaded. A child that is forked while another thread
// constructs it would wait for that thread forever.
[[maybe_unused]] const CWyBundleCache& s_cacheConstructedAtLoad = theBundleCache();

}  // namespace

CWyBundleCache& theBundleCache() {
  // Never deleted: threads that outlive main, and destructors that run later than those of this
  // library, still look up messages.
  static CWyBundleCache* const s_pCache = NewProcessCache();
  return *s_pCache;
}

bool CWyBundleCache::SetDirectory(const char* pszDirectory) {
  if (pszDirectory == nullptr || !IsReadableDirectory(pszDirectory)) return false;
  // Resolved now: the host may change its working directory before the first bundle is read.
  std::error_code error;
  std::string strDirectory = std::filesystem::absolute(pszDirectory, error).string();
  if (error) return false;
  BundleMap discarded;  // outlives the lock: bundles are destroyed without it
  const std::unique_lock<CWyForkableLock> lock(m_lock);
  m_origin.strDirectory.swap(strDirectory);
  m_bundles.swap(discarded);
  m_uGeneration.store(++m_origin.uGeneration, std::memory_order_release);
  return true;
}

// The generation is read before the bundle. If SetDirectory comes in between, the bundle is one of
// the new directory under the old number, which no later look-up asks for: a memo never returns a
// bundle of a directory that was replaced before the call.
BundleRef CWyBundleCache::Get(const char* pszBundle, const char* pszLocale) {
  const unsigned long uGeneration = m_uGeneration.load(std::memory_order_acquire);
  CWyBundleMemo& memo = CWyBundleMemo::OfThisThread();
  if (CWyLoadedBundle* const pKept = memo.Find(pszBundle, pszLocale, uGeneration)) {
    // The memo's reference keeps the bundle until here: only this thread drops it.
    pKept->AddReference();
    return BundleRef(pKept);
  }
  const KeyView key(pszBundle, *pszLocale == '\0' ? DefaultLocale : pszLocale);
  std::optional<BundleRef> known = Find(key);
  if (!known) return Load(key);
  if (*known != nullptr) memo.Keep(pszBundle, pszLocale, uGeneration, **known);
  return *std::move(known);
}

// Returns nothing if the bundle is not known yet, and a null bundle if it is known to have no
// files.
std::optional<BundleRef> CWyBundleCache::Find(const KeyView& key) {
  const std::shared_lock<CWyForkableLock> lock(m_lock);
  if (m_origin.strDirectory.empty()) return BundleRef();
  const auto entry = m_bundles.find(key);
  if (entry == m_bundles.end()) return std::nullopt;
  return Share(entry->second);
}

CWyBundleCache::Origin CWyBundleCache::GetOrigin() {
  const std::shared_lock<CWyForkableLock> lock(m_lock);
  return m_origin;
}

// A bundle is kept under the locale's canonical spelling, and under each spelling that callers use,
// so that a hit needs no conversion and all spellings share one bundle. Threads that miss the same
// bundle at once each read its files; the first to finish enters it, and the others return their
// own copy.
BundleRef CWyBundleCache::Load(const KeyView& key) {
  if (!IsBundleName(key.bundle)) return nullptr;
  // Copied before the files are read: Remember compares the generation.
  const Origin origin = GetOrigin();
  const std::string strLocale = CanonicalLocale(key.locale);
  const KeyView canonicalKey(key.bundle, strLocale);
  if (std::optional<BundleRef> known = Find(canonicalKey)) {
    Remember(origin, key, *known);
    return *std::move(known);
  }
  LoadResult loaded = LoadBundle(origin.strDirectory, key.bundle, strLocale);
  // After a shortage of descriptors or memory nothing is kept, so that the next call tries again.
  if (loaded.bComplete) {
    Remember(origin, canonicalKey, loaded.bundle);
    Remember(origin, key, loaded.bundle);
  }
  return std::move(loaded.bundle);
}

void CWyBundleCache::Remember(const Origin& origin, const KeyView& key, const BundleRef& bundle) {
  Key ownKey{std::string(key.bundle), std::string(key.locale)};
  BundleMap discarded;  // outlives the lock
  const std::unique_lock<CWyForkableLock> lock(m_lock);
  if (m_origin.uGeneration != origin.uGeneration) {
    return;  // the bundle comes from a directory that is no longer set
  }
  if (m_bundles.size() >= MaxBundles) m_bundles.swap(discarded);
  m_bundles.try_emplace(std::move(ownKey), Share(bundle));
}
