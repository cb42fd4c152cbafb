#include "wyxlate/BundleMemo.h"

#include <utility>

namespace {

constinit thread_local CWyBundleMemo t_memo;

}  // namespace

class CWyBundleMemo::ThreadEnd {
 public:
  static void Watch() { static thread_local const ThreadEnd s_end; }

 private:
  ThreadEnd() = default;
  ~ThreadEnd() {
    CWyBundleMemo& memo = OfThisThread();
    memo.m_bThreadEnds = true;
    for (Entry& entry : memo.m_entries) {
      const BundleRef released(std::exchange(entry.pBundle, nullptr));
    }
  }
};

CWyBundleMemo& CWyBundleMemo::OfThisThread() { return t_memo; }

void CWyBundleMemo::Keep(const char* pszBundle, const char* pszLocale, unsigned long uGeneration,
                         CWyLoadedBundle& bundle) {
  const std::size_t uBundleSize = std::strlen(pszBundle) + 1;
  const std::size_t uLocaleSize = std::strlen(pszLocale) + 1;
  if (m_bThreadEnds || uBundleSize > NameSize || uLocaleSize > NameSize) return;
  ThreadEnd::Watch();
  Entry& entry = m_entries[IndexOf(pszBundle, pszLocale)];
  std::memcpy(entry.szBundle, pszBundle, uBundleSize);
  std::memcpy(entry.szLocale, pszLocale, uLocaleSize);
  bundle.AddReference();
  const BundleRef released(std::exchange(entry.pBundle, &bundle));
  entry.uGeneration = uGeneration;
}
