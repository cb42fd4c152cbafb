// Compares the state with the file and brings them together again, after a process died in the
// middle, a write was cut short, or the machine lost power:
//
//   the file is ahead    its records are verified one by one, and counted
//   a rest of a write    a sealed ~torn record says how long it is and what its digest is
//   the state is ahead   records are gone: a sealed ~gap record says which
//   the file is gone     the next file begins; the missing number shows
//
// A ~torn or ~gap record that is due is a flag of the state until it is whole in the file. Killed,
// or cut short, in the middle of it, the next attempt describes the part that is there as well.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "extras/seal/internal/WySealWriter.h"

namespace {

// Bounds the memory while the rest of a file of any size is read.
constexpr size_t ChunkBytes = 1u << 20;
// Room for the last whole record and a torn one behind it, both of the greatest length.
constexpr uint64_t TailBytes = 2 * (WySealMaxText + WySealMaxTrailer);
constexpr uint64_t LineBytes = WySealMaxText + WySealMaxTrailer;
// One key derivation is due for each file between; a forged number must not keep the writer, which
// holds the mutex of all processes, busy for hours.
constexpr uint64_t MaxFilesAhead = 1u << 20;

std::string TornFields(std::string_view strRest) {
  const WySealTag digest = WySealDigest(strRest);
  return " bytes=" + std::to_string(strRest.size()) +
         " hash=" + WySealEncode(digest.data(), digest.size());
}

// Failures that say nothing about the file.
bool IsPassing(int iErrno) { return iErrno == EMFILE || iErrno == ENFILE || iErrno == ENOMEM; }

}  // namespace

// uDirty is cleared last: a process that is killed during recovery leaves the work to the next one,
// and each step can be done twice.
bool CWySealWriter::Recover() {
  if (!OpenLog() || !CompareWithFile()) return false;
  m_state.Page().uDirty = 0;
  return true;
}

// ---- The file -----------------------------------------------------------------------------------

// The cases, in this order: the log's name leads to a later file than the state counts (a kill
// between rename and Commit in BeginFile, or an older state after a loss of power); to no file of
// this log at the very beginning; to the current file; to another one, since the current one is
// already renamed; or the current file is gone.
bool CWySealWriter::OpenLog() {
  const WySealSlot& slot = m_state.Slot();
  WySealHead head;
  if (!ReadHead(m_file.path, head)) return false;
  if (head.uFile > slot.uFile && AdoptFile(head)) return OpenFile(m_file.path, head.uFile);
  if (slot.uFile == 0) return BeginFile();
  std::string strPath;
  if (head.uFile == slot.uFile) return OpenFile(m_file.path, slot.uFile);
  if (!FindFile(slot.uFile, strPath)) return errno == ENOENT && BeginFile();
  if (!OpenFile(strPath, slot.uFile)) return false;
  SetFlags(WySealMoved);
  return true;
}

// The backup of that number. ENOENT if there is none.
bool CWySealWriter::FindFile(uint64_t uFile, std::string& strPath) {
  std::vector<std::string> files;
  if (!WySealFindFiles(m_file.path, files)) return false;
  WySealHead head;
  for (const std::string& strFile : files) {
    if (!ReadHead(strFile, head)) return false;
    if (head.uFile != uFile) continue;
    strPath = strFile;
    return true;
  }
  errno = ENOENT;
  return false;
}

// Number 0 for what is no file of this log, also for another log's file of the same number. Returns
// false, with errno set, if that cannot be known now: if the current file were taken for lost, the
// next one would begin with the number of a record that is in it and not counted yet.
bool CWySealWriter::ReadHead(const std::string& strPath, WySealHead& head) {
  errno = 0;
  head = WySealReadHead(strPath);
  if (head.uFile == 0) return !IsPassing(errno);
  if (head.logId != m_state.Page().logId) head.uFile = 0;
  return true;
}

// O_APPEND, so that nothing in the file can be overwritten, whatever the offset in the state is.
// O_NONBLOCK: a FIFO in the log's place must not block the writer.
bool CWySealWriter::OpenFile(const std::string& strPath, uint64_t uFile) {
  const int hFile = open(strPath.c_str(), O_RDWR | O_APPEND | O_CLOEXEC | O_NONBLOCK);
  if (hFile < 0) return false;
  SetCurrent(hFile, uFile);
  return true;
}

// A later file than the state knows of, which has the log's name and is proven by its first record.
bool CWySealWriter::AdoptFile(const WySealHead& head) {
  WySealLine line;
  // The slot is only prepared while the record is verified: on each return of false the valid slot
  // is as before. The number and the previous tag come from the line itself; the tag proves them,
  // since both are authenticated with a key that only the state leads to.
  const std::string strLine = head.strLine;
  if (head.uFile - m_state.Slot().uFile > MaxFilesAhead) return false;
  if (!WySealParseLine(strLine, line)) return false;
  WySealSlot& slot = m_state.Prepare();
  while (slot.uFile < head.uFile) EnterFile(slot);
  slot.uSeq = slot.uFileFirst = slot.uMarkSeq = head.uFirst;
  slot.tag = head.previous;

  WySealPage& page = m_state.Page();
  WySealTag tag;
  WySealStepRecordKey(slot.key, page.scratch.step);
  WySealComputeTag(page.scratch, page.logId, slot.tag, slot.uSeq, line.strText, tag);
  if (WySealEncode(tag.data(), tag.size()) != line.strTag) return false;
  CountRecord(slot, line.strText, strLine.substr(line.strText.size()), tag, strLine.size() + 1);
  m_state.Commit();
  return true;
}

// The same length still goes to RollForward: it clears a torn mark that a process left which died
// before it could.
bool CWySealWriter::CompareWithFile() {
  struct stat status;
  if (fstat(File(), &status) != 0) return false;
  const auto uSize = static_cast<uint64_t>(status.st_size);
  return uSize < m_state.Slot().uOffset ? FindGap(uSize) : RollForward();
}

// ---- The file is ahead --------------------------------------------------------------------------

// Lines that are not the next record are left as they are: the verifier names them. An attacker who
// can write to the file can put lines here, but none with a tag under the key in the state, so that
// none is counted.
bool CWySealWriter::RollForward() {
  uint64_t uRead = m_state.Slot().uOffset;
  std::string strPending, strChunk;
  // Each record found is committed at once. Killed in the middle, the next process continues behind
  // the last one counted.
  do {
    if (!WySealReadAt(File(), uRead, ChunkBytes, strChunk)) return false;
    uRead += strChunk.size();
    strPending += strChunk;
    size_t uDone = 0;
    for (size_t uEnd; (uEnd = strPending.find('\n', uDone)) != std::string::npos;
         uDone = uEnd + 1) {
      const std::string_view strLine(strPending.data() + uDone, uEnd - uDone);
      TakeRecord(strLine, uRead - strPending.size() + uEnd + 1);
    }
    strPending.erase(0, uDone);
    if (strPending.size() > TailBytes) strPending.erase(0, strPending.size() - TailBytes);
  } while (!strChunk.empty());
  return TakeRest(strPending, uRead);
}

// Comparing in variable time is safe here: the tag is no secret, it is in the file.
bool CWySealWriter::Verifies(const WySealLine& line, WySealTag& tag) {
  WySealPage& page = m_state.Page();
  const WySealSlot& slot = m_state.Slot();
  if (line.uSeq != slot.uSeq) return false;
  WySealStepRecordKey(slot.key, page.scratch.step);
  WySealComputeTag(page.scratch, page.logId, slot.tag, slot.uSeq, line.strText, tag);
  return WySealEncode(tag.data(), tag.size()) == line.strTag;
}

bool CWySealWriter::TakeRecord(std::string_view strLine, uint64_t uOffset) {
  WySealLine line;
  WySealTag tag;
  if (!WySealParseLine(strLine, line) || !Verifies(line, tag)) return false;
  CountRecord(m_state.Prepare(), line.strText, strLine.substr(line.strText.size()), tag, uOffset);
  m_state.Commit();
  return true;
}

// What follows the last newline of the file: a record without its newline, or a part of one.
bool CWySealWriter::TakeRest(std::string_view strRest, uint64_t uSize) {
  if (strRest.empty() && uSize == m_state.Slot().uOffset) return true;
  if (!strRest.empty() && TakeRecord(strRest, uSize)) {
    SetFlags(WySealUnended);
    return true;
  }
  // The record that is due describes all that is there, also the lines that were skipped: parts of
  // former attempts to write it are among them.
  if ((m_state.Slot().uFlags & (WySealTorn | WySealGap)) != 0) return true;
  WySealSlot& slot = m_state.Prepare();
  // Lines that were skipped are behind uOffset from now on: they are never read again as records.
  slot.uOffset = uSize - strRest.size();
  slot.uFlags &= ~uint32_t{WySealUnended};
  if (!strRest.empty()) slot.uFlags |= WySealTorn;
  m_state.Commit();
  return true;
}

// Writes the record that is due, behind what it describes.
bool CWySealWriter::WriteDue() {
  struct stat status;
  if (fstat(File(), &status) != 0) return false;
  const auto uSize = static_cast<uint64_t>(status.st_size);
  const uint64_t uOffset = m_state.Slot().uOffset;
  const bool bGap = (m_state.Slot().uFlags & WySealGap) != 0;
  // Another program has cut the file once more.
  if (uSize < uOffset) return FindGap(uSize) && Prepare();
  std::string strRest, strText = "~torn";
  if (!WySealReadAt(File(), uOffset, uSize - uOffset, strRest)) return false;
  if (bGap && !GapText(strText)) return false;
  if (!strRest.empty()) return Append(strText + TornFields(strRest), {true, uSize});
  if (bGap) return Append(strText, {false, uSize});
  SetFlags(0, WySealTorn);  // the rest was cut away: there is nothing to describe
  return true;
}

// ---- The state is ahead -------------------------------------------------------------------------

// Records that the state counted are not in the file. Whether power or an attacker took them cannot
// be known, and writing must go on: so the ~gap record states the fact, sealed, and the verifier
// reports it as not intact. The record is written by WriteDue; uOffset is behind the last line.
bool CWySealWriter::FindGap(uint64_t uSize) {
  std::string strTail;
  const uint64_t uFrom = uSize - std::min(uSize, TailBytes);
  if (!WySealReadAt(File(), uFrom, uSize - uFrom, strTail)) return false;
  const size_t uEnd = strTail.rfind('\n');
  if (uEnd == std::string::npos) return BeginFile();  // nothing is left of it
  const std::string_view strRest = std::string_view(strTail).substr(uEnd + 1);
  WySealLine line;
  WySealSlot& slot = m_state.Prepare();
  const bool bWhole = WySealParseLine(strRest, line) && line.uSeq == slot.uSeq - 1;
  slot.uFlags &= ~uint32_t{WySealUnended | WySealTorn | WySealGap};
  slot.uFlags |= bWhole ? WySealUnended : WySealGap;  // bWhole: only the newline is gone
  slot.uOffset = bWhole ? uSize : uSize - strRest.size();
  m_state.Commit();
  return true;
}

// The predecessor of the ~gap record is not in the file, so the record contains its tag. A last
// line without a readable number may be an attacker's, so that only the very last record is named
// for certain; the verifier finds the rest of them missing.
bool CWySealWriter::GapText(std::string& strText) {
  const WySealSlot& slot = m_state.Slot();
  const uint64_t uLast = slot.uSeq - 1, uFrom = slot.uOffset - std::min(slot.uOffset, LineBytes);
  std::string strLines;
  if (!WySealReadAt(File(), uFrom, slot.uOffset - uFrom, strLines)) return false;
  if (!strLines.empty()) strLines.pop_back();  // its newline
  WySealLine line;
  const size_t uBefore = strLines.rfind('\n');
  const std::string_view strLine = std::string_view(strLines).substr(uBefore + 1);
  const bool bNumbered = WySealParseLine(strLine, line) && line.uSeq < uLast;
  strText = "~gap " + WySealRange(bNumbered ? line.uSeq + 1 : uLast, uLast) +
            " prev=" + WySealEncode(slot.tag.data(), slot.tag.size());
  return true;
}
