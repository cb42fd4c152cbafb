// Files and variables of a configuration. A collector reads a variable that is not set as an empty
// text, which makes a path of the root folder, so that is a finding.

#include "tools/wylogctl/CollectorConfig.h"

#include <glob.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "tools/wylogctl/CollectorReader.h"

namespace {
constexpr std::size_t MostFiles = 1000;  // a file that includes itself comes to an end
}

const WyCollectorParameter* WyCollectorObject::Find(std::string_view name) const {
  for (const WyCollectorParameter& parameter : parameters) {
    if (parameter.strName == name) return &parameter;
  }
  return nullptr;
}

std::string_view WyCollectorObject::Value(std::string_view name) const {
  const WyCollectorParameter* const pParameter = Find(name);
  return pParameter == nullptr ? std::string_view() : std::string_view(pParameter->strValue);
}

bool CWyCollectorConfig::Read(const std::string& strFile) {
  std::string strReason;
  const auto text = ReadWholeFile(strFile, strReason);
  if (!text) {
    m_context.Error(strFile + ": " + strReason);
    return false;
  }
  if (m_texts.size() >= MostFiles) {
    m_context.Error(strFile + ": more than " + std::to_string(MostFiles) + " files are included");
    return false;
  }
  const CWySourceText& source = m_texts.emplace_back(strFile, *text);
  CWyCollectorReader(*this, source).Read();
  return true;
}

// A pattern that matches no file includes nothing, as for the collectors themselves.
bool CWyCollectorConfig::ReadIncluded(const std::string& strPattern, const std::string& strFrom) {
  std::string strPath = strPattern;
  if (!strPath.starts_with('/')) strPath = strFrom.substr(0, strFrom.rfind('/') + 1) + strPath;
  glob_t found{};
  bool bAll = true;
  const bool bPattern = strPath.find_first_of("*?[") != std::string::npos;
  if (::glob(strPath.c_str(), 0, nullptr, &found) == 0) {
    for (std::size_t u = 0; u < found.gl_pathc; ++u) bAll &= Read(found.gl_pathv[u]);
  } else if (!bPattern) {
    bAll = Read(strPath);
  }
  globfree(&found);
  return bAll;
}

bool CWyCollectorConfig::ReadEnvironment(const std::string& strFile) {
  std::string strReason;
  const auto text = ReadWholeFile(strFile, strReason);
  if (!text) {
    m_context.Error(strFile + ": " + strReason);
    return false;
  }
  std::istringstream lines(*text);
  for (std::string strLine; std::getline(lines, strLine);) {
    const std::size_t uEqual = strLine.find('=');
    if (strLine.empty() || strLine[0] == '#' || strLine[0] == ';' || uEqual == strLine.npos) {
      continue;
    }
    std::string strValue = strLine.substr(uEqual + 1);
    if (strValue.size() > 1 && (strValue[0] == '"' || strValue[0] == '\'') &&
        strValue.back() == strValue[0]) {
      strValue = strValue.substr(1, strValue.size() - 2);
    }
    m_environment[strLine.substr(0, uEqual)] = strValue;
  }
  return true;
}

std::string CWyCollectorConfig::Variable(const std::string& strName, const WyLocation& where) {
  const auto found = m_environment.find(strName);
  if (found != m_environment.end()) return found->second;
  const char* const pszValue = std::getenv(strName.c_str());
  if (pszValue != nullptr) return pszValue;
  m_diagnostics
      .Error("S102", where, "the variable " + strName + " is not set, and is read as empty")
      .Help("--env FILE names the file with the variables, such as /etc/wyerrlog/shipping.env");
  return "";
}

bool CWyCollectorConfig::HasCollector(WyCollector collector) const {
  return std::any_of(
      m_objects.begin(), m_objects.end(),
      [collector](const WyCollectorObject& object) { return object.collector == collector; });
}
