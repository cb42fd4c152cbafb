#ifndef WYERRLOG_TOOLS_WYMSGC_COMMANDS_H
#define WYERRLOG_TOOLS_WYMSGC_COMMANDS_H

// The commands of the program. Each prints its findings and returns the exit code: 0 clean or
// warnings alone, 1 errors. What cannot be done at all is thrown as CWyFatal, which the program
// ends with 2 for.

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/common/Diagnostic.h"

class CWyFatal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct WySettings {
  WyPolicy policy;
  std::set<std::string> required;  // locales whose translations are complete
  bool bJson = false;
  WyColor color = WyColor::Never;
};

// The codes of the warnings, which alone can be allowed.
const std::vector<std::string>& WarningCodes();

int Compile(const WySettings& settings, const std::string& strFile,
            const std::vector<std::string>& catalogs, const std::string& strFolder);
int Check(const WySettings& settings, const std::string& strFile,
          const std::vector<std::string>& catalogs);
// Writes the lock file of a definition without errors, and prints what has changed. Translations
// into the locales of `reviewed` count as made from today's texts.
int UpdateLock(const WySettings& settings, const std::string& strFile,
               const std::vector<std::string>& catalogs, const std::set<std::string>& reviewed);
// Checks all catalogs in a folder against the manifests there.
int CheckInstalled(const WySettings& settings, const std::string& strFolder);
// Writes a definition derived from hand-written files to `strOutput`, or to the standard output
// when that is empty.
int Import(const WySettings& settings, const std::string& strHeader, const std::string& strSource,
           const std::vector<std::string>& catalogs, const std::string& strOutput);

// For the commands: a file's text, and printing at the end.
std::string ReadInput(const std::string& strPath);
int Finish(const WySettings& settings, const CWyDiagnostics& diagnostics);

#endif
