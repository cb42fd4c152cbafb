#ifndef WYLOGCTL_QUERY_H
#define WYLOGCTL_QUERY_H

// Which records are wanted: the filters of the command line, all of which a record must pass.

#include <regex.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/wylogctl/Manifest.h"
#include "tools/wylogctl/Record.h"
#include "wyerrlog/internal/WyTraceFilter.h"

struct WyQueryOptions {
  std::string strSeverity;
  std::string strSince;
  std::string strUntil;
  std::string strGrep;
  std::string strRequest;
  std::vector<std::string> keys;
  std::vector<std::string> components;
  std::vector<std::string> pids;
  std::vector<std::string> tids;
  std::vector<std::string> where;
};

class CWyQuery {
 public:
  CWyQuery() = default;
  ~CWyQuery();
  CWyQuery(const CWyQuery&) = delete;
  CWyQuery& operator=(const CWyQuery&) = delete;

  // Returns false, with the error reported, if an option cannot be understood.
  bool Set(CWyContext& context, const WyQueryOptions& options, const CWyZone& zone,
           const CWyManifests& manifests);

  bool Matches(const WyRecord& record) const;

  bool IsEmpty() const { return m_bEmpty; }
  // Whether it asks for the values of columns by their names.
  bool NamesColumns() const {
    return !m_conditions.empty() || !m_strRequest.empty() || !m_pids.empty() || !m_tids.empty();
  }
  const std::optional<WyCivil>& Since() const { return m_since; }
  const std::optional<WyCivil>& Until() const { return m_until; }

 private:
  struct Condition {
    std::string strField;
    WyTraceFilter::Operator op;
    std::string strText;
  };

  bool SetTimes(CWyContext& context, const WyQueryOptions& options, const CWyZone& zone);
  bool SetGrep(CWyContext& context, const std::string& strPattern);
  bool AddCondition(CWyContext& context, const std::string& strText);
  bool SetComponents(CWyContext& context, const std::vector<std::string>& names);
  bool Greps(std::string_view text) const;
  bool IsOfComponent(const WyRecord& record) const;
  bool IsOfRequest(const WyRecord& record) const;

  const CWyManifests* m_pManifests = nullptr;
  WySeverityRank m_severity = WySeverityRank::None;
  std::optional<WyCivil> m_since;
  std::optional<WyCivil> m_until;
  std::vector<std::string> m_keys;
  std::vector<std::string> m_components;
  std::vector<std::string> m_pids;
  std::vector<std::string> m_tids;
  std::vector<Condition> m_conditions;
  std::string m_strGrep;
  std::string m_strRequest;
  regex_t m_regex{};
  bool m_bRegex = false;
  bool m_bEmpty = true;
};

#endif
