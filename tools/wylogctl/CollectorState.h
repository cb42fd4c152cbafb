#ifndef WYLOGCTL_COLLECTORSTATE_H
#define WYLOGCTL_COLLECTORSTATE_H

// How far a collector is. rsyslog's imfile notes it in one file for each log file:
//
//   imfile-state:13552336:eb14fb082799aecd     inode, and a hash of the first 512 bytes if there
//   are { "filename": "/var/log/agent/error.log", "prev_was_nl": 0, "curr_offs": 1047579, ... }
//
// The name in it is the one at the time of writing; the file itself is found by its inode. What the
// store has is read from the view wyerrlog.lag, one row as JSON a line.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/wylogctl/Context.h"
#include "tools/wylogctl/LogChain.h"

class CWyCollectorPositions {
 public:
  // Returns false, with the error reported, if the folder cannot be read.
  bool Open(CWyContext& context, const std::string& strFolder);

  // Whether wyerrlog-rewind has marked the folder: the logs are read again after a failure.
  bool IsRewound() const { return m_bRewound; }

  // How many bytes of the file have been read into the queue; nothing if that was not noted.
  // Reports a state file that cannot be understood.
  std::optional<std::uint64_t> ReadBytes(CWyContext& context, const WyLogFile& file) const;

 private:
  std::string m_strFolder;
  std::map<std::string, std::string> m_states;  // paths, by the name behind "imfile-state:"
  bool m_bRewound = false;
};

// The newest record of each log in the store.
class CWyStoredLogs {
 public:
  // "-" is the standard input. Returns false, with the error reported, if it cannot be read.
  bool Read(CWyContext& context, const std::string& strFile);

  // The newest time in milliseconds of UTC. Nothing if the store has no record of the log; an empty
  // program stands for any.
  std::optional<std::int64_t> Newest(const std::string& strHost, const std::string& strProgram,
                                     const std::string& strKind) const;

 private:
  struct Row {
    std::string strHost;
    std::string strProgram;
    std::string strKind;
    std::int64_t newest;
  };
  bool Add(const std::string& strLine);

  std::vector<Row> m_rows;
};

#endif
