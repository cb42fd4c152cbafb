#include "wyxlate/BundleMemo.h"

namespace {

// Never destroyed: messages may still come when the thread's objects are destroyed already.
union ThreadMemo {
  CWyBundleMemo memo;
  constexpr ThreadMemo() : memo() {}
  ~ThreadMemo() {}
};

constinit thread_local ThreadMemo t_memo;

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
      entry.uGeneration = 0;
      entry.bundle.reset();
    }
  }
};

CWyBundleMemo& CWyBundleMemo::OfThisThread() { return t_memo.memo; }

void CWyBundleMemo::Keep(const char* pszBundle, const char* pszLocale, unsigned long uGeneration,
                         const BundleRef& bundle) {
  const std::size_t uBundleSize = std::strlen(pszBundle) + 1;
  const std::size_t uLocaleSize = std::strlen(pszLocale) + 1;
  if (m_bThreadEnds || uBundleSize > NameSize || uLocaleSize > NameSize) return;
  ThreadEnd::Watch();
  Entry& entry = m_entries[IndexOf(pszBundle, pszLocale)];
  std::memcpy(entry.szBundle, pszBundle, uBundleSize);
  std::memcpy(entry.szLocale, pszLocale, uLocaleSize);
  entry.bundle = Share(bundle);
  entry.uGeneration = uGeneration;
}
