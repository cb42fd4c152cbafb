// import: the definition of a component that was written by hand. Numbers, names and severities
// come from the header, sub-components from the source, texts from the English catalog, the names
// of arguments from the comments of either. What cannot be found is reported; the result is checked
// like any definition.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>

#include "platform/wyxlate/PatternReader.h"
#include "platform/wyxlate/PropertiesFile.h"
#include "tools/wymsgc/Catalog.h"
#include "tools/wymsgc/Commands.h"
#include "tools/wymsgc/DefinitionReader.h"
#include "tools/wymsgc/HandWritten.h"
#include "tools/wymsgc/Outputs.h"

namespace {

bool IsLetterOrDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// "number of users" becomes "numberOfUsers"; empty if it is not a name, but nothing or a
// conversion. A comment has words for people; a definition needs an identifier that a translator
// recognises.
std::string ArgumentName(std::string_view words) {
  if (words.find('%') != std::string_view::npos) return {};
  std::string str;
  bool bBegins = false;
  for (const char c : words) {
    if (!IsLetterOrDigit(c)) {
      bBegins = !str.empty();
      continue;
    }
    if (str.empty() && c >= '0' && c <= '9') continue;
    const bool bLower = c >= 'a' && c <= 'z';
    str += bBegins && bLower ? static_cast<char>(c - ('a' - 'A')) : c;
    bBegins = false;
  }
  return str;
}

// The names in a comment: "{0} file, {1} reason", or "file, reason".
std::vector<std::string> NamesInComment(std::string_view comment) {
  std::vector<std::string> names;
  while (!comment.empty()) {
    const std::size_t uEnd = std::min(comment.find_first_of(",;"), comment.size());
    names.push_back(ArgumentName(comment.substr(0, uEnd)));
    comment.remove_prefix(std::min(uEnd + 1, comment.size()));
  }
  return names;
}

// A pattern in the form of a definition.
class CWyDefinitionText {
 public:
  CWyDefinitionText(const std::string& strPattern, std::vector<std::string> names)
      : m_names(std::move(names)) {
    CWyPatternReader(*this).Read(strPattern.c_str());
  }

  static bool IsFull() { return false; }
  // A definition writes a brace twice, a bundle in quotes; a newline cannot be in a definition's
  // line.
  void Text(const char* p, const char* pEnd) {
    for (; p != pEnd; ++p) {
      const bool bBrace = *p == '{' || *p == '}';
      strText.append(bBrace ? 2 : 1, *p == '\n' ? ' ' : *p);
    }
  }
  void Braces(const char* p, const char* pEnd) { Text(p, pEnd); }
  void Quotes(const char*, const char*) {}
  void Placeholder(unsigned long uIndex, const char*, const char*) {
    // An argument that the text skips still counts: the program passes it.
    while (uCount <= uIndex && uCount < MaxArguments) ++uCount;
    strText += '{' + Name(uIndex) + '}';
  }

  // Unnamed arguments, and names that an earlier one has, are numbered. Two arguments of one name
  // would make the result a faulty definition, which its author could not explain.
  std::string Name(std::size_t u) const {
    const auto end = m_names.begin() + static_cast<std::ptrdiff_t>(std::min(u, m_names.size()));
    const bool bNamed = u < m_names.size() && !m_names[u].empty() &&
                        std::find(m_names.begin(), end, m_names[u]) == end;
    return bNamed ? m_names[u] : "argument" + std::to_string(u);
  }

  std::string strText;
  std::size_t uCount = 0;  // of arguments

 private:
  std::vector<std::string> m_names;
};

std::string SeverityOf(const WyHandWrittenMessage& message) {
  if (message.severity == "Information") return "info";
  if (message.severity == "Warning") return "warning";
  return message.severity == "Error" ? "error" : "invalid";
}

// The type that a printf conversion reads.
std::string TypeOf(std::string_view conversion) {
  const bool bLong = conversion.find_first_of("lzjt") != std::string_view::npos;
  const char c = conversion.back();
  if (c == 'c') return "char";
  if (c == 's') return "string";
  if (c == 'd' || c == 'i') return bLong ? "long" : "int";
  if (std::string_view("uxXo").find(c) != std::string_view::npos) return bLong ? "ulong" : "uint";
  return "double";
}

std::vector<std::string> PrintfTypes(std::string_view pattern) {
  std::vector<std::string> types;
  for (std::size_t u = 0; (u = pattern.find('%', u)) != std::string_view::npos; ++u) {
    const std::size_t uLast = pattern.find_first_not_of("-+ #0123456789.hlLqjzt", u + 1);
    if (uLast == std::string_view::npos) break;
    if (pattern[uLast] != '%') types.push_back(TypeOf(pattern.substr(u, uLast - u + 1)));
    u = uLast;
  }
  return types;
}

class CWyImport {
 public:
  CWyImport(const CWySourceText& header, WyHandWrittenSource source, PropertyTable english,
            CWyDiagnostics& diagnostics)
      : m_file(header),
        m_header(ReadHandWrittenHeader(header.Text())),
        m_source(std::move(source)),
        m_english(std::move(english)),
        m_diagnostics(diagnostics) {}

  std::string Definition() {
    std::string str = "component " + std::to_string(m_header.uComponent) + ' ' + m_source.strName +
                      "\nbundle " + m_source.strBundle + "\nabout " + m_source.strDescription +
                      "\ncpp " + std::string(m_header.name) + '\n';
    for (const WyHandWrittenSub& sub : m_header.subComponents) str += SubComponent(sub);
    for (const WyHandWrittenMessage& message : m_header.messages) str += Message(message);
    return str;
  }

 private:
  std::string SubComponent(const WyHandWrittenSub& sub);
  std::string Message(const WyHandWrittenMessage& message);
  std::string Translated(const WyHandWrittenMessage& message, const std::string& strKey);
  std::string Printf(const WyHandWrittenMessage& message, const std::string& strPattern);
  std::optional<std::string> TextInSource(const WyHandWrittenMessage& message) const;

  const CWySourceText& m_file;
  WyHandWrittenHeader m_header;
  WyHandWrittenSource m_source;
  PropertyTable m_english;
  CWyDiagnostics& m_diagnostics;
};

std::string CWyImport::SubComponent(const WyHandWrittenSub& sub) {
  if (sub.uNumber == 0 || sub.uNumber > m_source.subComponents.size()) {
    m_diagnostics
        .Error("M502", m_file.At(sub.cpp),
               "sub-component `" + std::string(sub.cpp) + "` has no row in the source")
        .Help("add a `sub` line by hand");
    return {};
  }
  const std::vector<std::string>& row = m_source.subComponents[sub.uNumber - 1];
  WySubComponentEntry entry;
  entry.name = row[1];
  std::string str = "sub " + std::to_string(sub.uNumber) + ' ' + row[1];
  if (row[0] != row[1]) str += " abbr " + row[0];
  if (CppName(entry) != sub.cpp) str += " cpp " + std::string(sub.cpp);
  return str + ": " + row[2] + '\n';
}

// The key or the pattern of a message; nothing when it has no row.
std::optional<std::string> CWyImport::TextInSource(const WyHandWrittenMessage& message) const {
  const auto row = m_source.textsByName.find(std::string(message.name));
  if (row != m_source.textsByName.end()) return row->second;
  if (message.uNumber >= 1 && message.uNumber <= m_source.texts.size()) {
    return m_source.texts[message.uNumber - 1];
  }
  return std::nullopt;
}

std::string CWyImport::Message(const WyHandWrittenMessage& message) {
  WyDefinition definition;
  definition.bundle = m_source.strBundle;
  WyMessageEntry entry;
  entry.uNumber = std::min(message.uNumber, MaxMessageNumber);
  const std::string strKey = MessageKey(definition, entry);
  // Without a row the library looks for the key of bundle and number, so the import does too.
  const std::string strText = TextInSource(message).value_or(strKey);
  const bool bTranslated = strText == strKey || m_english.contains(strText);
  if (bTranslated && strText != strKey) {
    m_diagnostics
        .Error("M503", m_file.At(message.name),
               "key `" + strText + "` of message " + std::to_string(message.uNumber) + ", not `" +
                   strKey + '`')
        .Help("the compiler makes keys of bundle and number; rename the key in all catalogs");
  }
  return "\nmessage " + std::to_string(message.uNumber) + ' ' + std::string(message.name) + ' ' +
         SeverityOf(message) + '\n' +
         (bTranslated ? Translated(message, strText) : Printf(message, strText));
}

std::string ArgumentLine(const std::string& strArguments) {
  return strArguments.empty() ? "" : "  args" + strArguments + '\n';
}

// All arguments are strings: the patterns of catalogs have no types, and the hand-written calls
// passed texts.
std::string CWyImport::Translated(const WyHandWrittenMessage& message, const std::string& strKey) {
  const auto english = m_english.find(strKey);
  if (english == m_english.end()) {
    m_diagnostics
        .Error("M504", m_file.At(message.name), "`" + strKey + "` is in no English catalog")
        .Help("write its text by hand");
    return "  text\n";
  }
  const CWyDefinitionText text(english->second, NamesInComment(message.comment));
  std::string strArguments;
  for (std::size_t u = 0; u < text.uCount; ++u) strArguments += ' ' + text.Name(u) + ":string";
  return ArgumentLine(strArguments) + "  text " + text.strText + '\n';
}

std::string CWyImport::Printf(const WyHandWrittenMessage& message, const std::string& strPattern) {
  const CWyDefinitionText names("", NamesInComment(message.comment));
  std::string strArguments;
  std::size_t u = 0;
  for (const std::string& strType : PrintfTypes(strPattern)) {
    strArguments += ' ' + names.Name(u++) + ':' + strType;
  }
  return ArgumentLine(strArguments) + "  printf " + strPattern + '\n';
}

// The catalog without a locale.
PropertyTable ReadEnglish(const std::vector<std::string>& catalogs) {
  PropertyTable table;
  for (const std::string& strFile : catalogs) {
    const std::string strName = std::filesystem::path(strFile).filename().string();
    if (strName.find('_') == std::string::npos) ParseProperties(ReadInput(strFile), table);
  }
  return table;
}

// The result is a definition, and the translations have to fit it. Import does not promise a
// definition without errors: it writes what it found, and the findings say what is to be done by
// hand.
void CheckResult(const std::string& strFile, const std::string& strDefinition,
                 const std::vector<std::string>& catalogs, CWyDiagnostics& diagnostics) {
  const CWySourceText source(strFile, strDefinition);
  const WyDefinition definition = ReadDefinition(source, diagnostics);
  if (diagnostics.HasErrors()) return;
  const CWyBundle bundle = MakeBundle(definition);
  for (const std::string& strCatalog : catalogs) {
    const auto locale = LocaleOfCatalog(strCatalog, bundle.Name(), true, diagnostics);
    const CWySourceText catalog(strCatalog, ReadInput(strCatalog));
    if (locale) ReadCatalog(catalog, *locale, bundle, diagnostics);
  }
}

}  // namespace

int Import(const WySettings& settings, const std::string& strHeader, const std::string& strSource,
           const std::vector<std::string>& catalogs, const std::string& strOutput) {
  CWyDiagnostics diagnostics(settings.policy);
  const CWySourceText header(strHeader, ReadInput(strHeader));
  const std::string strText = ReadInput(strSource);
  const std::string strDefinition =
      CWyImport(header, ReadHandWrittenSource(strText), ReadEnglish(catalogs), diagnostics)
          .Definition();
  const std::string strName = strOutput.empty() ? "<definition>" : strOutput;
  CheckResult(strName, strDefinition, catalogs, diagnostics);
  std::string strReason;
  if (strOutput.empty()) {
    std::cout << strDefinition;
  } else if (!WriteIfChanged(strOutput, strDefinition, strReason)) {
    throw CWyFatal("cannot write " + strOutput + ": " + strReason);
  }
  return Finish(settings, diagnostics);
}
