// One record after another, without an allocation once the buffers have grown. A long text is
// escaped and written piece by piece, so that memory does not grow with it.

#include "tools/wylogctl/RecordWriter.h"

#include <utility>

#include "tools/common/Utf8.h"
#include "tools/wylogctl/JsonText.h"
#include "wyerrlog/WyEscape.h"

namespace {

constexpr const char* CsvHeader =
    "time,utc,log,severity,key,id,component,pid,tid,src,line,text,fields,flags,file,offset,"
    "raw_b64\n";
// A multiple of 3, so that base64 has no padding between pieces.
constexpr std::size_t PieceSize = std::size_t{3} << 14;

std::string_view ColorOf(WySeverityRank severity) {
  if (severity == WySeverityRank::Error) return WyColorCode::Red;
  return severity == WySeverityRank::Warning ? WyColorCode::Yellow : "";
}

}  // namespace

CWyRecordWriter::CWyRecordWriter(CWyContext& context, const CWyZone& zone,
                                 const CWyManifests& manifests, CWyTranslator& translator,
                                 bool bAdvice)
    : m_context(context),
      m_zone(zone),
      m_manifests(manifests),
      m_translator(translator),
      m_form(context.options.strFormat == "json"    ? Form::Json
             : context.options.strFormat == "csv"   ? Form::Csv
             : context.options.strFormat == "table" ? Form::Table
                                                    : Form::Raw),
      m_bAdvice(bAdvice) {
  if (m_form == Form::Csv) m_context.out.Write(CsvHeader);
}

void CWyRecordWriter::Write(const WyRecord& record) {
  // The common case, a pipe, copies the bytes of the log unchanged.
  const bool bAsItStands =
      m_form == Form::Raw && !m_bAdvice && !m_translator.IsSet() && !m_context.out.IsTerminal();
  if (bAsItStands && !m_context.out.HasColor()) return m_context.out.Write(record.raw.text);
  // Header lines are no records; only the raw form keeps them, so that its output is again a log.
  if (record.raw.bTitles && m_form != Form::Raw) return;
  m_pMessage = record.key.empty() ? nullptr : m_manifests.ByKey(record.key);
  m_strLine.clear();
  Translate(record);
  if (m_form == Form::Raw) WriteRaw(record);
  if (m_form == Form::Table) WriteTable(record);
  if (m_form == Form::Json) WriteJson(record);
  if (m_form == Form::Csv) WriteCsv(record);
  m_context.out.Write(m_strLine);
}

void CWyRecordWriter::Translate(const WyRecord& record) {
  m_translation = CWyTranslator::Result::Same;
  if (m_translator.IsSet()) m_translation = m_translator.Translate(record, m_strText);
}

void CWyRecordWriter::Drain() {
  if (!m_bDrains) return;
  m_context.out.Write(m_strLine);
  m_strLine.clear();
}

// Calls `append` with one part of a text after another; no part ends within a character. A line
// that is not UTF-8 may have no boundary near: it is then cut after PieceSize - 3 bytes, and
// ValidUtf8 replaces the halves.
template <class Append>
void CWyRecordWriter::InPieces(std::string_view value, Append append) {
  while (value.size() > PieceSize) {
    std::size_t uPiece = PieceSize;
    while (uPiece > PieceSize - 3 && (static_cast<unsigned char>(value[uPiece]) & 0xC0) == 0x80) {
      --uPiece;
    }
    append(value.substr(0, uPiece));
    Drain();
    value.remove_prefix(uPiece);
  }
  append(value);
}

// What people read on a terminal: no byte of a log controls it.
void CWyRecordWriter::AppendForPeople(std::string_view text) {
  InPieces(text, [this](std::string_view piece) {
    if (m_context.out.IsTerminal()) {
      WyAppendPrintable(m_strLine, piece);
    } else {
      m_strLine += piece;
    }
  });
}

// A text that was decoded from its record can contain what would begin a line.
void CWyRecordWriter::AppendOnLine(const WyRecord& record, std::string_view text) {
  if (record.strDecoded.empty()) return AppendForPeople(text);
  m_strLine += WyEscape(text);
}

void CWyRecordWriter::WriteRaw(const WyRecord& record) {
  const std::string_view color = m_context.out.Color(ColorOf(record.severity));
  const std::string_view text = record.raw.text;
  const bool bNewline = text.ends_with('\n');
  m_strLine += color;
  if (m_translation == CWyTranslator::Result::Translated) {
    AppendForPeople(text.substr(0, static_cast<std::size_t>(record.text.data() - text.data())));
    AppendForPeople(m_strText);
  } else {
    AppendForPeople(text.substr(0, text.size() - (bNewline ? 1 : 0)));
  }
  if (m_translation == CWyTranslator::Result::Ambiguous)
    m_strLine += "  [not translated: ambiguous]";
  if (m_translation == CWyTranslator::Result::Unknown) m_strLine += "  [not translated]";
  if (!color.empty()) m_strLine += WyColorCode::Off;
  if (bNewline) m_strLine += '\n';
  if (!m_bAdvice || m_pMessage == nullptr || m_pMessage->strAdvice.empty()) return;
  m_strLine += "    -- ";
  m_strLine += m_pMessage->strAdvice;
  m_strLine += '\n';
}

void CWyRecordWriter::WriteTable(const WyRecord& record) {
  m_strTime.clear();
  if (record.time != WyNoTime) WyAppendIso(m_strTime, record.time, record.bMilliseconds);
  m_strTime.resize(24, ' ');
  m_strLine += m_strTime;
  const std::string_view color = m_context.out.Color(ColorOf(record.severity));
  const char* const pszKind = record.severity != WySeverityRank::None
                                  ? WySeverityText(record.severity)
                                  : WyLogOfKind(record.Kind());
  std::string_view kind = pszKind;
  m_strLine += color;
  m_strLine += kind;
  m_strLine.append(8 - std::min<std::size_t>(kind.size(), 7), ' ');
  if (!color.empty()) m_strLine += WyColorCode::Off;
  AppendForPeople(record.key.empty() ? "-" : record.key);
  m_strLine += "  ";
  const bool bTranslated = m_translation == CWyTranslator::Result::Translated;
  const std::string_view text = bTranslated ? std::string_view(m_strText) : record.text;
  AppendOnLine(record, text.substr(0, text.find('\n')));
  if (text.find('\n') != std::string_view::npos) m_strLine += " [more lines]";
  for (const WyFieldValue& field : record.fields) {
    if (field.value.empty() || field.name == "Message" ||
        WyFormOf(field.name) != WyFieldForm::Text) {
      continue;
    }
    m_strLine += "  ";
    m_strLine += field.name;
    m_strLine += '=';
    AppendOnLine(record, field.value);
  }
  const std::size_t uSize = m_strLine.size();
  m_strLine += "  [";
  const std::size_t uFlags = m_strLine.size();
  AppendFlags(record, record.uFlags, false);
  if (m_strLine.size() == uFlags) {
    m_strLine.resize(uSize);
  } else {
    m_strLine += ']';
  }
  m_strLine += '\n';
  if (m_bAdvice && m_pMessage != nullptr && !m_pMessage->strAdvice.empty()) {
    m_strLine += "    -- " + m_pMessage->strAdvice + "\n";
  }
}

void CWyRecordWriter::AppendFlags(const WyRecord& record, unsigned int uFlags, bool bJson) {
  if (uFlags == 0 && m_translation == CWyTranslator::Result::Same) return;
  bool bFirst = true;
  const auto append = [&](std::string_view name, std::string_view detail) {
    if (!bFirst) m_strLine += bJson ? ',' : ' ';
    bFirst = false;
    if (bJson) m_strLine += '"';
    m_strLine += name;
    if (!detail.empty()) m_strLine += ':';
    m_strLine += detail;
    if (bJson) m_strLine += '"';
  };
  for (unsigned int u = 0; u < WyFlagCount; ++u) {
    if ((uFlags & (1u << u)) == 0) continue;
    if ((1u << u) != WyMaybeCut) append(WyFlagName(u), "");
    if ((1u << u) != WyMaybeCut) continue;
    for (const std::string_view name : record.cut) append(WyFlagName(u), name);
  }
  if (m_translation == CWyTranslator::Result::Ambiguous) append("translation-ambiguous", "");
  if (m_translation == CWyTranslator::Result::Unknown) append("not-translated", "");
}

void CWyRecordWriter::AppendText(std::string_view value) {
  m_strLine += '"';
  InPieces(value, [this](std::string_view piece) {
    if (m_bValid) {
      WyAppendEscaped(m_strLine, piece);
    } else {
      WyAppendEscaped(m_strLine, ValidUtf8(piece));
    }
  });
  m_strLine += '"';
}

void CWyRecordWriter::AppendCsv(std::string_view value) {
  const bool bQuoted = WyIsQuotedInCsv(value);
  if (bQuoted) m_strLine += '"';
  InPieces(value, [this](std::string_view piece) {
    WyAppendCsvText(m_strLine, m_bValid ? piece : std::string_view(ValidUtf8(piece)));
  });
  if (bQuoted) m_strLine += '"';
}

void CWyRecordWriter::AppendRawBytes(const WyRecord& record) {
  for (std::string_view bytes = record.raw.text; !bytes.empty();) {
    WyAppendBase64(m_strLine, bytes.substr(0, PieceSize));
    bytes.remove_prefix(std::min(bytes.size(), PieceSize));
    Drain();
  }
}

void CWyRecordWriter::AppendMember(std::string_view name, std::string_view value) {
  if (value.empty()) return;
  m_strLine += name;
  AppendText(value);
}

// A number as it stands in the log; what is none is left out. JSON numbers: 19 digits fit into 64
// bits, and a leading zero is no JSON.
void CWyRecordWriter::AppendDigits(std::string_view name, std::string_view digits) {
  if (digits.empty() || digits.size() > 19 || (digits[0] == '0' && digits.size() > 1)) return;
  for (const char c : digits) {
    if (!WyIsDigit(c)) return;
  }
  m_strLine += name;
  m_strLine += digits;
}

void CWyRecordWriter::AppendFields(const WyRecord& record) {
  m_strLine += '{';
  for (const WyFieldValue& field : record.fields) {
    m_strLine += &field == record.fields.data() ? "\"" : ",\"";
    m_strLine += field.name;
    m_strLine += "\":";
    AppendText(field.value);
  }
  m_strLine += '}';
}

// `utc` is null where local time has no single UTC: in the hour that clocks repeat. A guess would
// put records in a wrong order.
void CWyRecordWriter::AppendTimes(const WyRecord& record) {
  if (record.time == WyNoTime) return;
  m_strLine += R"(,"time":")";
  WyAppendIso(m_strLine, record.time, record.bMilliseconds);
  const auto utc = record.utc ? record.utc : m_zone.ToUtc(record.time);
  m_strLine += utc ? R"(","utc":")" : R"(","utc":null)";
  if (!utc) return;
  if (*utc == record.time) {
    m_strLine.append(m_strLine, m_strLine.size() - 9 - (record.bMilliseconds ? 23 : 19),
                     record.bMilliseconds ? 23 : 19);
  } else {
    WyAppendIso(m_strLine, *utc, record.bMilliseconds);
  }
  m_strLine += "Z\"";
}

void CWyRecordWriter::AppendIdentity(const WyRecord& record) {
  AppendMember(R"(,"key":)", record.key);
  if (m_pMessage == nullptr) return;
  if (m_pMessage->uId != 0) AppendMember(R"(,"id":)", m_pMessage->IdText());
  AppendMember(R"(,"component":)", m_manifests.ComponentOf(*m_pMessage).strName);
}

// All records of a file begin the same.
void CWyRecordWriter::AppendOrigin(const WyRecord& record) {
  if (m_strOriginFile != record.file || m_origin != record.Kind()) {
    m_strOriginFile = record.file;
    m_origin = record.Kind();
    m_strOrigin = R"({"v":1,"log":")" + std::string(WyLogOfKind(m_origin)) + R"(","file":)";
    WyAppendJson(m_strOrigin, record.file);
    m_strOrigin += R"(,"offset":)";
  }
  m_strLine += m_strOrigin;
  WyAppendNumber(m_strLine, record.raw.uOffset);
}

void CWyRecordWriter::WriteJson(const WyRecord& record) {
  m_bValid = WyIsValidUtf8(record.raw.text);
  AppendOrigin(record);
  AppendTimes(record);
  AppendDigits(R"(,"pid":)", record.pid);
  AppendDigits(R"(,"tid":)", record.tid);
  AppendMember(R"(,"src":)", record.src);
  AppendDigits(R"(,"line":)", record.line);
  AppendMember(R"(,"severity":)", WySeverityText(record.severity));
  AppendIdentity(record);
  const bool bTranslated = m_translation == CWyTranslator::Result::Translated;
  m_strLine += R"(,"text":)";
  AppendText(bTranslated ? std::string_view(m_strText) : record.text);
  if (bTranslated) AppendMember(R"(,"original":)", record.text);
  if (WyIsTrace(record.Kind()) || !record.fields.empty()) {
    m_strLine += R"(,"fields":)";
    AppendFields(record);
  }
  m_strLine += R"(,"flags":[)";
  AppendFlags(record, record.uFlags | (m_bValid ? 0u : WyInvalidUtf8), true);
  m_strLine += ']';
  if (!m_bValid) {
    m_strLine += R"(,"raw_b64":")";
    AppendRawBytes(record);
    m_strLine += '"';
  }
  if (m_bAdvice && m_pMessage != nullptr) AppendMember(R"(,"advice":)", m_pMessage->strAdvice);
  m_strLine += "}\n";
}

void CWyRecordWriter::WriteCsv(const WyRecord& record) {
  m_bValid = WyIsValidUtf8(record.raw.text);
  const auto end = [this] { m_strLine += ','; };
  if (record.time != WyNoTime) {
    WyAppendIso(m_strLine, record.time, record.bMilliseconds);
    end();
    const auto utc = record.utc ? record.utc : m_zone.ToUtc(record.time);
    if (utc) WyAppendIso(m_strLine, *utc, record.bMilliseconds);
    if (utc) m_strLine += 'Z';
  } else {
    end();
  }
  const std::string strId =
      m_pMessage != nullptr && m_pMessage->uId != 0 ? m_pMessage->IdText() : "";
  const std::string_view component =
      m_pMessage != nullptr ? m_manifests.ComponentOf(*m_pMessage).strName : std::string_view();
  const bool bTranslated = m_translation == CWyTranslator::Result::Translated;
  for (const std::string_view value :
       {std::string_view(WyLogOfKind(record.Kind())),
        std::string_view(WySeverityText(record.severity)), record.key, std::string_view(strId),
        component, record.pid, record.tid, record.src, record.line,
        bTranslated ? std::string_view(m_strText) : record.text}) {
    end();
    AppendCsv(value);
  }
  end();
  if (!record.fields.empty()) {
    Drain();
    m_bDrains = false;
    AppendFields(record);
    m_bDrains = true;
    // The fields are one CSV value that contains JSON: they are written to the empty line buffer
    // first, and then escaped as a whole. m_bDrains keeps them from being output in between.
    const std::string strFields = std::exchange(m_strLine, {});
    AppendCsv(strFields);
  }
  end();
  AppendFlags(record, record.uFlags | (m_bValid ? 0u : WyInvalidUtf8), false);
  end();
  WyAppendCsv(m_strLine, record.file);
  end();
  WyAppendNumber(m_strLine, record.raw.uOffset);
  end();
  if (!m_bValid) AppendRawBytes(record);
  m_strLine += '\n';
}
