// The limits are those of the library's interface: the table of known components, the bits of an
// identifier, the arrays of WyErrSubComponentInfo. A statement that has already been reported
// leaves empty words behind, which are passed over here.
#include "tools/wymsgc/DefinitionCheck.h"

#include <algorithm>
#include <map>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/wyxlate/LocaleName.h"
#include "tools/common/EditDistance.h"
#include "tools/wymsgc/Names.h"
#include "wyerrlog/WyErrLogConfig.h"

namespace {

std::string Quoted(std::string_view word) { return '`' + std::string(word) + '`'; }

std::vector<std::string_view> KnownComponents() {
  int iCount = 0;
  const char** ppNames = nullptr;
  GetKnownComponentLibs(&iCount, &ppNames);
  return {ppNames, ppNames + iCount};
}

class CWyDefinitionCheck {
 public:
  CWyDefinitionCheck(const CWySourceText& source, WyDefinition& definition,
                     CWyDiagnostics& diagnostics)
      : m_source(source), m_definition(definition), m_diagnostics(diagnostics) {}

  void Check() {
    CheckHead();
    CheckSubComponents();
    for (WyMessageEntry& message : m_definition.messages) CheckMessage(message);
    // Before sorting, so that of two messages with one number the second in the file is reported.
    CheckNumbers();
    CheckNames();
    SortByNumber();
  }

 private:
  WyDiagnostic& Error(std::string_view code, std::string_view part, std::string strMessage) {
    return m_diagnostics.Error(code, m_source.At(part), std::move(strMessage));
  }
  WyDiagnostic& Warning(std::string_view code, std::string_view part, std::string strMessage) {
    return m_diagnostics.Warning(code, m_source.At(part), std::move(strMessage));
  }

  void CheckHead();
  void RequireStatement(std::string_view value, std::string_view statement);
  void CheckComponent();
  void CheckBundle();
  void CheckJavaClass();
  void CheckCppName(std::string_view name);
  void CheckPlainName(std::string_view name, std::size_t uLongest);
  void CheckSubComponents();
  void CheckSubNumber(const WySubComponentEntry& sub, unsigned int uExpected);
  void CheckMessage(WyMessageEntry& message);
  void CheckText(const WyMessageEntry& message);
  void CheckArguments(const WyMessageEntry& message);
  void CheckNumbers();
  void CheckNames();
  void SortByNumber();

  const CWySourceText& m_source;
  WyDefinition& m_definition;
  CWyDiagnostics& m_diagnostics;
};

void CWyDefinitionCheck::RequireStatement(std::string_view value, std::string_view statement) {
  if (!value.empty()) return;
  m_diagnostics
      .Error("M113", m_source.Whole(), "the definition has no " + Quoted(statement) + " statement")
      .Help("add it at the beginning");
}

void CWyDefinitionCheck::CheckHead() {
  RequireStatement(m_definition.name, "component");
  RequireStatement(m_definition.bundle, "bundle");
  RequireStatement(m_definition.about, "about");
  RequireStatement(m_definition.cpp, "cpp");
  if (m_definition.uNumber != 0) CheckComponent();
  if (!m_definition.bundle.empty()) CheckBundle();
  if (!m_definition.cpp.empty()) CheckCppName(m_definition.cpp);
  if (!m_definition.java.empty()) CheckJavaClass();
}

// The number's row in the library's table decides which library is loaded for it: a definition with
// another name would compile, and its component never be found.
void CWyDefinitionCheck::CheckComponent() {
  const std::vector<std::string_view> known = KnownComponents();
  const std::string_view name = m_definition.name;
  CheckPlainName(name, 255);
  const auto row = std::find(known.begin(), known.end(), name);
  const bool bKnownName = row != known.end();
  const std::string strMeant = bKnownName ? "did you mean `component " +
                                                std::to_string(row - known.begin() + 1) + ' ' +
                                                std::string(name) + "`?"
                                          : "";
  if (m_definition.uNumber == 1 || m_definition.uNumber > known.size()) {
    Error("M120", m_definition.number,
          m_definition.uNumber == 1 ? "component 1 is the library's own"
                                    : "unknown component number " + Quoted(m_definition.number))
        .Help(strMeant)
        .Help(bKnownName ? ""
                         : "the library knows the components 2 to " + std::to_string(known.size()) +
                               "; a new one gets a row in its table of known components");
    return;
  }
  const std::string_view expected = known[m_definition.uNumber - 1];
  if (name == expected) return;
  Error("M121", name,
        "component " + std::string(m_definition.number) + " is " + Quoted(expected) +
            " in the table of known components, not " + Quoted(name))
      .Help(bKnownName ? strMeant : DidYouMean(expected));
}

void CWyDefinitionCheck::CheckBundle() {
  const std::string_view bundle = m_definition.bundle;
  const std::size_t uBad = bundle.find_first_of("_.");
  if (uBad != std::string_view::npos) {
    Error("M123", bundle.substr(uBad, 1),
          "a bundle name has no `" + std::string(1, bundle[uBad]) + "`")
        .Help("the part of a catalog's name up to the first `_` or `.` is the bundle's");
  } else if (!IsBundleName(bundle)) {
    Error("M124", bundle, Quoted(bundle) + " is no bundle name").Help("letters, digits and `-`");
  }
}

void CWyDefinitionCheck::CheckJavaClass() {
  std::string_view rest = m_definition.java;
  while (rest.data() != nullptr) {
    const std::size_t uEnd = std::min(rest.find('.'), rest.size());
    const std::string_view part = rest.substr(0, uEnd);
    if (!IsIdentifier(part) || IsJavaKeyword(part)) {
      Error("M125", part.empty() ? m_definition.java : part,
            Quoted(m_definition.java) + " is no name of a Java class")
          .Help("write PACKAGE.CLASS, such as `com.example.SessionStoreMessages`");
      return;
    }
    rest = uEnd < rest.size() ? rest.substr(uEnd + 1) : std::string_view();
  }
}

void CWyDefinitionCheck::CheckCppName(std::string_view name) {
  if (IsIdentifier(name) && !IsCppKeyword(name)) return;
  Error("M125", name,
        Quoted(name) + (IsCppKeyword(name) ? " is a keyword of C++" : " is no identifier of C++"))
      .Help("letters, digits and `_`, and no digit first; such as `WriteFailed`");
}

// Names in trace configurations: they are separated by blanks, commas and colons there.
void CWyDefinitionCheck::CheckPlainName(std::string_view name, std::size_t uLongest) {
  constexpr std::string_view Allowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
  if (const std::size_t uBad = name.find_first_not_of(Allowed); uBad != std::string_view::npos) {
    Error("M122", name, Quoted(name) + " is no name for a trace configuration")
        .Help("letters, digits, `_` and `-`");
  } else if (name.size() > uLongest) {
    Error("M122", name.substr(uLongest),
          Quoted(name) + " is too long: " + std::to_string(name.size()) + " bytes")
        .Help("the interface has room for " + std::to_string(uLongest));
  }
}

void CWyDefinitionCheck::CheckSubComponents() {
  std::map<std::string_view, std::string_view> names;
  auto& subs = m_definition.subComponents;
  for (std::size_t u = 0; u < subs.size(); ++u) {
    CheckPlainName(subs[u].name, MaxSubComponentName);
    if (subs[u].abbr != subs[u].name) CheckPlainName(subs[u].abbr, MaxSubComponentAbbr);
    const std::size_t uLength = subs[u].name.size();
    if (subs[u].abbr == subs[u].name && uLength > MaxSubComponentAbbr &&
        uLength <= MaxSubComponentName) {
      Error("M122", subs[u].name, Quoted(subs[u].name) + " needs an abbreviation")
          .Help("add `abbr` and a word of at most " + std::to_string(MaxSubComponentAbbr) +
                " bytes");
    }
    if (!subs[u].cpp.empty()) CheckCppName(subs[u].cpp);
    CheckSubNumber(subs[u], static_cast<unsigned int>(u + 1));
    if (const auto [first, bNew] = names.emplace(subs[u].name, subs[u].name); !bNew) {
      Error("M131", subs[u].name, "second sub-component " + Quoted(subs[u].name))
          .Note(m_source.At(first->second), "the first is here");
    }
  }
}

// Without gaps: the interface passes them as an array, and the number is the row.
void CWyDefinitionCheck::CheckSubNumber(const WySubComponentEntry& sub, unsigned int uExpected) {
  if (sub.uNumber == 0 || sub.uNumber == uExpected) return;
  Error("M130", sub.number,
        "sub-component " + Quoted(sub.number) + " stands where number " +
            std::to_string(uExpected) + " is expected")
      .Help("sub-components are numbered from 1, in order and without gaps");
}

void CWyDefinitionCheck::CheckMessage(WyMessageEntry& message) {
  if (message.name.empty()) return;
  CheckCppName(message.name);
  const bool bHasMore = message.bHasText || !message.arguments.empty() || !message.advice.empty();
  if (message.bRetired) {
    if (!bHasMore) return;
    Error("M149", message.name, "retired message " + Quoted(message.name) + " has lines of its own")
        .Help("of a retired message there is only its number and name; remove the lines below");
    return;
  }
  if (!message.bHasText) {
    Error("M149", message.name, "message " + Quoted(message.name) + " has no text")
        .Help("add a `text` line, or a `printf` line if the component is not translated");
  }
  CheckArguments(message);
  CheckText(message);
}

void CWyDefinitionCheck::CheckText(const WyMessageEntry& message) {
  if (message.bPrintf && message.text.empty()) {
    Warning("M307", message.name, "message " + Quoted(message.name) + " has an empty pattern")
        .Help("its lines end behind the severity");
  }
  const std::size_t uLength = message.bPrintf ? message.text.size() : BundlePattern(message).size();
  if (uLength > MaxTextLength) {
    Warning("M304", message.text, "text of " + std::to_string(uLength) + " bytes")
        .Help("the library cuts it to " + std::to_string(MaxTextLength) + " bytes");
  }
}

void CWyDefinitionCheck::CheckArguments(const WyMessageEntry& message) {
  std::map<std::string_view, std::string_view> names;
  for (const WyArgumentEntry& argument : message.arguments) {
    if (!IsIdentifier(argument.name)) {
      Error("M145", argument.name.empty() ? message.name : argument.name,
            Quoted(argument.name) + " is no name of an argument")
          .Help("letters, digits and `_`, and no digit first");
    }
    if (const auto [first, bNew] = names.emplace(argument.name, argument.name); !bNew) {
      Error("M145", argument.name, "second argument " + Quoted(argument.name))
          .Note(m_source.At(first->second), "the first is here");
    }
  }
}

void CWyDefinitionCheck::CheckNumbers() {
  std::unordered_map<unsigned int, const WyMessageEntry*> numbers;
  std::vector<const WyMessageEntry*> repeated;
  unsigned int uHighest = 0;
  for (const WyMessageEntry& message : m_definition.messages) {
    if (message.uNumber == 0) continue;
    uHighest = std::max(uHighest, message.uNumber);
    if (!numbers.emplace(message.uNumber, &message).second) repeated.push_back(&message);
  }
  for (const WyMessageEntry* const pMessage : repeated) {
    Error("M141", pMessage->number, "second message " + std::string(pMessage->number))
        .Help("the next free number is " + std::to_string(++uHighest))
        .Note(m_source.At(numbers[pMessage->uNumber]->number), "the first is here");
  }
}

// All names are in one namespace of C++; constants and methods of Java are derived from them.
void CWyDefinitionCheck::CheckNames() {
  std::unordered_map<std::string, std::string_view> cpp, java;
  const std::string_view component = m_definition.name;
  cpp = {{"Component", component}, {"ComponentId", component}};
  java = {{"COMPONENT", component}};
  const auto add = [&](const std::string& strCpp, std::string_view name) {
    if (const auto [first, bNew] = cpp.emplace(strCpp, name); !bNew) {
      WyDiagnostic& error = Error("M142", name, "name " + Quoted(strCpp) + " is used twice");
      if (!first->second.empty()) error.Note(m_source.At(first->second), "it is used here too");
      return;
    }
    if (m_definition.java.empty()) return;
    if (const auto [first, bNew] = java.emplace(JavaConstant(strCpp), name); !bNew) {
      Error("M126", name,
            Quoted(strCpp) + " and " + Quoted(first->second) + " are both " + JavaConstant(strCpp) +
                " in Java")
          .Note(m_source.At(first->second), "the other one");
    }
  };
  for (const auto& sub : m_definition.subComponents) add(CppName(sub), sub.name);
  for (const auto& message : m_definition.messages) {
    if (!message.name.empty()) add(std::string(message.name), message.name);
  }
}

void CWyDefinitionCheck::SortByNumber() {
  const auto byNumber = [](const auto& a, const auto& b) { return a.uNumber < b.uNumber; };
  std::stable_sort(m_definition.messages.begin(), m_definition.messages.end(), byNumber);
}

}  // namespace

void CheckDefinition(const CWySourceText& source, WyDefinition& definition,
                     CWyDiagnostics& diagnostics) {
  CWyDefinitionCheck(source, definition, diagnostics).Check();
}
