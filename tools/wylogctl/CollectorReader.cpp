// The words of both languages, and what is assembled from them. A file that ends within an object
// is reported; all other faults of syntax are found by the collector itself (rsyslogd -N1).

#include "tools/wylogctl/CollectorReader.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace {

// The objects of rsyslog: other names before a parenthesis are functions.
constexpr std::string_view RsyslogObjects[] = {"action",     "global", "include", "input",
                                               "main_queue", "module", "ruleset"};

constexpr const char* NotClosed = "look for a parenthesis, a brace or a quote that is not closed";

bool IsWordCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.' || c == '-' ||
         c == '@' || c == '$';
}

std::string Lower(std::string_view text) {
  std::string strLower(text);
  for (char& c : strLower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return strLower;
}

}  // namespace

WyCollector CWyCollectorReader::CollectorOf(std::string_view text) {
  std::istringstream lines{std::string(text)};
  for (std::string strLine; std::getline(lines, strLine);) {
    if (strLine.starts_with("@version") || strLine.starts_with("@include"))
      return WyCollector::SyslogNg;
    for (const std::string_view word : {"source ", "destination ", "log {"}) {
      if (strLine.starts_with(word)) return WyCollector::SyslogNg;
    }
  }
  return WyCollector::Rsyslog;
}

void CWyCollectorReader::SkipBlanks() {
  while (m_u < m_all.size()) {
    const std::string_view rest = m_all.substr(m_u);
    if (std::isspace(static_cast<unsigned char>(rest[0])) != 0) {
      ++m_u;
    } else if (rest[0] == '#') {
      m_u = std::min(m_all.find('\n', m_u), m_all.size());
    } else if (rest.starts_with("/*")) {
      const std::size_t uEnd = m_all.find("*/", m_u + 2);
      m_u = uEnd == std::string_view::npos ? m_all.size() : uEnd + 2;
    } else {
      return;
    }
  }
}

// A backslash takes the meaning from the character behind it, not within single quotes of
// syslog-ng.
CWyCollectorReader::Token CWyCollectorReader::Quoted(char cQuote) {
  const std::size_t uBegin = m_u++;
  Token token{cQuote == '`' ? Kind::Echo : Kind::Text, {}, ""};
  while (m_u < m_all.size() && m_all[m_u] != cQuote) {
    if (m_all[m_u] == '\\' && m_u + 1 < m_all.size() && (IsRsyslog() || cQuote == '"')) ++m_u;
    token.strValue += m_all[m_u++];
  }
  m_bUnfinished |= m_u >= m_all.size();
  m_u = std::min(m_u + 1, m_all.size());
  token.source = m_all.substr(uBegin, m_u - uBegin);
  return token;
}

CWyCollectorReader::Token CWyCollectorReader::Next() {
  SkipBlanks();
  if (m_u >= m_all.size()) return {};
  const char c = m_all[m_u];
  if (c == '"' || c == '\'' || (c == '`' && IsRsyslog())) {
    Token token = Quoted(c);
    const WyLocation where = m_text.At(token.source);
    if (token.kind == Kind::Echo) token.strValue = Echoed(token.strValue, where);
    if (!IsRsyslog()) token.strValue = Replaced(token.strValue, where);
    return token;
  }
  const std::size_t uBegin = m_u++;
  if (!IsWordCharacter(c)) {
    return {Kind::Sign, m_all.substr(uBegin, 1), std::string(1, c)};
  }
  while (m_u < m_all.size() && IsWordCharacter(m_all[m_u])) ++m_u;
  const std::string_view word = m_all.substr(uBegin, m_u - uBegin);
  return {Kind::Word, word, std::string(word)};
}

// `NAME` within a text of syslog-ng.
std::string CWyCollectorReader::Replaced(std::string_view text, const WyLocation& where) {
  std::string strText;
  for (;;) {
    const std::size_t uBegin = text.find('`');
    const std::size_t uEnd = uBegin == text.npos ? text.npos : text.find('`', uBegin + 1);
    if (uEnd == text.npos) return strText.append(text);
    strText.append(text.substr(0, uBegin));
    const std::string strName(text.substr(uBegin + 1, uEnd - uBegin - 1));
    strText += m_config.Variable(strName, where);
    text.remove_prefix(uEnd + 1);
  }
}

// `echo $NAME/error*.log` of rsyslog.
std::string CWyCollectorReader::Echoed(std::string_view text, const WyLocation& where) {
  if (!text.starts_with("echo ")) return std::string(text);
  text.remove_prefix(5);
  std::string strText;
  while (!text.empty()) {
    const std::size_t uDollar = std::min(text.find('$'), text.size());
    strText.append(text.substr(0, uDollar));
    text.remove_prefix(uDollar);
    if (text.empty()) break;
    std::size_t uEnd = 1;
    while (uEnd < text.size() && (std::isalnum(static_cast<unsigned char>(text[uEnd])) != 0 ||
                                  text[uEnd] == '_' || text[uEnd] == '{')) {
      ++uEnd;
    }
    std::string strName(text.substr(1, uEnd - 1));
    if (strName.starts_with('{')) strName.erase(0, 1);
    if (uEnd < text.size() && text[uEnd] == '}') ++uEnd;
    strText += m_config.Variable(strName, where);
    text.remove_prefix(uEnd);
  }
  return strText;
}

std::string_view CWyCollectorReader::RestOfLine() {
  const std::size_t uEnd = std::min(m_all.find('\n', m_u), m_all.size());
  std::string_view rest = m_all.substr(m_u, uEnd - m_u);
  m_u = uEnd;
  while (!rest.empty() && std::isspace(static_cast<unsigned char>(rest[0])) != 0)
    rest.remove_prefix(1);
  while (!rest.empty() &&
         (std::isspace(static_cast<unsigned char>(rest.back())) != 0 || rest.back() == '"'))
    rest.remove_suffix(1);
  if (rest.starts_with('"')) rest.remove_prefix(1);
  return rest;
}

// A parameter, "name = value" of rsyslog; the name and what follows have been read so far.
void CWyCollectorReader::ReadParameter(WyCollectorObject& object, const Token& name) {
  const Token sign = Next();
  if (sign.source != "=") {
    m_config.m_diagnostics
        .Error("S101", m_text.At(name.source),
               "a `=` is missing behind `" + std::string(name.source) + "`")
        .Help(NotClosed);
    return;
  }
  Token value = Next();
  WyCollectorParameter parameter{Lower(name.source), value.strValue, m_text.At(value.source)};
  if (value.source == "[") {
    parameter.strValue.clear();
    for (value = Next(); value.kind != Kind::End && value.source != "]"; value = Next()) {
      if (value.kind == Kind::Sign) continue;
      parameter.strValue += (parameter.strValue.empty() ? "" : " ") + value.strValue;
    }
  }
  object.parameters.push_back(std::move(parameter));
}

void CWyCollectorReader::Unfinished(const Token& name) {
  m_config.m_diagnostics
      .Error("S101", m_text.At(name.source),
             "`" + std::string(name.source) + "` does not end before the end of the file")
      .Help(NotClosed);
}

void CWyCollectorReader::ReadRsyslogObject(const Token& name) {
  WyCollectorObject object{
      m_collector, Lower(name.source), m_strInside, m_text.At(name.source), {}};
  Next();  // the parenthesis
  Token token = Next();
  for (; token.kind != Kind::End && token.source != ")"; token = Next()) {
    if (token.kind == Kind::Word) ReadParameter(object, token);
  }
  if (token.kind == Kind::End || m_bUnfinished) return Unfinished(name);
  if (object.strName == "ruleset") {
    m_strInside = object.Value("name");
    m_iDepth = 0;
  }
  if (object.strName == "include") {
    m_config.ReadIncluded(std::string(object.Value("file")), m_text.File());
  }
  m_config.m_objects.push_back(std::move(object));
}

// What stands in parentheses or braces: parameters, which can be objects themselves. Returns its
// words and texts.
std::string CWyCollectorReader::ReadNested(WyCollectorObject& object, char cClose) {
  std::string strWords;
  for (Token token = Next(); token.kind != Kind::End; token = Next()) {
    if (token.kind == Kind::Sign && token.source[0] == cClose) return strWords;
    if (token.kind == Kind::Sign && (token.source == "{" || token.source == "(")) {
      ReadNested(object, token.source == "{" ? '}' : ')');
    }
    if (token.kind == Kind::Sign) continue;
    SkipBlanks();
    if (token.kind != Kind::Word || !IsNext('(')) {
      strWords += (strWords.empty() ? "" : " ") + token.strValue;
      continue;
    }
    Next();
    WyCollectorObject inner{
        m_collector, Lower(token.source), m_strInside, m_text.At(token.source), {}};
    const std::string strInner = ReadNested(inner, ')');
    object.parameters.push_back({inner.strName, strInner, inner.where});
    inner.parameters.push_back({"", strInner, inner.where});
    m_config.m_objects.push_back(std::move(inner));
  }
  m_bUnfinished = true;
  return strWords;
}

// "source s_error { ... };", "log { ... };"
void CWyCollectorReader::ReadSyslogNgObject(const Token& name, char cClose) {
  WyCollectorObject object{
      m_collector, Lower(name.source), m_strInside, m_text.At(name.source), {}};
  ReadNested(object, cClose);
  if (m_bUnfinished) return Unfinished(name);
  m_config.m_objects.push_back(std::move(object));
}

void CWyCollectorReader::TakeSign(char c) {
  if (c == '{') ++m_iDepth;
  if (c == '}' && --m_iDepth <= 0) m_strInside.clear();
}

// $WorkDirectory, $IncludeConfig and @include. Returns false if the word is none of them.
bool CWyCollectorReader::ReadDirective() {
  const std::size_t uBegin = m_u;
  const Token word = Next();
  const std::string strWord = Lower(word.source);
  if (strWord == "$includeconfig" || strWord == "@include") {
    m_config.ReadIncluded(std::string(RestOfLine()), m_text.File());
    return true;
  }
  if (strWord == "$workdirectory") {
    WyCollectorObject object{m_collector, "global", "", m_text.At(word.source), {}};
    object.parameters.push_back({"workdirectory", std::string(RestOfLine()), object.where});
    m_config.m_objects.push_back(std::move(object));
    return true;
  }
  if (strWord == "$inputfilename") {
    m_config.m_diagnostics
        .Warning("S103", m_text.At(word.source), "an older directive, which is not checked here")
        .Help("write the input as input(type=\"imfile\" ...), as the shipped files do");
  }
  if (strWord.starts_with('@')) {  // @version and others
    RestOfLine();
    return true;
  }
  m_u = uBegin;
  return false;
}

// Reads the object that begins with the word, if one does.
void CWyCollectorReader::ReadStatement(const Token& word) {
  SkipBlanks();
  if (IsRsyslog()) {
    const auto* const pEnd = std::end(RsyslogObjects);
    if (IsNext('(') && std::find(std::begin(RsyslogObjects), pEnd, Lower(word.source)) != pEnd) {
      ReadRsyslogObject(word);
    }
    return;
  }
  m_strInside = word.source;
  if (!IsNext('{')) {
    const Token name = Next();
    if (name.kind != Kind::Word) return;
    m_strInside += " " + name.strValue;
    SkipBlanks();
  }
  if (!IsNext('{')) return;
  Next();
  ReadSyslogNgObject(word, '}');
}

void CWyCollectorReader::Read() {
  for (;;) {
    SkipBlanks();
    if (m_u >= m_all.size()) return;
    if ((IsNext('$') || IsNext('@')) && ReadDirective()) continue;
    const Token token = Next();
    if (token.kind == Kind::Word) ReadStatement(token);
    if (token.kind == Kind::Sign) TakeSign(token.source[0]);
  }
}
