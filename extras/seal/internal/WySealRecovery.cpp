// Compares the state with the file and brings them together again, after a process died in the
// middle, a write was cut short, or the machine lost power:
//
//   the file is ahead    its records are verified one by one, and counted
//   a rest of a write    a sealed ~torn record says how long it is and what its digest is
//   the state is ahead   records are gone: a sealed ~gap record says which
//   the file is gone     the next file begins; the missing number shows

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "extras/seal/internal/WySealWriter.h"

namespace {

constexpr size_t ChunkBytes = 1u << 20;
constexpr uint64_t TailBytes = 2 * (WySealMaxText + WySealMaxTrailer);
constexpr uint64_t MaxFilesAhead = 1u << 20;

std::string TornFields(std::string_view strRest) {
  const WySealTag digest = WySealDigest(strRest);
  return " bytes=" + std::to_string(strRest.size()) +
         " hash=" + WySealEncode(digest.data(), digest.size());
}

}  // namespace

bool CWySealWriter::Recover() {
  if (!OpenLog() || !CompareWithFile()) return false;
  m_state.Page().uDirty = 0;
  return true;
}

// ---- The file -----------------------------------------------------------------------------------

bool CWySealWriter::OpenLog() {
  const WySealSlot& slot = m_state.Slot();
  const WySealHead head = WySealReadHead(m_file.path);
  const bool bNext = head.uFile > slot.uFile && head.logId == m_state.Page().logId;
  if (bNext && AdoptFile(head)) return OpenFile(m_file.path, slot.uFile);
  if (slot.uFile == 0) return BeginFile();
  std::string strPath;
  if (head.uFile == slot.uFile) return OpenFile(m_file.path, slot.uFile);
  if (!FindFile(slot.uFile, strPath)) return errno == ENOENT && BeginFile();
  if (!OpenFile(strPath, slot.uFile)) return false;
  SetFlags(WySealMoved);
  return true;
}

// The backup of that number. ENOENT if there is none.
bool CWySealWriter::FindFile(uint64_t uFile, std::string& strPath) const {
  std::vector<std::string> files;
  if (!WySealFindFiles(m_file.path, files)) return false;
  for (const std::string& strFile : files) {
    if (WySealReadHead(strFile).uFile != uFile) continue;
    strPath = strFile;
    return true;
  }
  errno = ENOENT;
  return false;
}

bool CWySealWriter::OpenFile(const std::string& strPath, uint64_t uFile) {
  const int hFile = open(strPath.c_str(), O_RDWR | O_APPEND | O_CLOEXEC | O_NONBLOCK);
  if (hFile < 0) return false;
  SetCurrent(hFile, uFile);
  return true;
}

// A later file than the state knows of, which has the log's name and is proven by its first record.
bool CWySealWriter::AdoptFile(const WySealHead& head) {
  WySealLine line;
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

bool CWySealWriter::CompareWithFile() {
  struct stat status;
  if (fstat(File(), &status) != 0) return false;
  const auto uSize = static_cast<uint64_t>(status.st_size);
  return uSize < m_state.Slot().uOffset ? CloseGap(uSize) : RollForward();
}

// ---- The file is ahead --------------------------------------------------------------------------

// Lines that are not the next record are left as they are: the verifier names them.
bool CWySealWriter::RollForward() {
  uint64_t uRead = m_state.Slot().uOffset;
  std::string strPending, strChunk;
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
  WySealSlot& slot = m_state.Prepare();
  slot.uOffset = uSize - strRest.size();
  slot.uFlags &= ~uint32_t{WySealUnended | WySealTorn};
  if (!strRest.empty()) slot.uFlags |= WySealTorn;
  m_state.Commit();
  return true;
}

bool CWySealWriter::WriteTorn() {
  struct stat status;
  std::string strRest;
  const uint64_t uOffset = m_state.Slot().uOffset;
  if (fstat(File(), &status) != 0) return false;
  const auto uSize = static_cast<uint64_t>(status.st_size);
  if (uSize <= uOffset) {
    SetFlags(0, WySealTorn);
    return true;
  }
  if (!WySealReadAt(File(), uOffset, uSize - uOffset, strRest)) return false;
  return Append("~torn" + TornFields(strRest), {true, uSize});
}

// ---- The state is ahead -------------------------------------------------------------------------

bool CWySealWriter::CloseGap(uint64_t uSize) {
  std::string strTail;
  const uint64_t uFrom = uSize - std::min(uSize, TailBytes);
  if (!WySealReadAt(File(), uFrom, uSize - uFrom, strTail)) return false;
  const size_t uEnd = strTail.rfind('\n');
  if (uEnd == std::string::npos) return BeginFile();  // nothing is left of it
  const std::string_view strRest = std::string_view(strTail).substr(uEnd + 1);
  const size_t uBefore = uEnd == 0 ? std::string::npos : strTail.rfind('\n', uEnd - 1);
  const size_t uLine = uBefore == std::string::npos ? 0 : uBefore + 1;
  return WriteGap(std::string_view(strTail).substr(uLine, uEnd - uLine), strRest, uSize);
}

// The predecessor of the ~gap record is not in the file, so the record contains its tag.
bool CWySealWriter::WriteGap(std::string_view strLastLine, std::string_view strRest,
                             uint64_t uSize) {
  const WySealSlot& slot = m_state.Slot();
  const uint64_t uLast = slot.uSeq - 1;
  WySealLine line;
  if (WySealParseLine(strRest, line) && line.uSeq == uLast) {  // only the newline is gone
    WySealSlot& changed = m_state.Prepare();
    changed.uOffset = uSize;
    changed.uFlags |= WySealUnended;
    m_state.Commit();
    return true;
  }
  const bool bNumbered = WySealParseLine(strLastLine, line) && line.uSeq < uLast;
  const uint64_t uFirst = bNumbered ? line.uSeq + 1 : uLast;
  std::string strText = "~gap " + WySealRange(uFirst, uLast) +
                        " prev=" + WySealEncode(slot.tag.data(), slot.tag.size());
  if (!strRest.empty()) strText += TornFields(strRest);
  return Append(strText, {!strRest.empty(), uSize});
}
