#ifndef WYERRLOG_INTERNAL_WYRECORDFILE_H
#define WYERRLOG_INTERNAL_WYRECORDFILE_H

// The file of a CWyAuditFileOutput: what the file of one process (CWyAuditFile) and the file that
// several processes share (CWySharedFile) have in common.

#include <sys/types.h>

#include <ctime>
#include <string>
#include <string_view>
#include <utility>

#include "wyerrlog/WyErrLogUtil.h"
#include "wyerrlog/WyFileOptions.h"
#include "wyerrlog/internal/WyBackups.h"

// Whether an output that has all of the options accepts them: none is out of its range, and none
// is without effect.
bool WyAreValid(const WyFileOptions& options);

// Open, Log, Flush and Close are those of the output. Thread-safe.
class CWyRecordFile {
 public:
  virtual ~CWyRecordFile() { Close(); }
  CWyRecordFile(const CWyRecordFile&) = delete;
  CWyRecordFile& operator=(const CWyRecordFile&) = delete;

  virtual bool Open() = 0;
  virtual bool Log(std::string_view strText) = 0;
  bool Flush();
  bool Close();
  void SetHeaders(std::string strHeaders) { m_strHeaders = std::move(strHeaders); }

 protected:
  static constexpr time_t NoTime = -1;         // a failure of time(2)
  static constexpr time_t RetrySeconds = 300;  // as of CWyFileOutput
  // Local days begin at multiples of a quarter of an hour, in every zone and at every change of
  // clocks. So the day is compared once in that time.
  static constexpr time_t QuarterHour = 900;

  explicit CWyRecordFile(WyFileOptions options) : m_options(std::move(options)) {}

  bool IsSizeLimited() const;
  bool IsRolledOverAtOpen() const;
  off_t SizeLimit() const { return static_cast<off_t>(m_options.maxSizeMB) << 20; }  // bytes
  // The local day of a second; 0, which is no day, if it cannot be converted.
  static int DayOf(time_t tSeconds);
  // False only if the file's last record has no end: the process that wrote it has died, or the
  // system. A file that cannot be read passes.
  static bool EndsWithNewline(const std::string& strPath);

  // The steps of a rollover. The path has a directory. They throw std::bad_alloc.
  CWyBackups BackupsOf(const std::string& strPath) const;
  void DeleteAged(const std::string& strPath) const;
  // Reads the backups, deletes those that are too old or too many for one more, and stores the
  // stamp of the present second. Returns false if the directory cannot be read, if one cannot be
  // deleted, and without the time.
  bool MakeRoom(const std::string& strPath, CWyBackups& backups, std::string& strStamp) const;

  const WyFileOptions m_options;
  std::string m_strHeaders;
  CWyErrLogCS m_cs;
  int m_hFile = -1;
  time_t m_tRetry = 0;  // no rollover is tried before
};

#endif
