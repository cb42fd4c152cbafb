#ifndef WYLOGCTL_RECORDWRITER_H
#define WYLOGCTL_RECORDWRITER_H

// Prints records: as they stand, as a table for people, as JSON, or as CSV.

#include <string>

#include "tools/wylogctl/Manifest.h"
#include "tools/wylogctl/Translation.h"

class CWyRecordWriter {
 public:
  CWyRecordWriter(CWyContext& context, const CWyZone& zone, const CWyManifests& manifests,
                  CWyTranslator& translator, bool bAdvice);

  void Write(const WyRecord& record);

 private:
  enum class Form { Raw, Table, Json, Csv };

  void WriteRaw(const WyRecord& record);
  void WriteTable(const WyRecord& record);
  void WriteJson(const WyRecord& record);
  void WriteCsv(const WyRecord& record);
  void AppendOrigin(const WyRecord& record);
  void AppendIdentity(const WyRecord& record);
  template <class Append>
  void InPieces(std::string_view value, Append append);
  void Drain();
  void AppendText(std::string_view value);
  void AppendCsv(std::string_view value);
  void AppendRawBytes(const WyRecord& record);
  void AppendMember(std::string_view name, std::string_view value);
  void AppendDigits(std::string_view name, std::string_view digits);
  void AppendFields(const WyRecord& record);
  void AppendFlags(const WyRecord& record, unsigned int uFlags, bool bJson);
  void AppendTimes(const WyRecord& record);
  void AppendForPeople(std::string_view text);
  void AppendOnLine(const WyRecord& record, std::string_view text);
  void Translate(const WyRecord& record);

  CWyContext& m_context;
  const CWyZone& m_zone;
  const CWyManifests& m_manifests;
  CWyTranslator& m_translator;
  Form m_form;
  bool m_bAdvice;
  std::string m_strLine;
  std::string m_strText;  // the record's text, perhaps translated
  std::string m_strTime;
  std::string m_strOrigin;
  std::string m_strOriginFile;
  WyLogFormat m_origin = WyLogFormat::Audit;
  bool m_bValid = false;  // the record is UTF-8, and so is each part of it
  bool m_bDrains = true;  // m_strLine may be written before the record is complete
  const WyKnownMessage* m_pMessage = nullptr;
  CWyTranslator::Result m_translation = CWyTranslator::Result::Same;
};

#endif
