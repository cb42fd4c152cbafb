// The statements of the definition language, one to a line. A message statement begins a message;
// `args`, `text`, `printf` and `advice` belong to the message before them. What a statement says is
// checked here; what several have to agree on, in DefinitionCheck.cpp.
#include "tools/wymsgc/DefinitionReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "tools/common/EditDistance.h"
#include "tools/wymsgc/DefinitionCheck.h"
#include "tools/wymsgc/Encoding.h"
#include "tools/wymsgc/TextPattern.h"

namespace {

constexpr std::string_view Blanks = " \t";

// An empty result is a view at the end of the text, never a null one: its place is where a message
// says that something is missing.
std::string_view Trim(std::string_view text) {
  const std::size_t uFirst = text.find_first_not_of(Blanks);
  if (uFirst == std::string_view::npos) return text.substr(text.size());
  return text.substr(uFirst, text.find_last_not_of(Blanks) - uFirst + 1);
}

// Takes the first word from the front of `rest`, and the blanks behind it. Without one, an empty
// view at the end of the line.
std::string_view TakeWord(std::string_view& rest) {
  const std::size_t uEnd = std::min(rest.find_first_of(Blanks), rest.size());
  const std::string_view word = rest.substr(0, uEnd);
  rest = Trim(rest.substr(uEnd));
  return word;
}

std::string Quoted(std::string_view word) { return '`' + std::string(word) + '`'; }

class CWyDefinitionReader {
 public:
  CWyDefinitionReader(const CWySourceText& source, CWyDiagnostics& diagnostics)
      : m_source(source), m_diagnostics(diagnostics) {}

  WyDefinition Read() {
    std::string_view text = m_source.Text();
    while (!text.empty()) {
      const std::size_t uEnd = std::min(text.find('\n'), text.size());
      ReadLine(text.substr(0, uEnd));
      text.remove_prefix(std::min(uEnd + 1, text.size()));
    }
    return std::move(m_definition);
  }

 private:
  using Handler = void (CWyDefinitionReader::*)(std::string_view rest);
  struct Statement {
    std::string_view word;
    Handler handler;
    std::string_view form;
    bool bOfMessage = false;
  };
  static const std::array<Statement, 11> Statements;

  void ReadLine(std::string_view line);
  void ReportUnknown(std::string_view word);
  WyDiagnostic& Error(std::string_view code, std::string_view part, std::string strMessage) {
    return m_diagnostics.Error(code, m_source.At(part), std::move(strMessage));
  }
  bool RequireWord(std::string_view word, std::string_view what);
  void RefuseRest(std::string_view rest);
  void SetOnce(std::string_view& target, std::string_view value, std::string_view what);
  void SetOneWord(std::string_view& target, std::string_view rest, std::string_view what);
  bool ReadNumber(std::string_view word, unsigned int uMax, std::string_view what,
                  unsigned int& uNumber);

  void ReadComponent(std::string_view rest);
  void ReadBundle(std::string_view rest) { SetOneWord(m_definition.bundle, rest, "a bundle name"); }
  void ReadAbout(std::string_view rest) { SetOnce(m_definition.about, rest, "a description"); }
  void ReadCpp(std::string_view rest) { SetOneWord(m_definition.cpp, rest, "a namespace"); }
  void ReadJava(std::string_view rest) { SetOneWord(m_definition.java, rest, "a class"); }
  void ReadSub(std::string_view rest);
  void ReadSubOptions(std::string_view head, WySubComponentEntry& sub);
  void ReadMessage(std::string_view rest);
  void ReadSeverity(std::string_view word, WyMessageEntry& message);
  void ReportInvalid(std::string_view word);
  void ReadArguments(std::string_view rest);
  void ReadArgument(std::string_view word);
  void ReadType(std::string_view type, WyArgumentEntry& argument);
  void ReadText(std::string_view rest) { SetText(rest, false); }
  void ReadPrintf(std::string_view rest) { SetText(rest, true); }
  void SetText(std::string_view rest, bool bPrintf);
  void ReadAdvice(std::string_view rest);
  WyMessageEntry& Message() { return m_definition.messages.back(); }

  const CWySourceText& m_source;
  CWyDiagnostics& m_diagnostics;
  WyDefinition m_definition;
  std::string_view m_statement;  // the current one's word
  std::string_view m_form;       // how it is written
};

// The form is shown in each message about the statement, so that the remedy is always a line to
// copy.
const std::array<CWyDefinitionReader::Statement, 11> CWyDefinitionReader::Statements = {{
    {"component", &CWyDefinitionReader::ReadComponent, "component NUMBER NAME"},
    {"bundle", &CWyDefinitionReader::ReadBundle, "bundle NAME"},
    {"about", &CWyDefinitionReader::ReadAbout, "about DESCRIPTION"},
    {"cpp", &CWyDefinitionReader::ReadCpp, "cpp NAMESPACE"},
    {"java", &CWyDefinitionReader::ReadJava, "java PACKAGE.CLASS"},
    {"sub", &CWyDefinitionReader::ReadSub,
     "sub NUMBER NAME [abbr WORD] [cpp IDENTIFIER]: DESCRIPTION"},
    {"message", &CWyDefinitionReader::ReadMessage,
     "message NUMBER NAME info|warning|error, or message NUMBER retired NAME"},
    {"args", &CWyDefinitionReader::ReadArguments, "args NAME:TYPE...", true},
    {"text", &CWyDefinitionReader::ReadText, "text TEXT", true},
    {"printf", &CWyDefinitionReader::ReadPrintf, "printf PATTERN", true},
    {"advice", &CWyDefinitionReader::ReadAdvice, "advice TEXT", true},
}};

void CWyDefinitionReader::ReadLine(std::string_view line) {
  std::string_view rest = Trim(line);
  if (rest.empty() || rest.front() == '#') return;
  m_statement = TakeWord(rest);
  const auto found = std::find_if(Statements.begin(), Statements.end(),
                                  [this](const Statement& s) { return s.word == m_statement; });
  if (found == Statements.end()) return ReportUnknown(m_statement);
  m_form = found->form;
  if (found->bOfMessage && m_definition.messages.empty()) {
    Error("M112", m_statement, Quoted(m_statement) + " stands before the first message")
        .Help("it belongs to the `message` statement above it");
    return;
  }
  (this->*found->handler)(rest);
}

void CWyDefinitionReader::ReportUnknown(std::string_view word) {
  std::array<std::string_view, Statements.size()> names;
  std::transform(Statements.begin(), Statements.end(), names.begin(),
                 [](const Statement& s) { return s.word; });
  const std::string_view nearest = NearestName(word, names);
  Error("M110", word, "unknown statement " + Quoted(word))
      .Help(DidYouMean(nearest))
      .Help(nearest.empty()
                ? "a line is one of: component, bundle, about, cpp, java, sub, message, "
                  "args, text, printf, advice, or a comment that begins with `#`"
                : "");
}

// Reports a word that is not there.
bool CWyDefinitionReader::RequireWord(std::string_view word, std::string_view what) {
  if (!word.empty()) return true;
  Error("M111", word.data() == nullptr ? m_statement : word,
        Quoted(m_statement) + " lacks " + std::string(what))
      .Help("write: " + std::string(m_form));
  return false;
}

void CWyDefinitionReader::RefuseRest(std::string_view rest) {
  if (rest.empty()) return;
  Error("M111", rest, "unexpected " + Quoted(rest)).Help("write: " + std::string(m_form));
}

void CWyDefinitionReader::SetOnce(std::string_view& target, std::string_view value,
                                  std::string_view what) {
  if (!RequireWord(value, what)) return;
  if (target.empty()) {
    target = value;
    return;
  }
  Error("M112", m_statement, "second " + Quoted(m_statement))
      .Help("remove one of them")
      .Note(m_source.At(target), "the first is here");
}

void CWyDefinitionReader::SetOneWord(std::string_view& target, std::string_view rest,
                                     std::string_view what) {
  SetOnce(target, TakeWord(rest), what);
  RefuseRest(rest);
}

// 0 is for "already reported": the checks that compare numbers pass over it.
bool CWyDefinitionReader::ReadNumber(std::string_view word, unsigned int uMax,
                                     std::string_view what, unsigned int& uNumber) {
  const auto [pEnd, error] = std::from_chars(word.data(), word.data() + word.size(), uNumber);
  const bool bNumber = error == std::errc() && pEnd == word.data() + word.size();
  if (bNumber && uNumber >= 1 && uNumber <= uMax) return true;
  Error(
      "M140", word,
      std::string(what) + ' ' + Quoted(word) + " is not a number from 1 to " + std::to_string(uMax))
      .Help("it is a part of identifiers, and has as many bits there");
  uNumber = 0;
  return false;
}

void CWyDefinitionReader::ReadComponent(std::string_view rest) {
  const std::string_view number = TakeWord(rest);
  const std::string_view name = TakeWord(rest);
  if (!RequireWord(number, "a number") || !RequireWord(name, "a name")) return;
  RefuseRest(rest);
  if (!m_definition.name.empty()) return SetOnce(m_definition.name, name, "a name");
  m_definition.number = number;
  m_definition.name = name;
  ReadNumber(number, 255, "component", m_definition.uNumber);
}

void CWyDefinitionReader::ReadSub(std::string_view rest) {
  const std::size_t uColon = rest.find(':');
  const std::string_view description =
      uColon == std::string_view::npos ? rest.substr(rest.size()) : Trim(rest.substr(uColon + 1));
  std::string_view head = Trim(rest.substr(0, uColon));
  WySubComponentEntry sub;
  sub.number = TakeWord(head);
  sub.name = TakeWord(head);
  sub.description = description;
  if (!RequireWord(sub.number, "a number") || !RequireWord(sub.name, "a name") ||
      !RequireWord(description, "a description behind `:`")) {
    return;
  }
  ReadNumber(sub.number, MaxSubComponents, "sub-component", sub.uNumber);
  sub.abbr = sub.name;
  ReadSubOptions(head, sub);
  m_definition.subComponents.push_back(sub);
}

void CWyDefinitionReader::ReadSubOptions(std::string_view head, WySubComponentEntry& sub) {
  while (!head.empty()) {
    const std::string_view option = TakeWord(head);
    const std::string_view value = TakeWord(head);
    if (option != "abbr" && option != "cpp") return RefuseRest(option);
    if (!RequireWord(value, "a word behind " + Quoted(option))) return;
    (option == "abbr" ? sub.abbr : sub.cpp) = value;
  }
}

void CWyDefinitionReader::ReadMessage(std::string_view rest) {
  WyMessageEntry message;
  message.number = TakeWord(rest);
  std::string_view first = TakeWord(rest);
  std::string_view second = TakeWord(rest);
  m_definition.messages.push_back(message);
  if (!RequireWord(message.number, "a number") || !RequireWord(first, "a name") ||
      !RequireWord(second, first == "retired" ? "a name" : "a severity")) {
    return;
  }
  RefuseRest(rest);
  message.bRetired = first == "retired";
  message.name = message.bRetired ? second : first;
  ReadNumber(message.number, MaxMessageNumber, "message number", message.uNumber);
  if (!message.bRetired) ReadSeverity(second, message);
  m_definition.messages.back() = message;
}

void CWyDefinitionReader::ReadSeverity(std::string_view word, WyMessageEntry& message) {
  for (const WySeverity::Number severity :
       {WySeverity::Information, WySeverity::Warning, WySeverity::Error, WySeverity::Invalid}) {
    if (word != SeverityWord(severity)) continue;
    message.severity = severity;
    if (severity == WySeverity::Invalid) ReportInvalid(word);
    return;
  }
  constexpr std::array<std::string_view, 3> Words = {"info", "warning", "error"};
  const std::string_view meant = word == "information" ? "info" : NearestName(word, Words);
  Error("M143", word, "unknown severity " + Quoted(word))
      .Help(DidYouMean(meant))
      .Help(meant.empty() ? "severities are info, warning and error" : "");
}

void CWyDefinitionReader::ReportInvalid(std::string_view word) {
  m_diagnostics.Warning("M309", m_source.At(word), "severity `invalid`")
      .Help(
          "the message's lines have the words INVALID MESSAGE TYPE; write info, warning or error");
}

void CWyDefinitionReader::ReadArguments(std::string_view rest) {
  if (!RequireWord(rest, "an argument")) return;
  if (!Message().arguments.empty()) {
    Error("M112", m_statement, "second `args` of this message").Help("put all into one line");
    return;
  }
  while (!rest.empty()) ReadArgument(TakeWord(rest));
}

void CWyDefinitionReader::ReadArgument(std::string_view word) {
  const std::size_t uColon = word.find(':');
  WyArgumentEntry argument{word.substr(0, uColon), WyArgumentType::String};
  if (uColon == std::string_view::npos) {
    Error("M145", word, "argument " + Quoted(word) + " has no type")
        .Help("write `" + std::string(word) + ":string`");
  } else {
    ReadType(word.substr(uColon + 1), argument);
  }
  Message().arguments.push_back(argument);
  if (Message().arguments.size() != MaxArguments + 1) return;
  Error("M144", word, "a message has at most 13 arguments")
      .Help("the library drops what follows; put several values into one argument");
}

void CWyDefinitionReader::ReadType(std::string_view type, WyArgumentEntry& argument) {
  std::array<std::string_view, 8> words;
  for (std::size_t u = 0; u < words.size(); ++u) {
    words[u] = TypeWord(static_cast<WyArgumentType>(u));
    if (words[u] != type) continue;
    argument.type = static_cast<WyArgumentType>(u);
    return;
  }
  const std::string_view nearest = NearestName(type, words);
  Error("M145", type.empty() ? argument.name : type, "unknown type " + Quoted(type))
      .Help(DidYouMean(nearest))
      .Help(nearest.empty() ? "types are string, int, uint, long, ulong, double, char and bool"
                            : "");
}

void CWyDefinitionReader::SetText(std::string_view rest, bool bPrintf) {
  if (!bPrintf && !RequireWord(rest, "a text")) return;
  WyMessageEntry& message = Message();
  if (message.bHasText) {
    Error("M112", m_statement, "second text of this message")
        .Help("a message has one `text` or one `printf`");
    return;
  }
  message.bHasText = true;
  message.bPrintf = bPrintf;
  message.text = rest;
}

void CWyDefinitionReader::ReadAdvice(std::string_view rest) {
  SetOnce(Message().advice, rest, "a text");
}

}  // namespace

WyDefinition ReadDefinition(const CWySourceText& source, CWyDiagnostics& diagnostics) {
  if (!CheckEncoding(source, diagnostics)) return {};
  WyDefinition definition = CWyDefinitionReader(source, diagnostics).Read();
  ReadTexts(source, definition, diagnostics);
  CheckDefinition(source, definition, diagnostics);
  return definition;
}
