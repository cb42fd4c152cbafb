// Offsets become lines by binary search in the table of line starts; columns count characters, so
// that an editor jumps to the right one in a line with umlauts.
#include "tools/common/SourceText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "tools/common/Utf8.h"

CWySourceText::CWySourceText(std::string strFile, std::string strText)
    : m_strFile(std::move(strFile)), m_strText(std::move(strText)) {
  m_lineStarts.push_back(0);
  for (std::size_t u = 0; u < m_strText.size(); ++u) {
    if (m_strText[u] == '\n') m_lineStarts.push_back(u + 1);
  }
}

// Requires: `part` is a view into the text, not a copy. One at its end has the last line; a mark is
// never longer than its line.
WyLocation CWySourceText::At(std::string_view part) const {
  const auto uOffset = static_cast<std::size_t>(part.data() - m_strText.data());
  const auto next = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), uOffset);
  const std::size_t uStart = *std::prev(next);
  std::string_view line = Text().substr(uStart);
  line = line.substr(0, line.find_first_of("\r\n"));
  const std::size_t uBefore = std::min(uOffset - uStart, line.size());
  const std::string_view marked = line.substr(uBefore, part.size());
  return {m_strFile, static_cast<std::size_t>(next - m_lineStarts.begin()),
          CountCharacters(line.substr(0, uBefore)) + 1,
          std::max<std::size_t>(1, CountCharacters(marked)), std::string(line)};
}

namespace {

// O_NOCTTY: a path to a terminal must not make it the controlling one.
class CWyOpenFile {
 public:
  explicit CWyOpenFile(const std::string& strPath)
      : m_fd(::open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY)) {}
  ~CWyOpenFile() {
    if (m_fd >= 0) ::close(m_fd);
  }
  CWyOpenFile(const CWyOpenFile&) = delete;
  CWyOpenFile& operator=(const CWyOpenFile&) = delete;

  int Get() const { return m_fd; }

 private:
  const int m_fd;
};

// Returns 0, or the error number. Not by the file's size: pipes and files of /proc have none.
int ReadToEnd(int fd, std::string& strText) {
  char buffer[65536];
  for (;;) {
    const ssize_t iCount = ::read(fd, buffer, sizeof buffer);
    if (iCount == 0) return 0;
    if (iCount > 0) {
      strText.append(buffer, static_cast<std::size_t>(iCount));
    } else if (errno != EINTR) {
      return errno;
    }
  }
}

}  // namespace

std::optional<std::string> ReadWholeFile(const std::string& strPath, std::string& strReason) {
  const CWyOpenFile file(strPath);
  std::string strText;
  const int iError = file.Get() < 0 ? errno : ReadToEnd(file.Get(), strText);
  if (iError == 0) return strText;
  strReason = std::generic_category().message(iError);
  return std::nullopt;
}
