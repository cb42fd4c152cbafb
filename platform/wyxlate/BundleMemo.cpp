// What a thread keeps of its last look-ups, and how it is released when the thread ends. The memo
// is plain thread-local memory without a destructor, so it also serves destructors that run late.

#include "wyxlate/BundleMemo.h"

#include <pthread.h>

#include <utility>

namespace {

constinit thread_local CWyBundleMemo t_memo;

}  // namespace

// Watches for the end of threads, by a thread-specific key. A thread-local object with a destructor
// would not do: the C library allocates memory to note it, and ends the process if that fails.
class CWyBundleMemo::ThreadEnd {
 public:
  // Returns false if the system has no key, or no memory for the thread's value.
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
    // A look-up by a destructor that runs after this one must keep nothing: it would never be
    // released.
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
  // Before the old reference is dropped, which may be one to the same bundle.
  bundle.AddReference();
  const BundleRef released(std::exchange(entry.pBundle, &bundle));
  entry.uGeneration = uGeneration;
}
