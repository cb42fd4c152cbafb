// The state page: mapping and checking it, its mutex, and the flip between its slots.
//
// The mutex is robust: the kernel marks it if its owner dies, and the next one to lock it is told.
// A mutex that was locked when the machine lost power is initialised anew, since the boot id in the
// page is then another one.

#include "extras/seal/internal/WySealState.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

// The newline and the zero byte show a state that was copied as text. A change of WySealPage's
// layout needs a new Version: Open refuses every other one, so that no program misreads the keys of
// another release.
constexpr char Magic[8] = {'W', 'Y', 'S', 'E', 'A', 'L', '\n', '\0'};
constexpr uint32_t Version = 1;
// A record takes microseconds, a rollover the time of some fsync calls; only a process that is
// stopped (SIGSTOP, a debugger) holds the mutex longer. The caller's thread must not wait for that
// process forever.
constexpr time_t LockSeconds = 10;  // no owner holds it for so long, but for a stopped process

bool Fail(int iErrno) {
  errno = iErrno;
  return false;
}

// Against damage, not against an attacker: anyone who may write the page has its keys. The page can
// only be half written by a loss of power, which is what this detects.
uint64_t Check(const WySealSlot& slot) {
  uint64_t uCheck = 0xcbf29ce484222325u;
  const auto* const pBytes = reinterpret_cast<const unsigned char*>(&slot);
  for (size_t u = 0; u < offsetof(WySealSlot, uCheck); u += sizeof(uint64_t)) {
    uint64_t uWord = 0;
    memcpy(&uWord, pBytes + u, sizeof uWord);
    uCheck = (uCheck ^ uWord) * 0x9e3779b97f4a7c15u;
    uCheck ^= uCheck >> 29;
  }
  return uCheck;
}
static_assert(offsetof(WySealSlot, uCheck) % sizeof(uint64_t) == 0);

// 36: the length of a UUID as text. The rest of the array stays zero, and the whole of it is
// compared.
bool ReadBootId(char (&szBootId)[40]) {
  const CWySealDescriptor file(open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC));
  return file && read(file.Get(), szBootId, 36) == 36;
}

bool InitialiseMutex(pthread_mutex_t& mutex) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  memset(&mutex, 0, sizeof mutex);
  const int iResult = pthread_mutex_init(&mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return iResult == 0 || Fail(iResult);
}

}  // namespace

// ---- Descriptors --------------------------------------------------------------------------------

CWySealDescriptor::~CWySealDescriptor() {
  if (m_hFile < 0) return;
  const int iErrno = errno;  // the one that the caller is about to report
  close(m_hFile);
  errno = iErrno;
}

int CWySealDescriptor::Release() {
  const int hFile = m_hFile;
  m_hFile = -1;
  return hFile;
}

// ---- Opening ------------------------------------------------------------------------------------

// O_NOFOLLOW and the test of the size come before mmap: access to a page behind the end of a
// shorter file would raise SIGBUS, and a FIFO in the state's place would block open without
// O_NONBLOCK. Permissions of group and others are an error instead of a warning: who reads the page
// can forge all later records.
bool CWySealState::Open(const std::string& strDirectory) {
  Close();
  if (!WySealInitialise()) return Fail(ENOSYS);
  const std::string strPath = strDirectory + "/state";
  CWySealDescriptor file(open(strPath.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file) return false;
  struct stat status;
  if (fstat(file.Get(), &status) != 0) return false;
  if (!S_ISREG(status.st_mode) || status.st_size != WySealPageBytes) return Fail(EBADMSG);
  if ((status.st_mode & 077) != 0) return Fail(EACCES);
  if (!Map(file.Get())) return false;
  m_hFile = file.Release();
  if (AcceptHead() && PrepareMutex(m_hFile) && AcceptSlot()) return true;
  const int iErrno = errno;
  Close();
  return Fail(iErrno);
}

// A state that cannot be locked or excluded from core dumps is not used: the promise that no key
// leaves the page is worth more than a log that starts. mlock is not inherited over fork; the page
// is a file's, so that it goes to its own file and never to swap.
bool CWySealState::Map(int hFile) {
  void* const pPage = mmap(nullptr, WySealPageBytes, PROT_READ | PROT_WRITE, MAP_SHARED, hFile, 0);
  if (pPage == MAP_FAILED) return false;
  m_pPage = static_cast<WySealPage*>(pPage);
  if (mlock(pPage, WySealPageBytes) == 0 && madvise(pPage, WySealPageBytes, MADV_DONTDUMP) == 0) {
    return true;
  }
  const int iErrno = errno;
  Close();
  return Fail(iErrno);
}

bool CWySealState::AcceptHead() const {
  if (memcmp(m_pPage->szMagic, Magic, sizeof Magic) != 0) return Fail(EBADMSG);
  return m_pPage->uVersion == Version || Fail(EPROTO);
}

// Under the mutex: a process that writes at this moment flips the slots and wipes the former one.
bool CWySealState::AcceptSlot() {
  const CWySealLock lock(*this);
  return lock.IsHeld() && (Slot().uCheck == Check(Slot()) || Fail(EBADMSG));
}

// Under a lock of the file, so that one process alone initialises.
bool CWySealState::PrepareMutex(int hFile) {
  char szBootId[40] = {};
  if (!ReadBootId(szBootId)) return false;
  if (flock(hFile, LOCK_EX) != 0) return false;
  // The order matters if the process is killed here: the boot id is written last, so that the next
  // process initialises the mutex again, and no process can have locked it before that. uDirty is
  // set since the reboot may have lost pages of the log or of the state.
  bool bReady = memcmp(m_pPage->szBootId, szBootId, sizeof szBootId) == 0;
  if (!bReady && InitialiseMutex(m_pPage->mutex)) {
    m_pPage->uDirty = 1;
    memcpy(m_pPage->szBootId, szBootId, sizeof szBootId);
    bReady = true;
  }
  flock(hFile, LOCK_UN);
  return bReady;
}

void CWySealState::Close() {
  if (m_pPage != nullptr) munmap(m_pPage, WySealPageBytes);
  m_pPage = nullptr;
  if (m_hFile >= 0) close(m_hFile);
  m_hFile = -1;
}

// The caller's page has no magic yet, so that a WySealPage on the stack is never mistaken for a
// state. O_EXCL: an existing state holds keys of a log that goes on, and is never overwritten.
bool CWySealState::Create(const std::string& strDirectory, const WySealPage& page) {
  CWySealWiped<std::array<char, WySealPageBytes>> image;
  auto& copy = *reinterpret_cast<WySealPage*>(image->data());
  memcpy(image->data(), &page, sizeof page);
  memcpy(copy.szMagic, Magic, sizeof Magic);
  copy.uVersion = Version;
  copy.slots[0].uCheck = Check(copy.slots[0]);
  const std::string strPath = strDirectory + "/state";
  const CWySealDescriptor file(
      open(strPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return false;
  if (write(file.Get(), image->data(), image->size()) == ssize_t{WySealPageBytes} &&
      fsync(file.Get()) == 0) {
    return true;
  }
  const int iErrno = errno;
  unlink(strPath.c_str());
  return Fail(iErrno);
}

// ---- The mutex ----------------------------------------------------------------------------------

// A page that was cut while it is mapped would end the process by SIGBUS. The end of a file is
// cheaper to ask for than its status. An uncontended lock is the common case, so the clock is read
// only if trylock fails.
bool CWySealState::Lock() {
  if (!IsOpen()) return Fail(EBADF);
  const off_t lSize = lseek(m_hFile, 0, SEEK_END);
  if (lSize < off_t{WySealPageBytes}) return lSize >= 0 ? Fail(EBADMSG) : false;
  int iResult = pthread_mutex_trylock(&m_pPage->mutex);
  if (iResult == EBUSY) {
    timespec until;
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += LockSeconds;
    iResult = pthread_mutex_timedlock(&m_pPage->mutex, &until);
  }
  // The slots are consistent at every moment, only page and file may differ: so the mutex is made
  // usable at once, and Recover does the rest while it is held.
  if (iResult == EOWNERDEAD) {
    m_pPage->uDirty = 1;
    iResult = pthread_mutex_consistent(&m_pPage->mutex);
  }
  return iResult == 0 || Fail(iResult);
}

// The scratch has the key of the record just written; whoever steals the page later must not find
// it.
void CWySealState::Unlock() {
  sodium_memzero(&m_pPage->scratch, sizeof m_pPage->scratch);
  pthread_mutex_unlock(&m_pPage->mutex);
}

// ---- Changes ------------------------------------------------------------------------------------

// The assignment overwrites the other slot whole, so that it also removes keys which a process left
// there that was killed between the flip and the wipe in Commit.
WySealSlot& CWySealState::Prepare() {
  WySealSlot& slot = m_pPage->slots[(m_pPage->uIndex & 1) ^ 1];
  slot = Slot();
  return slot;
}

// The check word is stored before the flip, and the release order keeps the compiler from moving
// the slot's contents behind it. From the flip on the former key is useless, and the wipe makes
// records before it unforgeable. Nothing may be added between the two: a kill there leaves the
// former key in the page until the next Prepare.
void CWySealState::Commit() {
  const uint32_t uNew = (m_pPage->uIndex & 1) ^ 1;
  m_pPage->slots[uNew].uCheck = Check(m_pPage->slots[uNew]);
  std::atomic_ref(m_pPage->uIndex).store(uNew, std::memory_order_release);
  sodium_memzero(&m_pPage->slots[uNew ^ 1], sizeof(WySealSlot));
}

void CWySealState::Sync() { msync(m_pPage, WySealPageBytes, MS_SYNC); }
