// The text goes to the parser through a file in memory.

#include "tools/wylogctl/ConfigFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iostream>

#include "wyerrlog/WyErrLogConfig.h"
#include "wyerrlog/internal/WyTraceConfigReading.h"
#include "wyerrlog/internal/WyTraceFindings.h"

namespace {

class CWyMemoryFile {
 public:
  explicit CWyMemoryFile(std::string_view text) : m_fd(memfd_create("trace configuration", 0)) {
    while (!text.empty()) {
      const ssize_t lWritten = write(m_fd, text.data(), text.size());
      if (lWritten <= 0) return;
      text.remove_prefix(static_cast<std::size_t>(lWritten));
    }
    m_bComplete = m_fd >= 0;
  }
  ~CWyMemoryFile() {
    if (m_fd >= 0) close(m_fd);
  }
  CWyMemoryFile(const CWyMemoryFile&) = delete;
  CWyMemoryFile& operator=(const CWyMemoryFile&) = delete;

  bool IsComplete() const { return m_bComplete; }
  std::string Path() const { return "/proc/self/fd/" + std::to_string(m_fd); }

 private:
  const int m_fd;
  bool m_bComplete = false;
};

bool IsKnownComponent(std::string_view name) {
  int iCount = 0;
  const char** ppszNames = nullptr;
  GetKnownComponentLibs(&iCount, &ppszNames);
  return std::any_of(ppszNames, ppszNames + iCount,
                     [name](const char* pszKnown) { return name == pszKnown; });
}

}  // namespace

bool CWyConfigFile::Read(CWyContext& context, const std::string& strFile,
                         const WyConfigOptions& options) {
  std::string strReason;
  const auto text = ReadWholeFile(strFile == "-" ? "/dev/stdin" : strFile, strReason);
  if (!text) {
    context.Error(strFile + ": " + strReason);
    return false;
  }
  m_pText = std::make_unique<CWySourceText>(strFile, *text);
  const CWyMemoryFile memory(*text);
  if (!memory.IsComplete()) {
    context.Error(strFile + ": " + std::strerror(errno));
    return false;
  }
  m_findings.clear();
  m_pData = std::make_unique<CWyTraceData>();
  CWyTraceFindings observer(m_findings);
  const bool bRead = CWyTraceConfigReading::Configure(
      *m_pData, options.iLayout, options.strSeparator.c_str(), memory.Path().c_str(),
      m_tables.Components(), m_tables.Fields().data(), &observer);
  m_bAccepted = observer.Finish(bRead || observer.HasBegun() ? nullptr : "cannot be read") && bRead;
  if (!m_tables.HasComponents()) ForgetUncheckedComponents();
  return true;
}

// Without manifests a sub-component that is not in the tables may well exist.
void CWyConfigFile::ForgetUncheckedComponents() {
  const std::size_t uForgotten = std::erase_if(m_findings, [](const WyTraceFinding& finding) {
    const std::string_view word = finding.strWord;
    return finding.strCode.starts_with("T30") && IsKnownComponent(word.substr(0, word.find('/')));
  });
  if (uForgotten == 0) return;
  std::erase_if(m_findings,
                [](const WyTraceFinding& finding) { return finding.strCode == "T208"; });
}

std::size_t CWyConfigFile::CountOf(WyTraceLevel level) const {
  return static_cast<std::size_t>(
      std::count_if(m_findings.begin(), m_findings.end(),
                    [level](const WyTraceFinding& finding) { return finding.level == level; }));
}

const WyTraceFinding* CWyConfigFile::Effect(std::string_view code, std::string_view name) const {
  for (const WyTraceFinding& finding : m_findings) {
    if (finding.strCode == code && finding.strName == name) return &finding;
  }
  return nullptr;
}

WyLocation CWyConfigFile::LocationOf(const WyTraceFinding& finding) const {
  if (finding.uLine == 0) return m_pText->Whole();
  std::string_view text = m_pText->Text();
  for (unsigned int uLine = 1; uLine < finding.uLine; ++uLine) {
    text.remove_prefix(std::min(text.find('\n') + 1, text.size()));
  }
  text.remove_prefix(std::min<std::size_t>(finding.uColumn - 1, text.size()));
  return m_pText->At(text.substr(0, finding.uLength));
}

void CWyConfigFile::PrintDiagnostics(CWyContext& context) const {
  CWyDiagnostics diagnostics;
  for (const WyTraceFinding& finding : m_findings) {
    if (finding.level == WyTraceLevel::Effect) continue;
    WyDiagnostic& diagnostic =
        finding.level == WyTraceLevel::Error
            ? diagnostics.Error(finding.strCode, LocationOf(finding), finding.strText)
            : diagnostics.Warning(finding.strCode, LocationOf(finding), finding.strText);
    diagnostic.Help(finding.strHelp);
  }
  context.Diagnose(diagnostics);
}
