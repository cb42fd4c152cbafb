// One call for a record in the usual case; the loop is for the calls that the system interrupts or
// cuts short.

#include "wyerrlog/internal/WyRecordWriter.h"

#include <unistd.h>

#include <cerrno>

namespace {

iovec Part(std::string_view strText) { return {const_cast<char*>(strText.data()), strText.size()}; }

// Leaves out of the parts what has been written.
void Advance(iovec*& pParts, int& iCount, size_t uWritten) {
  while (iCount > 0 && uWritten >= pParts->iov_len) {
    uWritten -= pParts->iov_len;
    ++pParts;
    --iCount;
  }
  if (iCount == 0) return;
  pParts->iov_base = static_cast<char*>(pParts->iov_base) + uWritten;
  pParts->iov_len -= uWritten;
}

}  // namespace

ssize_t CWyRecordWriter::WritePlainly(int hFile, const iovec* pParts, int iCount) {
  return iCount == 1 ? write(hFile, pParts->iov_base, pParts->iov_len)
                     : writev(hFile, pParts, iCount);
}

// A newline is owed after a torn record: still, if nothing of this call was written, and again, if
// a part of this record was.
bool CWyRecordWriter::Write(int hFile, std::string_view strPrefix, std::string_view strText,
                            Call pfnCall) {
  if (strText.empty()) return true;
  const bool bOwed = m_bTorn;
  m_bTorn = false;
  const size_t uOwed = bOwed ? 1 : 0;
  iovec aParts[] = {Part(bOwed ? "\n" : ""), Part(strPrefix), Part(strText)};
  iovec* pParts = aParts;
  int iCount = 3;
  Advance(pParts, iCount, 0);  // the empty ones
  size_t uTotal = 0;
  while (iCount > 0) {
    const ssize_t lWritten = pfnCall(hFile, pParts, iCount);
    if (lWritten < 0 && errno == EINTR) continue;
    if (lWritten <= 0) {
      if (lWritten == 0) errno = ENOSPC;
      if (uTotal == 0 ? bOwed : uTotal > uOwed) m_bTorn = true;
      return false;
    }
    uTotal += static_cast<size_t>(lWritten);
    Advance(pParts, iCount, static_cast<size_t>(lWritten));
  }
  return true;
}
