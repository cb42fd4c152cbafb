#ifndef WYLOGCTL_SHIPLOG_H
#define WYLOGCTL_SHIPLOG_H

// One log as a buffer for its collector: how fast it grows, how long its backups last, and how much
// of it has not been shipped. Everything comes from the files' own times and sizes.

#include <optional>
#include <string>
#include <vector>

#include "tools/wylogctl/ChainReader.h"
#include "tools/wylogctl/CollectorState.h"
#include "tools/wylogctl/LogTime.h"

struct WyRetention {
  std::optional<std::uint64_t>
      backups;  // as the program keeps them; not given: as many as there are
  std::optional<std::uint64_t> fileSize;  // in bytes; not given: the largest backup's
};

struct WyShipFile {
  WyLogFile file;
  std::uint64_t uUnshipped = 0;
  bool bKnown = false;  // whether the collector has noted a position
};

class CWyShipLog {
 public:
  // Returns false, with the error reported, if the log cannot be read.
  bool Measure(CWyContext& context, const std::string& strPath, const WyRetention& retention);

  // Takes what rsyslog has noted; or that the store's newest record has this time, in UTC. Of both,
  // the one that is farther behind counts. The latter returns false if the log's times cannot be
  // told in UTC.
  void TakePositions(CWyContext& context, const CWyCollectorPositions& positions);
  bool TakeStored(std::int64_t newest, const CWyZone& zone);

  const std::string& Path() const { return m_strPath; }
  const std::vector<WyShipFile>& Files() const { return m_files; }
  std::uint64_t Size() const;
  std::uint64_t Unshipped() const;

  // Bytes a second over the time that the files cover; 0 if that cannot be measured.
  double Rate() const { return m_dRate; }
  // The seconds over which the rate was measured.
  std::uint64_t Span() const { return m_uSpan; }

  // What is kept. Without backups nothing is deleted, as far as is known.
  std::uint64_t Backups() const { return m_uBackups; }
  std::uint64_t FileSize() const { return m_uFileSize; }
  // How many seconds of records the backups hold at the rate; nothing if nothing is deleted or the
  // rate is not known.
  std::optional<double> Lasts() const;

  // In how many seconds a backup is deleted, by its place among the files, the oldest being 0.
  std::optional<double> DeletedIn(std::size_t uFile) const;
  // The local time of the log that is so many seconds behind its newest record.
  WyCivil TimeIn(double dSeconds) const;

  // The first file that has not been shipped to its end, and how far that place is behind the
  // newest record, in seconds.
  std::optional<std::size_t> FirstUnshipped() const;
  std::uint64_t BehindSeconds() const;

 private:
  void MeasureRate();
  void MeasureRetention(const WyRetention& retention);
  // The first record of a file at a place or behind it that has this time or a later one.
  struct Found {
    WyCivil time;
    std::uint64_t uOffset;
  };
  std::optional<Found> FirstRecord(const WyPlace& place, WyCivil earliest) const;

  std::string m_strPath;
  std::vector<WyShipFile> m_files;  // oldest first
  std::vector<WyLogFile> m_listed;  // the same, for searching
  WyCivil m_first = WyNoTime;
  WyCivil m_last = WyNoTime;
  std::optional<std::int64_t> m_lastUtc;
  double m_dRate = 0;
  std::uint64_t m_uSpan = 0;
  std::uint64_t m_uFound = 0;  // backups that can be deleted: those that are not compressed
  std::uint64_t m_uBackups = 0;
  std::uint64_t m_uFileSize = 0;
};

#endif
