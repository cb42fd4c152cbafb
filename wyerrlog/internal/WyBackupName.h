#ifndef WYERRLOG_INTERNAL_WYBACKUPNAME_H
#define WYERRLOG_INTERNAL_WYBACKUPNAME_H

// The names of a log file's backups.
//
//   trace.log                       the log file: stem "trace", extension ".log"
//   trace_20261116_171613.log       its backup with the stamp "_20261116_171613"
//   trace_20261116_171613_01.log    the one with the number 1 in the same second
//   trace_20261116_171613_100.log   the one with the number 100

#include <ctime>
#include <string>
#include <string_view>

// The naming of one log file's backups. It keeps no texts of its own: the log file's name must live
// as long as the object. All names are without a directory.
class CWyBackupName {
 public:
  // The extension begins at the last "."; a name without one is all stem.
  explicit CWyBackupName(std::string_view strFileName);

  // Returns true if a directory entry is a backup of this log file: the stem, a stamp (any digits),
  // optionally "_" with any number of digits, and the extension.
  bool Matches(std::string_view strEntry) const;

  // The parts of a backup's name, within the argument. Requires: Matches(strBackup). Numbers are
  // decimal texts without leading zeros, so that no number is too long for a type; a backup without
  // a number has the empty one, which stands for 0.
  std::string_view Stamp(std::string_view strBackup) const;
  std::string_view Number(std::string_view strBackup) const;

  // Returns true if the first of two backups is the older one: by stamp, then by number.
  bool IsOlder(std::string_view strFirst, std::string_view strSecond) const;

  // Returns the name of the backup: without a number if `strNumber` is empty, otherwise with two
  // digits or more.
  std::string Make(std::string_view strStamp, std::string_view strNumber) const;

  // The stamp of a local time, "_20261116_171613"; the number after `strNumber`; and whether one
  // number is lower than another.
  static std::string MakeStamp(const tm& time);
  static std::string NextNumber(std::string_view strNumber);
  static bool IsLower(std::string_view strNumber, std::string_view strOther);

 private:
  std::string_view Suffix(std::string_view strBackup) const;

  std::string_view m_strStem;
  std::string_view m_strExtension;  // with its "."; empty without one
};

#endif
