// Reading, and perhaps following, logs. The last records of several logs are kept until all were
// read; of one log, the place of the first of them is known. Records that come later are printed at
// once.

#include "tools/wylogctl/LogCommand.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>

#include "tools/wylogctl/Cursor.h"
#include "tools/wylogctl/LogInput.h"
#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/RecordParser.h"
#include "tools/wylogctl/RecordWriter.h"

namespace {

constexpr useconds_t PollMicroseconds = 50'000;
constexpr std::size_t LastWhenFollowing = 10;
constexpr std::size_t LongRecord = std::size_t{1} << 18;

struct WyLogOptions {
  WyInputOptions input;
  std::string strLines;
  std::string strCursor;
  std::string strLanguage;
  bool bAdvice = false;
};

// A record that outlives its reader's buffer. A long one is kept in a file.
struct KeptRecord {
  std::string strText;
  std::optional<long> lPlace;  // in the file
  std::size_t uSize = 0;
  std::string strFile;
  WyRawRecord raw;
  std::shared_ptr<const WyLogShape> pShape;
};

class CWyLogRun {
 public:
  CWyLogRun(CWyContext& context, const WyLogOptions& options)
      : m_context(context), m_options(options), m_input(context) {}

  int Run();

 private:
  bool SetLines();
  bool Prepare();
  void StartAtCursor();
  void Show(const WyRecord& record);
  bool IsEarly(const WyRecord& record);
  void Keep(const WyRecord& record);
  void KeepText(KeptRecord& kept, std::string_view text);
  bool ReadText(KeptRecord& kept);
  void ShowKept();
  void ReadAll();
  bool SaveCursor();

  CWyContext& m_context;
  const WyLogOptions& m_options;
  CWyLogInput m_input;
  CWyCursor m_cursor;
  CWyTranslator m_translator;
  std::unique_ptr<CWyRecordWriter> m_pWriter;
  std::deque<KeptRecord> m_kept;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_pLong{nullptr, std::fclose};
  std::optional<std::size_t> m_uLast;
  std::optional<std::size_t> m_uEarly;  // until all old records were read
  std::uint64_t m_uShown = 0;
};

bool CWyLogRun::SetLines() {
  const std::string& strLines = m_options.strLines;
  const bool bFromElsewhere =
      !m_options.strCursor.empty() || !m_options.input.query.strSince.empty();
  if (strLines.empty() && m_options.input.bFollow && !bFromElsewhere) m_uLast = LastWhenFollowing;
  if (strLines.empty() || strLines == "all") return true;
  char* pEnd = nullptr;
  const unsigned long long uLines = std::strtoull(strLines.c_str(), &pEnd, 10);
  if (!WyIsDigit(strLines[0]) || *pEnd != '\0') {
    m_context.Error("-n " + strLines + ": not a number of records, and not \"all\"");
    return false;
  }
  if (!m_options.strCursor.empty()) {
    m_context.Error("-n and --cursor-file exclude each other: the cursor says where to begin");
    return false;
  }
  m_uLast = static_cast<std::size_t>(uLines);
  return true;
}

bool CWyLogRun::Prepare() {
  const std::string& strFormat = m_context.options.strFormat;
  const bool bStructured = strFormat == "json" || strFormat == "csv";
  const bool bManifests = bStructured || m_options.bAdvice || !m_options.strLanguage.empty() ||
                          !m_options.input.query.components.empty();
  if (bManifests) m_input.Manifests().Load(m_context);
  if (!SetLines() || !m_input.Open(m_options.input)) return false;
  if (!m_options.strLanguage.empty() &&
      !m_translator.Set(m_context, m_input.Manifests(), m_options.strLanguage)) {
    return false;
  }
  if (!m_options.strCursor.empty()) {
    if (!m_cursor.Load(m_context, m_options.strCursor)) return false;
    StartAtCursor();
  } else if (m_uLast) {
    m_uEarly = m_input.SeekLast(*m_uLast);
    if (m_uEarly) m_uLast.reset();
  } else {
    m_input.SeekSince();
  }
  if (bStructured) m_input.NoteZone();
  m_pWriter = std::make_unique<CWyRecordWriter>(m_context, m_input.Zone(), m_input.Manifests(),
                                                m_translator, m_options.bAdvice);
  return true;
}

void CWyLogRun::StartAtCursor() {
  for (auto& stream : m_input.Streams()) {
    CWyChainReader& reader = *stream.pReader;
    if (reader.Chain().IsStandardInput() || reader.Files().empty()) continue;
    WyPlace place = m_cursor.Find(m_context, reader.Chain(), reader.Files());
    if (place.uOffset > 0) {
      place.pShape =
          m_input.PlacesOf(stream, WyTitleSearch::Whole).ShapeAt(place.uFile, place.uOffset);
    }
    reader.StartAt(std::move(place));
  }
}

void CWyLogRun::Show(const WyRecord& record) {
  if (!record.raw.bTitles) ++m_uShown;
  m_pWriter->Write(record);
}

// Whether the record is before the last ones; header lines among those are not shown.
bool CWyLogRun::IsEarly(const WyRecord& record) {
  if (!m_uEarly) return false;
  if (record.raw.bTitles) return true;
  if (*m_uEarly == 0) return false;
  --*m_uEarly;
  return true;
}

void CWyLogRun::KeepText(KeptRecord& kept, std::string_view text) {
  kept.lPlace.reset();
  kept.uSize = text.size();
  if (text.size() > LongRecord) {
    if (m_pLong == nullptr) m_pLong.reset(std::tmpfile());
    const bool bFile = m_pLong != nullptr && std::fseek(m_pLong.get(), 0, SEEK_END) == 0;
    const long lPlace = bFile ? std::ftell(m_pLong.get()) : -1;
    if (bFile && std::fwrite(text.data(), 1, text.size(), m_pLong.get()) == text.size()) {
      kept.lPlace = lPlace;
      return;
    }
  }
  kept.strText.assign(text);
}

bool CWyLogRun::ReadText(KeptRecord& kept) {
  if (!kept.lPlace) return true;
  kept.strText.resize(kept.uSize);
  if (std::fseek(m_pLong.get(), *kept.lPlace, SEEK_SET) == 0 &&
      std::fread(kept.strText.data(), 1, kept.uSize, m_pLong.get()) == kept.uSize) {
    return true;
  }
  m_context.Error(kept.strFile + ": a long record cannot be read back from the temporary file");
  return false;
}

void CWyLogRun::Keep(const WyRecord& record) {
  if (record.raw.bTitles || *m_uLast == 0) return;
  KeptRecord kept;
  if (m_kept.size() == *m_uLast) {
    kept = std::move(m_kept.front());  // for its buffers
    m_kept.pop_front();
  }
  KeepText(kept, record.raw.text);
  kept.strFile.assign(record.file);
  kept.raw = record.raw;
  if (kept.pShape == nullptr || kept.pShape->kind != record.raw.pShape->kind ||
      WyIsTrace(record.raw.pShape->kind)) {
    kept.pShape = std::make_shared<const WyLogShape>(*record.raw.pShape);
  }
  m_kept.push_back(std::move(kept));
}

void CWyLogRun::ShowKept() {
  CWyRecordParser parser;
  WyRecord record;
  for (KeptRecord& kept : m_kept) {
    if (!ReadText(kept)) continue;
    kept.raw.text = kept.strText;
    kept.raw.pShape = kept.pShape.get();
    parser.Parse(kept.raw, record);
    record.file = kept.strFile;
    Show(record);
    std::string().swap(kept.strText);  // an assignment would keep its memory
  }
  m_pLong.reset();
  m_kept.clear();
  m_uLast.reset();
}

void CWyLogRun::ReadAll() {
  for (;;) {
    while (const WyRecord* const pRecord = m_input.Next()) {
      if (m_uLast) {
        Keep(*pRecord);
      } else if (!IsEarly(*pRecord)) {
        Show(*pRecord);
      }
      if (WyWasInterrupted()) return;
    }
    if (m_uLast) ShowKept();
    m_uEarly.reset();
    m_context.out.Flush();
    if (m_input.HasEnded() || WyWasInterrupted()) return;
    if (!m_options.strCursor.empty() && !SaveCursor()) return;
    usleep(PollMicroseconds);
  }
}

bool CWyLogRun::SaveCursor() {
  for (auto& stream : m_input.Streams()) {
    WyLogFile file;
    std::uint64_t uOffset;
    if (!stream.pReader->Position(file, uOffset)) continue;
    if (stream.bHead || stream.bStopped) uOffset = stream.record.raw.uOffset;
    m_cursor.Set(stream.pReader->Chain(), file, uOffset);
  }
  return m_cursor.Save(m_context);
}

int CWyLogRun::Run() {
  m_context.Start(!m_options.input.bFollow);
  if (!Prepare()) return WyFailed;
  if (m_options.input.bFollow) WyCatchInterrupt();
  ReadAll();
  m_context.EndProgress();
  m_context.out.Flush();
  if (!m_options.strCursor.empty()) SaveCursor();
  m_input.ReportFlags();
  return m_context.Exit(m_uShown > 0);
}

}  // namespace

void RegisterLogCommand(CWyProgram& program) {
  auto pOptions = std::make_shared<WyLogOptions>();
  CWyCommand& command = program.Add("log", "Show the records of error, audit and trace logs",
                                    {"raw", "table", "json", "csv"});
  WyAddInput(command, pOptions->input, true);
  command.Flag("-f,--follow", "Wait for more, over all rollovers; begins with the last 10 records",
               pOptions->input.bFollow);
  command.Value("-n,--lines", "N", "The last N records, or all", pOptions->strLines);
  command.File("--cursor-file",
               "Begin where the last run ended, and write down where this one ends",
               pOptions->strCursor);
  command.Flag("-x,--explain", "Add the advice for each message", pOptions->bAdvice);
  command.Value("--lang", "LANGUAGE", "Show messages in this language: de", pOptions->strLanguage);
  command.About(
      "A path stands for the log and its backups, in their order. Several logs are merged by time. "
      "Without filters, the header lines of traces are printed too, and the output is the files.");
  command.Example("wylogctl log --severity WARNING --since -1h /var/log/app/error.log",
                  "What went wrong in the last hour");
  command.Example("wylogctl log --request 4711 -o table error.log trace.log audit.log",
                  "One request over all logs and backups");
  command.Run([pOptions](CWyContext& context) {
    const std::string& strFormat = context.options.strFormat;
    pOptions->input.bKeepUnfinished = !pOptions->strCursor.empty();
    pOptions->input.bRaw = strFormat.empty() || strFormat == "raw";
    return CWyLogRun(context, *pOptions).Run();
  });
}
