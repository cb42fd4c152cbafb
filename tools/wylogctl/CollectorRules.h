#ifndef WYLOGCTL_COLLECTORRULES_H
#define WYLOGCTL_COLLECTORRULES_H

// What a collector's configuration must have so that no record is lost, as the shipped ones have
// it: patterns that match a log and its backups, and the settings of a table.

#include <string>
#include <vector>

#include "tools/wylogctl/CollectorConfig.h"

// An input of the collector that reads logs.
struct WyShippedInput {
  const WyCollectorObject* pObject = nullptr;
  std::string strPattern;  // of paths
  WyLocation where;        // of the pattern
  std::string strKind;     // "error", "trace", "audit"; empty if not known
  std::string strProgram;  // empty if not known

  bool HasWildcard() const { return strPattern.find_first_of("*?[") != std::string::npos; }
  bool Matches(const std::string& strPath) const;
};

class CWyCollectorRules {
 public:
  CWyCollectorRules(CWyCollectorConfig& config, CWyDiagnostics& diagnostics);

  const std::vector<WyShippedInput>& Inputs() const { return m_inputs; }

  // The absolute paths of the logs that the inputs find now, without their backups.
  std::vector<std::string> FindLogs() const;

  // Finds the settings that lose records or differ from those that are shipped.
  void CheckSettings();
  // Finds inputs that do not match a log and its backups, and logs without an input.
  void CheckPatterns(const std::vector<std::string>& logs);

 private:
  void AddInput(const WyCollectorObject& object);
  void CheckRuleset(const WyShippedInput& input);
  void CheckState();
  void CheckPattern(const WyShippedInput& input, const std::string& strLog);
  bool IsShipped(const WyCollectorObject& object) const;
  const WyShippedInput* InputOf(const WyCollectorObject& object) const;

  CWyCollectorConfig& m_config;
  CWyDiagnostics& m_diagnostics;
  std::vector<WyShippedInput> m_inputs;
};

// The log to which a file with such a name belongs: "error.log" for a backup of it.
std::string WyLogOfBackup(const std::string& strPath);

#endif
