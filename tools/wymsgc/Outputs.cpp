// The names of the outputs, the three that are data (bundle, manifest, table), and writing them.
#include "tools/wymsgc/Outputs.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

#include "tools/common/SourceText.h"

namespace {

using Json = nlohmann::ordered_json;

std::string ReplaceAll(std::string str, char cOld, std::string_view with) {
  for (std::size_t u = 0; (u = str.find(cOld, u)) != std::string::npos; u += with.size()) {
    str.replace(u, 1, with);
  }
  return str;
}

// A text as the administrator reads it: with the names of its arguments.
std::string NamedText(const WyMessageEntry& message) {
  if (message.bPrintf) return std::string(message.text);
  std::string str;
  for (const WyTextPart& part : message.parts) {
    const bool bArgument = part.uArgument.has_value();
    str += bArgument ? '{' + std::string(message.arguments[*part.uArgument].name) + '}'
                     : part.strLiteral;
  }
  return str;
}

std::string JavaPath(std::string_view name) {
  std::string strPath = ReplaceAll(std::string(name), '.', "/");
  return strPath + ".java";
}

// By message and locale, the checksums of the English text that a translation was made from, and of
// the translation. The manifest carries them to where no lock file is: check --installed reports
// translations that are out of date on a customer's machine.
std::map<unsigned int, Json> ByMessage(const LockedTranslations& translations) {
  std::map<unsigned int, Json> messages;
  for (const auto& [place, sums] : translations) {
    messages[place.second][place.first] = {{"source", sums.uSource},
                                           {"translation", sums.uTranslation}};
  }
  return messages;
}

Json ManifestOf(const WyDefinition& definition, const WyMessageEntry& message) {
  Json json{{"number", message.uNumber}, {"name", message.name}};
  if (message.bRetired) {
    json["retired"] = true;
    return json;
  }
  json["id"] = HexId(MessageId(definition, message));
  json["key"] = MessageKey(definition, message);
  json["severity"] = SeverityWord(message.severity);
  json["arguments"] = Json::array();
  for (const WyArgumentEntry& argument : message.arguments) {
    json["arguments"].push_back({{"name", argument.name}, {"type", TypeWord(argument.type)}});
  }
  if (message.bPrintf) {
    json["printf"] = message.text;
  } else {
    json["text"] = BundlePattern(message);
  }
  if (!message.advice.empty()) json["advice"] = message.advice;
  return json;
}

std::string TableCell(std::string_view text) {
  std::string str = ReplaceAll(ReplaceAll(std::string(text), '&', "&amp;"), '<', "&lt;");
  return ReplaceAll(std::move(str), '|', "\\|");
}

}  // namespace

std::string HexId(unsigned int uId) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%08X", uId);
  return text.data();
}

std::string MakeEnglishBundle(const WyDefinition& definition, const std::string& strFile) {
  std::string str = "# Made by wymsgc from " + strFile + ". Do not edit.\n";
  for (const WyMessageEntry& message : definition.messages) {
    if (message.bRetired || message.bPrintf) continue;
    str += '\n';
    for (std::size_t u = 0; u < message.arguments.size(); ++u) {
      str += (u == 0 ? "# {" : ", {") + std::to_string(u) + "} ";
      str += message.arguments[u].name;
    }
    if (!message.arguments.empty()) str += '\n';
    str += MessageKey(definition, message) + " = " +
           ReplaceAll(BundlePattern(message), '\\', "\\\\") + '\n';
  }
  return str;
}

// Fields may be added without a new format; readers ignore those that they do not know. A field
// that changes its meaning needs another number.
std::string MakeManifest(const WyDefinition& definition, const LockedTranslations& translations) {
  Json json{{"format", 1}};
  json["component"] = {{"number", definition.uNumber},
                       {"id", HexId(WyComponentId(definition.uNumber))},
                       {"name", definition.name},
                       {"bundle", definition.bundle},
                       {"about", definition.about}};
  json["subComponents"] = Json::array();
  for (const WySubComponentEntry& sub : definition.subComponents) {
    json["subComponents"].push_back({{"number", sub.uNumber},
                                     {"id", HexId(WyComponentId(definition.uNumber, sub.uNumber))},
                                     {"name", sub.name},
                                     {"description", sub.description}});
  }
  std::map<unsigned int, Json> states = ByMessage(translations);
  json["messages"] = Json::array();
  for (const WyMessageEntry& message : definition.messages) {
    Json& entry = json["messages"].emplace_back(ManifestOf(definition, message));
    const auto translated = states.find(message.uNumber);
    if (!message.bRetired && translated != states.end()) {
      entry["translations"] = std::move(translated->second);
    }
  }
  return json.dump(2) + '\n';
}

std::string MakeMessageTable(const WyDefinition& definition) {
  std::string str = "# Messages of " + std::string(definition.name) + "\n\n";
  str.append(TableCell(definition.about)).append(".\n\n");
  str += "| message | identifier | severity | text | advice |\n|---|---|---|---|---|\n";
  for (const WyMessageEntry& message : definition.messages) {
    if (message.bRetired) continue;
    const std::string strName =
        message.bPrintf ? std::string(message.name) : MessageKey(definition, message);
    str += "| `" + strName + "` | `" + HexId(MessageId(definition, message)) + "` | ";
    str.append(SeverityWord(message.severity)).append(" | ").append(TableCell(NamedText(message)));
    str.append(" | ").append(TableCell(message.advice)).append(" |\n");
  }
  return str;
}

std::vector<WyOutputFile> MakeOutputs(const WyDefinition& definition, const std::string& strFile,
                                      const LockedTranslations& translations) {
  const std::string strCpp(definition.cpp);
  const std::string strName(definition.name);
  std::vector<WyOutputFile> outputs = {
      {strCpp + "Messages.h", MakeCppHeader(definition, strFile)},
      {strCpp + ".cpp", MakeCppSource(definition, strFile)},
      {std::string(definition.bundle) + ".properties", MakeEnglishBundle(definition, strFile)},
      {strName + ".messages.json", MakeManifest(definition, translations)},
      {strName + ".messages.md", MakeMessageTable(definition)},
  };
  if (!definition.java.empty()) {
    outputs.push_back({JavaPath(definition.java), MakeJavaClass(definition, strFile)});
  }
  return outputs;
}

// An unchanged file keeps its time, so that a build does not compile again what depends on it.
bool WriteIfChanged(const std::string& strPath, const std::string& strContent,
                    std::string& strReason) {
  std::string strIgnored;
  if (ReadWholeFile(strPath, strIgnored) == strContent) return true;
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(strPath).parent_path(), error);
  std::ofstream file(strPath, std::ios::binary | std::ios::trunc);
  file << strContent;
  file.close();
  if (file) return true;
  strReason = std::generic_category().message(errno);
  return false;
}
