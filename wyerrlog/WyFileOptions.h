#ifndef WYERRLOG_WYFILEOPTIONS_H
#define WYERRLOG_WYFILEOPTIONS_H

// What a log file is to be like: one plain record for all outputs that write to files, so that an
// option is called the same everywhere.

#include <string>

// A file and how it is opened, limited and kept. Set the members that differ from the defaults:
//
//   WyFileOptions options;
//   options.path = "/var/log/agent/audit.log";
//   options.mode = 3;
//   options.maxSizeMB = 100;
//   options.backups = 30;
//
// The record is checked by the output that takes it, not here. It owns its text.
struct WyFileOptions {
  // The log file. Backups lie beside it, named by local date and time.
  std::string path = {};
  // What becomes of an existing file, and whether the file is rolled over by size:
  // 0 overwritten, 1 appended to, 2 moved to a backup, 3 as 1 and 4 as 2 with rollover by size.
  int mode = 1;
  // The size, in units of 1,048,576 bytes, that a file of modes 3 and 4 stays below; 0 to 4095.
  int maxSizeMB = 0;
  // How many backups are kept; 0 keeps all.
  int backups = 0;
  // The permissions of files that are created, less the umask.
  unsigned int permissions = 0644;
};

#endif
