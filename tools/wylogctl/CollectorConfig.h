#ifndef WYLOGCTL_COLLECTORCONFIG_H
#define WYLOGCTL_COLLECTORCONFIG_H

// The configuration of a collector, rsyslog or syslog-ng, as far as logs are concerned: its
// objects, such as input(...) or wildcard-file(...), each with its parameters and their places.
// Environment variables are replaced, and included files are read.

#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/common/Diagnostic.h"
#include "tools/common/SourceText.h"
#include "tools/wylogctl/Context.h"

enum class WyCollector : std::uint8_t { Rsyslog, SyslogNg };

struct WyCollectorParameter {
  std::string strName;   // in lower case; empty for what stands in an object of syslog-ng itself
  std::string strValue;  // without quotes; the values of a list with a blank between them
  WyLocation where;
};

struct WyCollectorObject {
  WyCollector collector = WyCollector::Rsyslog;
  std::string strName;    // "input"
  std::string strInside;  // rsyslog: the ruleset around it; syslog-ng: "source s_error"
  WyLocation where;
  std::vector<WyCollectorParameter> parameters;

  // Null without it.
  const WyCollectorParameter* Find(std::string_view name) const;
  // Empty without it.
  std::string_view Value(std::string_view name) const;
};

class CWyCollectorConfig {
 public:
  // Findings of the reading itself are added to `diagnostics`.
  CWyCollectorConfig(CWyContext& context, CWyDiagnostics& diagnostics)
      : m_context(context), m_diagnostics(diagnostics) {}

  // Lines NAME=VALUE, as systemd reads them. They come before the process's environment. Returns
  // false, with the error reported, if the file cannot be read.
  bool ReadEnvironment(const std::string& strFile);

  // One file with all that it includes. Returns false, with the error reported, if it cannot be
  // read.
  bool Read(const std::string& strFile);

  const std::deque<WyCollectorObject>& Objects() const { return m_objects; }
  bool HasCollector(WyCollector collector) const;

  // The value of a variable; adds a finding if it is not set.
  std::string Variable(const std::string& strName, const WyLocation& where);

 private:
  friend class CWyCollectorReader;
  bool ReadIncluded(const std::string& strPattern, const std::string& strFrom);

  CWyContext& m_context;
  CWyDiagnostics& m_diagnostics;
  std::deque<CWySourceText> m_texts;
  std::deque<WyCollectorObject> m_objects;
  std::map<std::string, std::string> m_environment;
};

#endif
