// Reading manifests. Members that are not there are empty; a manifest of another format is refused,
// because the meaning of its members is unknown.

#include "tools/wylogctl/Manifest.h"

#include <wyxlate/WyXlate.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "wyerrlog/WyMessageId.h"

namespace {

using nlohmann::json;
constexpr std::string_view Ending = ".messages.json";
constexpr std::string_view CatalogEnding = ".properties";
// The member names are those that the message compiler writes (MakeManifest in
// tools/wymsgc/Outputs.cpp): a change there is one here.
constexpr int Format = 1;

std::string TextOf(const json& object, const char* pszName) {
  const auto member = object.find(pszName);
  return member != object.end() && member->is_string() ? member->get<std::string>() : "";
}

unsigned int NumberOf(const json& object, const char* pszName) {
  const auto member = object.find(pszName);
  return member != object.end() && member->is_number_unsigned() ? member->get<unsigned int>() : 0;
}

json ArrayOf(const json& object, const char* pszName) {
  const auto member = object.find(pszName);
  return member != object.end() && member->is_array() ? *member : json::array();
}

// "sessionstore-00001", as the library's components name their messages.
std::string KeyOf(const json& message, const WyKnownComponent& component, unsigned int uNumber) {
  const std::string strKey = TextOf(message, "key");
  if (!strKey.empty()) return strKey;
  char szNumber[16];
  std::snprintf(szNumber, sizeof szNumber, "-%05u", uNumber);
  return component.strBundle + szNumber;
}

WyKnownMessage ReadMessage(const json& object, const WyKnownComponent& component) {
  WyKnownMessage message;
  message.uId = static_cast<unsigned int>(std::strtoul(TextOf(object, "id").c_str(), nullptr, 0));
  message.uNumber = NumberOf(object, "number");
  message.strKey = KeyOf(object, component, message.uNumber);
  message.strName = TextOf(object, "name");
  message.severity = WySeverityFrom(TextOf(object, "severity"));
  message.bPrintf = object.contains("printf");
  message.strText = TextOf(object, message.bPrintf ? "printf" : "text");
  message.strAdvice = TextOf(object, "advice");
  for (const json& argument : ArrayOf(object, "arguments")) {
    message.arguments.push_back({TextOf(argument, "name"), TextOf(argument, "type")});
  }
  return message;
}

WyKnownComponent ReadComponent(const json& manifest) {
  WyKnownComponent component;
  const json object = manifest.value("component", json::object());
  component.uNumber = NumberOf(object, "number");
  component.strName = TextOf(object, "name");
  component.strBundle = TextOf(object, "bundle");
  component.strAbout = TextOf(object, "about");
  for (const json& sub : ArrayOf(manifest, "subComponents")) {
    component.subcomponents.push_back(
        {NumberOf(sub, "number"), TextOf(sub, "name"), TextOf(sub, "description")});
  }
  return component;
}

// The line on which a catalog's key begins; 0 when it has none.
std::size_t LineOfKey(const std::string& strFile, std::string_view key) {
  std::ifstream file(strFile);
  std::string strLine;
  std::size_t uFound = 0;
  for (std::size_t uLine = 1; std::getline(file, strLine); ++uLine) {
    std::string_view text = strLine;
    text.remove_prefix(std::min(text.find_first_not_of(" \t\f"), text.size()));
    if (!text.starts_with(key)) continue;
    text.remove_prefix(key.size());
    if (text.empty() || std::string_view("=: \t").find(text.front()) != std::string_view::npos) {
      uFound = uLine;  // of several the last counts
    }
  }
  return uFound;
}

}  // namespace

std::string WyKnownMessage::IdText() const {
  char sz[16];
  std::snprintf(sz, sizeof sz, "0x%08X", uId);
  return sz;
}

// The first source that is named is the only one: folders of two installations would have the same
// keys. A folder that the user has named must exist; the default one need not.
void CWyManifests::Load(CWyContext& context) {
  for (const std::string& strFolder : context.options.messages) {
    LoadFolder(context, strFolder, true);
  }
  if (context.options.messages.empty()) {
    const char* const pszFolder = std::getenv("WYLOGCTL_MESSAGES");
    const char* const pszRoot = std::getenv("ORVA_WA_ROOT");
    if (pszFolder != nullptr) {
      LoadFolder(context, pszFolder, true);
    } else if (pszRoot != nullptr) {
      LoadFolder(context, std::string(pszRoot) + "/messages", false);
    } else {
      LoadFolder(context, WYLOGCTL_MESSAGES_FOLDER, false);
    }
  }
  // Only now, since the vector moves its elements while it grows; the keys are views of them. Of
  // two manifests with one key the first counts.
  for (std::size_t i = 0; i < m_messages.size(); ++i) m_byKey.emplace(m_messages[i].strKey, i);
}

void CWyManifests::LoadFolder(CWyContext& context, const std::string& strFolder, bool bRequired) {
  std::error_code error;
  std::vector<std::string> names;
  for (std::filesystem::directory_iterator entry(strFolder, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string strName = entry->path().filename();
    if (strName.ends_with(Ending)) names.push_back(strName);
  }
  if (error && bRequired) context.Error(strFolder + ": " + error.message());
  if (error) return;
  if (names.empty() && bRequired) {
    context.Warning(strFolder + ": no manifest (*.messages.json) in this folder");
  }
  m_folders.push_back(strFolder);
  std::sort(names.begin(), names.end());
  for (const std::string& strName : names) LoadFile(context, strFolder, strFolder + "/" + strName);
}

void CWyManifests::LoadFile(CWyContext& context, const std::string& strFolder,
                            const std::string& strFile) {
  std::ifstream stream(strFile);
  const json manifest = json::parse(stream, nullptr, false);
  if (!manifest.is_object()) {
    context.Error(strFile + ": not a manifest: no valid JSON object");
    return;
  }
  const auto format = manifest.find("format");
  if (format == manifest.end() || *format != Format) {
    context.Error(strFile + ": a manifest of format " +
                  (format == manifest.end() ? "(none)" : format->dump()) +
                  "; this program reads format 1, so it and the components differ in version");
    return;
  }
  WyKnownComponent component = ReadComponent(manifest);
  component.strFolder = strFolder;
  component.strFile = strFile;
  m_components.push_back(std::move(component));
  for (const json& object : ArrayOf(manifest, "messages")) {
    m_messages.push_back(ReadMessage(object, m_components.back()));
    m_messages.back().uComponent = m_components.size() - 1;
  }
}

const WyKnownMessage* CWyManifests::ByKey(std::string_view key) const {
  const auto found = m_byKey.find(key);
  return found == m_byKey.end() ? nullptr : &m_messages[found->second];
}

const WyKnownMessage* CWyManifests::ById(unsigned int uId) const {
  const auto found = std::find_if(m_messages.begin(), m_messages.end(),
                                  [uId](const WyKnownMessage& m) { return m.uId == uId; });
  return found == m_messages.end() ? nullptr : &*found;
}

std::vector<std::string> CWyManifests::Locales(const WyKnownComponent& component) const {
  std::vector<std::string> locales;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(component.strFolder, error), end;
       !error && entry != end; entry.increment(error)) {
    std::string_view name;
    const std::string strName = entry->path().filename();
    name = strName;
    if (!name.starts_with(component.strBundle) || !name.ends_with(CatalogEnding)) continue;
    name = name.substr(component.strBundle.size(),
                       name.size() - component.strBundle.size() - CatalogEnding.size());
    if (name.empty()) locales.emplace_back();
    if (name.starts_with('_')) locales.emplace_back(name.substr(1));
  }
  std::sort(locales.begin(), locales.end());
  return locales;
}

std::vector<WyTranslation> CWyManifests::Translations(const WyKnownMessage& message) const {
  const WyKnownComponent& component = ComponentOf(message);
  std::vector<WyTranslation> translations;
  if (message.bPrintf) return translations;
  if (!CWyXlate::SetResourceDirectory(component.strFolder.c_str())) return translations;
  for (const std::string& strLocale : Locales(component)) {
    WyTranslation translation;
    translation.strLocale = strLocale;
    translation.strFile = component.strFolder + "/" + component.strBundle +
                          (strLocale.empty() ? "" : "_" + strLocale) + std::string(CatalogEnding);
    translation.uLine = LineOfKey(translation.strFile, message.strKey);
    CWyXlateBundle* const pBundle = CWyXlate::GetBundle(
        component.strBundle.c_str(), strLocale.empty() ? "en" : strLocale.c_str());
    if (translation.uLine > 0 && pBundle != nullptr) {
      const char* const pszText = pBundle->Lookup(message.strKey.c_str());
      if (pszText != nullptr) translation.strText = pszText;
    }
    if (pBundle != nullptr) pBundle->Release();
    translations.push_back(std::move(translation));
  }
  return translations;
}
