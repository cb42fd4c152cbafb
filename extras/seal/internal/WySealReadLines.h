#ifndef WYERRLOG_SEAL_WYSEALREADLINES_H
#define WYERRLOG_SEAL_WYSEALREADLINES_H

// Private: reads a file line by line in bounded memory.

#include <fcntl.h>

#include <cstring>
#include <string>
#include <vector>

#include "extras/seal/internal/WySealLine.h"
#include "extras/seal/internal/WySealState.h"

// Calls `onLine(line)` for each line, without its newline, and `onOverlong(beginning, bytes)` for
// those that are longer than any record. Returns false, with errno set, if the file cannot be read.
template <typename OnLine, typename OnOverlong>
bool WySealReadLines(const std::string& strPath, OnLine onLine, OnOverlong onOverlong) {
  constexpr size_t LongestLine = WySealMaxText + WySealMaxTrailer;
  const CWySealDescriptor file(open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) return false;
  // Twice the longest line, so that after each move at least one whole record can be read.
  std::vector<char> buffer(2 * LongestLine);
  size_t uHeld = 0;       // bytes of a line whose end has not been read
  uint64_t uSkipped = 0;  // bytes of an overlong line that were dropped
  const auto end = [&](std::string_view strLine) {
    if (uSkipped == 0 && strLine.size() <= LongestLine) return onLine(strLine);
    onOverlong(strLine.substr(0, LongestLine), uSkipped + strLine.size());
    uSkipped = 0;
  };
  while (true) {
    const ssize_t lRead = read(file.Get(), buffer.data() + uHeld, buffer.size() - uHeld);
    if (lRead < 0 && errno == EINTR) continue;
    if (lRead < 0) return false;
    if (lRead == 0) break;
    const char* pLine = buffer.data();
    const char* const pStop = buffer.data() + uHeld + lRead;
    const char* pSearch = buffer.data() + uHeld;
    while (const void* const pNewline =
               memchr(pSearch, '\n', static_cast<size_t>(pStop - pSearch))) {
      const auto* const pEnd = static_cast<const char*>(pNewline);
      end({pLine, static_cast<size_t>(pEnd - pLine)});
      pLine = pSearch = pEnd + 1;
    }
    uHeld = static_cast<size_t>(pStop - pLine);
    memmove(buffer.data(), pLine, uHeld);
    // A line without an end: only its beginning is kept, so that any length is read in this buffer.
    if (uHeld == buffer.size()) {
      uSkipped += uHeld - LongestLine;
      uHeld = LongestLine;
    }
  }
  // The last line may lack its newline: a torn write, or a record that another process is writing
  // now.
  if (uHeld > 0 || uSkipped > 0) end({buffer.data(), uHeld});
  return true;
}

#endif
