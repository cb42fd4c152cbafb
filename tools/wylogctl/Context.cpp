// Messages for people, on the standard error output.

#include "tools/wylogctl/Context.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "tools/common/Diagnostic.h"
#include "tools/common/Utf8.h"

void CWyContext::Start(bool bPager) {
  m_bErrorTerminal = isatty(STDERR_FILENO) == 1;
  out.SetColor(options.strColor);
  if (bPager && !options.bNoPager) out.StartPager();
}

void CWyContext::Print(const char* pszLevel, const std::string& strText) {
  EndProgress();
  out.Flush();
  std::fprintf(stderr, "wylogctl: %s: %s\n", pszLevel, Printable(strText).c_str());
}

void CWyContext::Error(const std::string& strText) {
  m_bFailed = true;
  Print("error", strText);
}

void CWyContext::Warning(const std::string& strText) {
  if (!options.bQuiet) Print("warning", strText);
}

void CWyContext::Note(const std::string& strText) {
  if (!options.bQuiet) Print("note", strText);
}

void CWyContext::NoteOnce(const std::string& strText) {
  if (m_noted.insert(strText).second) Note(strText);
}

void CWyContext::Diagnose(const CWyDiagnostics& diagnostics) {
  if (options.bQuiet) return;
  out.Flush();
  const bool bColor =
      options.strColor == "always" || (out.HasColor() && isatty(STDERR_FILENO) == 1);
  for (const WyDiagnostic& diagnostic : diagnostics.Findings()) {
    PrintText(std::cerr, diagnostic, bColor ? WyColor::Always : WyColor::Never);
  }
}

void CWyContext::Progress(std::uint64_t uDone, std::uint64_t uTotal) {
  using std::chrono::milliseconds;
  if (!m_bErrorTerminal || options.bQuiet || uTotal == 0) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - m_start < milliseconds(1000) || now - m_shown < milliseconds(200)) return;
  m_shown = now;
  m_bProgress = true;
  std::fprintf(stderr, "\r%3.0f %% of %.1f MB\033[K",
               100.0 * static_cast<double>(uDone) / static_cast<double>(uTotal),
               static_cast<double>(uTotal) / 1e6);
}

void CWyContext::EndProgress() {
  if (m_bProgress) std::fputs("\r\033[K", stderr);
  m_bProgress = false;
}
