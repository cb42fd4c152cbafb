// Finding, renaming and reading the files of a log, with the core library's names of backups.

#include "extras/seal/internal/WySealLogFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>
#include <ctime>
#include <memory>

#include "extras/seal/internal/WySealState.h"
#include "wyerrlog/internal/WyBackupName.h"

namespace {

constexpr size_t HeadBytes = 1024;  // more than a ~begin record has
// Ends the search in a directory where every name is taken; the core library's limit.
constexpr int MaxAttempts = 10000;

struct DirectoryCloser {
  void operator()(DIR* pDirectory) const { closedir(pDirectory); }
};

}  // namespace

WySealHead WySealParseHead(std::string_view strText) {
  WySealHead head;
  const auto uFile = WySealNumber(strText, "file"), uFirst = WySealNumber(strText, "first");
  const auto previous = WySealTagField(strText, "prev"), logId = WySealTagField(strText, "log");
  if (!WySealIsKind(strText, "~begin") || !uFile || !uFirst || !previous || !logId) return head;
  head.logId = *logId;
  head.uFile = *uFile;
  head.uFirst = *uFirst;
  head.previous = *previous;
  return head;
}

// A head whose number differs from that in the trailer is refused here already: for a file of this
// log the two are always equal, and what follows relies on uFirst.
WySealHead WySealReadHead(int hFile) {
  std::string strBytes;
  if (!WySealReadAt(hFile, 0, HeadBytes, strBytes)) return {};
  WySealLine line;
  const size_t uEnd = strBytes.find('\n');
  if (uEnd == std::string::npos) return {};
  strBytes.resize(uEnd);
  if (!WySealParseLine(strBytes, line)) return {};
  WySealHead head = WySealParseHead(line.strText);
  if (head.uFirst != line.uSeq) return {};
  head.strLine = std::move(strBytes);
  return head;
}

// O_NONBLOCK: a FIFO with a backup's name must not block the verifier or the writer.
WySealHead WySealReadHead(const std::string& strPath) {
  const CWySealDescriptor file(open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  return file ? WySealReadHead(file.Get()) : WySealHead();
}

std::string WySealPath::Of(std::string_view strOther) const {
  return std::string(strDirectory).append("/").append(strOther);
}

WySealPath WySealSplitPath(const std::string& strPath) {
  const size_t uSlash = strPath.rfind('/');
  if (uSlash == std::string::npos) return {".", strPath};
  return {strPath.substr(0, uSlash), strPath.substr(uSlash + 1)};
}

bool WySealFindFiles(const std::string& strPath, std::vector<std::string>& files) {
  const WySealPath path = WySealSplitPath(strPath);
  const CWyBackupName naming(path.strName);
  // The order of readdir does not matter, and attackers may rename: the callers sort by the numbers
  // in the files.
  const std::unique_ptr<DIR, DirectoryCloser> pDirectory(opendir(path.Of("").c_str()));
  if (!pDirectory) return false;
  while (const dirent* pEntry = readdir(pDirectory.get())) {
    const std::string_view strName(pEntry->d_name);
    if (strName == path.strName || naming.Matches(strName)) files.push_back(path.Of(strName));
  }
  return true;
}

// The name's number says nothing about the order, so the first unused one will do. WyAccess only
// saves attempts; WyRename, which replaces nothing, decides if two programs choose one name.
bool WySealMoveAside(const std::string& strPath) {
  const WySealPath path = WySealSplitPath(strPath);
  const CWyBackupName naming(path.strName);
  const time_t tNow = time(nullptr);
  tm now{};
  if (localtime_r(&tNow, &now) == nullptr) return false;
  std::string strNumber;
  for (int i = 0; i < MaxAttempts; ++i, strNumber = CWyBackupName::NextNumber(strNumber)) {
    const std::string strBackup = path.Of(naming.Make(CWyBackupName::MakeStamp(now), strNumber));
    if (WyAccess(strBackup.c_str(), F_OK) == 0) continue;
    if (errno != ENOENT) return false;
    if (WyRename(strPath.c_str(), strBackup.c_str()) == 0) return true;
    if (errno != EEXIST) return false;
  }
  errno = EEXIST;
  return false;
}

// fdatasync of the file does not cover its name; without this, a loss of power can bring the old
// name back.
bool WySealSyncDirectory(const std::string& strPath) {
  const std::string strDirectory = WySealSplitPath(strPath).Of("");
  const CWySealDescriptor directory(open(strDirectory.c_str(), O_RDONLY | O_CLOEXEC));
  return directory && fsync(directory.Get()) == 0;
}

bool WySealReadAt(int hFile, uint64_t uOffset, size_t uCount, std::string& strBytes) {
  strBytes.resize(uCount);
  size_t uRead = 0;
  while (uRead < uCount) {
    const ssize_t lRead =
        pread(hFile, strBytes.data() + uRead, uCount - uRead, static_cast<off_t>(uOffset + uRead));
    if (lRead < 0 && errno == EINTR) continue;
    if (lRead < 0) return false;
    if (lRead == 0) break;
    uRead += static_cast<size_t>(lRead);
  }
  strBytes.resize(uRead);
  return true;
}
