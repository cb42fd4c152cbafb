// Log files: opening, and writing within the size limit. Threads write side by side as long as the
// file has room for all of them; the one that finds it full waits for the others and rolls it over.
//
// The states of an output: closed (m_hFile is -1); open; open with a rollover to be tried again
// (m_bRolloverRetry); and that without a file, which could not be opened again (AwaitsRetry).

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <typeinfo>
#include <utility>

#include "wyerrlog/WyErrLogPrivUtil.h"
#include "wyerrlog/WyLogOutput.h"
#include "wyerrlog/internal/WyDeadlockCheck.h"
#include "wyerrlog/internal/WyFileGrowth.h"
#include "wyerrlog/internal/WyTextBuffer.h"

namespace {

constexpr int SizeLimitMB = 4096;     // the first that 32 bits of bytes cannot hold
constexpr time_t RetrySeconds = 300;  // the contract's; see CWyFileOutput::Rollover

bool IsSizeLimited(int iMode) {
  return iMode == WyFileMode::AppendRollBySize || iMode == WyFileMode::RollAtOpenAndBySize;
}

// Holds an output's guard for reading: CWyErrLogAutoReader without a call. A guard without memory
// is none.
class CWyWriterBesideOthers {
 public:
  explicit CWyWriterBesideOthers(const CWyErrLogGuard& guard)
      : m_pGuard(guard.Native()), m_hold(Locked(m_pGuard), CWyGuardHold::Read) {}
  ~CWyWriterBesideOthers() {
    if (m_pGuard != nullptr) m_pGuard->UnlockReader();
  }
  CWyWriterBesideOthers(const CWyWriterBesideOthers&) = delete;
  CWyWriterBesideOthers& operator=(const CWyWriterBesideOthers&) = delete;

 private:
  static CWyGuard* Locked(CWyGuard* pGuard) {
    if (pGuard != nullptr) pGuard->LockForRead();
    return pGuard;
  }

  CWyGuard* m_pGuard;
  CWyGuardHold m_hold;
};

// The flags of the ways to open a log file, 0 to 2; -1 for any other. O_APPEND lets the system put
// each write at the end of the file, also if several processes write. Way 1 is without it: the
// threads share the descriptor's offset, which the system moves with each write.
int OpenFlags(int iHow) {
  switch (iHow) {
    case 0:
      return O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
    case 1:
      return O_WRONLY | O_CREAT | O_TRUNC;
    case 2:
      return O_WRONLY | O_CREAT | O_APPEND;
    default:
      return -1;
  }
}

}  // namespace

// The headers get complete texts, so their time base has no effect. A message without a time base
// would ask the process logger, which may be under construction.
CWyFileOutput::CWyFileOutput()
    : m_pszFileName(nullptr),
      m_hFile(-1),
      m_iMaxBackups(0),
      m_uMaxFileSize(0),
      m_iMode(0),
      m_bRegularFile(false),
      m_bRolloverRetry(false),
      m_tRolloverFailed(0),
      m_msgHeader1(false),
      m_msgHeader2(false) {
  SetType(WyOutputType::File);
}

CWyFileOutput::~CWyFileOutput() {
  CloseFile();
  delete[] m_pszFileName;
}

bool CWyFileOutput::SetParams(const char* pszFileName, int iMode, int iMaxSizeMB, int iMaxBackups) {
  if (pszFileName == nullptr || *pszFileName == '\0') return false;
  if (iMode < WyFileMode::Overwrite || iMode > WyFileMode::RollAtOpenAndBySize) return false;
  if (iMaxSizeMB < 0 || iMaxSizeMB >= SizeLimitMB || iMaxBackups < 0) return false;

  // Nothing changes before all memory has been allocated: a refused call keeps the former
  // parameters.
  const unsigned int uMaxFileSize = static_cast<unsigned int>(iMaxSizeMB) << 20;
  std::unique_ptr<CWyFileGrowth> pGrowth;
  if (IsSizeLimited(iMode)) {
    pGrowth.reset(new (std::nothrow) CWyFileGrowth(uMaxFileSize));
    if (pGrowth == nullptr) return false;
  }
  const size_t uSize = strlen(pszFileName) + 1;
  char* pszCopy = new (std::nothrow) char[uSize];
  if (pszCopy == nullptr) return false;
  memcpy(pszCopy, pszFileName, uSize);
  delete[] m_pszFileName;
  m_pszFileName = pszCopy;

  m_iMode = iMode;
  m_uMaxFileSize = uMaxFileSize;
  m_pGrowth = std::move(pGrowth);
  m_iMaxBackups = iMaxBackups;
  return true;
}

// ---- Opening and closing ------------------------------------------------------------------------

// A file that does not exist yet is not rolled over, whatever the mode: there is nothing to back
// up.
bool CWyFileOutput::Open() {
  if (!FileExists(m_pszFileName)) return OpenFile(0);
  switch (m_iMode) {
    case WyFileMode::Overwrite:
      return OpenFile(1);
    case WyFileMode::Append:
    case WyFileMode::AppendRollBySize:
      return OpenFile(2);
    default:
      return Rollover();
  }
}

bool CWyFileOutput::Close() { return CloseFile(); }

// Any error but ENOENT counts as an existing file: taken for a new one, the file would be
// truncated. errno is reset because a missing file is no failure.
bool CWyFileOutput::FileExists(const char* pszPath) const {
  if (WyAccess(pszPath, F_OK) == 0 || errno != ENOENT) return true;
  errno = 0;
  return false;
}

bool CWyFileOutput::OpenFile(int iHow) {
  const int iFlags = OpenFlags(iHow);
  if (iFlags == -1) return false;
  CloseFile();
  // O_NONBLOCK: open(2) of a pipe without a reader, or of a terminal line, must not wait. O_NOCTTY:
  // a terminal must not become that of the process.
  m_hFile = WyOpen(m_pszFileName, iFlags | O_NONBLOCK | O_NOCTTY, 0644);
  if (m_hFile == -1) return false;
  if (m_pGrowth != nullptr) m_pGrowth->Restart();
  if (AcceptFile(iFlags)) return true;
  CloseFile();
  return false;
}

// fstat(2) asks for the file that is open: another one may have the name by now. O_NONBLOCK was for
// the opening alone: a write to a device may wait, and must not fail instead.
bool CWyFileOutput::AcceptFile(int iFlags) {
  struct stat status;
  if (fstat(m_hFile, &status) != 0) return false;
  m_bRegularFile = S_ISREG(status.st_mode);
  return (m_bRegularFile || S_ISCHR(status.st_mode)) &&
         fcntl(m_hFile, F_SETFL, iFlags & O_APPEND) == 0;
}

// close(2) is not repeated after EINTR: on Linux the descriptor is closed all the same.
bool CWyFileOutput::CloseFile() {
  if (m_hFile >= 0) close(m_hFile);
  m_hFile = -1;
  return true;
}

// ---- Writing ------------------------------------------------------------------------------------

// A host's subclass may override Log(const char*), and then expects every message there.
bool CWyFileOutput::Log(CWyErrLogMessage& msg) {
  if (&typeid(*this) != &typeid(CWyFileOutput)) [[unlikely]]
    return Log(msg.GetBuffer());
  return LogText({msg.m_pBuffer->c_str(), msg.m_pBuffer->size()});
}

bool CWyFileOutput::Log(const char* pszText) { return pszText != nullptr && LogText(pszText); }

// Without a size limit, and with no rollover to be tried again, the descriptor never changes while
// the output is installed: no lock is needed, only write(2) itself.
inline bool CWyFileOutput::LogText(std::string_view strText) {
  if (m_pGrowth != nullptr) return LogLimited(strText);
  // Pairs with the release in StartNewFile: a thread that finds the flag cleared sees the new
  // descriptor.
  if (!m_bRolloverRetry.load(std::memory_order_acquire)) [[likely]]
    return Write(strText) >= 0;
  return LogBeforeRetry(strText);
}

[[gnu::noinline]] bool CWyFileOutput::LogBeforeRetry(std::string_view strText) {
  {
    const CWyWriterBesideOthers others(m_guard);
    if (!m_bRolloverRetry.load(std::memory_order_relaxed) || !IsRetryDue())
      return Write(strText) >= 0;
  }
  const CWyErrLogAutoWriter alone(m_guard);
  return LogAlone(strText);
}

// A thread that writes between this thread's reading of the size and its write has reserved its
// bytes before, or finds this thread's reserved: of all of them the last one to reserve has counted
// all the others. So together they stay below the limit.
bool CWyFileOutput::LogLimited(std::string_view strText) {
  {
    const CWyWriterBesideOthers others(m_guard);
    CWyFileGrowth::Record record(*m_pGrowth, strText.size());
    const auto size = [this] { return FileSize(); };
    const bool bMayWrite = m_bRolloverRetry.load(std::memory_order_relaxed)
                               ? !IsRetryDue()
                               : m_pGrowth->HasRoom(record) || m_pGrowth->AskForRoom(record, size);
    if (bMayWrite) [[likely]] {
      record.Wrote(Write(strText));
      return record.IsWritten();
    }
  }
  return LogToFullFile(strText);
}

// Not while the guard is held for reading: it cannot be upgraded, two such threads would deadlock.
[[gnu::noinline]] bool CWyFileOutput::LogToFullFile(std::string_view strText) {
  const CWyErrLogAutoWriter alone(m_guard);
  // No thread has reserved anything now; a forked child may have inherited the count of others.
  m_pGrowth->ForgetReservations();
  return LogAlone(strText);
}

// The size is read again: another thread may have rolled the file over while this one waited. What
// Close has closed stays closed; only a retry without a size limit may open the file again.
bool CWyFileOutput::LogAlone(std::string_view strText) {
  const bool bMayReopen = m_hFile == AwaitsRetry && m_pGrowth == nullptr;
  if (m_hFile < 0 && !bMayReopen) {
    errno = EBADF;
    return false;
  }
  return RollOverIfDue(strText.size()) && WriteCounted(strText);
}

// Returns false if a rollover failed, or if the size that decides on one cannot be read.
bool CWyFileOutput::RollOverIfDue(size_t uLength) {
  if (m_bRolloverRetry.load(std::memory_order_relaxed)) return !IsRetryDue() || Rollover();
  if (m_pGrowth == nullptr) return true;
  const int64_t iSize = FileSize();
  if (iSize < 0) return false;
  return static_cast<uint64_t>(iSize) + uLength < m_uMaxFileSize || Rollover();
}

bool CWyFileOutput::IsRetryDue() const { return time(nullptr) > m_tRolloverFailed + RetrySeconds; }

// The end of a regular file is much cheaper to ask for than its status, and counts the writes of
// other processes too. It moves the descriptor's offset, which O_APPEND ignores: every size-limited
// file is opened with it.
int64_t CWyFileOutput::FileSize() const {
  if (m_bRegularFile) return lseek(m_hFile, 0, SEEK_END);
  struct stat status;
  return fstat(m_hFile, &status) == 0 ? status.st_size : -1;
}

bool CWyFileOutput::LogMessage(const char* pszText) { return WriteCounted(pszText); }

// Whatever the size of the file; a size-limited file counts the bytes all the same.
bool CWyFileOutput::WriteCounted(std::string_view strText) {
  if (m_pGrowth == nullptr) return Write(strText) >= 0;
  CWyFileGrowth::Record record(*m_pGrowth, strText.size());
  record.Wrote(Write(strText));
  return record.IsWritten();
}

// One write(2) for each message. What the system cuts short is not continued, because another
// thread's message may be behind it by then.
ssize_t CWyFileOutput::Write(std::string_view strText) {
  return write(m_hFile, strText.data(), strText.size());
}

// ---- Headers and buffering ----------------------------------------------------------------------

// Both or none: a file must not begin with half a header.
void CWyFileOutput::SetHeaders(CWyErrLogMessage& first, CWyErrLogMessage& second) {
  if (first.GetBufferLen() <= 0 || second.GetBufferLen() <= 0) return;
  m_msgHeader1.SetFormattedMessage(first.GetBuffer());
  m_msgHeader2.SetFormattedMessage(second.GetBuffer());
}

void CWyFileOutput::LogHeaders() {
  if (m_msgHeader1.GetBufferLen() <= 0 || m_msgHeader2.GetBufferLen() <= 0) return;
  if (LogMessage(m_msgHeader1.GetBuffer())) LogMessage(m_msgHeader2.GetBuffer());
}

void CWyFileOutput::EnableBuffering(bool /*bEnable*/) {}

bool CWyFileOutput::IsBufferingEnabled() { return false; }

bool CWyFileOutput::IsBufferingSupported() { return false; }
