// check --installed: manifests in the place of definitions, for translators, who have no sources.
#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

#include "tools/wymsgc/Catalog.h"
#include "tools/wymsgc/Commands.h"

namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

constexpr std::string_view ManifestEnding = ".messages.json";
// Of MakeManifest.
constexpr int KnownFormat = 1;

WyBundleMessage MessageOf(const Json& json, const std::string& strBundle) {
  WyBundleMessage message;
  message.uNumber = json.at("number").get<unsigned int>();
  message.strName = json.at("name").get<std::string>();
  if (json.value("retired", false)) {
    message.kind = WyBundleMessage::Kind::Retired;
    const std::string strNumber = std::to_string(message.uNumber);
    message.strKey = strBundle + '-' +
                     std::string(5 - std::min<std::size_t>(5, strNumber.size()), '0') + strNumber;
    return message;
  }
  message.strKey = json.at("key").get<std::string>();
  for (const Json& argument : json.at("arguments")) {
    message.arguments.push_back(argument.at("name").get<std::string>());
  }
  if (json.contains("printf")) {
    message.kind = WyBundleMessage::Kind::Printf;
  } else {
    message.strPattern = json.at("text").get<std::string>();
  }
  return message;
}

struct Manifest {
  CWyBundle bundle;
  LockedTranslations translations;
};

void TakeTranslations(const Json& message, LockedTranslations& translations) {
  if (!message.contains("translations")) return;
  for (const auto& [strLocale, sums] : message.at("translations").items()) {
    translations[{strLocale, message.at("number").get<unsigned int>()}] = {
        sums.at("source").get<std::uint32_t>(), sums.at("translation").get<std::uint32_t>()};
  }
}

Manifest ManifestOf(const Json& manifest) {
  if (manifest.at("format").get<int>() != KnownFormat) {
    throw CWyFatal("it has format " + manifest.at("format").dump() +
                   "; this program reads format " + std::to_string(KnownFormat));
  }
  std::string strBundle = manifest.at("component").at("bundle").get<std::string>();
  std::vector<WyBundleMessage> messages;
  LockedTranslations translations;
  for (const Json& message : manifest.at("messages")) {
    messages.push_back(MessageOf(message, strBundle));
    TakeTranslations(message, translations);
  }
  return {{std::move(strBundle), std::move(messages)}, std::move(translations)};
}

// A file that is not a valid manifest is a finding, and the others are checked all the same.
std::optional<Manifest> ReadManifest(const std::string& strFile, CWyDiagnostics& diagnostics) {
  try {
    return ManifestOf(Json::parse(ReadInput(strFile)));
  } catch (const std::exception& error) {
    diagnostics
        .Error("M501", {strFile, 0, 0, 0, {}}, std::string("not a manifest: ") + error.what())
        .Help("install it again with its component");
    return std::nullopt;
  }
}

// The files of the folder with that ending, in the order of their names.
std::vector<std::string> FilesWithEnding(const std::string& strFolder, std::string_view ending) {
  std::vector<std::string> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(strFolder, error)) {
    if (entry.path().filename().string().ends_with(ending)) files.push_back(entry.path().string());
  }
  if (error) throw CWyFatal("cannot read " + strFolder + ": " + error.message());
  std::sort(files.begin(), files.end());
  return files;
}

// Whether a file name begins with the bundle's, up to the first "_" or ".". The library reads a
// bundle's name from a file's name by the same rule, which is why a bundle's name has no "_" and no
// ".".
bool IsOfBundle(const std::string& strFile, const std::string& strBundle) {
  const std::string strName = fs::path(strFile).filename().string();
  return strName.substr(0, strName.find_first_of("_.")) == strBundle;
}

void CheckBundle(const Manifest& manifest, std::vector<std::string>& files,
                 const std::string& strManifest, const WySettings& settings,
                 CWyDiagnostics& diagnostics) {
  const CWyBundle& bundle = manifest.bundle;
  std::vector<WyCatalog> catalogs;
  const auto isOther = [&](const std::string& strFile) {
    return !IsOfBundle(strFile, bundle.Name());
  };
  // What is left in `files` after the last manifest belongs to none: a catalog that was forgotten,
  // or has a misspelt name and is never read.
  const auto own = std::stable_partition(files.begin(), files.end(), isOther);
  std::for_each(own, files.end(), [&](const std::string& strFile) {
    const auto locale = LocaleOfCatalog(strFile, bundle.Name(), true, diagnostics);
    const CWySourceText source(strFile, ReadInput(strFile));
    if (locale) catalogs.push_back(ReadCatalog(source, *locale, bundle, diagnostics));
  });
  files.erase(own, files.end());
  for (const WyCatalog& catalog : catalogs) {
    CheckFreshness(catalog, bundle, manifest.translations, diagnostics);
  }
  CheckCompleteness(catalogs, bundle, settings.required, {strManifest, 0, 0, 0, {}}, diagnostics);
}

}  // namespace

int CheckInstalled(const WySettings& settings, const std::string& strFolder) {
  CWyDiagnostics diagnostics(settings.policy);
  const std::vector<std::string> manifests = FilesWithEnding(strFolder, ManifestEnding);
  if (manifests.empty()) {
    throw CWyFatal("no manifest (*" + std::string(ManifestEnding) + ") in " + strFolder);
  }
  std::vector<std::string> files = FilesWithEnding(strFolder, ".properties");
  for (const std::string& strManifest : manifests) {
    const auto manifest = ReadManifest(strManifest, diagnostics);
    if (manifest) CheckBundle(*manifest, files, strManifest, settings, diagnostics);
  }
  for (const std::string& strFile : files) {
    diagnostics.Error("M210", {strFile, 0, 0, 0, {}}, "catalog of a bundle without a manifest")
        .Help("the part of the name before the first `_` or `.` is the bundle's");
  }
  return Finish(settings, diagnostics);
}
