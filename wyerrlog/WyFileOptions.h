#ifndef WYERRLOG_WYFILEOPTIONS_H
#define WYERRLOG_WYFILEOPTIONS_H

// What a log file is to be like: one plain record for all outputs that write to files, so that an
// option is called the same everywhere.

#include <string>

// A file and how it is opened, limited and kept. Set the members that differ from the defaults:
//
//   WyFileOptions options;
//   options.path = "/var/log/agent/audit.log";
//   options.mode = WyFileMode::AppendRollBySize;
//   options.maxSizeMB = 100;
//   options.backups = 30;
//
// or, as C++20 has it, {.path = "...", .mode = 3, .maxSizeMB = 100, .backups = 30}.
//
// The record is checked by the output that takes it, not here: an output refuses (EINVAL) the
// options that it does not have. It owns its text.
struct WyFileOptions {
  // The log file. Backups lie beside it, named by local date and time.
  std::string path = {};
  // What becomes of an existing file, and whether the file is rolled over by size (WyFileMode):
  // 0 overwritten, 1 appended to, 2 moved to a backup, 3 as 1 and 4 as 2 with rollover by size.
  int mode = 1;
  // The size, in units of 1,048,576 bytes, that a file of modes 3 and 4 stays below; 0 to 4095.
  int maxSizeMB = 0;
  // How many backups are kept; 0 keeps all.
  int backups = 0;
  // The permissions of files that are created, less the umask; at most 0777, and the owner may
  // write. Files that exist keep theirs.
  unsigned int permissions = 0644;
  // Whether each record is on the disk when its call returns (O_DSYNC of open(2)), and not only
  // with the system: it survives a power failure, and takes as long as the disk does.
  bool synchronous = false;
  // Whether the file is rolled over by day, in any mode: the first record of a local day begins a
  // new file, and the backup is named by the time of that record.
  bool daily = false;
  // Backups that were made more than so many days ago are deleted at each rollover and when the
  // file is opened; 0 keeps them.
  int maxAgeDays = 0;
  // Whether several processes write to the file and any of them may roll it over, in each mode but
  // 0: workers that are forked, programs with a common log. All of them set it, with the same other
  // options. WyAuditFileOutput.h says what holds then.
  bool shared = false;
};

#endif
