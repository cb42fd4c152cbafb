// Entering options into the parser and the table at once.

#include "tools/wylogctl/Command.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <sstream>

std::vector<std::string> WyOptionInfo::Names() const {
  std::vector<std::string> names;
  std::istringstream stream(strNames);
  for (std::string strName; std::getline(stream, strName, ',');) names.push_back(strName);
  return names;
}

CWyCommand::CWyCommand(std::string strName, std::string strSummary, CLI::App& app)
    : m_strName(std::move(strName)), m_strSummary(std::move(strSummary)), m_app(app) {
  m_options.push_back({"-h,--help", "", "Print this and end", {}, false, false});
}

// A list takes one value each time it is given: the words behind it are arguments.
void CWyCommand::Adjust(CLI::Option* pOption) {
  if (pOption->get_expected_max() > 1) pOption->allow_extra_args(false);
}

CWyCommand& CWyCommand::Flag(const std::string& strNames, const std::string& strHelp,
                             bool& bTarget) {
  m_app.add_flag(strNames, bTarget, strHelp);
  m_options.push_back({strNames, "", strHelp, {}, false, false});
  return *this;
}

template <class T>
CWyCommand& CWyCommand::Value(const std::string& strNames, const std::string& strValue,
                              const std::string& strHelp, T& target) {
  Adjust(m_app.add_option(strNames, target, strHelp));
  m_options.push_back({strNames, strValue, strHelp, {}, false, false});
  return *this;
}
using Text = const std::string&;
template CWyCommand& CWyCommand::Value(Text, Text, Text, std::string&);
template CWyCommand& CWyCommand::Value(Text, Text, Text, std::vector<std::string>&);
template CWyCommand& CWyCommand::Value(Text, Text, Text, int&);
template CWyCommand& CWyCommand::Value(Text, Text, Text, std::optional<std::uint64_t>&);
template CWyCommand& CWyCommand::Value(Text, Text, Text, std::optional<double>&);

CWyCommand& CWyCommand::Choice(const std::string& strNames, const std::string& strValue,
                               const std::string& strHelp, std::string& strTarget,
                               const std::vector<std::string>& choices) {
  m_app.add_option(strNames, strTarget, strHelp)->check(CLI::IsMember(choices));
  m_options.push_back({strNames, strValue, strHelp, choices, false, false});
  return *this;
}

CWyCommand& CWyCommand::File(const std::string& strNames, const std::string& strHelp,
                             std::string& strTarget) {
  m_app.add_option(strNames, strTarget, strHelp);
  m_options.push_back({strNames, "FILE", strHelp, {}, false, true});
  return *this;
}

CWyCommand& CWyCommand::Arguments(const std::string& strName, const std::string& strHelp,
                                  std::vector<std::string>& targets) {
  m_app.add_option(strName, targets, strHelp);
  m_options.push_back({strName, strName + "...", strHelp, {}, true, true});
  return *this;
}

CWyCommand& CWyCommand::Argument(const std::string& strName, const std::string& strHelp,
                                 std::string& strTarget, const std::vector<std::string>& choices) {
  CLI::Option* const pOption = m_app.add_option(strName, strTarget, strHelp)->required();
  if (!choices.empty()) pOption->check(CLI::IsMember(choices));
  m_options.push_back({strName, strName, strHelp, choices, true, false});
  return *this;
}

CWyCommand& CWyCommand::About(const std::string& strText) {
  m_paragraphs.push_back(strText);
  return *this;
}

CWyCommand& CWyCommand::Example(const std::string& strCommand, const std::string& strWhat) {
  m_examples.emplace_back(strCommand, strWhat);
  return *this;
}
