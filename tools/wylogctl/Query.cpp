// A record that has no such field does not match a condition on it, whatever the operator: only
// what a log shows can be asked for.

#include "tools/wylogctl/Query.h"

#include <algorithm>
#include <cstring>

#include "tools/common/EditDistance.h"
#include "wyerrlog/WyErrLogConfig.h"

namespace {

std::vector<std::string> FieldNames() {
  std::vector<std::string> names = {"Severity", "Key"};
  int iCount = 0;
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  GetKnownDataFields(&iCount, &pRows);
  for (int i = 0; i < iCount; ++i) names.emplace_back(pRows[i].pszName);
  return names;
}

std::string Suggest(const std::string& strWord, const std::vector<std::string>& names) {
  const std::string_view nearest = NearestName(strWord, names);
  return nearest.empty() ? "" : "; did you mean " + std::string(nearest) + "?";
}

bool Contains(const std::vector<std::string>& texts, std::string_view text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

bool IsWordByte(char c) {
  return WyIsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-';
}

// Whole words: request 12 is not a part of 123.
bool HoldsWord(std::string_view text, std::string_view word) {
  for (std::size_t u = text.find(word); u != std::string_view::npos; u = text.find(word, u + 1)) {
    const std::size_t uEnd = u + word.size();
    const bool bBefore = u > 0 && IsWordByte(text[u - 1]);
    if (!bBefore && (uEnd == text.size() || !IsWordByte(text[uEnd]))) return true;
  }
  return false;
}

}  // namespace

CWyQuery::~CWyQuery() {
  if (m_bRegex) regfree(&m_regex);
}

bool CWyQuery::Set(CWyContext& context, const WyQueryOptions& options, const CWyZone& zone,
                   const CWyManifests& manifests) {
  m_pManifests = &manifests;
  m_keys = options.keys;
  m_pids = options.pids;
  m_tids = options.tids;
  m_strRequest = options.strRequest;
  bool bGood = SetTimes(context, options, zone) && SetGrep(context, options.strGrep) &&
               SetComponents(context, options.components);
  for (const std::string& strText : options.where) bGood = bGood && AddCondition(context, strText);
  if (!options.strSeverity.empty()) {
    m_severity = WySeverityFrom(options.strSeverity);
    if (m_severity == WySeverityRank::None) {
      context.Error("--severity " + options.strSeverity + ": is INFO, WARNING or ERROR");
      bGood = false;
    }
  }
  m_bEmpty = m_severity == WySeverityRank::None && !m_since && !m_until && m_keys.empty() &&
             m_components.empty() && m_pids.empty() && m_tids.empty() && m_conditions.empty() &&
             options.strGrep.empty() && m_strRequest.empty();
  return bGood;
}

bool CWyQuery::SetTimes(CWyContext& context, const WyQueryOptions& options, const CWyZone& zone) {
  // A window of times relative to now is as wide as it can mean: its beginning is the earlier
  // moment, its end the later one.
  const auto set = [&](const char* pszOption, const std::string& strText, WyTimeChoice choice,
                       std::optional<WyCivil>& target) {
    if (strText.empty()) return true;
    target = WyParseUserTime(strText, zone, choice);
    if (target) return true;
    context.Error(std::string(pszOption) + " " + strText +
                  ": not a time; write 2026-11-23T02:33:16, 02:33 or -1h");
    return false;
  };
  if (!set("--since", options.strSince, WyTimeChoice::Earlier, m_since) ||
      !set("--until", options.strUntil, WyTimeChoice::Later, m_until)) {
    return false;
  }
  if (!m_since || !m_until || *m_since <= *m_until) return true;
  context.Error("--since " + options.strSince + " is later than --until " + options.strUntil);
  return false;
}

// A pattern without a special character is a text that is searched for as it is.
bool CWyQuery::SetGrep(CWyContext& context, const std::string& strPattern) {
  m_strGrep = strPattern;
  if (strPattern.find_first_of("\\^$.[]|()?*+{}") == std::string::npos) return true;
  const int iError = regcomp(&m_regex, strPattern.c_str(), REG_EXTENDED | REG_NOSUB | REG_NEWLINE);
  if (iError == 0) {
    m_bRegex = true;
    return true;
  }
  char szReason[128];
  regerror(iError, &m_regex, szReason, sizeof szReason);
  context.Error("--grep " + strPattern + ": " + szReason);
  return false;
}

bool CWyQuery::AddCondition(CWyContext& context, const std::string& strText) {
  const std::size_t u = strText.find_first_of("=!@");
  if (u == std::string::npos) {
    context.Error("--where " + strText + ": no operator; write User==alice, or !=, @@, !@");
    return false;
  }
  const std::string strField = strText.substr(0, strText.find_last_not_of(" \t", u - 1) + 1);
  const auto names = FieldNames();
  if (!Contains(names, strField) && !strField.starts_with("fields.")) {
    context.Error("--where " + strText + ": no field has the name \"" + strField + "\"" +
                  Suggest(strField, names));
    return false;
  }
  const auto op = WyTraceFilter::AtStartOf(std::string_view(strText).substr(u));
  if (op == WyTraceFilter::None) {
    context.Error("--where " + strText + ": the operator is ==, !=, @@ (contains) or !@");
    return false;
  }
  m_conditions.push_back({strField, op, strText.substr(u + 2)});
  return true;
}

// Refused instead of matching nothing: an empty result would look like a log without such records.
bool CWyQuery::SetComponents(CWyContext& context, const std::vector<std::string>& names) {
  m_components = names;
  std::vector<std::string> known;
  for (const WyKnownComponent& component : m_pManifests->Components()) {
    known.push_back(component.strName);
  }
  for (const std::string& strName : names) {
    if (Contains(known, strName)) continue;
    context.Error("--component " + strName + ": no manifest names this component" +
                  Suggest(strName, known) +
                  (known.empty() ? "; --messages DIR says where the manifests are" : ""));
    return false;
  }
  return true;
}

bool CWyQuery::Greps(std::string_view text) const {
  if (!m_bRegex) {
    return memmem(text.data(), text.size(), m_strGrep.data(), m_strGrep.size()) != nullptr;
  }
  if (text.ends_with('\n')) text.remove_suffix(1);
  // REG_STARTEND: the text is a view into a buffer, without a zero byte at its end.
  regmatch_t match{0, static_cast<regoff_t>(text.size())};
  return regexec(&m_regex, text.data(), 1, &match, REG_STARTEND) == 0;
}

bool CWyQuery::IsOfComponent(const WyRecord& record) const {
  if (record.key.empty()) return false;
  const WyKnownMessage* const pMessage = m_pManifests->ByKey(record.key);
  return pMessage != nullptr &&
         Contains(m_components, m_pManifests->ComponentOf(*pMessage).strName);
}

// Traces and typed audit records have a field for it; in the other logs the identifier is a word of
// the text.
bool CWyQuery::IsOfRequest(const WyRecord& record) const {
  const bool bTyped = WyIsTrace(record.Kind()) || !record.fields.empty();
  if (!bTyped) return HoldsWord(record.text, m_strRequest);
  return record.Field("TransactionID") == m_strRequest;
}

// The cheap conditions come first. A record without a time matches no window: it may be of any
// moment.
bool CWyQuery::Matches(const WyRecord& record) const {
  if (m_bEmpty) return true;
  if (m_severity != WySeverityRank::None && record.severity < m_severity) return false;
  if (m_since && (record.time == WyNoTime || record.time < *m_since)) return false;
  if (m_until && (record.time == WyNoTime || record.time > *m_until)) return false;
  if (!m_keys.empty() && !Contains(m_keys, record.key)) return false;
  if (!m_pids.empty() && !Contains(m_pids, record.pid)) return false;
  if (!m_tids.empty() && !Contains(m_tids, record.tid)) return false;
  if (!m_components.empty() && !IsOfComponent(record)) return false;
  if (!m_strRequest.empty() && !IsOfRequest(record)) return false;
  for (const Condition& condition : m_conditions) {
    const std::string_view value = record.Field(condition.strField);
    if (value.data() == nullptr) return false;
    if (!WyTraceFilter::Passes(condition.op, value, condition.strText)) return false;
  }
  return m_strGrep.empty() || Greps(record.raw.text);
}
