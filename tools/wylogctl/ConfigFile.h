#ifndef WYLOGCTL_CONFIGFILE_H
#define WYLOGCTL_CONFIGFILE_H

// One trace configuration, read by the library's own parser: what is in force, and the findings.
// The file is read once, so that the lines that are shown are those that were parsed, also of a
// pipe.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/common/Diagnostic.h"
#include "tools/common/SourceText.h"
#include "tools/wylogctl/ConfigTables.h"
#include "wyerrlog/WyTraceCheck.h"

struct WyConfigOptions {
  std::vector<std::string> files;
  bool bLoad = false;
  int iLayout = 0;
  std::string strSeparator = " ";
};

class CWyConfigFile {
 public:
  explicit CWyConfigFile(const CWyConfigTables& tables) : m_tables(tables) {}

  // "-" is the standard input. Returns false, with the error reported, if it cannot be read.
  bool Read(CWyContext& context, const std::string& strFile, const WyConfigOptions& options);

  // Whether a logger would take the file.
  bool IsAccepted() const { return m_bAccepted; }

  // Effects, warnings and errors, by line.
  const std::vector<WyTraceFinding>& Findings() const { return m_findings; }
  std::size_t CountOf(WyTraceLevel level) const;

  // The effect (T001 to T004) that concerns a component, or a field; null if there is none.
  const WyTraceFinding* Effect(std::string_view code, std::string_view name) const;

  // Warnings and errors, to the standard error output.
  void PrintDiagnostics(CWyContext& context) const;

  CWyTraceData& Data() { return *m_pData; }

 private:
  void ForgetUncheckedComponents();
  WyLocation LocationOf(const WyTraceFinding& finding) const;

  const CWyConfigTables& m_tables;
  std::unique_ptr<CWyTraceData> m_pData;
  std::unique_ptr<CWySourceText> m_pText;
  std::vector<WyTraceFinding> m_findings;
  bool m_bAccepted = false;
};

#endif
