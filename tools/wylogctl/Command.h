#ifndef WYLOGCTL_COMMAND_H
#define WYLOGCTL_COMMAND_H

// One command of the program, with the table of its options. What is entered here is what the
// parser accepts, what --help prints, and what the man page and the completions contain.
//
//   CWyCommand& command = program.Add("files", "List the files of logs", {"table", "json"});
//   command.Arguments("PATH", "A log; its backups belong to it", pOptions->paths);
//   command.Flag("--all", "Also empty files", pOptions->bAll);
//   command.Run([pOptions](CWyContext& context) { return RunFiles(context, *pOptions); });

#include <functional>
#include <string>
#include <vector>

#include "tools/wylogctl/Context.h"

// CLI11 is included by few sources alone: it takes longer to compile than all else in the others.
namespace CLI {
class App;
class Option;
}  // namespace CLI

struct WyOptionInfo {
  std::string strNames;  // "-n,--lines"; of an argument its name
  std::string strValue;  // "N"; empty for a flag
  std::string strHelp;
  std::vector<std::string> choices;
  bool bArgument = false;
  bool bFile = false;  // completed with file names

  std::vector<std::string> Names() const;
};

class CWyCommand {
 public:
  CWyCommand(std::string strName, std::string strSummary, CLI::App& app);

  CWyCommand& Flag(const std::string& strNames, const std::string& strHelp, bool& bTarget);
  CWyCommand& Choice(const std::string& strNames, const std::string& strValue,
                     const std::string& strHelp, std::string& strTarget,
                     const std::vector<std::string>& choices);
  CWyCommand& File(const std::string& strNames, const std::string& strHelp, std::string& strTarget);
  CWyCommand& Arguments(const std::string& strName, const std::string& strHelp,
                        std::vector<std::string>& targets);
  CWyCommand& Argument(const std::string& strName, const std::string& strHelp,
                       std::string& strTarget, const std::vector<std::string>& choices = {});
  // Texts and numbers, optional ones, and lists of texts: those that Command.cpp instantiates.
  template <class T>
  CWyCommand& Value(const std::string& strNames, const std::string& strValue,
                    const std::string& strHelp, T& target);

  // Paragraphs for the man page and --help, and a command to copy with what it does.
  CWyCommand& About(const std::string& strText);
  CWyCommand& Example(const std::string& strCommand, const std::string& strWhat);

  void Run(std::function<int(CWyContext&)> run) { m_run = std::move(run); }
  int Start(CWyContext& context) const { return m_run(context); }

  const std::string& Name() const { return m_strName; }
  const std::string& Summary() const { return m_strSummary; }
  const std::vector<WyOptionInfo>& Options() const { return m_options; }
  const std::vector<std::string>& Paragraphs() const { return m_paragraphs; }
  const std::vector<std::pair<std::string, std::string>>& Examples() const { return m_examples; }
  const CLI::App& Parser() const { return m_app; }

 private:
  static void Adjust(CLI::Option* pOption);

  std::string m_strName;  // "list", or "config check"
  std::string m_strSummary;
  CLI::App& m_app;
  std::vector<WyOptionInfo> m_options;
  std::vector<std::string> m_paragraphs;
  std::vector<std::pair<std::string, std::string>> m_examples;
  std::function<int(CWyContext&)> m_run;
};

#endif
