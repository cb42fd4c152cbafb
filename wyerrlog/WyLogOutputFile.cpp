// Log files: opening, and writing within the size limit. Threads write side by side as long as the
// file has room for all of them; the one that finds it full waits for the others and rolls it over.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>

#include "wyerrlog/WyLogOutput.h"

namespace {

constexpr int SizeLimitMB = 4096;  // what 32 bits of bytes cannot hold any more
constexpr time_t RetrySeconds = 300;

bool IsSizeLimited(int iMode) {
  return iMode == WyFileMode::AppendRollBySize || iMode == WyFileMode::RollAtOpenAndBySize;
}

// Bytes that a thread is about to write, counted for a scope.
class CWyReservation {
 public:
  CWyReservation(std::atomic<uint64_t>& uReserved, uint64_t uBytes)
      : m_uReserved(uReserved), m_uBytes(uBytes), m_uTotal(uReserved.fetch_add(uBytes) + uBytes) {}
  ~CWyReservation() { m_uReserved.fetch_sub(m_uBytes); }
  CWyReservation(const CWyReservation&) = delete;
  CWyReservation& operator=(const CWyReservation&) = delete;

  // With what others had reserved before.
  uint64_t Total() const { return m_uTotal; }

 private:
  std::atomic<uint64_t>& m_uReserved;
  uint64_t m_uBytes;
  uint64_t m_uTotal;
};

// The flags of the ways to open a log file, 0 to 2; -1 for any other.
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

// The headers are given their texts ready made, so their time base has no effect.
CWyFileOutput::CWyFileOutput()
    : m_uReserved(0),
      m_pszFileName(nullptr),
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

  const size_t uSize = strlen(pszFileName) + 1;
  char* pszCopy = new (std::nothrow) char[uSize];
  if (pszCopy == nullptr) return false;
  memcpy(pszCopy, pszFileName, uSize);
  delete[] m_pszFileName;
  m_pszFileName = pszCopy;

  m_iMode = iMode;
  m_uMaxFileSize = static_cast<unsigned int>(iMaxSizeMB) << 20;
  m_iMaxBackups = iMaxBackups;
  return true;
}

// ---- Opening and closing ------------------------------------------------------------------------

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

bool CWyFileOutput::FileExists(const char* pszPath) const {
  if (WyAccess(pszPath, F_OK) == 0 || errno != ENOENT) return true;
  errno = 0;
  return false;
}

bool CWyFileOutput::OpenFile(int iHow) {
  const int iFlags = OpenFlags(iHow);
  if (iFlags == -1) return false;
  CloseFile();
  // O_NONBLOCK: a pipe that nobody reads, or a terminal line, must not keep the host waiting.
  m_hFile = WyOpen(m_pszFileName, iFlags | O_NONBLOCK | O_NOCTTY, 0644);
  if (m_hFile == -1) return false;
  if (AcceptFile(iFlags)) return true;
  CloseFile();
  return false;
}

// The writes that follow may wait: O_NONBLOCK was for the opening alone.
bool CWyFileOutput::AcceptFile(int iFlags) {
  struct stat status;
  if (fstat(m_hFile, &status) != 0) return false;
  m_bRegularFile = S_ISREG(status.st_mode);
  return (m_bRegularFile || S_ISCHR(status.st_mode)) &&
         fcntl(m_hFile, F_SETFL, iFlags & O_APPEND) == 0;
}

bool CWyFileOutput::CloseFile() {
  if (m_hFile >= 0) close(m_hFile);
  m_hFile = -1;
  return true;
}

// ---- Writing ------------------------------------------------------------------------------------

bool CWyFileOutput::Log(CWyErrLogMessage& msg) { return Log(msg.GetBuffer()); }

bool CWyFileOutput::Log(const char* pszText) {
  if (pszText == nullptr) return false;
  const std::string_view strText(pszText);
  // Pairs with the release in StartNewFile: who finds the flag cleared sees the new descriptor.
  if (!IsSizeLimited(m_iMode) && !m_bRolloverRetry.load(std::memory_order_acquire)) {
    return Write(strText);
  }
  {
    const CWyErrLogAutoReader others(m_guard);
    const CWyReservation reservation(m_uReserved, strText.size());
    if (MayWriteBesideOthers(reservation.Total())) return Write(strText);
  }
  const CWyErrLogAutoWriter alone(m_guard);
  m_uReserved = 0;  // a forked child has none of the threads that it was forked beside
  return LogAlone(strText);
}

// Whoever writes between the look at the size and the write has reserved its bytes before, or finds
// ours reserved: the last one of them to reserve has counted all others.
bool CWyFileOutput::MayWriteBesideOthers(uint64_t uBytes) const {
  if (m_bRolloverRetry.load(std::memory_order_relaxed)) return !IsRetryDue();
  if (!IsSizeLimited(m_iMode)) return true;
  const int64_t iSize = FileSize();
  return iSize >= 0 && static_cast<uint64_t>(iSize) + uBytes < m_uMaxFileSize;
}

bool CWyFileOutput::LogAlone(std::string_view strText) {
  // A retry must not open again what was closed.
  const bool bMayReopen = m_hFile == AwaitsRetry && !IsSizeLimited(m_iMode);
  if (m_hFile < 0 && !bMayReopen) return false;
  return RollOverIfDue(strText.size()) && Write(strText);
}

// False when a rollover failed, and when the file cannot tell whether one is due.
bool CWyFileOutput::RollOverIfDue(size_t uLength) {
  if (m_bRolloverRetry.load(std::memory_order_relaxed)) return !IsRetryDue() || Rollover();
  if (!IsSizeLimited(m_iMode)) return true;
  const int64_t iSize = FileSize();
  if (iSize < 0) return false;
  return static_cast<uint64_t>(iSize) + uLength < m_uMaxFileSize || Rollover();
}

bool CWyFileOutput::IsRetryDue() const { return time(nullptr) > m_tRolloverFailed + RetrySeconds; }

// The end of a regular file is much cheaper to ask for than its status, and counts the writes of
// other processes too.
int64_t CWyFileOutput::FileSize() const {
  if (m_bRegularFile) return lseek(m_hFile, 0, SEEK_END);
  struct stat status;
  return fstat(m_hFile, &status) == 0 ? status.st_size : -1;
}

bool CWyFileOutput::LogMessage(const char* pszText) { return Write(pszText); }

// One write, as it comes out: what the system cuts short is not continued, because another thread's
// message may be behind it by then.
bool CWyFileOutput::Write(std::string_view strText) {
  return write(m_hFile, strText.data(), strText.size()) >= 0;
}

// ---- Headers and buffering ----------------------------------------------------------------------

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
