#ifndef WYLOGCTL_LOGINPUT_H
#define WYLOGCTL_LOGINPUT_H

// What the commands that read logs have in common: the options that say which logs and which of
// their records, and the records of all of them in one order.
//
// Records are merged by time. Within one file the order is never changed: a record counts as no
// earlier than those before it in its file (the running maximum), and one without a time as no
// later than the record before it. Of equal times the first path on the command line comes first.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/wylogctl/ChainReader.h"
#include "tools/wylogctl/Command.h"
#include "tools/wylogctl/Places.h"
#include "tools/wylogctl/Query.h"

struct WyInputOptions {
  std::vector<std::string> paths;
  WyQueryOptions query;
  std::string strZone = "local";
  std::string strLayout;
  std::string strFields;
  std::string strSeparator = " ";
  bool bNoBackups = false;
  bool bScan = false;

  // Not options of every command.
  bool bFollow = false;
  bool bKeepUnfinished = false;
  bool bRaw = false;  // records are printed as they are: names of columns do not matter
};

// Adds the options to a command's table: the argument PATH, and with `bFilters` the filters.
void WyAddInput(CWyCommand& command, WyInputOptions& options, bool bFilters);

// The signals that end a program in the middle of following only set a flag.
void WyCatchInterrupt();
bool WyWasInterrupted();

class CWyLogInput {
 public:
  explicit CWyLogInput(CWyContext& context) : m_context(context) {}

  struct Stream {
    std::unique_ptr<CWyChainReader> pReader;
    WyRecord record;
    WyCivil order = WyNoTime;
    bool bHead = false;     // `record` is the next one of this log
    bool bStopped = false;  // by --until, at `record`
    bool bAside = false;    // `record` is to be read again: its texts are gone
  };

  // Opens the logs. Returns false, with the error reported, if nothing can be read or an option is
  // wrong.
  bool Open(const WyInputOptions& options);

  // Begins each log only as early as --since asks for, or with so many of its last records that
  // match. SeekLast returns by how many records it begins too early; nothing if that is not known,
  // because there are several logs, or one cannot be searched.
  void SeekSince();
  std::optional<std::size_t> SeekLast(std::size_t uCount);

  // The places in a log.
  CWyPlaces PlacesOf(const Stream& stream, WyTitleSearch search) const;

  // The next record that matches, valid until the next call; null at the end, or at the end of what
  // there is now. Header lines are records too, when there are no filters.
  const WyRecord* Next();
  bool HasEnded() const;

  CWyZone& Zone() { return m_zone; }
  CWyQuery& Query() { return m_query; }
  CWyManifests& Manifests() { return m_manifests; }
  std::vector<Stream>& Streams() { return m_streams; }
  const std::shared_ptr<const WyLogShape>& GivenShape() const { return m_pShape; }

  // Once, when times are shown or compared by zone and the user has not named one.
  void NoteZone();

  // Reports what was found wrong with the records that were read.
  void ReportFlags();

 private:
  bool SetShape(const WyInputOptions& options);
  bool FillHead(Stream& stream);
  bool TakeHead();
  void Consider(Stream& stream);
  void CountFlags(const WyRecord& record);
  WyCivil Slack(WyCivil time) const;
  void Start(Stream& stream, WyPlace place);

  CWyContext& m_context;
  CWyZone m_zone;
  CWyManifests m_manifests;
  CWyQuery m_query;
  std::shared_ptr<const WyLogShape> m_pShape;
  std::vector<Stream> m_streams;
  Stream* m_pTaken = nullptr;
  std::uint64_t m_uTotal = 0;
  std::uint64_t m_uRecords = 0;
  std::uint64_t m_auFlags[WyFlagCount] = {};
  bool m_bScan = false;
  WyTitleSearch m_search = WyTitleSearch::Near;
  bool m_bRaw = false;
  bool m_bZoneGiven = false;
};

#endif
