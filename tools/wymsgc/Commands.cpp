// compile, check and lock: the same reading and checking, with different ends.
#include "tools/wymsgc/Commands.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

#include "tools/wymsgc/Catalog.h"
#include "tools/wymsgc/DefinitionReader.h"
#include "tools/wymsgc/LockFile.h"
#include "tools/wymsgc/Outputs.h"

namespace {

// A definition with everything that belongs to it, read and checked.
class CWyProject {
 public:
  CWyProject(const WySettings& settings, const std::string& strFile)
      : diagnostics(settings.policy), m_source(strFile, ReadInput(strFile)) {
    definition = ReadDefinition(m_source, diagnostics);
  }

  // The definition's file, from its folder.
  std::string FileName() const { return std::filesystem::path(m_source.File()).filename(); }
  std::string LockFile() const {
    const std::filesystem::path folder = std::filesystem::path(m_source.File()).parent_path();
    return folder / (std::string(definition.name) + ".lock");
  }

  void ReadCatalogs(const WySettings& settings, const std::vector<std::string>& files) {
    const CWyBundle bundle = MakeBundle(definition);
    for (const std::string& strFile : files) {
      const auto locale = LocaleOfCatalog(strFile, bundle.Name(), false, diagnostics);
      const CWySourceText source(strFile, ReadInput(strFile));
      if (locale) catalogs.push_back(ReadCatalog(source, *locale, bundle, diagnostics));
    }
    CheckCompleteness(catalogs, bundle, settings.required, m_source.Whole(), diagnostics);
  }

  // Reads the lock file; returns false if there is none.
  bool ReadLock() {
    if (!std::filesystem::exists(LockFile())) return false;
    m_pLockSource = std::make_unique<CWySourceText>(LockFile(), ReadInput(LockFile()));
    lock = ::ReadLock(*m_pLockSource, diagnostics);
    return true;
  }

  void CompareWithLock(CWyDiagnostics& changes) {
    CheckAgainstLock(m_source, definition, *m_pLockSource, lock, changes);
  }

  void CheckLock() {
    if (!ReadLock()) return ReportNoLock(m_source, LockFile(), diagnostics);
    CompareWithLock(diagnostics);
    const CWyBundle bundle = MakeBundle(definition);
    for (const WyCatalog& catalog : catalogs) {
      CheckFreshness(catalog, bundle, lock.translations, diagnostics);
    }
  }

  CWyDiagnostics diagnostics;
  WyDefinition definition;
  std::vector<WyCatalog> catalogs;
  WyLock lock;

 private:
  CWySourceText m_source;
  std::unique_ptr<CWySourceText> m_pLockSource;
};

// Everything that can be checked. What follows from a faulty definition is not. The catalogs come
// before the lock: whether a translation is out of date needs both.
void CheckAll(CWyProject& project, const WySettings& settings,
              const std::vector<std::string>& catalogs) {
  if (project.diagnostics.HasErrors()) return;
  project.ReadCatalogs(settings, catalogs);
  project.CheckLock();
}

void Write(const std::string& strPath, const std::string& strContent) {
  std::string strReason;
  if (!WriteIfChanged(strPath, strContent, strReason)) {
    throw CWyFatal("cannot write " + strPath + ": " + strReason);
  }
}

// Files in the order in which they were found faulty, and each from its beginning.
void SortByPlace(std::vector<WyDiagnostic>& findings) {
  std::map<std::string, std::size_t> files;
  for (const WyDiagnostic& finding : findings) files.emplace(finding.where.strFile, files.size());
  std::stable_sort(findings.begin(), findings.end(), [&](const auto& a, const auto& b) {
    const auto place = [&](const WyDiagnostic& finding) {
      return std::tuple(files[finding.where.strFile], finding.where.uLine, finding.where.uColumn);
    };
    return place(a) < place(b);
  });
}

void PrintChanges(const CWyDiagnostics& changes) {
  for (const WyDiagnostic& change : changes.Findings()) {
    std::cout << "recorded: " << change.strMessage << '\n';
  }
}

}  // namespace

// Errors cannot be allowed: they are faults of what would be written.
const std::vector<std::string>& WarningCodes() {
  static const std::vector<std::string> s_codes = {"M301", "M302", "M303", "M304", "M305",
                                                   "M306", "M307", "M308", "M309", "M310"};
  return s_codes;
}

std::string ReadInput(const std::string& strPath) {
  std::string strReason;
  std::optional<std::string> text = ReadWholeFile(strPath, strReason);
  if (!text) throw CWyFatal("cannot read " + strPath + ": " + strReason);
  return *std::move(text);
}

int Finish(const WySettings& settings, const CWyDiagnostics& diagnostics) {
  std::vector<WyDiagnostic> findings = diagnostics.Findings();
  SortByPlace(findings);
  if (settings.bJson) {
    PrintJson(std::cout, findings);
  } else {
    for (const WyDiagnostic& finding : findings) PrintText(std::cerr, finding, settings.color);
  }
  return diagnostics.HasErrors() ? 1 : 0;
}

// All outputs or none: with an error nothing is written, so that the files of a build belong
// together. A write that fails leaves those before it; make runs the command again.
int Compile(const WySettings& settings, const std::string& strFile,
            const std::vector<std::string>& catalogs, const std::string& strFolder) {
  CWyProject project(settings, strFile);
  CheckAll(project, settings, catalogs);
  if (!project.diagnostics.HasErrors()) {
    for (const WyOutputFile& output :
         MakeOutputs(project.definition, project.FileName(), project.lock.translations)) {
      Write(std::filesystem::path(strFolder) / output.strName, output.strContent);
    }
  }
  return Finish(settings, project.diagnostics);
}

int Check(const WySettings& settings, const std::string& strFile,
          const std::vector<std::string>& catalogs) {
  CWyProject project(settings, strFile);
  CheckAll(project, settings, catalogs);
  return Finish(settings, project.diagnostics);
}

// Errors of the definition keep the lock as it is; differences from the lock do not, since
// recording them is the command's purpose, and each is printed.
int UpdateLock(const WySettings& settings, const std::string& strFile,
               const std::vector<std::string>& catalogs, const std::set<std::string>& reviewed) {
  CWyProject project(settings, strFile);
  if (!project.diagnostics.HasErrors()) project.ReadCatalogs(settings, catalogs);
  if (project.diagnostics.HasErrors()) return Finish(settings, project.diagnostics);
  CWyDiagnostics changes;
  if (project.ReadLock()) project.CompareWithLock(changes);
  LockedTranslations state = StateOfTranslations(project.catalogs, MakeBundle(project.definition),
                                                 project.lock.translations, reviewed);
  // Those of locales whose catalogs were not given stay as they are.
  for (const WyCatalog& catalog : project.catalogs) {
    std::erase_if(project.lock.translations,
                  [&](const auto& entry) { return entry.first.first == catalog.strLocale; });
  }
  state.merge(project.lock.translations);
  Write(project.LockFile(), WriteLock(project.definition, state));
  PrintChanges(changes);
  return Finish(settings, project.diagnostics);
}
