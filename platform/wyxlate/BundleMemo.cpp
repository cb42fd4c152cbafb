#include "wyxlate/BundleMemo.h"

#include <pthread.h>

#include <utility>

namespace {

constinit thread_local CWyBundleMemo t_memo;

}  // namespace

// Not an object of the thread's: without memory to note that it is to be destroyed, the C library
// would end the process.
class CWyBundleMemo::ThreadEnd {
 public:
  // False when the system cannot see to it.
  static bool Watch() {
    const ThreadEnd& end = Get();
    return end.m_bHasKey && pthread_setspecific(end.m_key, &OfThisThread()) == 0;
  }

 private:
  ThreadEnd() : m_bHasKey(pthread_key_create(&m_key, Forget) == 0) {}

  static const ThreadEnd& Get() {
    static const ThreadEnd s_end;
    return s_end;
  }
  static const ThreadEnd& s_constructedAtLoad;

  static void Forget(void* pMemo) {
    CWyBundleMemo& memo = *static_cast<CWyBundleMemo*>(pMemo);
    memo.m_bThreadEnds = true;
    for (Entry& entry : memo.m_entries) {
      const BundleRef released(std::exchange(entry.pBundle, nullptr));
    }
  }

  pthread_key_t m_key{};
  bool m_bHasKey;
};

// Constructed when the library is loaded: a child that is forked while another thread constructs it
// would wait for that thread forever.
const CWyBundleMemo::ThreadEnd& CWyBundleMemo::ThreadEnd::s_constructedAtLoad = Get();

CWyBundleMemo& CWyBundleMemo::OfThisThread() { return t_memo; }

void CWyBundleMemo::Keep(const char* pszBundle, const char* pszLocale, unsigned long uGeneration,
                         CWyLoadedBundle& bundle) {
  const std::size_t uBundleSize = std::strlen(pszBundle) + 1;
  const std::size_t uLocaleSize = std::strlen(pszLocale) + 1;
  if (m_bThreadEnds || uBundleSize > NameSize || uLocaleSize > NameSize) return;
  if (!ThreadEnd::Watch()) return;
  Entry& entry = m_entries[IndexOf(pszBundle, pszLocale)];
  std::memcpy(entry.szBundle, pszBundle, uBundleSize);
  std::memcpy(entry.szLocale, pszLocale, uLocaleSize);
  bundle.AddReference();
  const BundleRef released(std::exchange(entry.pBundle, &bundle));
  entry.uGeneration = uGeneration;
}
