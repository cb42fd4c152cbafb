// Reading file after file. What cannot be opened or read is reported, and the rest is still read.

#include "tools/wylogctl/ChainReader.h"

#include <utility>

namespace {

// Lines that no other line followed in so many attempts to read are a complete record.
constexpr int IdleLooks = 2;
constexpr int SuccessorTries = 100;

}  // namespace

CWyChainReader::CWyChainReader(CWyContext& context, std::string strPath,
                               const WyReadOptions& options)
    : m_context(context),
      m_chain(std::move(strPath), options.bBackups),
      m_options(options),
      m_pShape(options.pShape) {}

bool CWyChainReader::Open() {
  m_files = m_chain.List();
  for (const WyLogFile& file : m_files) {
    if (file.bBackup) m_seen.insert(file.strName);
  }
  if (!m_files.empty() || m_options.bFollow) return true;
  m_context.Error(m_chain.Path() + ": no such log, and no backups of it");
  m_bEnded = true;
  return false;
}

bool CWyChainReader::Position(WyLogFile& file, std::uint64_t& uOffset) const {
  if (!m_pCurrent) return false;
  file = m_pCurrent->file;
  uOffset = m_pCurrent->pReader->NextOffset();
  return true;
}

std::uint64_t CWyChainReader::BytesRead() const {
  return m_uBytesBefore + (m_pCurrent ? m_pCurrent->pReader->EndOffset() : 0);
}

bool CWyChainReader::Deliver(const WyRawRecord& raw, WyRecord& record) {
  m_pCurrent->parser.Parse(raw, record);
  record.file = m_pCurrent->file.strPath;
  m_pCurrent->iIdle = 0;
  return true;
}

bool CWyChainReader::Next(WyRecord& record) {
  while (!m_bEnded) {
    if (!m_pCurrent && !OpenListed()) return false;
    if (!m_pCurrent) continue;
    if (TakeNext(record)) return true;
    if (!m_pCurrent->bComplete) CheckLive();
    if (!m_pCurrent) continue;
    // Once more, now that nothing can be added to it.
    if (m_pCurrent->bComplete) {
      if (TakeNext(record) || TakeLast(record)) return true;
      Finish();
      if (!Advance()) return false;
      continue;
    }
    if (++m_pCurrent->iIdle < IdleLooks) return false;
    WyRawRecord raw;
    return m_pCurrent->pReader->TakeWholeLines(raw) && Deliver(raw, record);
  }
  return false;
}

bool CWyChainReader::ReadAgain(WyRecord& record) {
  const std::uint64_t uOffset = record.raw.uOffset;
  const unsigned int uFlags = record.uFlags;
  WyRawRecord raw;
  const bool bRead =
      TakeNext(record) ||
      (m_pCurrent->bComplete ? TakeLast(record)
                             : m_pCurrent->pReader->TakeWholeLines(raw) && Deliver(raw, record));
  // What the record before it has shown is not known any more.
  record.uFlags |= uFlags;
  return bRead && record.raw.uOffset == uOffset;
}

bool CWyChainReader::TakeNext(WyRecord& record) {
  WyRawRecord raw;
  return m_pCurrent->pReader->Next(raw) && Deliver(raw, record);
}

bool CWyChainReader::TakeLast(WyRecord& record) {
  const bool bKeep = m_options.bKeepUnfinished && !m_pCurrent->file.bBackup;
  CWyRecordReader& reader = *m_pCurrent->pReader;
  WyRawRecord raw;
  return (bKeep ? reader.TakeWholeLines(raw) : reader.TakeRest(raw)) && Deliver(raw, record);
}

// The file was read to its end, and is not written to any more.
void CWyChainReader::Finish() {
  if (m_pCurrent->bFinished) return;
  m_pCurrent->bFinished = true;
  FreeLast();
  const CWyRecordReader& reader = *m_pCurrent->pReader;
  const std::string& strPath = m_pCurrent->file.strPath;
  if (reader.Failed()) m_context.Error(strPath + ": " + m_pCurrent->pSource->Error());
  if (reader.DroppedBytes() > 0) {
    m_context.Warning(strPath + ": " + std::to_string(reader.DroppedBytes()) +
                      " bytes of records longer than 16 MiB were left out");
  }
  if (onFinished) onFinished(m_pCurrent->file);
  if (reader.Shape() != nullptr) m_pShape = reader.Shape();
}

// Goes on to the next file; returns false if there is none, or none yet.
bool CWyChainReader::Advance() {
  if (m_uNextFile < m_files.size()) {
    m_uBytesBefore += m_pCurrent->pReader->EndOffset();
    m_pCurrent.reset();
    return true;
  }
  if (m_options.bFollow) return OpenSuccessor();
  m_bEnded = true;  // the position stays, for the cursor
  return false;
}

bool CWyChainReader::OpenListed() {
  if (m_uNextFile == 0) m_uNextFile = m_start.uFile;
  while (m_uNextFile < m_files.size()) {
    WyLogFile file = m_files[m_uNextFile];
    const WyPlace place = m_uNextFile == m_start.uFile ? m_start : WyPlace();
    ++m_uNextFile;
    std::string strError;
    auto pSource = CWyByteSource::Open(file.strPath, strError);
    if (pSource == nullptr) {
      m_context.Error(file.strPath + ": " + strError);
      continue;
    }
    // The log itself may have been rolled over since it was listed; the backup is then the file.
    if (!m_chain.IsStandardInput() && !(pSource->Identity() == file.identity) && !file.bBackup) {
      for (WyLogFile& backup : m_chain.ListBackups()) {
        if (!(backup.identity == file.identity)) continue;
        auto pBackup = CWyByteSource::Open(backup.strPath, strError);
        if (pBackup != nullptr) pSource = std::move(pBackup);
      }
    }
    return Use(std::move(file), std::move(pSource), place);
  }
  if (m_options.bFollow) return OpenSuccessor();
  m_bEnded = true;
  return false;
}

bool CWyChainReader::Use(WyLogFile file, std::unique_ptr<CWyByteSource> pSource,
                         const WyPlace& place) {
  m_pCurrent = std::make_unique<Current>();
  Current& current = *m_pCurrent;
  current.file = std::move(file);
  current.file.identity = pSource->Identity();
  current.pSource = std::move(pSource);
  const bool bSeek = place.uOffset > 0 && current.pSource->Seek(place.uOffset);
  current.pReader = std::make_unique<CWyRecordReader>(*current.pSource, bSeek ? place.uOffset : 0,
                                                      m_options.uChunk);
  const auto& pShape = bSeek && place.pShape != nullptr ? place.pShape : m_pShape;
  current.pReader->SetShape(pShape, bSeek || m_options.pShape != nullptr);
  if (bSeek && !place.bAtRecord) current.pReader->SkipToStart();
  current.bComplete = current.file.bBackup || !m_options.bFollow || m_uNextFile < m_files.size();
  if (onOpened) onOpened(current.file);
  return true;
}

// Whether the log's name still leads to the open file, and the file still has what was read of it.
void CWyChainReader::CheckLive() {
  WyLogFile now;
  if (!m_chain.Find(now)) return;  // between the two steps of a rollover, or removed
  if (!(now.identity == m_pCurrent->file.identity)) {
    m_pCurrent->bComplete = true;
    return;
  }
  if (m_pCurrent->pSource->Size() >= m_pCurrent->pReader->EndOffset() || now.bCompressed) return;
  m_context.Warning(m_chain.Path() + ": became smaller; reading starts again at its beginning");
  std::string strError;
  auto pSource = CWyByteSource::Open(m_chain.Path(), strError);
  if (pSource != nullptr) Use(std::move(now), std::move(pSource), {});
}

// What comes behind the open file: the oldest backup that was not seen, or the log itself.
bool CWyChainReader::FindSuccessor(WyLogFile& file) {
  bool bFound = false;
  bool bOwn = !m_pCurrent;
  for (WyLogFile& backup : m_chain.ListBackups()) {
    const bool bIsOwn = m_pCurrent && backup.identity == m_pCurrent->file.identity;
    if (bIsOwn) m_seen.insert(backup.strName);
    bOwn = bOwn || bIsOwn;
    if (bFound || m_seen.contains(backup.strName)) continue;
    file = std::move(backup);
    bFound = true;
  }
  if (!bFound && !m_chain.Find(file)) return false;
  if (m_pCurrent && !bFound && file.identity == m_pCurrent->file.identity) return false;
  if (!bOwn && m_options.bBackups && !std::exchange(m_pCurrent->bReported, true)) {
    m_context.Warning(m_pCurrent->file.strPath +
                      ": its backup was deleted while it was followed; it was read to its end, but"
                      " younger ones may have been deleted unread");
  }
  return true;
}

bool CWyChainReader::OpenSuccessor() {
  for (int i = 0; i < SuccessorTries; ++i) {
    WyLogFile file;
    if (!FindSuccessor(file)) return false;
    std::string strError;
    auto pSource = CWyByteSource::Open(file.strPath, strError);
    WyLogFile check;
    // Rolled over or deleted between the listing and the call of open(2): list again.
    if (pSource == nullptr || !FindSuccessor(check)) continue;
    if (!(check.identity == pSource->Identity()) || check.strName != file.strName) continue;
    if (file.bBackup) m_seen.insert(file.strName);
    return Use(std::move(file), std::move(pSource), {});
  }
  return false;
}
