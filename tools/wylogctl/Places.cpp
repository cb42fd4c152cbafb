// A place in the middle of a file is only of use with the shape of the lines there. The error log,
// an XML trace and an audit log show it themselves. In the other layouts the header lines that
// count are the last ones before the place, and the file is searched backwards for them.

#include "tools/wylogctl/Places.h"

#include <algorithm>

#include "tools/wylogctl/RecordParser.h"

namespace {

constexpr std::size_t ProbeChunk = std::size_t{1} << 14;
constexpr std::uint64_t FinestStep = std::uint64_t{1} << 16;
constexpr std::size_t TitleWindow = std::size_t{1} << 20;
constexpr std::size_t LongestTitle = 8192;
// How far before a place header lines are searched for: 8 MiB take 5 ms.
constexpr std::uint64_t ReachIgnored = std::uint64_t{2} << 20;
constexpr std::uint64_t ReachNear = std::uint64_t{8} << 20;
constexpr int FittingRecords = 50;

bool HasTitles(const WyLogShape& shape) {
  return shape.kind == WyLogFormat::Brackets || shape.kind == WyLogFormat::Columns ||
         shape.kind == WyLogFormat::Separator;
}

std::string_view LineAt(std::string_view text, std::size_t u) {
  return text.substr(u, text.find('\n', u) - u);
}

// The last header lines in the text.
std::shared_ptr<const WyLogShape> LastTitles(std::string_view text) {
  for (std::size_t u = text.rfind('='); u != std::string_view::npos && u > 0;) {
    const std::size_t uLine = text.rfind('\n', u) + 1;
    if (uLine == 0) return nullptr;
    const std::string_view line = LineAt(text, uLine);
    if (line.starts_with('=') || line.starts_with("[=")) {
      const std::size_t uNames = uLine >= 2 ? text.rfind('\n', uLine - 2) + 1 : 0;
      const auto shape = WyReadTitles(text.substr(uNames, uLine - 1 - uNames), line);
      if (shape) return std::make_shared<const WyLogShape>(*shape);
    }
    u = uLine < 2 ? std::string_view::npos : text.rfind('=', uLine - 2);
  }
  return nullptr;
}

std::unique_ptr<CWyByteSource> OpenSeekable(const WyLogFile& file) {
  std::string strError;
  auto pSource = CWyByteSource::Open(file.strPath, strError);
  return pSource != nullptr && pSource->CanSeek() ? std::move(pSource) : nullptr;
}

}  // namespace

CWyPlaces::Shape CWyPlaces::HeadShape(std::size_t uFile) const {
  std::string strError;
  const auto pSource = CWyByteSource::Open(m_files[uFile].strPath, strError);
  if (pSource == nullptr) return nullptr;
  CWyRecordReader reader(*pSource, 0, ProbeChunk);
  WyRawRecord raw;
  if (!reader.Next(raw) && !reader.TakeRest(raw)) return nullptr;
  return reader.Shape();
}

// The first header lines are too far away to know that there are no others between.
CWyPlaces::Shape CWyPlaces::Assumed(const Shape& pHead) const {
  if (m_search == WyTitleSearch::Ignored) return pHead;
  WyLogShape shape = *pHead;
  shape.bAssumed = true;
  return std::make_shared<const WyLogShape>(std::move(shape));
}

// Whether the lines at a place are records of this shape, as far as their forms show it.
bool CWyPlaces::Fits(std::size_t uFile, std::uint64_t uOffset, const Shape& pShape) const {
  const auto pSource = OpenSeekable(m_files[uFile]);
  if (pSource == nullptr || !pSource->Seek(uOffset)) return false;
  CWyRecordReader reader(*pSource, uOffset, ProbeChunk);
  reader.SetShape(pShape, true);
  reader.SkipToStart();
  CWyRecordParser parser;
  WyRecord record;
  WyRawRecord raw;
  int iFound = 0;
  while (iFound < FittingRecords && (reader.Next(raw) || reader.TakeRest(raw))) {
    if (raw.bTitles) break;
    parser.Parse(raw, record);
    if ((record.uFlags & WyTorn) != 0) return false;
    // Without a form at its beginning, only a record of one line is known to be one.
    const bool bOneLine = raw.text.find('\n') + 1 >= raw.text.size();
    if (pShape->uLeading == 0 && (!bOneLine || (record.uFlags & WyAmbiguous) != 0)) return false;
    ++iFound;
  }
  return iFound > 0;
}

CWyPlaces::Shape CWyPlaces::ShapeAt(std::size_t uFile, std::uint64_t uOffset) const {
  if (m_pGiven != nullptr) return m_pGiven;
  const Shape pHead = HeadShape(uFile);
  if (pHead == nullptr || pHead->kind == WyLogFormat::Error || pHead->kind == WyLogFormat::Xml ||
      pHead->kind == WyLogFormat::Json) {
    return pHead;
  }
  // An audit log that begins without header lines can be a trace that was continued; then the file
  // before has them.
  if (!HasTitles(*pHead)) {
    return uFile > 0 ? ShapeAt(uFile - 1, m_files[uFile - 1].uSize) : pHead;
  }
  const auto pSource = OpenSeekable(m_files[uFile]);
  std::string strWindow;
  const std::uint64_t uPlace = uOffset;
  std::uint64_t uReach = m_search == WyTitleSearch::Whole     ? UINT64_MAX
                         : m_search == WyTitleSearch::Ignored ? ReachIgnored
                                                              : ReachNear;
  while (pSource != nullptr && uOffset > 0) {
    if (uPlace - uOffset > uReach) {
      if (Fits(uFile, uPlace, pHead)) return Assumed(pHead);
      uReach = UINT64_MAX;
    }
    const std::uint64_t uStart = uOffset - std::min<std::uint64_t>(uOffset, TitleWindow);
    strWindow.resize(uOffset - uStart + LongestTitle);
    pSource->Seek(uStart);
    const ssize_t nRead = pSource->Read(strWindow.data(), strWindow.size());
    if (nRead <= 0) break;
    const std::size_t uUsed =
        std::min<std::size_t>(static_cast<std::size_t>(nRead), uOffset - uStart);
    if (const Shape pShape = LastTitles({strWindow.data(), uUsed})) return pShape;
    // The windows overlap by the longest pair of header lines.
    uOffset = uStart == 0 ? 0 : uStart + std::min<std::uint64_t>(LongestTitle, TitleWindow / 2);
  }
  return pHead;
}

WyCivil CWyPlaces::TimeAt(std::size_t uFile, std::uint64_t uOffset, const Shape& pShape) const {
  const auto pSource = OpenSeekable(m_files[uFile]);
  if (pSource == nullptr || !pSource->Seek(uOffset)) return WyNoTime;
  CWyRecordReader reader(*pSource, uOffset, ProbeChunk);
  reader.SetShape(pShape, uOffset > 0);
  if (uOffset > 0) reader.SkipToStart();
  CWyRecordParser parser;
  WyRecord record;
  WyRawRecord raw;
  for (int i = 0; i < 100 && (reader.Next(raw) || reader.TakeRest(raw)); ++i) {
    parser.Parse(raw, record);
    if (record.time != WyNoTime) return record.time;
  }
  return WyNoTime;
}

WyCivil CWyPlaces::FirstTime(std::size_t uFile) const {
  if (!m_files[uFile].bCompressed) return TimeAt(uFile, 0, m_pGiven);
  std::string strError;
  const auto pSource = CWyByteSource::Open(m_files[uFile].strPath, strError);
  if (pSource == nullptr) return WyNoTime;
  CWyRecordReader reader(*pSource, 0, ProbeChunk);
  reader.SetShape(m_pGiven, m_pGiven != nullptr);
  CWyRecordParser parser;
  WyRecord record;
  for (WyRawRecord raw; reader.Next(raw);) {
    parser.Parse(raw, record);
    if (record.time != WyNoTime) return record.time;
  }
  return WyNoTime;
}

std::uint64_t CWyPlaces::SinceInFile(std::size_t uFile, const Shape& pShape, WyCivil time) const {
  std::uint64_t uLow = 0;
  std::uint64_t uHigh = m_files[uFile].uSize;
  while (uHigh - uLow > FinestStep) {
    const std::uint64_t uMiddle = uLow + (uHigh - uLow) / 2;
    const WyCivil found = TimeAt(uFile, uMiddle, pShape);
    // Without a time there, nothing is known; the part before it stays included.
    if (found != WyNoTime && found < time) {
      uLow = uMiddle;
    } else {
      uHigh = uMiddle;
    }
  }
  return uLow;
}

WyPlace CWyPlaces::Since(WyCivil time, WyCivil slack) const {
  WyPlace place;
  const WyCivil earliest = time - slack;
  for (std::size_t i = m_files.size(); i-- > 1;) {
    const WyCivil first = FirstTime(i);
    if (first == WyNoTime || first >= earliest) continue;
    place.uFile = i;
    break;
  }
  if (m_files.empty() || OpenSeekable(m_files[place.uFile]) == nullptr) return place;
  // Behind header lines in the middle of a file that change the columns of the clock no time is
  // found; the search then goes to the part before them.
  const Shape pShape = m_pGiven != nullptr ? m_pGiven : HeadShape(place.uFile);
  if (pShape == nullptr || (HasTitles(*pShape) && pShape->uLeading == 0)) return place;
  place.uOffset = SinceInFile(place.uFile, pShape, earliest);
  place.pShape = ShapeAt(place.uFile, place.uOffset);
  place.bAtRecord = place.uOffset == 0;
  return place;
}

std::size_t CWyPlaces::CountFrom(std::size_t uFile, std::uint64_t uOffset, const Shape& pShape,
                                 const std::function<bool(const WyRecord&)>& matches) const {
  std::string strError;
  const auto pSource = CWyByteSource::Open(m_files[uFile].strPath, strError);
  if (pSource == nullptr) return 0;
  if (uOffset > 0) pSource->Seek(uOffset);
  CWyRecordReader reader(*pSource, uOffset);
  reader.SetShape(pShape, uOffset > 0);
  if (uOffset > 0) reader.SkipToStart();
  CWyRecordParser parser;
  WyRecord record;
  std::size_t uFound = 0;
  for (WyRawRecord raw; reader.Next(raw) || reader.TakeRest(raw);) {
    parser.Parse(raw, record);
    if (!raw.bTitles && matches(record)) ++uFound;
  }
  return uFound;
}

CWyPlaces::LastPlace CWyPlaces::Last(std::size_t uCount,
                                     const std::function<bool(const WyRecord&)>& matches) const {
  LastPlace last;
  WyPlace& place = last.place;
  std::size_t uLater = 0;
  for (std::size_t i = m_files.size(); i-- > 0 && uLater < uCount;) {
    const bool bSeekable = OpenSeekable(m_files[i]) != nullptr;
    std::uint64_t uWindow = std::max<std::uint64_t>(FinestStep, 512 * (uCount - uLater));
    for (;; uWindow *= 4) {
      const bool bWhole = !bSeekable || uWindow >= m_files[i].uSize;
      place = WyPlace{i, bWhole ? 0 : m_files[i].uSize - uWindow, nullptr, bWhole};
      place.pShape = ShapeAt(i, place.uOffset);
      const std::size_t uFound = CountFrom(i, place.uOffset, place.pShape, matches);
      last.uFound = uLater + uFound;
      if (bWhole) uLater += uFound;
      if (bWhole || last.uFound >= uCount) break;
    }
    if (place.uOffset > 0) break;
  }
  return last;
}

CWyPlaces::Latest CWyPlaces::LastTime(std::size_t uFile) const {
  const std::vector<WyLogFile> files = {m_files[uFile]};
  CWyContext silent;
  silent.options.bQuiet = true;
  CWyChainReader reader(silent, files[0].strPath, {false, false, false, m_pGiven});
  Latest latest;
  if (!reader.Open()) return latest;
  const auto hasTime = [](const WyRecord& record) { return record.time != WyNoTime; };
  reader.StartAt(CWyPlaces(files, m_pGiven, WyTitleSearch::Ignored).Last(1, hasTime).place);
  for (WyRecord record; reader.Next(record);) {
    if (record.time > latest.time) latest = {record.time, record.utc};
  }
  return latest;
}
