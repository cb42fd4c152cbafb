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
    const bool bStartAnew = m_file.mode == 2 || m_file.mode == 4;
    return !bStartAnew || slot.uSeq == slot.uFileFirst + 1 || RollOver();
  });
  if (bOpen) return true;
  const int iErrno = errno;
  Close();
  return Fail(iErrno);
}

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

// The file at hand is whole and the current one.
bool CWySealWriter::Prepare() {
  if (m_state.Page().uDirty != 0 || FileNumber() != m_state.Slot().uFile) {
    if (!Recover()) return false;
  }
  return (m_state.Slot().uFlags & WySealTorn) == 0 || WriteTorn();
}

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
  const iovec parts[] = {Part(strText), Part(trailer.Text())};
  const iovec partsOnNewLine[] = {Part("\n"), parts[0], parts[1]};
  const size_t uTotal = (place.bNewline ? 1 : 0) + strText.size() + trailer.Text().size();
  const ssize_t lWritten =
      place.bNewline ? writev(File(), partsOnNewLine, 3) : writev(File(), parts, 2);
  // Without its last byte, the newline, a record is whole: the next one begins with it.
  const bool bUnended = lWritten == static_cast<ssize_t>(uTotal) - 1;
  if (!bUnended && lWritten != static_cast<ssize_t>(uTotal)) return Refuse(lWritten, place);
  WySealSlot& next = m_state.Prepare();
  CountRecord(next, strText, trailer.Text(), tag, place.uOffset + static_cast<size_t>(lWritten));
  if (bUnended) next.uFlags |= WySealUnended;
  m_state.Commit();
  return true;
}

// The key does not step for a record that is not in the file: the next one has its number.
bool CWySealWriter::Refuse(ssize_t lWritten, Place place) {
  if (lWritten < 0) return false;
  if (lWritten > 0) {
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
  slot.uFlags &= ~uint32_t{WySealUnended | WySealTorn};
  const bool bEnd = WySealIsKind(strText, "~end");
  if (bEnd) slot.uFlags |= WySealMoved | WySealEnded;
  if (bEnd || WySealIsKind(strText, "~mark") || WySealIsKind(strText, "~retire")) {
    slot.uMarkSeq = slot.uSeq;
    slot.iMarkTime = Now();
    page.scratch.step.down = slot.seed;
    if (page.uSigned != 0) WySealNextSeed(page.scratch.step.down, slot.seed);
  }
  if (page.uSigned != 0) {
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
// next checkpoint tries again; a record's success says only that the system has it.
bool CWySealWriter::MarkIfDue() {
  const WySealSlot& slot = m_state.Slot();
  const int64_t iNow = Now();
  const bool bDue = slot.uSeq - slot.uMarkSeq >= m_options.markRecords ||
                    iNow - slot.iMarkTime >= static_cast<int64_t>(m_options.markSeconds);
  if (!bDue || slot.uSeq == slot.uMarkSeq) return true;
  std::string strText = "~mark seq=" + std::to_string(slot.uSeq - 1) +
                        " tag=" + WySealEncode(slot.tag.data(), slot.tag.size()) +
                        " time=" + WySealTimeText(iNow);
  return AppendCheckpoint(std::move(strText));
}

bool CWySealWriter::AppendCheckpoint(std::string strText) {
  if (m_state.Page().uSigned != 0) WySealSign(m_state.Page(), m_state.Slot(), strText);
  if (!Append(strText)) return false;
  fdatasync(File());
  m_state.Sync();
  return true;
}
