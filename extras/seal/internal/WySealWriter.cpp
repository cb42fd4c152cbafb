// Writing records. A record is written first and counted afterwards: if the process dies between,
// the next one to lock the state finds the record in the file and counts it (WySealRecovery.cpp).

#include "extras/seal/internal/WySealWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <new>

#include "extras/seal/internal/WySealSignature.h"

namespace {

constexpr uint64_t NoFile = 0xffffffffu;  // descriptor -1 of file 0

int64_t Now() {
  timespec now;
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return now.tv_sec;
}

bool Fail(int iErrno) {
  errno = iErrno;
  return false;
}

iovec Part(std::string_view strText) { return {const_cast<char*>(strText.data()), strText.size()}; }

}  // namespace

CWySealWriter::CWySealWriter(WyFileOptions file, std::string strKeyDirectory,
                             const WySealOptions& options)
    : m_file(std::move(file)),
      m_strKeyDirectory(std::move(strKeyDirectory)),
      m_options(options),
      m_uCurrent(NoFile) {
  if (m_file.mode >= 3) m_uMaxSize = static_cast<uint64_t>(m_file.maxSizeMB) << 20;
}

// Mode 0 would truncate evidence. `shared` is refused since all processes share the log in any
// case; 4096 MB keeps the size in bytes within 32 bits, as for the other outputs.
bool CWySealWriter::AcceptOptions() const {
  const bool bLimited = m_file.mode >= 3;
  return !m_file.path.empty() && m_file.mode >= 1 && m_file.mode <= 4 && m_file.backups >= 0 &&
         m_file.maxSizeMB >= (bLimited ? 1 : 0) && m_file.maxSizeMB < 4096 && !m_file.synchronous &&
         !m_file.daily && m_file.maxAgeDays == 0 && !m_file.shared && m_options.markRecords > 0 &&
         m_options.markSeconds > 0;
}

// ---- The operations -----------------------------------------------------------------------------

bool CWySealWriter::Open() {
  if (m_state.IsOpen()) return Fail(EBUSY);
  if (!AcceptOptions()) return Fail(EINVAL);
  const bool bOpen = WySealWithMemory([this] {
    if (!m_state.Open(m_strKeyDirectory)) return false;
    const CWySealLock lock(m_state);
    if (!lock.IsHeld() || !Recover()) return false;
    const WySealSlot& slot = m_state.Slot();
    // A file that has only its ~begin record is as good as a new one; without this test, each start
    // of a program in mode 2 or 4 would leave an empty backup.
    const bool bStartAnew = m_file.mode == 2 || m_file.mode == 4;
    return !bStartAnew || slot.uSeq == slot.uFileFirst + 1 || (Prepare() && RollOver());
  });
  if (bOpen) return true;
  const int iErrno = errno;
  Close();
  return Fail(iErrno);
}

// The first test spares escaping a huge text, the second one is the limit: escaping can make a text
// four times as long. Escaping is done before the lock, so that other threads do not wait for it.
bool CWySealWriter::Log(std::string_view strText) {
  if (strText.size() > WySealMaxText) return Fail(EMSGSIZE);
  return WySealWithMemory([&] {
    std::string strBuffer;
    const std::string_view strEscaped = WySealEscape(strText, strBuffer);
    if (strEscaped.size() > WySealMaxText) return Fail(EMSGSIZE);
    const CWySealLock lock(m_state);
    return lock.IsHeld() && Prepare() && RollOverIfDue(strEscaped.size()) && MarkIfDue() &&
           Append(strEscaped);
  });
}

// Afterwards the file at hand is whole and the current one. A number that differs means that
// another process has rolled over. A ~torn or ~gap record is due before any other one, so that the
// damaged bytes are always directly before the record that describes them, as the verifier expects.
bool CWySealWriter::Prepare() {
  if (m_state.Page().uDirty != 0 || FileNumber() != m_state.Slot().uFile) {
    if (!Recover()) return false;
  }
  return (m_state.Slot().uFlags & (WySealTorn | WySealGap)) == 0 || WriteDue();
}

// If another process has rolled over since, File() is the former file. That suffices: records of
// this process are in that file or before it, and the ~end record forced it to the disk.
bool CWySealWriter::Flush() {
  const CWySealLock lock(m_state);
  if (!lock.IsHeld()) return false;
  const bool bDone = fdatasync(File()) == 0;
  m_state.Sync();
  return bDone;
}

bool CWySealWriter::Close() {
  const bool bOpen = m_state.IsOpen();
  SetCurrent(-1, 0);
  m_state.Close();
  return bOpen;
}

// Closed after the exchange: a child that is forked between the two has a descriptor too many, but
// never the number of a closed one.
void CWySealWriter::SetCurrent(int hFile, uint64_t uFile) {
  const uint64_t uBefore = m_uCurrent.exchange(uFile << 32 | static_cast<uint32_t>(hFile));
  const int hBefore = static_cast<int>(static_cast<uint32_t>(uBefore));
  if (hBefore >= 0) close(hBefore);
}

// ---- Records ------------------------------------------------------------------------------------

bool CWySealWriter::Append(std::string_view strText) {
  const WySealSlot& slot = m_state.Slot();
  return Append(strText, {(slot.uFlags & WySealUnended) != 0, slot.uOffset});
}

bool CWySealWriter::Append(std::string_view strText, Place place) {
  WySealPage& page = m_state.Page();
  const WySealSlot& slot = m_state.Slot();
  WySealTag tag;
  WySealStepRecordKey(slot.key, page.scratch.step);
  WySealComputeTag(page.scratch, page.logId, slot.tag, slot.uSeq, strText, tag);
  const CWySealTrailer trailer(slot.uSeq, tag);
  // One call, so that the record is whole in the file or cut at its end, never interleaved with
  // bytes of a program that writes past the mutex (O_APPEND).
  const iovec parts[] = {Part(strText), Part(trailer.Text())};
  const iovec partsOnNewLine[] = {Part("\n"), parts[0], parts[1]};
  const size_t uTotal = (place.bNewline ? 1 : 0) + strText.size() + trailer.Text().size();
  const ssize_t lWritten =
      place.bNewline ? writev(File(), partsOnNewLine, 3) : writev(File(), parts, 2);
  // Without its last byte, the newline, a record is whole: the next one begins with it.
  const bool bUnended = lWritten == static_cast<ssize_t>(uTotal) - 1;
  if (!bUnended && lWritten != static_cast<ssize_t>(uTotal)) return Refuse(lWritten, place);
  // Counted after the write and never before: a number that is counted but not written would be
  // reported as a deleted record. Killed before Commit, the record is found and verified by
  // RollForward with the key that is still in the page.
  WySealSlot& next = m_state.Prepare();
  CountRecord(next, strText, trailer.Text(), tag, place.uOffset + static_cast<size_t>(lWritten));
  if (bUnended) next.uFlags |= WySealUnended;
  m_state.Commit();
  return true;
}

// The key does not step for a record that is not in the file: the next one has its number.
bool CWySealWriter::Refuse(ssize_t lWritten, Place place) {
  // Nothing was written; errno is that of writev.
  if (lWritten < 0) return false;
  // If ~torn or ~gap itself was cut short, the flag and uOffset stay: the next attempt describes
  // all that is there behind uOffset.
  const bool bFurther = (m_state.Slot().uFlags & (WySealTorn | WySealGap)) != 0;
  if (lWritten > 0 && !bFurther) {
    // What is there of it follows the newline that ends the line before.
    WySealSlot& slot = m_state.Prepare();
    slot.uOffset = place.uOffset + (place.bNewline ? 1 : 0);
    slot.uFlags = (slot.uFlags & ~uint32_t{WySealUnended}) | WySealTorn;
    m_state.Commit();
  }
  return Fail(ENOSPC);
}

// Counts a record in the slot. Its key was stepped: `scratch.step` has the next one.
void CWySealWriter::CountRecord(WySealSlot& slot, std::string_view strText,
                                std::string_view strTrailer, const WySealTag& tag,
                                uint64_t uOffset) {
  WySealPage& page = m_state.Page();
  ++slot.uSeq;
  slot.tag = tag;
  slot.key = page.scratch.step.next;
  slot.uOffset = uOffset;
  slot.uFlags &= ~uint32_t{WySealUnended | WySealTorn | WySealGap};
  // Records of the log itself are recognised by their text, so that records which recovery finds in
  // the file have the same effects as those written here. A caller's text cannot begin with "~".
  const bool bEnd = WySealIsKind(strText, "~end");
  if (bEnd) slot.uFlags |= WySealMoved | WySealEnded;
  if (bEnd || WySealIsKind(strText, "~mark") || WySealIsKind(strText, "~retire")) {
    slot.uMarkSeq = slot.uSeq;
    slot.iMarkTime = Now();
    // The key pair has signed, and its seed is replaced: a later theft of the page cannot sign this
    // part of the file again. Copied first, since the derivation must not read what it overwrites.
    page.scratch.step.down = slot.seed;
    if (page.uSigned != 0) WySealNextSeed(page.scratch.step.down, slot.seed);
  }
  if (page.uSigned != 0) {
    // The verifier has lines without newlines, so the digest is of those.
    strTrailer.remove_suffix(strTrailer.ends_with('\n') ? 1 : 0);
    slot.digest = WySealNextDigest(slot.digest, strText, strTrailer);
  }
}

void CWySealWriter::SetFlags(uint32_t uSet, uint32_t uClear) {
  WySealSlot& slot = m_state.Prepare();
  slot.uFlags = (slot.uFlags | uSet) & ~uClear;
  m_state.Commit();
}

// ---- Checkpoints --------------------------------------------------------------------------------

// Before a record, never by a thread of its own. If the disk does not take what was written, the
// next checkpoint tries again; a record's success says only that the system has it. A clock that is
// set back delays the checkpoint by time; the one by number remains.
bool CWySealWriter::MarkIfDue() {
  const WySealSlot& slot = m_state.Slot();
  const int64_t iNow = Now();
  const bool bDue = slot.uSeq - slot.uMarkSeq >= m_options.markRecords ||
                    iNow - slot.iMarkTime >= static_cast<int64_t>(m_options.markSeconds);
  // No checkpoint follows a checkpoint directly: an idle log does not grow.
  if (!bDue || slot.uSeq == slot.uMarkSeq) return true;
  std::string strText = "~mark seq=" + std::to_string(slot.uSeq - 1) +
                        " tag=" + WySealEncode(slot.tag.data(), slot.tag.size()) +
                        " time=" + WySealTimeText(iNow);
  return AppendCheckpoint(std::move(strText));
}

bool CWySealWriter::AppendCheckpoint(std::string strText) {
  if (m_state.Page().uSigned != 0) WySealSign(m_state.Page(), m_state.Slot(), strText);
  if (!Append(strText)) return false;
  // The file before the state: after a loss of power a file that is ahead is verified and counted,
  // but a state that is ahead costs a ~gap record, which an operator must explain.
  fdatasync(File());
  m_state.Sync();
  return true;
}
