// From one file of the log to the next. The next file is created, and the current one renamed,
// before anything is written: what the system refuses leaves the log as it was. The next file gets
// the log's name with its first record already in it, so that no file of the log is ever without
// one.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>
#include <ctime>
#include <map>
#include <utility>
#include <vector>

#include "extras/seal/internal/WySealSignature.h"
#include "extras/seal/internal/WySealWriter.h"

namespace {

// The room that is kept for the log's own records before the end of the file: a checkpoint, a torn
// write and the end, the first and the last with signatures (some 250 bytes each).
constexpr uint64_t OwnRecords = 1024;
// As the file outputs of the core library: a directory whose permissions are being repaired is
// found again soon, and a permanent failure costs one attempt in five minutes.
constexpr time_t RetrySeconds = 300;

}  // namespace

// A single record that is longer than the limit gets a file of its own. A file that is ended comes
// first, without regard to the size and to m_tRetry: a process was killed in the middle of a
// rollover, and no record may follow ~end in the same file.
bool CWySealWriter::RollOverIfDue(size_t uLength) {
  const WySealSlot& slot = m_state.Slot();
  if ((slot.uFlags & WySealEnded) != 0) return RollOver();
  const uint64_t uSize = slot.uOffset + uLength + WySealMaxTrailer + OwnRecords;
  const bool bFull = m_uMaxSize != 0 && uSize >= m_uMaxSize && slot.uSeq != slot.uFileFirst + 1;
  if (!bFull && (slot.uFlags & (WySealRenewed | WySealMoved)) == 0) return true;
  return time(nullptr) < m_tRetry || RollOver();
}

// Each step is committed in the flags before the next one begins, so that the next process resumes
// exactly there. If the next file cannot be created, or this one not be renamed, the log goes on in
// the old file, whatever the reason: evidence beyond the size limit is better than none. Unless its
// directory is gone: what is written there cannot be found.
bool CWySealWriter::RollOver() {
  CWySealDescriptor file(CreateNewFile());
  const uint32_t uFlags = m_state.Slot().uFlags;
  if (!file || ((uFlags & WySealMoved) == 0 && !MoveAside())) {
    RemoveNewFile();
    if ((uFlags & WySealEnded) != 0 || errno == ENOENT || errno == ENOTDIR) return false;
    m_tRetry = time(nullptr) + RetrySeconds;
    return true;
  }
  SetFlags(WySealMoved);
  if ((uFlags & WySealEnded) == 0 && !End()) return RemoveNewFile();
  if (!BeginFile(std::move(file))) return false;
  Retire();
  return true;
}

bool CWySealWriter::MoveAside() {
  WySealHead head;
  if (!ReadHead(m_file.path, head)) return false;
  if (head.uFile == m_state.Slot().uFile) return WySealMoveAside(m_file.path);
  return true;  // another program has moved it already
}

// A checkpoint, so that the file's last records are on the disk and, in signed logs, signed:
// nothing later will cover them.
bool CWySealWriter::End() {
  const WySealSlot& slot = m_state.Slot();
  std::string strText = "~end file=" + std::to_string(slot.uFile) +
                        " records=" + std::to_string(slot.uSeq - slot.uFileFirst + 1) +
                        " time=" + WySealTimeText(time(nullptr));
  if ((slot.uFlags & WySealRenewed) != 0) strText += " renewed=1";
  return AppendCheckpoint(std::move(strText));
}

// ---- The next file ------------------------------------------------------------------------------

// Leaves the next file's keys and numbers in the slot; the next record is its first. The digest
// starts anew with each file, so that a signed file is verified without those before it. The tag
// does not: `prev=` in the ~begin record chains the files.
void CWySealWriter::EnterFile(WySealSlot& slot) {
  WySealStep& step = m_state.Page().scratch.step;
  WySealStepFileKey(slot.fileKey, step);
  // From here on the page has no key from which this file's first record could be derived.
  slot.fileKey = step.next;
  slot.key = step.down;
  ++slot.uFile;
  slot.uFileFirst = slot.uMarkSeq = slot.uSeq;
  slot.iMarkTime = time(nullptr);
  slot.uOffset = 0;
  slot.uFlags = 0;
  slot.digest = {};
}

std::string CWySealWriter::HeadText(const WySealSlot& slot) {
  const WySealPage& page = m_state.Page();
  std::string strText = "~begin log=" + WySealEncode(page.logId.data(), page.logId.size()) +
                        " file=" + std::to_string(slot.uFile) +
                        " first=" + std::to_string(slot.uSeq) +
                        " prev=" + WySealEncode(slot.tag.data(), slot.tag.size()) +
                        " time=" + WySealTimeText(slot.iMarkTime);
  if (page.uSigned != 0) {
    const WySealPublicKey key = WySealPublicKeyOf(slot.seed);
    strText += " pub=" + WySealEncode(key.data(), key.size());
  }
  return strText;
}

int CWySealWriter::CreateNewFile() {
  const std::string strNewFile = m_file.path + ".new";
  WyUnlink(strNewFile.c_str());  // of a process that died here
  return open(strNewFile.c_str(), O_RDWR | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC | O_NOFOLLOW,
              static_cast<mode_t>(m_file.permissions));
}

// Returns false, with errno as it was.
bool CWySealWriter::RemoveNewFile() {
  const int iErrno = errno;
  WyUnlink((m_file.path + ".new").c_str());
  errno = iErrno;
  return false;
}

bool CWySealWriter::BeginFile() { return BeginFile(CWySealDescriptor(CreateNewFile())); }

// The slot is committed after the file has its name. Killed before the rename, ".new" is removed by
// the next process; killed after it, AdoptFile finds the file ahead of the state and proves it.
bool CWySealWriter::BeginFile(CWySealDescriptor file) {
  if (!file) return false;
  WySealSlot& slot = m_state.Prepare();
  EnterFile(slot);
  if (!WriteHead(file.Get(), slot, HeadText(slot)) || !PlaceFile()) return RemoveNewFile();
  m_state.Commit();
  SetCurrent(file.Release(), m_state.Slot().uFile);
  return true;
}

bool CWySealWriter::WriteHead(int hFile, WySealSlot& slot, std::string_view strText) {
  WySealPage& page = m_state.Page();
  WySealTag tag;
  WySealStepRecordKey(slot.key, page.scratch.step);
  WySealComputeTag(page.scratch, page.logId, slot.tag, slot.uSeq, strText, tag);
  const CWySealTrailer trailer(slot.uSeq, tag);
  const std::string strLine = std::string(strText).append(trailer.Text());
  const ssize_t lWritten = write(hFile, strLine.data(), strLine.size());
  if (lWritten != static_cast<ssize_t>(strLine.size())) {
    if (lWritten >= 0) errno = ENOSPC;
    return false;
  }
  // Before the rename: after a loss of power a file with the log's name has its first record.
  if (fdatasync(hFile) != 0) return false;
  CountRecord(slot, strText, trailer.Text(), tag, strLine.size());
  return true;
}

// Gives the new file the log's name. What has that name and is not the log is moved aside. WyRename
// never replaces a file, so that evidence is not overwritten. Two attempts: a name that is taken
// again between them is another program's doing, and moving files aside for it might not end.
//
// From the rename on the file is a part of the log and must be counted, so a failure to force the
// name to the disk is not one of the rollover: a second file would get the same number.
bool CWySealWriter::PlaceFile() {
  const std::string strNewFile = m_file.path + ".new";
  for (int i = 0; i < 2; ++i) {
    if (WyRename(strNewFile.c_str(), m_file.path.c_str()) == 0) {
      WySealSyncDirectory(m_file.path);
      return true;
    }
    if (errno != EEXIST || !ClearName()) return false;
  }
  return false;
}

// Not before the log's first file: nothing that is not sealed becomes a part of it unasked. An
// empty file is removed instead: installers and log rotation create those, and a backup of it would
// be reported as a foreign file.
bool CWySealWriter::ClearName() {
  struct stat status;
  if (stat(m_file.path.c_str(), &status) != 0) return false;
  if (S_ISREG(status.st_mode) && status.st_size == 0) return WyUnlink(m_file.path.c_str()) == 0;
  if (m_state.Slot().uFile != 0 && S_ISREG(status.st_mode)) return WySealMoveAside(m_file.path);
  errno = EEXIST;
  return false;
}

// ---- Retention ----------------------------------------------------------------------------------

// Which files go is said by the numbers that the state has counted, and recorded before they do. A
// failure here costs no record: the next rollover tries again. The order is fixed: a deletion
// before its ~retire record would look like an attacker's. Killed between the two, a file that is
// recorded as retired is still there, which the verifier accepts; the next rollover deletes it.
void CWySealWriter::Retire() {
  const uint64_t uKept = static_cast<uint64_t>(m_file.backups) + 1, uFile = m_state.Slot().uFile;
  if (m_file.backups == 0 || uFile <= uKept) return;
  const uint64_t uThrough = uFile - uKept;
  std::vector<std::string> files;
  std::map<uint64_t, std::string> retired;  // the oldest first, so that no gap comes between
  if (!WySealFindFiles(m_file.path, files)) return;
  for (const std::string& strFile : files) {
    const WySealHead head = WySealReadHead(strFile);
    const bool bOurs = head.uFile != 0 && head.logId == m_state.Page().logId;
    if (bOurs && head.uFile <= uThrough) retired[head.uFile] = strFile;
  }
  if (retired.empty()) return;
  std::string strText =
      "~retire through=" + std::to_string(uThrough) + " time=" + WySealTimeText(time(nullptr));
  if (!AppendCheckpoint(std::move(strText))) return;
  for (const auto& [uNumber, strFile] : retired) {
    // Stops at the first failure: deleting a later file would leave a gap in the middle of those
    // kept.
    if (WyUnlink(strFile.c_str()) != 0) return;
  }
}
