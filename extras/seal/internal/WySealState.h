#ifndef WYERRLOG_SEAL_WYSEALSTATE_H
#define WYERRLOG_SEAL_WYSEALSTATE_H

// Private: the state of a sealed log, one page of the file DIR/state that all processes which write
// to the log map and share.
//
// The page has two slots and the index of the valid one. A change is made in the other slot; then
// the index flips, and the former slot is wiped. A process that is killed between leaves a page
// that is as before the change, or as after it.

#include <pthread.h>

#include <cstdint>
#include <string>

#include "extras/seal/internal/WySealCrypto.h"

// Where the log stands.
struct WySealSlot {
  uint64_t uSeq;        // the number of the next record
  uint64_t uFile;       // the number of the current file; 0 before the first
  uint64_t uFileFirst;  // the number of its first record
  uint64_t uOffset;     // its length behind its last whole record
  // uMarkSeq and iMarkTime decide when the next checkpoint is due, over all processes.
  uint64_t uMarkSeq;  // the next record's number at the last checkpoint
  int64_t iMarkTime;  // when that was, in seconds since the epoch
  uint32_t uFlags;    // of WySealFlag
  uint32_t uReserved;
  WySealTag tag;  // of the last record
  WySealKey key;  // K_seq
  // F_(file+1) and not F_file: with F_file the keys of all records of the current file could be
  // derived again.
  WySealKey fileKey;  // F_(file+1)
  WySealKey digest;   // signed logs: of the file's lines up to here
  WySealKey seed;     // signed logs: of the current key pair
  uint64_t uCheck;    // of all before it
};

enum WySealFlag : uint32_t {
  WySealMoved = 1,     // the current file already has a backup's name
  WySealEnded = 2,     // its last record is ~end
  WySealUnended = 4,   // its last record lacks its newline
  WySealTorn = 8,      // there may be a part of a record behind uOffset: ~torn is due
  WySealRenewed = 16,  // the next file has a new verification key: end this one
  WySealGap = 32       // records before uOffset are gone: ~gap is due
};

struct WySealPage {
  char szMagic[8];
  uint32_t uVersion;
  uint32_t uSigned;  // whether checkpoints are signed
  WySealLogId logId;
  char szBootId[40];  // of the boot in which the mutex was initialised
  // Only the lowest bit counts, so that a damaged index still leads to a slot, which uCheck then
  // refuses.
  uint32_t uIndex;  // of the valid slot
  uint32_t uDirty;  // a process died inside: compare page and file before the next record
  alignas(64) pthread_mutex_t mutex;
  alignas(64) WySealSlot slots[2];
  // Intermediate keys are computed here and not on the stack: the page is locked in memory, left
  // out of core dumps and wiped by Unlock; a stack is none of these.
  alignas(64) WySealScratch scratch;
};
inline constexpr size_t WySealPageBytes = 4096;
static_assert(sizeof(WySealPage) <= WySealPageBytes);

// A mapped state. Open, Create and Close are for one thread at a time.
class CWySealState {
 public:
  CWySealState() = default;
  ~CWySealState() { Close(); }
  CWySealState(const CWySealState&) = delete;
  CWySealState& operator=(const CWySealState&) = delete;

  // Maps the state of a key directory, locked in memory and left out of core dumps. On failure
  // returns false and sets errno: EACCES also if others than the owner may read it, EPROTO if it is
  // of another version, EBADMSG if it is damaged or truncated.
  bool Open(const std::string& strDirectory);
  void Close();
  bool IsOpen() const { return m_pPage != nullptr; }

  // Writes a new state with the given log id and first keys. EEXIST if there is one.
  static bool Create(const std::string& strDirectory, const WySealPage& page);

  // The mutex of all threads of all processes. On failure, also after ten seconds of waiting,
  // returns false with errno set.
  bool Lock();
  void Unlock();

  // The references below lead into the shared page. Requires, also for reading: Lock, since another
  // process flips the slots at any time. The reference of Slot is stale after Commit: it leads to
  // the wiped slot.
  WySealPage& Page() { return *m_pPage; }
  const WySealSlot& Slot() const { return m_pPage->slots[m_pPage->uIndex & 1]; }

  // A change: a copy of the valid slot to work on, and the flip. Requires: Lock.
  WySealSlot& Prepare();
  void Commit();

  void Sync();  // to the disk

 private:
  bool Map(int hFile);
  bool AcceptHead() const;
  bool AcceptSlot();
  bool PrepareMutex(int hFile);

  int m_hFile = -1;
  WySealPage* m_pPage = nullptr;
};

// Holds the mutex for a scope, if it can be had.
class CWySealLock {
 public:
  explicit CWySealLock(CWySealState& state) : m_state(state), m_bHeld(state.Lock()) {}
  ~CWySealLock() {
    if (m_bHeld) m_state.Unlock();
  }
  CWySealLock(const CWySealLock&) = delete;
  CWySealLock& operator=(const CWySealLock&) = delete;
  bool IsHeld() const { return m_bHeld; }

 private:
  CWySealState& m_state;
  const bool m_bHeld;
};

// A file descriptor, closed at the end of its scope.
class CWySealDescriptor {
 public:
  explicit CWySealDescriptor(int hFile) : m_hFile(hFile) {}
  ~CWySealDescriptor();
  CWySealDescriptor(const CWySealDescriptor&) = delete;
  CWySealDescriptor& operator=(const CWySealDescriptor&) = delete;
  CWySealDescriptor(CWySealDescriptor&& other) noexcept : m_hFile(other.Release()) {}
  int Get() const { return m_hFile; }
  int Release();
  explicit operator bool() const { return m_hFile >= 0; }

 private:
  int m_hFile;
};

#endif
