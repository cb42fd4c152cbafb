#ifndef WYERRLOG_SEAL_WYSEALKEYS_H
#define WYERRLOG_SEAL_WYSEALKEYS_H

// The key directory of a sealed log: DIR, with mode 0700, holds the one file `state`, with mode
// 0600. All processes that write to the log share it. It never holds the verification key.
// `wylogctl seal create`, `renew` and `status` call these functions; a program that sets up its own
// log does it once, as installer:
//
//   WySealKeyTexts keys;
//   if (!WySealCreateKeys("/var/lib/agent/seal", false, keys)) return Fail(strerror(errno));
//   PrintOnce(keys.verification);  // to be kept on another machine
//
// DIR lies on a local file system: processes share the state by mmap(2) and a robust mutex.

#include <wyerrlog/WyErrLogPort.h>

#include <cstdint>
#include <string>

// What verifies a log from one of its files on, as texts to keep elsewhere. Neither is stored. The
// strings are ordinary memory: the caller stores `verification` away from this machine and wipes
// its own copy (sodium_memzero, explicit_bzero). Nothing can print it a second time.
struct WySealKeyTexts {
  std::string verification;  // secret: with it, records can also be forged
  std::string publicKey;     // not secret; empty if checkpoints are not signed
};

// What the state says, without any secret. `nextRecord` - 1 and `lastTag` are an anchor for
// CWySealVerifier; both belong to one record, also while other processes write.
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

// Creates the directory, unless it exists, and the state of a new log. `bSigned`: checkpoints are
// signed by Ed25519, and `keys.publicKey` verifies without a secret; this cannot be changed later.
// An existing directory keeps its permissions. On failure `keys` is unchanged. ENOSYS if the system
// has no source of random numbers. Not for two threads or processes at once: one of them gets
// EEXIST.
WYERRLOG_API bool WySealCreateKeys(const std::string& strDirectory, bool bSigned,
                                   WySealKeyTexts& keys);

// Sets a new verification key, unrelated to the old one, for the files after the current one. The
// next record goes to a new file. Safe while the log is written. The old key remains the one for
// the files so far: keep both. Call it if another person may know the verification key, or if it is
// lost. Waits up to ten seconds for a process that is writing, then returns false with ETIMEDOUT.
// Thread-safe.
WYERRLOG_API bool WySealRenewKeys(const std::string& strDirectory, WySealKeyTexts& keys);

// Only reads. The state must be writable for the caller all the same, since reading takes its
// mutex: run it as the log's user. ETIMEDOUT as above. Thread-safe.
WYERRLOG_API bool WySealReadStatus(const std::string& strDirectory, WySealStatus& status);

#endif
