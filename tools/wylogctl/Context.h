#ifndef WYLOGCTL_CONTEXT_H
#define WYLOGCTL_CONTEXT_H

// What every command has: the options common to all, the output, and the place where it reports
// what went wrong. A command goes on after an error that concerns one file, and the exit code
// remembers it.

#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "tools/wylogctl/Output.h"

class CWyDiagnostics;

enum WyExit { WyFound = 0, WyNothingFound = 1, WyFindings = 1, WyFailed = 2 };

struct WyCommonOptions {
  std::string strFormat;
  std::string strColor = "auto";
  bool bQuiet = false;
  bool bNoPager = false;
  std::vector<std::string> messages;  // folders of manifests and catalogs
};

class CWyContext {
 public:
  WyCommonOptions options;
  CWyOutput out;

  // To be called when the options are known.
  void Start(bool bPager);

  // One line on the standard error output; the error also decides the exit code. What is only to
  // know (a zone that is assumed) is silenced by -q.
  void Error(const std::string& strText);
  void Warning(const std::string& strText);
  void Note(const std::string& strText);
  // The same text once.
  void NoteOnce(const std::string& strText);

  // Findings of a file, with the lines in question, unless -q is given.
  void Diagnose(const CWyDiagnostics& diagnostics);

  int Exit(bool bFound) const { return m_bFailed ? WyFailed : bFound ? WyFound : WyNothingFound; }
  bool HasFailed() const { return m_bFailed; }

  // How far work has come; shown on a terminal, when it takes more than a second.
  void Progress(std::uint64_t uDone, std::uint64_t uTotal);
  void EndProgress();

 private:
  void Print(const char* pszLevel, const std::string& strText);

  std::set<std::string> m_noted;
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point m_shown;
  bool m_bFailed = false;
  bool m_bProgress = false;
  bool m_bErrorTerminal = false;
};

#endif
