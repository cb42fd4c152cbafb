#ifndef WYLOGCTL_PROGRAM_H
#define WYLOGCTL_PROGRAM_H

// The program: its commands, and what happens between the command line and the exit code. A command
// is one pair of files XxxCommand.{h,cpp} with one function that adds it here; main.cpp calls it.

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "tools/wylogctl/Command.h"

namespace CLI {
class ParseError;
}

class CWyProgram {
 public:
  CWyProgram();
  ~CWyProgram();
  CWyProgram(const CWyProgram&) = delete;
  CWyProgram& operator=(const CWyProgram&) = delete;

  // A command, by a name of one word or two ("config check"). The formats are what -o accepts, the
  // first being the default; none for a command without results. The reference stays valid.
  CWyCommand& Add(const std::string& strName, const std::string& strSummary,
                  const std::vector<std::string>& formats);

  // The exit code.
  int Run(int iCount, char** ppszArguments);

  const std::deque<CWyCommand>& Commands() const { return m_commands; }

 private:
  CLI::App& ParserOf(const std::string& strName);
  int Refuse(const CLI::ParseError& error);
  std::string Suggestion(const std::string& strWord) const;

  std::unique_ptr<CLI::App> m_pApp;
  CWyContext m_context;
  std::deque<CWyCommand> m_commands;
  std::string m_strFirst;  // word of the command line
};

#endif
