// Opening logs and merging their records.

#include "tools/wylogctl/LogInput.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <utility>

#include "wyerrlog/WyErrLogConfig.h"

namespace {

// Threads that log at once write their lines in another order than their times; never by this much.
constexpr WyCivil UsualSlack = 10'000;
constexpr WyCivil SetBackSlack = 7200'000;
constexpr std::uint64_t ProgressStep = 4096;
// Of several logs only the one whose turn it is has more in memory: its record is long, or the one
// behind it, which shows where it ends.
constexpr std::size_t LargestBuffer = std::size_t{1} << 20;

volatile std::sig_atomic_t s_bInterrupted = 0;
void Interrupt(int) { s_bInterrupted = 1; }

std::size_t WidthOf(const std::string& strField) {
  int iCount = 0;
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  GetKnownDataFields(&iCount, &pRows);
  for (int i = 0; i < iCount; ++i) {
    if (strField == pRows[i].pszName) return static_cast<std::size_t>(pRows[i].iWidth);
  }
  return 0;
}

// A line that begins as those of traces mostly do, in a file that has no header lines.
bool LooksLikeTrace(const WyRecord& record) {
  if (record.Kind() != WyLogFormat::Audit || record.raw.uOffset != 0) return false;
  std::string_view text = record.text;
  if (text.starts_with('[')) text.remove_prefix(1);
  return WyHasForm(text.substr(0, 10), WyFieldForm::Date) ||
         WyHasForm(text.substr(0, 8), WyFieldForm::Time);
}

void AddFilters(CWyCommand& command, WyQueryOptions& query) {
  command.Value("--since", "TIME", "From this time on: 2026-11-23T02:33:16, 02:33, -1h, yesterday",
                query.strSince);
  command.Value("--until", "TIME", "Up to this time", query.strUntil);
  command.Value("--severity", "WORD", "INFO, WARNING or ERROR: this and worse", query.strSeverity);
  command.Value("--key", "KEY", "Messages with this key; several times: any of them", query.keys);
  command.Value("--component", "NAME", "Messages of this component, by the manifests",
                query.components);
  command.Value("--pid", "N", "Of this process", query.pids);
  command.Value("--tid", "N", "Of this thread", query.tids);
  command.Value("--grep", "PATTERN", "Records that this extended regular expression matches",
                query.strGrep);
  command.Value("--where", "CONDITION",
                "'User==alice', with ==, !=, @@ (contains) and !@ (does not); all must hold",
                query.where);
  command.Value("--request", "ID",
                "Traces with this TransactionID; other records that hold this word",
                query.strRequest);
}

}  // namespace

void WyCatchInterrupt() {
  struct sigaction action {};
  action.sa_handler = Interrupt;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool WyWasInterrupted() { return s_bInterrupted != 0; }

void WyAddInput(CWyCommand& command, WyInputOptions& options, bool bFilters) {
  command.Arguments("PATH", "A log: the file and its backups, also compressed; - for the input",
                    options.paths);
  if (bFilters) AddFilters(command, options.query);
  command.Value("--tz", "ZONE", "The zone of the logs' times: local, utc, Europe/Berlin",
                options.strZone);
  command.Flag("--no-backups", "The named files alone", options.bNoBackups);
  if (bFilters) command.Flag("--scan", "Read logs whole, also where times go back", options.bScan);
  command.Choice("--layout", "N", "The trace layout of files that have no header lines",
                 options.strLayout, {"0", "1", "2", "3"});
  command.Value("--fields", "NAMES", "The fields of such files: Date,Time,Message",
                options.strFields);
  command.Value("--separator", "TEXT", "The separator of layout 2 in such files",
                options.strSeparator);
}

bool CWyLogInput::SetShape(const WyInputOptions& options) {
  if (options.strLayout.empty() && options.strFields.empty()) return true;
  WyLogShape shape;
  const int iLayout = options.strLayout.empty() ? -1 : options.strLayout[0] - '0';
  shape.kind = static_cast<WyLogFormat>(static_cast<int>(WyLogFormat::Brackets) + iLayout);
  std::istringstream names(options.strFields);
  for (std::string strName; std::getline(names, strName, ',');) {
    if (!WyIsKnownField(strName)) {
      m_context.Error("--fields " + options.strFields + ": no field has the name \"" + strName +
                      "\"; wylogctl list fields shows all");
      return false;
    }
    shape.columns.push_back({strName, WidthOf(strName), WyFormOf(strName)});
  }
  if (iLayout < 0 || (shape.columns.empty() && iLayout != 3)) {
    m_context.Error("--layout and --fields belong together; layout 3 needs no fields");
    return false;
  }
  shape.strSeparator = iLayout == 0 ? "][" : iLayout == 1 ? "  " : options.strSeparator;
  shape.Complete();
  m_pShape = std::make_shared<const WyLogShape>(std::move(shape));
  return true;
}

bool CWyLogInput::Open(const WyInputOptions& options) {
  std::vector<std::string> paths = options.paths;
  if (paths.empty() && isatty(STDIN_FILENO) == 0) paths.emplace_back("-");
  if (paths.empty()) {
    m_context.Error("which log? name its path, such as /var/log/app/error.log");
    return false;
  }
  if (!m_zone.Set(options.strZone)) {
    m_context.Error("--tz " + options.strZone + ": no such zone; local, utc or Europe/Berlin");
    return false;
  }
  m_bZoneGiven = options.strZone != "local";
  m_bScan = options.bScan;
  m_bRaw = options.bRaw;
  // Who follows a log pays for the search once.
  if (options.bScan || options.bFollow) m_search = WyTitleSearch::Whole;
  if (!SetShape(options) || !m_query.Set(m_context, options.query, m_zone, m_manifests)) {
    return false;
  }
  if (m_query.Since() || m_query.Until()) NoteZone();
  const WyReadOptions read{options.bFollow, !options.bNoBackups, options.bKeepUnfinished, m_pShape};
  m_streams.reserve(paths.size());
  for (const std::string& strPath : paths) {
    auto pReader = std::make_unique<CWyChainReader>(m_context, strPath, read);
    if (!pReader->Open()) continue;
    for (const WyLogFile& file : pReader->Files()) m_uTotal += file.uSize;
    m_streams.emplace_back().pReader = std::move(pReader);
  }
  return !m_streams.empty();
}

void CWyLogInput::NoteZone() {
  if (m_bZoneGiven) return;
  m_context.NoteOnce("the times of the logs are taken as " + m_zone.Description() +
                     "; --tz names another zone");
}

WyCivil CWyLogInput::Slack(WyCivil time) const {
  return m_zone.IsSetBackNear(time) ? SetBackSlack : UsualSlack;
}

void CWyLogInput::SeekSince() {
  if (!m_query.Since() || m_bScan) return;
  for (Stream& stream : m_streams) {
    if (stream.pReader->Chain().IsStandardInput() || stream.pReader->Files().empty()) continue;
    Start(stream, PlacesOf(stream, m_search).Since(*m_query.Since(), Slack(*m_query.Since())));
  }
}

CWyPlaces CWyLogInput::PlacesOf(const Stream& stream, WyTitleSearch search) const {
  const bool bNames = !m_bRaw || m_query.NamesColumns();
  return {stream.pReader->Files(), m_pShape, bNames ? search : WyTitleSearch::Ignored};
}

// Begins a log at the place that was searched for.
void CWyLogInput::Start(Stream& stream, WyPlace place) {
  if (place.pShape != nullptr && place.pShape->bAssumed) {
    m_context.NoteOnce(
        stream.pReader->Chain().Path() +
        ": the columns' names are those of its first header lines, because there are none in the"
        " 8 MiB before the records shown; --scan searches the whole file");
  }
  stream.pReader->StartAt(std::move(place));
}

std::optional<std::size_t> CWyLogInput::SeekLast(std::size_t uCount) {
  const auto matches = [this](const WyRecord& record) { return m_query.Matches(record); };
  // A log may be left before its end because of --until.
  bool bKnown = m_streams.size() == 1 && !m_query.Until();
  std::size_t uEarly = 0;
  for (Stream& stream : m_streams) {
    if (stream.pReader->Chain().IsStandardInput()) bKnown = false;
    if (stream.pReader->Chain().IsStandardInput() || stream.pReader->Files().empty()) continue;
    CWyPlaces::LastPlace last =
        PlacesOf(stream, m_search).Last(std::max<std::size_t>(uCount, 1), matches);
    uEarly = last.uFound - std::min(last.uFound, uCount);
    Start(stream, std::move(last.place));
  }
  return bKnown ? std::optional(uEarly) : std::nullopt;
}

void CWyLogInput::CountFlags(const WyRecord& record) {
  for (unsigned int u = 0; u < WyFlagCount; ++u) {
    if ((record.uFlags & (1u << u)) != 0) ++m_auFlags[u];
  }
}

void CWyLogInput::ReportFlags() {
  std::string strText;
  for (unsigned int u = 0; u < WyFlagCount; ++u) {
    if (m_auFlags[u] == 0) continue;
    strText += (strText.empty() ? "" : ", ") + std::to_string(m_auFlags[u]) + " " + WyFlagName(u);
  }
  if (!strText.empty()) m_context.Warning("records that are not certain: " + strText);
}

// Whether the record that was read is the next of its log, or is passed over.
void CWyLogInput::Consider(Stream& stream) {
  const WyRecord& record = stream.record;
  if (++m_uRecords % ProgressStep == 0) {
    std::uint64_t uDone = 0;
    for (const Stream& each : m_streams) uDone += each.pReader->BytesRead();
    m_context.Progress(uDone, m_uTotal);
  }
  if (record.time != WyNoTime) {
    stream.order = std::max(stream.order, record.time);
    if (m_query.Until() && !m_bScan && record.time > *m_query.Until() + Slack(record.time)) {
      stream.bStopped = true;
      return stream.pReader->Stop();
    }
  }
  if (record.raw.bTitles) {
    stream.bHead = m_query.IsEmpty();
    return;
  }
  if (record.uFlags != 0) CountFlags(record);
  if (LooksLikeTrace(record)) {
    m_context.NoteOnce(std::string(record.file) +
                       ": looks like a trace without header lines; --layout and --fields name its"
                       " columns");
  }
  stream.bHead = m_query.Matches(record);
}

bool CWyLogInput::FillHead(Stream& stream) {
  const auto isLarge = [&] {
    return m_streams.size() > 1 && stream.pReader->BufferSize() > LargestBuffer;
  };
  while (!stream.bHead) {
    if (isLarge()) stream.pReader->FreeLast();
    if (!stream.pReader->Next(stream.record)) return false;
    Consider(stream);
  }
  if (!stream.bAside && isLarge()) stream.bAside = stream.pReader->SetAside(stream.record);
  return true;
}

// Whether the record that is next in all logs can be delivered.
bool CWyLogInput::TakeHead() {
  if (!std::exchange(m_pTaken->bAside, false) || m_pTaken->pReader->ReadAgain(m_pTaken->record)) {
    return true;
  }
  m_context.Warning(m_pTaken->pReader->Chain().Path() +
                    ": a record has changed while it was read, and is left out");
  return false;
}

const WyRecord* CWyLogInput::Next() {
  do {
    if (m_pTaken != nullptr) m_pTaken->bHead = false;
    m_pTaken = nullptr;
    for (Stream& stream : m_streams) {
      if (!FillHead(stream)) continue;
      if (m_pTaken == nullptr || stream.order < m_pTaken->order) m_pTaken = &stream;
    }
  } while (m_pTaken != nullptr && !TakeHead());
  return m_pTaken != nullptr ? &m_pTaken->record : nullptr;
}

bool CWyLogInput::HasEnded() const {
  return std::all_of(m_streams.begin(), m_streams.end(),
                     [](const Stream& stream) { return stream.pReader->HasEnded(); });
}
