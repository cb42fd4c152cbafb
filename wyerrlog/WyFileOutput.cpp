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

bool IsSizeLimited(int iMode) { return iMode == 3 || iMode == 4; }

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
    : m_pszFileName(nullptr),
      m_hFile(-1),
      m_iMaxBackups(0),
      m_uMaxFileSize(0),
      m_iMode(0),
      m_bRolloverRetry(false),
      m_tRolloverFailed(0),
      m_msgHeader1(false),
      m_msgHeader2(false) {
  SetType(1);
}

CWyFileOutput::~CWyFileOutput() {
  CloseFile();
  delete[] m_pszFileName;
}

bool CWyFileOutput::SetParams(const char* pszFileName, int iMode, int iMaxSizeMB, int iMaxBackups) {
  if (pszFileName == nullptr || *pszFileName == '\0') return false;
  if (iMode < 0 || iMode > 4) return false;
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
    case 0:
      return OpenFile(1);
    case 1:
    case 3:
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
  m_hFile = WyOpen(m_pszFileName, iFlags, 0644);
  return m_hFile != -1;
}

bool CWyFileOutput::CloseFile() {
  if (m_hFile >= 0) {
    close(m_hFile);
    m_hFile = -1;
  }
  return true;
}

// ---- Writing ------------------------------------------------------------------------------------

bool CWyFileOutput::Log(CWyErrLogMessage& msg) { return Log(msg.GetBuffer()); }

bool CWyFileOutput::Log(const char* pszText) {
  if (pszText == nullptr) return false;
  if (IsSizeLimited(m_iMode)) return LogWithinLimit(pszText);
  // Pairs with the release in Rollover: who finds the flag cleared sees the new descriptor.
  if (m_bRolloverRetry.load(std::memory_order_acquire)) return LogAfterRefusal(pszText);
  return LogMessage(pszText);
}

bool CWyFileOutput::LogWithinLimit(const char* pszText) {
  CWyErrLogAutoCS lock(m_cs);
  struct stat status;
  if (m_hFile < 0 || fstat(m_hFile, &status) != 0) return false;
  const uint64_t uNewSize = static_cast<uint64_t>(status.st_size) + strlen(pszText);
  const bool bDue =
      m_bRolloverRetry.load(std::memory_order_relaxed) ? IsRetryDue() : uNewSize >= m_uMaxFileSize;
  if (bDue && !Rollover()) return false;
  return LogMessage(pszText);
}

bool CWyFileOutput::LogAfterRefusal(const char* pszText) {
  CWyErrLogAutoCS lock(m_cs);
  // A retry must not open again what was closed.
  if (m_hFile < 0) return false;
  const bool bDue = m_bRolloverRetry.load(std::memory_order_relaxed) && IsRetryDue();
  if (bDue && !Rollover()) return false;
  return LogMessage(pszText);
}

bool CWyFileOutput::IsRetryDue() const { return time(nullptr) > m_tRolloverFailed + RetrySeconds; }

bool CWyFileOutput::LogMessage(const char* pszText) {
  return write(m_hFile, pszText, strlen(pszText)) >= 0;
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
