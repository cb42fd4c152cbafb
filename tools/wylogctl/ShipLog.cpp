// The library deletes the oldest backup when a rollover makes one more than it keeps. So the time
// until a backup is deleted is the time until enough rollovers have happened at the measured rate.

#include "tools/wylogctl/ShipLog.h"

#include <algorithm>
#include <cmath>

#include "tools/wylogctl/Places.h"

namespace {
constexpr WyCivil Second = 1000;
// The times within a file are taken to go back by less than this, as by --since.
constexpr WyCivil Slack = 10 * Second;
}  // namespace

bool CWyShipLog::Measure(CWyContext& context, const std::string& strPath,
                         const WyRetention& retention) {
  m_strPath = strPath;
  CWyChainReader reader(context, strPath, {});
  if (!reader.Open()) return false;
  m_listed = reader.Files();
  for (const WyLogFile& file : m_listed) m_files.push_back({file, 0, false});
  MeasureRate();
  MeasureRetention(retention);
  return true;
}

void CWyShipLog::MeasureRate() {
  const CWyPlaces places(m_listed, nullptr, WyTitleSearch::Ignored);
  std::uint64_t uBytes = 0;
  for (std::size_t i = 0; i < m_listed.size(); ++i) {
    if (m_listed[i].bCompressed) continue;  // its size is not that of its records
    const WyCivil first = places.FirstTime(i);
    if (first == WyNoTime) continue;
    if (m_first == WyNoTime) m_first = first;
    const CWyPlaces::Latest latest = places.LastTime(i);
    if (latest.time >= m_last) {
      m_last = latest.time;
      m_lastUtc = latest.utc;
    }
    uBytes += m_listed[i].uSize;
  }
  if (m_first == WyNoTime || m_last <= m_first) return;
  m_uSpan = static_cast<std::uint64_t>((m_last - m_first) / Second);
  if (m_uSpan > 0) m_dRate = static_cast<double>(uBytes) / static_cast<double>(m_uSpan);
}

void CWyShipLog::MeasureRetention(const WyRetention& retention) {
  std::uint64_t uLargest = 0;
  for (const WyLogFile& file : m_listed) {
    if (!file.bBackup || file.bCompressed) continue;
    ++m_uFound;
    uLargest = std::max(uLargest, file.uSize);
  }
  m_uBackups = retention.backups.value_or(m_uFound);
  m_uFileSize = retention.fileSize.value_or(uLargest);
}

std::uint64_t CWyShipLog::Size() const {
  std::uint64_t uSize = 0;
  for (const WyLogFile& file : m_listed) uSize += file.uSize;
  return uSize;
}

std::uint64_t CWyShipLog::Unshipped() const {
  std::uint64_t uBytes = 0;
  for (const WyShipFile& file : m_files) uBytes += file.uUnshipped;
  return uBytes;
}

std::optional<double> CWyShipLog::Lasts() const {
  if (m_uBackups == 0 || m_uFileSize == 0 || m_dRate <= 0) return std::nullopt;
  return static_cast<double>(m_uBackups) * static_cast<double>(m_uFileSize) / m_dRate;
}

std::optional<double> CWyShipLog::DeletedIn(std::size_t uFile) const {
  const WyLogFile& file = m_listed[uFile];
  if (!Lasts() || !file.bBackup || file.bCompressed) return std::nullopt;
  std::uint64_t uBefore = 0;  // older backups, which are deleted first
  for (std::size_t i = 0; i < uFile; ++i) uBefore += m_listed[i].bCompressed ? 0 : 1;
  const std::uint64_t uKept = m_uBackups + uBefore + 1;
  const double dRollovers = uKept > m_uFound ? static_cast<double>(uKept - m_uFound) : 1;
  const WyLogFile& newest = m_listed.back();
  const double dSize = static_cast<double>(m_uFileSize);
  const double dFilled = newest.bBackup ? 0 : std::min(static_cast<double>(newest.uSize), dSize);
  return (dRollovers * dSize - dFilled) / m_dRate;
}

WyCivil CWyShipLog::TimeIn(double dSeconds) const {
  return m_last + static_cast<WyCivil>(std::min(dSeconds, 1e10)) * Second;
}

void CWyShipLog::TakePositions(CWyContext& context, const CWyCollectorPositions& positions) {
  for (WyShipFile& entry : m_files) {
    if (entry.file.bCompressed) continue;  // another file now; nothing is known of it
    const auto read = positions.ReadBytes(context, entry.file);
    entry.bKnown = read.has_value();
    const std::uint64_t uRead = std::min(read.value_or(0), entry.file.uSize);
    entry.uUnshipped = std::max(entry.uUnshipped, entry.file.uSize - uRead);
  }
}

bool CWyShipLog::TakeStored(std::int64_t newest, const CWyZone& zone) {
  if (m_last == WyNoTime) return true;
  const auto lastUtc = m_lastUtc ? m_lastUtc : zone.ToUtc(m_last);
  if (!lastUtc) return false;
  const WyCivil stored = m_last - (*lastUtc - newest);
  if (stored >= m_last) return true;
  // Of the stored record's own second, all records count as stored.
  const WyCivil behind = stored / Second * Second + Second;
  WyPlace place = CWyPlaces(m_listed, nullptr, WyTitleSearch::Ignored).Since(behind, Slack);
  bool bFound = false;
  for (; place.uFile < m_files.size(); place = {place.uFile + 1, 0, nullptr, true}) {
    const WyLogFile& file = m_listed[place.uFile];
    if (file.bCompressed) continue;
    std::uint64_t uStored = 0;
    if (!bFound) {
      const auto first = FirstRecord(place, behind);
      if (!first) continue;
      bFound = true;
      uStored = std::min(first->uOffset, file.uSize);
    }
    std::uint64_t& uUnshipped = m_files[place.uFile].uUnshipped;
    uUnshipped = std::max(uUnshipped, file.uSize - uStored);
  }
  return true;
}

std::optional<std::size_t> CWyShipLog::FirstUnshipped() const {
  for (std::size_t i = 0; i < m_files.size(); ++i) {
    if (m_files[i].uUnshipped > 0) return i;
  }
  return std::nullopt;
}

std::optional<CWyShipLog::Found> CWyShipLog::FirstRecord(const WyPlace& place,
                                                         WyCivil earliest) const {
  CWyContext silent;
  silent.options.bQuiet = true;
  CWyChainReader reader(silent, m_listed[place.uFile].strPath, {false, false, false, nullptr});
  if (!reader.Open()) return std::nullopt;
  reader.StartAt({0, place.uOffset, place.pShape, place.bAtRecord});
  for (WyRecord record; reader.Next(record);) {
    if (record.time != WyNoTime && record.time >= earliest) {
      return Found{record.time, record.raw.uOffset};
    }
  }
  return std::nullopt;
}

std::uint64_t CWyShipLog::BehindSeconds() const {
  const auto file = FirstUnshipped();
  if (!file) return 0;
  const std::uint64_t uOffset = m_listed[*file].uSize - m_files[*file].uUnshipped;
  const auto pShape = CWyPlaces(m_listed, nullptr, WyTitleSearch::Ignored).ShapeAt(*file, uOffset);
  const auto found = FirstRecord({*file, uOffset, pShape, true}, WyNoTime + 1);
  if (!found || found->time > m_last) return 0;
  return static_cast<std::uint64_t>((m_last - found->time) / Second);
}
