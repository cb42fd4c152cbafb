#ifndef WYERRLOG_SEAL_WYSEALKEYS_H
#define WYERRLOG_SEAL_WYSEALKEYS_H

// The key directory of a sealed log: DIR, with mode 0700, holds the one file `state`, with mode
// 0600. All processes that write to the log share it. It never holds the verification key.

#include <wyerrlog/WyErrLogPort.h>

#include <cstdint>
#include <string>

// What verifies a log from one of its files on, as texts to keep elsewhere. Neither is stored.
struct WySealKeyTexts {
  std::string verification;  // secret: with it, records can also be forged
  std::string publicKey;     // not secret; empty if checkpoints are not signed
};

// What the state says, without any secret.
struct WySealStatus {
  std::string logId;        // as in the files
  uint64_t file = 0;        // the current file's number; 0 before the first
  uint64_t nextRecord = 1;  // one more than the number of the last record
  std::string lastTag;      // that record's tag
  bool isSigned = false;    // checkpoints are
  bool isRenewed = false;   // the next file has another verification key
};

// The operations return false, with errno set, on failure: ENOENT without a state, EEXIST with one
// already, EACCES, EBADMSG and EPROTO as CWySealedOutput::Open does.

// Makes the directory, unless it exists, and the state of a new log.
WYERRLOG_API bool WySealCreateKeys(const std::string& strDirectory, bool bSigned,
                                   WySealKeyTexts& keys);

// Gives the files after the current one a new verification key, unrelated to the old one. The next
// record goes to a new file. Safe while the log is written.
WYERRLOG_API bool WySealRenewKeys(const std::string& strDirectory, WySealKeyTexts& keys);

// Only reads.
WYERRLOG_API bool WySealReadStatus(const std::string& strDirectory, WySealStatus& status);

#endif
