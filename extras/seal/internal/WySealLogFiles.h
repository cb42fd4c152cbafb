#ifndef WYERRLOG_SEAL_WYSEALLOGFILES_H
#define WYERRLOG_SEAL_WYSEALLOGFILES_H

// Private: the files of a log. Their order is that of the numbers in their first lines; their names
// only say which files may belong to the log.

#include <string>
#include <string_view>
#include <vector>

#include "extras/seal/internal/WySealLine.h"

// What the first line of a file says. Nothing of it is proven before its tag is.
struct WySealHead {
  WySealLogId logId{};
  uint64_t uFile = 0;  // 0: no sealed file
  uint64_t uFirst = 0;
  WySealTag previous{};
  std::string strLine;  // without its newline
};

// Parses the TEXT of a ~begin record; the result has no line.
WySealHead WySealParseHead(std::string_view strText);
WySealHead WySealReadHead(int hFile);
WySealHead WySealReadHead(const std::string& strPath);

struct WySealPath {
  std::string strDirectory;
  std::string strName;
  std::string Of(std::string_view strOther) const;  // another file in the directory
};
WySealPath WySealSplitPath(const std::string& strPath);

// The paths of the log file, if it exists, and of its backups. Returns false, with errno set, if
// the directory cannot be read.
bool WySealFindFiles(const std::string& strPath, std::vector<std::string>& files);

// Renames a file to a backup's name that is not used, without replacing any.
bool WySealMoveAside(const std::string& strPath);

// Forces the names in the file's directory to the disk.
bool WySealSyncDirectory(const std::string& strPath);

// Reads up to `uCount` bytes from there on, fewer only at the end of the file. False: errno is set.
bool WySealReadAt(int hFile, uint64_t uOffset, size_t uCount, std::string& strBytes);

#endif
