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

// More names than a product has. A host that passes on whatever locales its clients name does not
// fill the memory: at this number the cache starts afresh.
constexpr std::size_t MaxBundles = 4096;

bool IsReadableDirectory(const char* pszDirectory) {
  struct stat info;
  return ::stat(pszDirectory, &info) == 0 && S_ISDIR(info.st_mode) &&
         ::faccessat(AT_FDCWD, pszDirectory, R_OK | X_OK, AT_EACCESS) == 0;
}

void RegisterForkHandlers() {
  ::pthread_atfork([] { theBundleCache().PrepareFork(); },
                   [] { theBundleCache().ResumeAfterFork(); },
                   [] { theBundleCache().ResumeAfterFork(); });
}

CWyBundleCache* NewProcessCache() {
  RegisterForkHandlers();
  return new CWyBundleCache;
}

// Makes the cache while the library is loaded. A child that is forked while another thread makes it
// would wait for that thread for ever.
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
  std::error_code error;
  std::string strDirectory = std::filesystem::absolute(pszDirectory, error).string();
  if (error) return false;
  BundleMap discarded;  // outlives the lock
  const std::unique_lock<CWyForkableLock> lock(m_lock);
  m_origin.strDirectory.swap(strDirectory);
  m_bundles.swap(discarded);
  m_uGeneration.store(++m_origin.uGeneration, std::memory_order_release);
  return true;
}

// The number is read before the bundle: one that comes from a later directory is kept under a
// number that nobody asks for any more.
BundleRef CWyBundleCache::Get(const char* pszBundle, const char* pszLocale) {
  const unsigned long uGeneration = m_uGeneration.load(std::memory_order_acquire);
  CWyBundleMemo& memo = CWyBundleMemo::OfThisThread();
  if (CWyLoadedBundle* const pKept = memo.Find(pszBundle, pszLocale, uGeneration)) {
    pKept->AddReference();
    return BundleRef(pKept);
  }
  const KeyView key(pszBundle, *pszLocale == '\0' ? DefaultLocale : pszLocale);
  std::optional<BundleRef> known = Find(key);
  if (!known) return Load(key);
  if (*known != nullptr) memo.Keep(pszBundle, pszLocale, uGeneration, **known);
  return *std::move(known);
}

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
// so that a hit needs no conversion and all spellings share one bundle.
BundleRef CWyBundleCache::Load(const KeyView& key) {
  if (!IsBundleName(key.bundle)) return nullptr;
  const Origin origin = GetOrigin();
  const std::string strLocale = CanonicalLocale(key.locale);
  const KeyView canonicalKey(key.bundle, strLocale);
  if (std::optional<BundleRef> known = Find(canonicalKey)) {
    Remember(origin, key, *known);
    return *std::move(known);
  }
  LoadResult loaded = LoadBundle(origin.strDirectory, key.bundle, strLocale);
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
