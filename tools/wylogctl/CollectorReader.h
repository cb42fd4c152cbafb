#ifndef WYLOGCTL_COLLECTORREADER_H
#define WYLOGCTL_COLLECTORREADER_H

// Reads one file of a collector's configuration and adds its objects to a CWyCollectorConfig. One
// reader for both languages: words, texts in quotes, parentheses and braces. What it does not know,
// such as expressions and the older directives of rsyslog, it passes over word by word.

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/wylogctl/CollectorConfig.h"

class CWyCollectorReader {
 public:
  CWyCollectorReader(CWyCollectorConfig& config, const CWySourceText& text)
      : m_config(config), m_text(text), m_all(text.Text()), m_collector(CollectorOf(m_all)) {}

  void Read();

 private:
  static WyCollector CollectorOf(std::string_view text);
  enum class Kind : std::uint8_t { End, Word, Text, Echo, Sign };
  struct Token {
    Kind kind = Kind::End;
    std::string_view source;
    std::string strValue;
  };

  bool IsRsyslog() const { return m_collector == WyCollector::Rsyslog; }
  void SkipBlanks();
  bool IsNext(char c) const { return m_u < m_all.size() && m_all[m_u] == c; }
  Token Next();
  Token Quoted(char cQuote);
  std::string Replaced(std::string_view text, const WyLocation& where);
  std::string Echoed(std::string_view text, const WyLocation& where);
  bool ReadDirective();
  void ReadStatement(const Token& word);
  void TakeSign(char c);
  void ReadRsyslogObject(const Token& name);
  void ReadParameter(WyCollectorObject& object, const Token& name);
  void ReadSyslogNgObject(const Token& name, char cClose);
  std::string ReadNested(WyCollectorObject& object, char cClose);
  void Unfinished(const Token& name);
  std::string_view RestOfLine();

  CWyCollectorConfig& m_config;
  const CWySourceText& m_text;
  std::string_view m_all;
  std::size_t m_u = 0;
  WyCollector m_collector;
  std::string m_strInside;
  int m_iDepth = 0;
  bool m_bUnfinished = false;
};

#endif
