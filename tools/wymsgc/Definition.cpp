// What follows from a definition by fixed rules: identifiers, keys, and the bundle's form of a
// text.
#include "tools/wymsgc/Definition.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::string_view Quotable = "{}'";

bool IsQuotable(char c) { return Quotable.find(c) != std::string_view::npos; }

std::string DoubleQuotes(std::string_view text) {
  std::string str;
  for (const char c : text) str.append(c == '\'' ? 2 : 1, c);
  return str;
}

// A run of braces and quotes becomes one quoted run: two runs side by side would be read as a
// quote.
void AppendQuotable(std::string_view run, std::string& str) {
  const bool bBraces = run.find_first_of("{}") != std::string_view::npos;
  const std::string strDoubled = DoubleQuotes(run);
  str += bBraces ? '\'' + strDoubled + '\'' : strDoubled;
}

void AppendLiteral(std::string_view text, std::string& str) {
  while (!text.empty()) {
    const auto end = std::find_if(text.begin(), text.end(), IsQuotable);
    str.append(text.begin(), end);
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    const std::size_t uRun = std::min(text.find_first_not_of(Quotable), text.size());
    AppendQuotable(text.substr(0, uRun), str);
    text.remove_prefix(uRun);
  }
}

}  // namespace

std::string CppName(const WySubComponentEntry& subComponent) {
  if (!subComponent.cpp.empty()) return std::string(subComponent.cpp);
  std::string strName;
  for (const char c : subComponent.name) {
    if (c != '_' && c != '-') strName += c;
  }
  return strName;
}

unsigned int MessageId(const WyDefinition& definition, const WyMessageEntry& message) {
  return WyMessageId(WyComponentId(definition.uNumber), message.severity, message.uNumber);
}

// Five digits: keys in logs and catalogs have this form, and monitoring rules match it. The number
// has at most five (MaxMessageNumber).
std::string MessageKey(const WyDefinition& definition, const WyMessageEntry& message) {
  const std::string strNumber = std::to_string(message.uNumber);
  return std::string(definition.bundle) + '-' + std::string(5 - strNumber.size(), '0') + strNumber;
}

std::string BundlePattern(const WyMessageEntry& message) {
  std::string str;
  for (const WyTextPart& part : message.parts) {
    if (part.uArgument) {
      str += '{' + std::to_string(*part.uArgument) + '}';
    } else {
      AppendLiteral(part.strLiteral, str);
    }
  }
  return str;
}

std::string_view SeverityWord(WySeverity::Number severity) {
  constexpr std::array<std::string_view, 4> Words = {"invalid", "info", "warning", "error"};
  return Words[static_cast<std::size_t>(severity)];
}

std::string_view TypeWord(WyArgumentType type) {
  constexpr std::array<std::string_view, 8> Words = {"string", "int",    "uint", "long",
                                                     "ulong",  "double", "char", "bool"};
  return Words[static_cast<std::size_t>(type)];
}
