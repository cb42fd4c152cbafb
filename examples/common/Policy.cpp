// Parses a policy file line by line, and decides by it. A subject may only name a user or a group
// that an earlier line has defined, so a misspelt name is found when the file is loaded.

#include "Policy.h"

#include <crypt.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <memory>
#include <sstream>
#include <system_error>

namespace {

std::vector<std::string> SplitWords(const std::string& strLine) {
  std::istringstream stream(strLine);
  std::vector<std::string> words;
  for (std::string strWord; stream >> strWord && strWord.front() != '#';) words.push_back(strWord);
  return words;
}

bool ParseMethods(const std::string& strList, std::set<std::string>& methods) {
  std::istringstream stream(strList);
  for (std::string strMethod; std::getline(stream, strMethod, ',');) {
    if (strMethod != "GET" && strMethod != "DELETE") return false;
    methods.insert(strMethod);
  }
  return !methods.empty();
}

bool Covers(const PolicyRule& rule, const std::string& strMethod, const std::string& strResource) {
  if (!rule.methods.contains(strMethod == "HEAD" ? "GET" : strMethod)) return false;
  return rule.strPath.back() == '/' ? strResource.starts_with(rule.strPath)
                                    : strResource == rule.strPath;
}

}  // namespace

bool IsValidResource(const std::string& strResource) {
  using namespace std::string_literals;
  if (!strResource.starts_with('/')) return false;
  if (strResource.find_first_of("\\\0"s) != std::string::npos) return false;
  for (size_t uStart = 1; uStart < strResource.size();) {
    const size_t uEnd = std::min(strResource.find('/', uStart), strResource.size());
    const std::string strPart = strResource.substr(uStart, uEnd - uStart);
    if (strPart.empty() || strPart == "." || strPart == "..") return false;
    uStart = uEnd + 1;
  }
  return true;
}

bool Policy::Load(const std::string& strFile, PolicyError& error) {
  std::ifstream file(strFile);
  for (std::string strLine; std::getline(file, strLine);) {
    ++error.iLine;
    const std::vector<std::string> words = SplitWords(strLine);
    if (!words.empty() && !ParseStatement(words, error)) return false;
  }
  if (file.eof()) return true;
  error = {0, std::generic_category().message(errno)};
  return false;
}

bool Policy::ParseStatement(const std::vector<std::string>& words, PolicyError& error) {
  error.strText = words.front();
  if (words.front() == "user") return ParseUser(words, error);
  if (words.front() == "rule") return ParseRule(words, error);
  return false;
}

bool Policy::ParseUser(const std::vector<std::string>& words, PolicyError& error) {
  if (words.size() < 3) return false;
  error.strText = words[1];
  User user{words[2], {words.begin() + 3, words.end()}};
  m_groups.insert(user.groups.begin(), user.groups.end());
  return m_users.emplace(words[1], std::move(user)).second;
}

bool Policy::ParseRule(const std::vector<std::string>& words, PolicyError& error) {
  if (words.size() < 4) return false;
  PolicyRule rule;
  rule.iNumber = static_cast<int>(m_rules.size()) + 1;
  error.strText = words[1];
  if (!ParseMethods(words[1], rule.methods)) return false;
  error.strText = rule.strPath = words[2];
  if (rule.strPath.front() != '/') return false;
  for (size_t i = 3; i < words.size(); ++i) {
    error.strText = words[i];
    if (!ParseSubject(words[i], rule)) return false;
  }
  m_rules.push_back(std::move(rule));
  return true;
}

bool Policy::ParseSubject(const std::string& strWord, PolicyRule& rule) const {
  if (strWord == "*") {
    rule.bForAnyone = true;
    return true;
  }
  rule.subjects.insert(strWord);
  return strWord.front() == '@' ? m_groups.contains(strWord.substr(1)) : m_users.contains(strWord);
}

LoginResult Policy::CheckLogin(const std::string& strUser, const std::string& strPassword) const {
  const auto it = m_users.find(strUser);
  if (it == m_users.end()) return LoginResult::UnknownUser;
  const std::string& strExpected = it->second.strPasswordHash;
  const auto pScratch = std::make_unique<crypt_data>();
  const char* pszHash = crypt_r(strPassword.c_str(), strExpected.c_str(), pScratch.get());
  const bool bEqual = pszHash != nullptr && pszHash == strExpected;
  return bEqual ? LoginResult::Accepted : LoginResult::WrongPassword;
}

const PolicyRule* Policy::FindRule(const std::string& strMethod,
                                   const std::string& strResource) const {
  for (const PolicyRule& rule : m_rules) {
    if (Covers(rule, strMethod, strResource)) return &rule;
  }
  return nullptr;
}

bool Policy::Permits(const PolicyRule& rule, const std::string& strUser) const {
  if (rule.bForAnyone || rule.subjects.contains(strUser)) return true;
  const auto it = m_users.find(strUser);
  if (it == m_users.end()) return false;
  for (const std::string& strGroup : it->second.groups) {
    if (rule.subjects.contains("@" + strGroup)) return true;
  }
  return false;
}
