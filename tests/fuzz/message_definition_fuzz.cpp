// Feeds the reader of message definitions. Whatever it is given, it reports or accepts; what it
// accepts must come back from the outputs: the English catalog, read by the library's own reader,
// renders each text as it is defined, and passes as a translation of itself without an error.
//
// The input is a definition, and after a line "==" a catalog to check against it.

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "platform/wyxlate/PropertiesFile.h"
#include "platform/wyxlate/WyXlate.h"
#include "tools/wymsgc/Catalog.h"
#include "tools/wymsgc/DefinitionReader.h"
#include "tools/wymsgc/Outputs.h"

namespace {

using fuzz::Require;

// The text with its arguments' names for the arguments.
std::string Defined(const WyMessageEntry& message) {
  std::string str;
  for (const WyTextPart& part : message.parts) {
    str += part.uArgument ? message.arguments[*part.uArgument].name : part.strLiteral;
  }
  return str.substr(0, MaxTextLength);
}

std::string Rendered(const WyMessageEntry& message, const std::string& strPattern) {
  std::vector<std::string> names;
  for (const WyArgumentEntry& argument : message.arguments) names.emplace_back(argument.name);
  std::vector<const char*> arguments;
  for (const std::string& strName : names) arguments.push_back(strName.c_str());
  std::string strText(MaxTextLength + 1, '\0');
  const int iLength = CWyXlate::FormatMessage(strText.data(), MaxTextLength, strPattern.c_str(),
                                              arguments.size(), arguments.data());
  return strText.substr(0, static_cast<std::size_t>(iLength));
}

void CheckOutputs(const WyDefinition& definition) {
  for (const WyOutputFile& output : MakeOutputs(definition, "fuzz.wymsg", {})) {
    Require(!output.strContent.empty());
  }
  const CWySourceText english("e.properties", MakeEnglishBundle(definition, "fuzz.wymsg"));
  PropertyTable table;
  ParseProperties(english.Text(), table);
  for (const WyMessageEntry& message : definition.messages) {
    if (message.bRetired || message.bPrintf) continue;
    const auto pattern = table.find(MessageKey(definition, message));
    Require(pattern != table.end() && pattern->second == BundlePattern(message));
    Require(Rendered(message, pattern->second) == Defined(message));
  }
  CWyDiagnostics diagnostics;
  ReadCatalog(english, "", MakeBundle(definition), diagnostics);
  Require(!diagnostics.HasErrors());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  const std::string_view input = fuzz::Text(pData, uSize);
  const std::size_t uEnd = input.find("\n==\n");
  const CWySourceText source("fuzz.wymsg", std::string(input.substr(0, uEnd)));
  CWyDiagnostics diagnostics;
  const WyDefinition definition = ReadDefinition(source, diagnostics);
  if (diagnostics.HasErrors()) return 0;
  CheckOutputs(definition);
  if (uEnd == std::string_view::npos) return 0;
  const CWySourceText catalog("fuzz_de.properties", std::string(input.substr(uEnd + 4)));
  ReadCatalog(catalog, "de", MakeBundle(definition), diagnostics);
  for (const WyDiagnostic& finding : diagnostics.Findings()) {
    Require(finding.where.uColumn <= finding.where.strLine.size() + 1);
  }
  return 0;
}
