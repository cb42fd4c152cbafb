// From the command line to the command. Whatever is wrong with the command line ends with exit code
// 2 and names the word that is wrong.

#include "tools/wylogctl/Program.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>

#include "tools/common/EditDistance.h"
#include "tools/wylogctl/Manual.h"

namespace {

constexpr const char* Version = "wylogctl " WYLOGCTL_VERSION;
#ifndef WYLOGCTL_SEAL
constexpr const char* WithoutSeal =
    "wylogctl: error: this program is built without the library for sealed logs\n"
    "build it again with libsodium (Debian: libsodium-dev, pkgconf) and "
    "-DWYERRLOG_BUILD_EXTRAS=ON, or install the package wyerrlog-tools\n";
#endif

// The word in quotes or behind the last colon of the parser's message.
std::string WordOf(const std::string& strMessage) {
  const std::size_t u = strMessage.rfind(": ");
  return u == std::string::npos ? "" : strMessage.substr(u + 2);
}

}  // namespace

CWyProgram::CWyProgram()
    : m_pApp(std::make_unique<CLI::App>("Reads the logs that libwyerrlog writes", "wylogctl")) {
  m_pApp->set_version_flag("--version", Version);
  m_pApp->require_subcommand(1);
  m_pApp->formatter(WyHelpFormatter(*this));
}

CWyProgram::~CWyProgram() = default;

CLI::App& CWyProgram::ParserOf(const std::string& strName) {
  const std::size_t uBlank = strName.find(' ');
  if (uBlank == std::string::npos) return *m_pApp->add_subcommand(strName);
  const std::string strGroup = strName.substr(0, uBlank);
  const auto groups =
      m_pApp->get_subcommands([&](const CLI::App* pApp) { return pApp->get_name() == strGroup; });
  CLI::App* const pGroup = groups.empty() ? m_pApp->add_subcommand(strGroup) : groups[0];
  pGroup->require_subcommand(1);
  return *pGroup->add_subcommand(strName.substr(uBlank + 1));
}

CWyCommand& CWyProgram::Add(const std::string& strName, const std::string& strSummary,
                            const std::vector<std::string>& formats) {
  CWyCommand& command = m_commands.emplace_back(strName, strSummary, ParserOf(strName));
  WyCommonOptions& options = m_context.options;
  if (!formats.empty()) {
    command.Choice("-o,--output", "FORMAT", "How results are printed; the first is the default",
                   options.strFormat, formats);
  }
  command.Choice("--color", "WHEN", "Colours; auto: on a terminal, unless NO_COLOR is set",
                 options.strColor, {"auto", "always", "never"});
  command.Flag("--no-pager", "Do not start a pager, also on a terminal", options.bNoPager);
  command.Flag("-q,--quiet", "No notes and warnings, and no progress", options.bQuiet);
  command.Value("--messages", "DIR", "A folder with manifests and catalogs of messages",
                options.messages);
  return command;
}

std::string CWyProgram::Suggestion(const std::string& strWord) const {
  std::vector<std::string> known;
  for (const CWyCommand& command : m_commands) {
    known.push_back(command.Name().substr(0, command.Name().find(' ')));
    if (!command.Parser().parsed()) continue;
    for (const WyOptionInfo& option : command.Options()) {
      for (const std::string& strName : option.Names()) known.push_back(strName);
    }
  }
  const std::string_view nearest = NearestName(strWord.substr(0, strWord.find('=')), known);
  return nearest.empty() ? "" : "; did you mean " + std::string(nearest) + "?";
}

int CWyProgram::Refuse(const CLI::ParseError& error) {
  if (error.get_exit_code() == 0) return m_pApp->exit(error);  // --help, --version
  // A later word can be a command's name: "sael verify".
  const bool bKnown = std::any_of(m_commands.begin(), m_commands.end(), [&](const auto& command) {
    return command.Name().substr(0, command.Name().find(' ')) == m_strFirst;
  });
  const bool bCommand = !m_strFirst.empty() && m_strFirst[0] != '-' && !bKnown;
#ifndef WYLOGCTL_SEAL
  if (bCommand && m_strFirst == "seal") {
    std::fputs(WithoutSeal, stderr);
    return WyFailed;
  }
#endif
  const std::string strMessage =
      bCommand ? "no command has this name: " + m_strFirst : std::string(error.what());
  std::fprintf(stderr, "wylogctl: error: %s%s\nwylogctl --help lists what there is\n",
               strMessage.c_str(), Suggestion(WordOf(strMessage)).c_str());
  return WyFailed;
}

int CWyProgram::Run(int iCount, char** ppszArguments) {
  if (iCount > 1) m_strFirst = ppszArguments[1];
  try {
    m_pApp->parse(iCount, ppszArguments);
  } catch (const CLI::ParseError& error) {
    return Refuse(error);
  }
  for (const CWyCommand& command : m_commands) {
    if (!command.Parser().parsed()) continue;
    try {
      return command.Start(m_context);
    } catch (const std::exception& error) {
      m_context.Error(error.what());
      return WyFailed;
    }
  }
  return WyFailed;
}
