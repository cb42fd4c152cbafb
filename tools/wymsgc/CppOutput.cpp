// The C++ header and source of a component. They are C++17, clean under strict warnings, and
// include nothing but the library's public headers.
#include <algorithm>
#include <array>

#include "tools/wymsgc/Outputs.h"

namespace {

std::string CppLiteral(std::string_view text) {
  std::string str = "\"";
  for (const char c : text) {
    // A question mark could be part of a trigraph.
    if (c == '"' || c == '\\' || (c == '?' && str.back() == '?')) str += '\\';
    str += c;
  }
  return str + '"';
}

// A backslash at the end of a comment, or its trigraph, would join the next line to it.
std::string CppComment(std::string_view text) {
  std::string str = "// " + std::string(text);
  if (str.ends_with('\\') || str.ends_with("?\?/")) str += '.';
  return str;
}

std::string_view CppSeverity(WySeverity::Number severity) {
  constexpr std::array<std::string_view, 4> Names = {"Invalid", "Information", "Warning", "Error"};
  return Names[static_cast<std::size_t>(severity)];
}

std::string_view CppArgument(WyArgumentType type) {
  constexpr std::array<std::string_view, 8> Names = {"String", "Int",    "UInt", "Long",
                                                     "ULong",  "Double", "Char", "Bool"};
  return Names[static_cast<std::size_t>(type)];
}

std::string ArgumentNames(const WyMessageEntry& message) {
  std::string str;
  for (const WyArgumentEntry& argument : message.arguments) {
    str += (str.empty() ? "" : ", ") + std::string(argument.name);
  }
  return str.empty() ? "No arguments." : "Arguments: " + str + '.';
}

std::string MessageDeclaration(const WyMessageEntry& message) {
  std::string str = '\n' + CppComment(message.text) + '\n' + CppComment(ArgumentNames(message));
  str += "\ninline constexpr ";
  str += message.bPrintf ? "WyPrintfMessage<" : "WyMessage<";
  str += "WyMessageId(Component, WySeverity::";
  str.append(CppSeverity(message.severity)).append(", ");
  str.append(std::to_string(message.uNumber)).append(")");
  for (const WyArgumentEntry& argument : message.arguments) {
    str.append(", WyArgument::").append(CppArgument(argument.type));
  }
  return str.append(">\n    ").append(message.name).append(";\n");
}

std::string ComponentIds(const WyDefinition& definition) {
  const std::string strNumber = std::to_string(definition.uNumber);
  std::string str = CppComment(definition.about) + "\nenum ComponentId : unsigned int {\n" +
                    "  Component = WyComponentId(" + strNumber + "),\n";
  for (const WySubComponentEntry& sub : definition.subComponents) {
    str += "  " + CppName(sub) + " = WyComponentId(" + strNumber + ", " +
           std::to_string(sub.uNumber) + "),  " + CppComment(sub.description) + '\n';
  }
  return str + "};\n";
}

std::string UpperCase(std::string_view text) {
  std::string str(text);
  std::transform(str.begin(), str.end(), str.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
  });
  return str;
}

// One row for each number: the key or the pattern of its message. Rows of retired and unused
// numbers stay: the number is the index.
std::string MessageRows(const WyDefinition& definition) {
  std::string str;
  unsigned int uNext = 1;
  for (const WyMessageEntry& message : definition.messages) {
    for (; uNext < message.uNumber; ++uNext) str += "    nullptr,\n";
    ++uNext;
    if (message.bRetired) {
      str += "    nullptr,\n";
    } else {
      const std::string strRow =
          message.bPrintf ? std::string(message.text) : MessageKey(definition, message);
      str += "    " + CppLiteral(strRow) + ",\n";
    }
  }
  return str.empty() ? "    nullptr,\n" : str;
}

std::string SubComponentRows(const WyDefinition& definition) {
  std::string str;
  for (const WySubComponentEntry& sub : definition.subComponents) {
    str += "    {" + CppLiteral(sub.abbr) + ", " + CppLiteral(sub.name) + ", " +
           CppLiteral(sub.description) + "},\n";
  }
  return str;
}

std::string SubComponents(const WyDefinition& definition) {
  if (definition.subComponents.empty()) return {};
  return "\n// Sub-component number i + 1 is in row i.\n"
         "constexpr WyErrSubComponentInfo SubComponents[] = {\n" +
         SubComponentRows(definition) + "};\n";
}

}  // namespace

// Everything in it is constexpr or an enumeration, so that any number of sources may include it.
std::string MakeCppHeader(const WyDefinition& definition, const std::string& strFile) {
  const std::string strName(definition.cpp);
  const std::string strGuard = UpperCase(strName) + "MESSAGES_H";
  std::string str = "// Made by wymsgc from " + strFile + ". Do not edit.\n";
  str +=
      "#ifndef " + strGuard + "\n#define " + strGuard + "\n\n#include <wyerrlog/WyMessage.h>\n\n";
  str += "namespace " + strName + " {\n\n" + ComponentIds(definition);
  for (const WyMessageEntry& message : definition.messages) {
    if (!message.bRetired) str += MessageDeclaration(message);
  }
  return str + "\n}  // namespace " + strName + "\n\n#endif\n";
}

std::string MakeCppSource(const WyDefinition& definition, const std::string& strFile) {
  const std::string strName(definition.cpp);
  const std::string strClass = "CWy" + strName;
  const bool bSubs = !definition.subComponents.empty();
  std::string str = "// Made by wymsgc from " + strFile + ". Do not edit.\n#include \"" + strName;
  str += "Messages.h\"\n\n#include <wyerrlog/WyLogComponent.h>\n\n#include <iterator>\n\n";
  str += "namespace {\n\n// The key or the printf pattern of message number i + 1 is in row i.\n";
  str += "constexpr const char* Messages[] = {\n" + MessageRows(definition) + "};\n";
  str += SubComponents(definition);
  str += "\nclass " + strClass + " final : public CWyErrLogComponent {\n public:\n  " + strClass;
  str += "()\n      : CWyErrLogComponent(" + strName + "::Component, ";
  str += CppLiteral(definition.bundle) + ", " + CppLiteral(definition.name) + ",\n" +
         "                           " + CppLiteral(definition.about) + ") {}\n\n";
  str += "  void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) override {\n";
  str += bSubs ? "    *pCount = static_cast<int>(std::size(SubComponents));\n"
                 "    *ppList = SubComponents;\n  }\n\n"
               : "    *pCount = 0;\n    *ppList = nullptr;\n  }\n\n";
  str +=
      "  const char* FetchMessage(unsigned int uId) override {\n"
      "    const unsigned int uNumber = WyMessageNumber(uId);\n"
      "    return uNumber >= 1 && uNumber <= std::size(Messages) ? Messages[uNumber - 1] : "
      "nullptr;\n  }\n};\n\n}  // namespace\n\n";
  return str + "extern \"C\" CWyErrLogComponent* GetComponentPtr() {\n  static " + strClass +
         " component;\n  return &component;\n}\n";
}
