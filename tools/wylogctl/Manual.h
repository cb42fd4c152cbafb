#ifndef WYLOGCTL_MANUAL_H
#define WYLOGCTL_MANUAL_H

// What is written from the commands' tables: the texts of --help, the man page, and the completions
// of bash and zsh.

#include <CLI/CLI.hpp>
#include <string>

class CWyProgram;

std::string WyManPage(const CWyProgram& program);
std::string WyBashCompletion(const CWyProgram& program);
std::string WyZshCompletion(const CWyProgram& program);

class CWyHelpFormatter : public CLI::FormatterBase {
 public:
  explicit CWyHelpFormatter(const CWyProgram& program) : m_program(program) {}
  std::string make_help(const CLI::App* pApp, std::string strName,
                        CLI::AppFormatMode mode) const override;

 private:
  const CWyProgram& m_program;
};

// Adds the command that prints the man page and the completions.
void RegisterCompletionCommand(CWyProgram& program);

#endif
