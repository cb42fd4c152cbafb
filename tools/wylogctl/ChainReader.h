#ifndef WYLOGCTL_CHAINREADER_H
#define WYLOGCTL_CHAINREADER_H

// Reads a log and its backups as one sequence of records, and goes on over rollovers if asked to.
//
// Following: the open file is read to its end. When the log's name leads to another file, the open
// one was rolled over; it is read once more to its end, then every backup that appeared since, in
// their order, then the new file. Each file is opened before it is checked that it is still the
// next one, so that no rollover between two listings of the folder can lose or repeat a file.

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tools/wylogctl/Context.h"
#include "tools/wylogctl/LogChain.h"
#include "tools/wylogctl/RecordParser.h"

struct WyReadOptions {
  bool bFollow = false;
  bool bBackups = true;
  bool bKeepUnfinished = false;              // leave a record without a newline for the next run
  std::shared_ptr<const WyLogShape> pShape;  // given by the user
  std::size_t uChunk = std::size_t{1} << 18;
};

// A place in a log: the file, by its index in List(), and the offset in it.
struct WyPlace {
  std::size_t uFile = 0;
  std::uint64_t uOffset = 0;
  std::shared_ptr<const WyLogShape> pShape;  // of the lines there, when it is not the file's start
  bool bAtRecord = true;                     // the offset is the first byte of a record
};

class CWyChainReader {
 public:
  CWyChainReader(CWyContext& context, std::string strPath, const WyReadOptions& options);

  // Lists the files. Returns false, with an error reported, if there is none and none is waited
  // for.
  bool Open();
  const std::vector<WyLogFile>& Files() const { return m_files; }
  const CWyLogChain& Chain() const { return m_chain; }
  void StartAt(WyPlace place) { m_start = std::move(place); }

  // The next record. Returns false at the end; when following, at the end of what there is now.
  bool Next(WyRecord& record);

  // Frees the memory of the record that Next has returned last, if its file can be read again from
  // there. ReadAgain returns the record once more; false if the file has lost it since.
  bool SetAside(const WyRecord& record) { return m_pCurrent->pReader->TakeBack(record.raw); }
  bool ReadAgain(WyRecord& record);
  // Frees it when nothing of the record is needed any more.
  void FreeLast() {
    if (m_pCurrent) m_pCurrent->pReader->FreeLast();
  }
  std::size_t BufferSize() const { return m_pCurrent ? m_pCurrent->pReader->BufferSize() : 0; }

  // No more records are wanted: what is later than the user asked for.
  void Stop() { m_bEnded = true; }
  bool HasEnded() const { return m_bEnded; }

  // Where the next record begins, for the cursor; false before anything was read.
  bool Position(WyLogFile& file, std::uint64_t& uOffset) const;
  std::uint64_t BytesRead() const;

  // Called for each file when it is opened, and when it was read to its end.
  std::function<void(const WyLogFile&)> onOpened;
  std::function<void(const WyLogFile&)> onFinished;

 private:
  struct Current {
    WyLogFile file;
    std::unique_ptr<CWyByteSource> pSource;
    std::unique_ptr<CWyRecordReader> pReader;
    CWyRecordParser parser;
    bool bComplete = false;  // nothing is written to it any more
    bool bFinished = false;
    bool bReported = false;  // that its backup was deleted
    int iIdle = 0;
  };

  bool TakeNext(WyRecord& record);
  bool TakeLast(WyRecord& record);
  bool Deliver(const WyRawRecord& raw, WyRecord& record);
  bool OpenListed();
  bool OpenSuccessor();
  bool Use(WyLogFile file, std::unique_ptr<CWyByteSource> pSource, const WyPlace& place);
  bool FindSuccessor(WyLogFile& file);
  void CheckLive();
  void Finish();
  bool Advance();

  CWyContext& m_context;
  CWyLogChain m_chain;
  WyReadOptions m_options;
  std::vector<WyLogFile> m_files;
  std::size_t m_uNextFile = 0;
  WyPlace m_start;
  std::unique_ptr<Current> m_pCurrent;
  std::shared_ptr<const WyLogShape> m_pShape;  // of the file before
  std::set<std::string> m_seen;                // names of backups that were read or passed over
  std::uint64_t m_uBytesBefore = 0;
  bool m_bEnded = false;
};

#endif
