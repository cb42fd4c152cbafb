// The buffer holds the record that is being collected and what was read behind it:
//
//   m_uBegin ... m_uLast ... m_uScan ... m_uSearched ... m_uEnd
//   first line   last line   next line   no newline yet
//
// Each step takes one line: it belongs to the record, or begins the next one.

#include "tools/wylogctl/RecordReader.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

std::string_view WithoutNewline(std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  return text;
}

}  // namespace

const char* WyFlagName(unsigned int uBit) {
  constexpr const char* Names[WyFlagCount] = {"torn",         "ambiguous", "too-long",
                                              "unterminated", "maybe-cut", "invalid-utf8",
                                              "nul",          "joined",    "names-assumed"};
  return Names[uBit];
}

void CWyByteBuffer::Resize(std::size_t uSize) {
  char* const p = static_cast<char*>(std::realloc(m_pBytes.get(), uSize + 1));
  if (p == nullptr) throw std::bad_alloc();
  static_cast<void>(m_pBytes.release());
  m_pBytes.reset(p);
  p[uSize] = '\0';
  m_uSize = uSize;
}

CWyRecordReader::CWyRecordReader(CWyByteSource& source, std::uint64_t uOffset, std::size_t uChunk)
    : m_source(source), m_buffer(uChunk), m_uChunk(uChunk), m_uBase(uOffset) {}

bool CWyRecordReader::Next(WyRawRecord& record) {
  if (m_bTitles) return TakeTitles(record);
  for (;;) {
    if (m_bCutLine && !DropCutLine()) return false;
    const bool bDropping = m_bSkipping || m_bTooLong;
    if (!bDropping && m_uScan - m_uBegin > LargestRecord) return TakeTooLong(record);
    std::size_t uNewline;
    if (TakeLine(uNewline)) {
      if (TakeStep(uNewline + 1, record)) return true;
      continue;
    }
    if (m_uEnd - m_uBegin <= LargestRecord) return false;
    if (TakeTooLong(record)) return true;
  }
}

// The line from m_uScan to `uNext`; true when it shows that a record before it is complete.
bool CWyRecordReader::TakeStep(std::size_t uNext, WyRawRecord& record) {
  const std::size_t uStart = m_uScan;
  const std::string_view line(&m_buffer[uStart], uNext - 1 - uStart);
  if (IsUnderTitles(line)) return AnnounceTitles(uNext, record);
  const bool bFirst = m_uBegin == uStart;
  const bool bDropping = m_bSkipping || m_bTooLong;
  const bool bStart = (!bFirst || bDropping) && IsStart(line);
  bool bDelivered = false;
  if (bDropping) {
    if (m_bTooLong && !bStart) m_uDropped += uNext - uStart;
    if (bStart) m_bSkipping = m_bTooLong = false;
    m_uBegin = uStart;
  } else if (bStart) {
    Deliver(uStart, record);
    if (IsWeak()) JudgeWeak(line, record);
    bDelivered = true;
  }
  m_uLast = uStart;
  m_uScan = m_uSearched = uNext;
  return bDelivered;
}

// Whether the line stands under the header lines of a trace; m_pNextShape is then what they
// announce.
bool CWyRecordReader::IsUnderTitles(std::string_view line) {
  const bool bPossible = line.size() > 1 && (line[0] == '=' || (line[0] == '[' && line[1] == '='));
  if (!bPossible || m_uScan == m_uBegin || m_pShape->kind == WyLogFormat::Error) return false;
  const std::string_view names(&m_buffer[m_uLast], m_uScan - m_uLast - 1);
  auto shape = WyReadTitles(names, line);
  if (shape) m_pNextShape = std::make_shared<const WyLogShape>(std::move(*shape));
  return shape.has_value();
}

// The header lines are the next record, behind the one that they end.
bool CWyRecordReader::AnnounceTitles(std::size_t uNext, WyRawRecord& record) {
  m_bTitles = true;
  m_uScan = m_uSearched = m_uTitlesEnd = uNext;
  if (m_bSkipping || m_bTooLong || m_uLast == m_uBegin) {
    m_uBegin = m_uLast;
    m_bSkipping = m_bTooLong = false;
    return TakeTitles(record);
  }
  Deliver(m_uLast, record);
  if (IsWeak()) JudgeWeak({}, record);
  return true;
}

bool CWyRecordReader::TakeTitles(WyRawRecord& record) {
  m_pShape = m_pNextShape;
  m_bTitles = m_bFlaggedBefore = false;
  Deliver(m_uTitlesEnd, record);
  m_uLast = m_uTitlesEnd;
  record.bTitles = true;
  return true;
}

// Finds the newline of the line at m_uScan, reading more where needed.
bool CWyRecordReader::TakeLine(std::size_t& uNewline) {
  for (;;) {
    if (m_uEnd > m_uSearched) {
      const void* const p = std::memchr(&m_buffer[m_uSearched], '\n', m_uEnd - m_uSearched);
      if (p != nullptr) {
        uNewline = static_cast<std::size_t>(static_cast<const char*>(p) - m_buffer.Data());
        return true;
      }
      m_uSearched = m_uEnd;
    }
    if (m_uEnd - m_uBegin > LargestRecord || !Fill()) return false;
  }
}

// The records that were delivered make room for others.
void CWyRecordReader::DropDelivered() {
  if (m_uBegin == 0) return;
  std::memmove(m_buffer.Data(), &m_buffer[m_uBegin], m_uEnd - m_uBegin);
  m_uBase += m_uBegin;
  m_uEnd -= m_uBegin;
  m_uScan -= m_uBegin;
  m_uLast -= std::min(m_uLast, m_uBegin);
  m_uTitlesEnd -= std::min(m_uTitlesEnd, m_uBegin);
  m_uSearched -= m_uBegin;
  m_uBegin = 0;
}

// Room for a chunk behind m_uEnd.
void CWyRecordReader::MakeRoom() {
  DropDelivered();
  if (m_buffer.Size() - m_uEnd < m_uChunk / 2 + 1) {
    m_buffer.Resize(std::min(m_buffer.Size() * 2, LargestRecord + 2 * m_uChunk));
  } else if (m_buffer.Size() > 4 * m_uChunk && m_uEnd < m_uChunk) {
    m_buffer.Resize(2 * m_uChunk);  // the long record that it grew for has been delivered
  }
}

bool CWyRecordReader::Fill() {
  MakeRoom();
  const std::size_t uRoom = std::min(m_uChunk, m_buffer.Size() - m_uEnd);
  const ssize_t nRead = m_source.Read(&m_buffer[m_uEnd], uRoom);
  if (nRead < 0) m_bFailed = true;
  if (nRead <= 0) return false;
  m_uEnd += static_cast<std::size_t>(nRead);
  if (!m_bDetected) Detect();
  return true;
}

// The first lines decide, if they show their format themselves; a trace's header lines come later,
// and a shape that is known already stays when there are none.
void CWyRecordReader::Detect() {
  constexpr std::size_t HeadSize = 16384;
  while (m_uEnd - m_uBegin < HeadSize) {
    if (m_buffer.Size() - m_uEnd < m_uChunk) m_buffer.Resize(m_buffer.Size() + m_uChunk);
    const ssize_t nRead = m_source.Read(&m_buffer[m_uEnd], m_uChunk);
    if (nRead <= 0) break;
    m_uEnd += static_cast<std::size_t>(nRead);
  }
  const std::string_view head(&m_buffer[m_uBegin], std::min(m_uEnd - m_uBegin, HeadSize));
  const auto shape = WyDetectShape(head);
  const bool bShown = shape && shape->kind != WyLogFormat::Audit;
  if (m_pShape == nullptr || bShown) {
    m_pShape = std::make_shared<const WyLogShape>(shape.value_or(WyLogShape()));
  }
  m_bDetected = bShown || head.find('\n') != std::string_view::npos;
}

bool CWyRecordReader::IsWeak() const {
  return (m_pShape->kind == WyLogFormat::Brackets || m_pShape->kind == WyLogFormat::Separator) &&
         m_pShape->uLeading == 0;
}

bool CWyRecordReader::IsStart(std::string_view line) const {
  const WyLogShape& shape = *m_pShape;
  if (shape.kind == WyLogFormat::Error) {
    std::size_t uEnd;
    return WyIsErrorStart(line.data(), line.size(), uEnd);
  }
  if (line == "<TraceMessage>") return true;
  if (m_bSkipping || m_bTooLong) return WyIsStrongStart(shape, line);
  const std::size_t uSize = m_uScan - m_uBegin - 1;  // of the record so far
  if (shape.kind == WyLogFormat::Columns) {
    if (uSize >= shape.uTotal) return true;
    return shape.uLeading > 0 && WyIsStrongStart(shape, line);
  }
  if (IsWeak()) return WyIsWhole(shape, {&m_buffer[m_uBegin], uSize});
  return WyIsStrongStart(shape, line);
}

// When no column shows where a record begins, a record is only certain if it is one line, whole,
// and the lines around it are so too.
void CWyRecordReader::JudgeWeak(std::string_view next, WyRawRecord& record) {
  const std::string_view text = WithoutNewline(record.text);
  const bool bCertain = text.find('\n') == std::string_view::npos && WyIsWhole(*m_pShape, text) &&
                        (next.empty() || WyIsWhole(*m_pShape, next));
  if (!bCertain || m_bFlaggedBefore) record.uFlags |= WyAmbiguous;
  m_bFlaggedBefore = !bCertain;
}

bool CWyRecordReader::TakeTooLong(WyRawRecord& record) {
  if (m_bSkipping || m_bTooLong) {
    m_uDropped += m_bTooLong ? m_uEnd - m_uBegin : 0;
    m_uBegin = m_uLast = m_uScan = m_uSearched = m_uEnd;
    return false;
  }
  // What is too long can be the record behind this one, whose first line has not ended yet.
  if (m_uScan > m_uBegin && m_uScan - m_uBegin <= LargestRecord && m_uEnd > m_uScan &&
      IsStart({&m_buffer[m_uScan], m_uEnd - m_uScan})) {
    return TakeWholeLines(record);
  }
  Deliver(m_uBegin + LargestRecord, record);
  record.uFlags |= WyTooLong;
  m_bTooLong = true;
  // The rest of this line is no line of its own; what is behind it decides where to go on.
  m_bCutLine = m_uScan < m_uBegin;
  if (m_bCutLine) m_uScan = m_uSearched = m_uBegin;
  m_uDropped += m_uScan - m_uBegin;
  m_uBegin = m_uLast = m_uScan;
  return true;
}

// Drops the rest of a line as it is read. Returns false at the end of what the source has by now.
bool CWyRecordReader::DropCutLine() {
  do {
    const void* const p = std::memchr(&m_buffer[m_uScan], '\n', m_uEnd - m_uScan);
    const std::size_t uEnd =
        p != nullptr ? static_cast<std::size_t>(static_cast<const char*>(p) - m_buffer.Data()) + 1
                     : m_uEnd;
    m_uDropped += uEnd - m_uScan;
    m_uBegin = m_uLast = m_uScan = m_uSearched = uEnd;
    m_bCutLine = p == nullptr;
  } while (m_bCutLine && Fill());
  return !m_bCutLine;
}

void CWyRecordReader::Deliver(std::size_t uEnd, WyRawRecord& record) {
  m_uDroppedBefore = m_uDropped;
  record = WyRawRecord{
      {&m_buffer[m_uBegin], uEnd - m_uBegin}, m_uBase + m_uBegin, 0, false, m_pShape.get()};
  m_uBegin = uEnd;
}

bool CWyRecordReader::TakeBack(const WyRawRecord& record) {
  if (!m_source.CanSeek() || !m_source.Seek(record.uOffset)) return false;
  m_uBase = record.uOffset;
  m_uBegin = m_uLast = m_uScan = m_uSearched = m_uEnd = m_uTitlesEnd = 0;
  m_uDropped = m_uDroppedBefore;
  m_bTitles = m_bTooLong = m_bSkipping = m_bCutLine = false;
  m_buffer.Resize(m_uChunk);
  return true;
}

void CWyRecordReader::FreeLast() {
  DropDelivered();
  m_buffer.Resize(std::max(2 * m_uChunk, m_uEnd));
}

bool CWyRecordReader::TakeWholeLines(WyRawRecord& record) {
  if (m_bTitles) return TakeTitles(record);
  if (m_uScan == m_uBegin || m_bTooLong || m_bSkipping) return false;
  Deliver(m_uScan, record);
  if (IsWeak()) JudgeWeak({}, record);
  m_uLast = m_uScan;
  return true;
}

bool CWyRecordReader::TakeRest(WyRawRecord& record) {
  if (m_bTitles) return TakeTitles(record);
  if (m_uEnd == m_uBegin || m_bTooLong || m_bSkipping) return false;
  // A line without a newline can be a record of its own, and then ends the one before it.
  if (m_uScan > m_uBegin && m_uEnd > m_uScan && IsStart({&m_buffer[m_uScan], m_uEnd - m_uScan})) {
    return TakeWholeLines(record);
  }
  const bool bTerminated = m_buffer[m_uEnd - 1] == '\n';
  Deliver(m_uEnd, record);
  if (IsWeak()) JudgeWeak({}, record);
  if (!bTerminated) record.uFlags |= WyUnterminated;
  m_uLast = m_uScan = m_uSearched = m_uEnd;
  return true;
}
