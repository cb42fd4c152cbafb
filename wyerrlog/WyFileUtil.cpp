// Small text files, read byte by byte: a line ends at its newline however a pipe delivers it, and
// what follows stays in the file. A configuration is read seldom enough for one system call a byte.

#include "wyerrlog/WyFileUtil.h"

#include <fcntl.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>

CWyFile::CWyFile() : m_fd(-1) {}

CWyFile::~CWyFile() { CloseFile(); }

bool CWyFile::OpenFile(const char* pszPath, int iMode) {
  int iFlags = 0;
  switch (iMode) {
    case Create:
    case Overwrite:
      iFlags = O_WRONLY | O_CREAT | O_TRUNC;
      break;
    case Append:
      iFlags = O_WRONLY | O_CREAT | O_APPEND;
      break;
    case Read:
      iFlags = O_RDONLY;
      break;
    default:
      return false;
  }
  // O_NONBLOCK: the opening of a pipe must not wait for its other end. O_NOCTTY: a terminal must
  // not become that of the process.
  m_fd = WyOpen(pszPath, iFlags | O_NONBLOCK | O_NOCTTY, 0644);
  if (m_fd == -1) return false;
  fcntl(m_fd, F_SETFL, iFlags & O_APPEND);  // reads may wait: for the lines of a pipe
  return true;
}

void CWyFile::CloseFile() {
  if (m_fd < 0) return;
  close(m_fd);
  m_fd = -1;
}

int CWyFile::ReadLine(void* pBuffer, int iSize) {
  if (pBuffer == nullptr || m_fd < 0 || iSize <= 0) return -1;
  auto* const pszLine = static_cast<char*>(pBuffer);
  int iLength = 0;
  while (iLength < iSize) {
    const ssize_t lRead = read(m_fd, pszLine + iLength, 1);
    // A signal handler of the host interrupts a read that waits, before any byte is read.
    if (lRead < 0 && errno == EINTR) continue;
    // The last line may have no newline; after it 0 is returned.
    if (lRead == 0) break;
    if (lRead != 1) return -1;
    if (pszLine[iLength++] == '\n') break;
  }
  pszLine[iLength] = '\0';
  return iLength;
}

// A write that the system cuts short is not continued: the result reports it.
int CWyFile::WriteFile(void* pBuffer, unsigned int uLength) {
  if (pBuffer == nullptr || m_fd < 0) return -1;
  return static_cast<int>(write(m_fd, pBuffer, uLength));
}
