#ifndef WYERRLOG_TOOLS_WYMSGC_OUTPUTS_H
#define WYERRLOG_TOOLS_WYMSGC_OUTPUTS_H

// The outputs of a definition. Each function returns the content of one file; it depends on its
// arguments alone, so two runs give the same bytes.

#include <string>
#include <string_view>
#include <vector>

#include "tools/wymsgc/Definition.h"
#include "tools/wymsgc/LockFile.h"

struct WyOutputFile {
  std::string strName;  // relative to the output folder; folders are separated by "/"
  std::string strContent;
};

// All of them. `strFile` is the name of the definition, for the first line of each; `translations`
// the state of the translations in the lock file, which the manifest passes on to those who have no
// sources.
std::vector<WyOutputFile> MakeOutputs(const WyDefinition& definition, const std::string& strFile,
                                      const LockedTranslations& translations);

std::string MakeCppHeader(const WyDefinition& definition, const std::string& strFile);
std::string MakeCppSource(const WyDefinition& definition, const std::string& strFile);
std::string MakeJavaClass(const WyDefinition& definition, const std::string& strFile);
std::string MakeEnglishBundle(const WyDefinition& definition, const std::string& strFile);
std::string MakeManifest(const WyDefinition& definition, const LockedTranslations& translations);
std::string MakeMessageTable(const WyDefinition& definition);

// "0x0C004003", as in Java sources and in manifests.
std::string HexId(unsigned int uId);

// Writes the file unless it already has that content. Returns false, with the reason in
// `strReason`, if it cannot be written.
bool WriteIfChanged(const std::string& strPath, const std::string& strContent,
                    std::string& strReason);

#endif
