#ifndef WYLOGCTL_RECORDREADER_H
#define WYLOGCTL_RECORDREADER_H

// Splits the bytes of one file into records, each whole, however many lines it has and however
// the bytes arrive. A record ends where the next one begins, so one is only known to be complete
// when the line behind it was seen, or when the file ends.
//
//   CWyRecordReader reader(*pSource);
//   for (WyRawRecord record; reader.Next(record);) ...
//   if (reader.TakeRest(record)) ...          // the last one

#include <cstdlib>
#include <memory>
#include <string_view>

#include "tools/wylogctl/ByteSource.h"
#include "tools/wylogctl/LogShape.h"

// What is not as it should be with a record. The names are in WyFlagName.
enum WyRecordFlag : unsigned int {
  WyTorn = 1,          // its beginning or its end is missing
  WyAmbiguous = 2,     // its values cannot be told apart for certain
  WyTooLong = 4,       // cut: it has more bytes than this program keeps
  WyUnterminated = 8,  // the file ends without a newline
  WyMaybeCut = 16,     // layout 1: a value fills its column and can be longer than it
  WyInvalidUtf8 = 32,
  WyHoldsNul = 64,
  WyJoined = 128,        // another record begins in the middle of one of its lines
  WyNamesAssumed = 256,  // later header lines may name its columns otherwise
};
constexpr unsigned int WyFlagCount = 9;
const char* WyFlagName(unsigned int uBit);

struct WyRawRecord {
  std::string_view text;  // with its newline, if it has one; valid until the next call
  std::uint64_t uOffset = 0;
  unsigned int uFlags = 0;
  bool bTitles = false;  // the two header lines of a trace
  const WyLogShape* pShape = nullptr;
};

// Bytes that move or are copied only if the system cannot enlarge them in place, and are not
// touched before they are used. A zero byte follows the last one: the address sanitizer reads up to
// it where regexec(3) is given a part of the text.
class CWyByteBuffer {
 public:
  explicit CWyByteBuffer(std::size_t uSize) { Resize(uSize); }

  std::size_t Size() const { return m_uSize; }
  // Throws std::bad_alloc.
  void Resize(std::size_t uSize);

  char* Data() { return m_pBytes.get(); }
  const char* Data() const { return m_pBytes.get(); }
  char& operator[](std::size_t u) { return m_pBytes.get()[u]; }
  const char& operator[](std::size_t u) const { return m_pBytes.get()[u]; }

 private:
  struct Free {
    void operator()(char* p) const { std::free(p); }
  };
  std::unique_ptr<char, Free> m_pBytes;
  std::size_t m_uSize = 0;
};

class CWyRecordReader {
 public:
  static constexpr std::size_t LargestRecord = std::size_t{16} << 20;

  // Reads `source` from where it stands, which is `uOffset` bytes behind its beginning.
  explicit CWyRecordReader(CWyByteSource& source, std::uint64_t uOffset = 0,
                           std::size_t uChunk = std::size_t{1} << 18);

  // The shape of the lines, where it is known beforehand: by the option, or from the file before.
  // Unless it is certain, the lines may show another one.
  void SetShape(std::shared_ptr<const WyLogShape> pShape, bool bCertain) {
    m_pShape = std::move(pShape);
    m_bDetected = bCertain && m_pShape != nullptr;
  }
  const std::shared_ptr<const WyLogShape>& Shape() const { return m_pShape; }

  // Drops everything before the first line that begins a record.
  void SkipToStart() { m_bSkipping = true; }

  // The next record. Returns false at the end of what the source has by now; more may come later.
  bool Next(WyRawRecord& record);

  // What stands behind the last record, when nothing more comes: the last record, flagged if it
  // has no newline. Returns false when there is nothing.
  bool TakeRest(WyRawRecord& record);

  // The same, without a line that has no newline yet: it stays for later.
  bool TakeWholeLines(WyRawRecord& record);

  // Frees the memory of the record that was delivered last, which Next or TakeRest delivers once
  // more. Returns false, and changes nothing, if the source cannot be read again from there.
  bool TakeBack(const WyRawRecord& record);
  // Frees what that record took, once nothing of it is needed any more.
  void FreeLast();
  std::size_t BufferSize() const { return m_buffer.Size(); }

  std::uint64_t NextOffset() const { return m_uBase + m_uBegin; }  // of the next record
  std::uint64_t EndOffset() const { return m_uBase + m_uEnd; }     // of what was read
  bool Failed() const { return m_bFailed; }
  std::uint64_t DroppedBytes() const { return m_uDropped; }

 private:
  bool Fill();
  void DropDelivered();
  void MakeRoom();
  void Detect();
  bool TakeLine(std::size_t& uNewline);
  bool IsStart(std::string_view line) const;
  bool IsWeak() const;
  bool IsUnderTitles(std::string_view line);
  bool AnnounceTitles(std::size_t uNext, WyRawRecord& record);
  bool TakeTitles(WyRawRecord& record);
  bool TakeStep(std::size_t uNext, WyRawRecord& record);
  bool TakeTooLong(WyRawRecord& record);
  bool DropCutLine();
  void Deliver(std::size_t uEnd, WyRawRecord& record);
  void JudgeWeak(std::string_view next, WyRawRecord& record);

  CWyByteSource& m_source;
  std::shared_ptr<const WyLogShape> m_pShape;
  std::shared_ptr<const WyLogShape> m_pNextShape;  // announced by header lines not delivered yet
  CWyByteBuffer m_buffer;
  std::size_t m_uChunk;
  std::uint64_t m_uBase;        // offset of the buffer's first byte in the file
  std::size_t m_uBegin = 0;     // of the record that is being collected
  std::size_t m_uLast = 0;      // of its last line so far
  std::size_t m_uScan = 0;      // behind that line
  std::size_t m_uSearched = 0;  // no newline between m_uScan and here
  std::size_t m_uEnd = 0;
  std::size_t m_uTitlesEnd = 0;
  std::uint64_t m_uDropped = 0;
  std::uint64_t m_uDroppedBefore = 0;  // before the record that was delivered last
  bool m_bDetected = false;
  bool m_bTitles = false;  // m_uBegin to m_uTitlesEnd is the next record
  bool m_bSkipping = false;
  bool m_bTooLong = false;
  bool m_bFlaggedBefore = false;
  bool m_bFailed = false;
  bool m_bCutLine = false;  // m_uScan is in the middle of the line that was cut
};

#endif
