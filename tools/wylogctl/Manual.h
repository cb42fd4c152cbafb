#ifndef WYLOGCTL_MANUAL_H
#define WYLOGCTL_MANUAL_H

// What is written from the commands' tables: the texts of --help, the man page, and the completions
// of bash and zsh.

#include <memory>
#include <string>

class CWyProgram;
namespace CLI {
class FormatterBase;
}

std::string WyManPage(const CWyProgram& program);
std::string WyBashCompletion(const CWyProgram& program);
std::string WyZshCompletion(const CWyProgram& program);

// Writes the texts of --help. The program must outlive it.
std::shared_ptr<CLI::FormatterBase> WyHelpFormatter(const CWyProgram& program);

// Adds the command that prints the man page and the completions.
void RegisterCompletionCommand(CWyProgram& program);

#endif
