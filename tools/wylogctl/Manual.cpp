// Four forms of the same tables. The exit codes and the environment are in all that have room.

#include "tools/wylogctl/Manual.h"

#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "tools/common/Roff.h"
#include "tools/wylogctl/Program.h"

namespace {

constexpr const char* ExitCodes =
    "Exit codes: 0 found or clean, 1 nothing found or findings, 2 it could not be done.";

std::string Left(const WyOptionInfo& option) {
  std::string strText;
  for (const std::string& strName : option.Names()) {
    if (!strText.empty()) strText += ", ";
    strText += strName;
  }
  if (option.bArgument) return option.strValue;
  return option.strValue.empty() ? strText : strText + " " + option.strValue;
}

std::string Right(const WyOptionInfo& option) {
  if (option.choices.empty()) return option.strHelp;
  std::string strText = option.strHelp + " (";
  for (const std::string& strChoice : option.choices) {
    if (strText.back() != '(') strText += ", ";
    strText += strChoice;
  }
  return strText + ")";
}

std::string Usage(const CWyCommand& command) {
  std::string strText = "wylogctl " + command.Name() + " [OPTION]...";
  for (const WyOptionInfo& option : command.Options()) {
    if (option.bArgument) strText += " " + option.strValue;
  }
  return strText;
}

std::string Column(const std::string& strLeft, const std::string& strRight) {
  constexpr std::size_t Width = 26;
  std::string strText = "  " + strLeft;
  if (strText.size() + 2 > Width) {
    strText += "\n" + std::string(Width, ' ');
  } else {
    strText.resize(Width, ' ');
  }
  return strText + strRight + "\n";
}

std::string CommandHelp(const CWyCommand& command) {
  std::string strText = command.Summary() + ".\n\nUsage: " + Usage(command) + "\n\n";
  for (const WyOptionInfo& option : command.Options()) {
    strText += Column(Left(option), Right(option));
  }
  for (const std::string& strParagraph : command.Paragraphs())
    strText += "\n" + strParagraph + "\n";
  for (const auto& [strCommand, strWhat] : command.Examples()) {
    strText += "\n" + strWhat + ":\n  " + strCommand + "\n";
  }
  return strText + "\n" + ExitCodes + "\n";
}

std::string ProgramHelp(const CWyProgram& program) {
  std::string strText =
      "Reads the logs that libwyerrlog writes.\n\nUsage: wylogctl COMMAND [OPTION]...\n\n";
  for (const CWyCommand& command : program.Commands()) {
    strText += Column(command.Name(), command.Summary());
  }
  return strText + "\nwylogctl COMMAND --help lists its options. " + ExitCodes + "\n";
}

// A text within single quotes of a shell.
std::string Quoted(const std::string& strText) {
  std::string strQuoted;
  for (const char c : strText) strQuoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return strQuoted;
}

// The same where brackets and colons have a meaning, in zsh.
std::string ZshText(const std::string& strText) {
  std::string strEscaped;
  for (const char c : strText) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') strEscaped += '\\';
    strEscaped += c;
  }
  return Quoted(strEscaped);
}

std::string Joined(const std::vector<std::string>& words) {
  std::string strText;
  for (const std::string& strWord : words) strText += (strText.empty() ? "" : " ") + strWord;
  return strText;
}

std::string CaseLabel(const std::string& strName) {
  std::string strLabel = strName;
  for (char& c : strLabel) c = c == ' ' ? '_' : c;
  return strLabel;
}

// Of commands like "seal verify": the second words, by the first.
std::map<std::string, std::vector<std::string>> SecondWordsOf(
    const std::vector<std::string>& names) {
  std::map<std::string, std::vector<std::string>> secondWords;
  for (const std::string& strName : names) {
    const std::size_t uSpace = strName.find(' ');
    if (uSpace == std::string::npos) continue;
    secondWords[strName.substr(0, uSpace)].push_back(strName.substr(uSpace + 1));
  }
  return secondWords;
}

std::string FirstWords(const std::vector<std::string>& names) {
  std::vector<std::string> words;
  for (const std::string& strName : names) {
    const std::string strFirst = strName.substr(0, strName.find(' '));
    if (words.empty() || words.back() != strFirst) words.push_back(strFirst);
  }
  return Joined(words);
}

void AppendBashCase(std::string& strText, const CWyCommand& command) {
  std::vector<std::string> names;
  std::string strValues;
  for (const WyOptionInfo& option : command.Options()) {
    if (option.bArgument && !option.choices.empty()) names.push_back(Joined(option.choices));
    if (option.bArgument) continue;
    for (const std::string& strName : option.Names()) names.push_back(strName);
    if (option.choices.empty()) continue;
    std::string strLabel = option.strNames;
    for (std::size_t u; (u = strLabel.find(',')) != std::string::npos;) strLabel[u] = '|';
    strValues += "        " + strLabel + ") words='" + Joined(option.choices) + "' ;;\n";
  }
  strText += "    " + CaseLabel(command.Name()) + ")\n      words='" + Joined(names) + "'\n";
  if (!strValues.empty()) strText += "      case \"$previous\" in\n" + strValues + "      esac\n";
  strText += "      ;;\n";
}

void AppendZshCase(std::string& strText, const CWyCommand& command) {
  strText += "  '" + command.Name() + "') _arguments \\\n";
  for (const WyOptionInfo& option : command.Options()) {
    const std::string strValues = !option.choices.empty() ? "(" + Joined(option.choices) + ")"
                                  : option.bFile          ? "_files"
                                                          : "";
    if (option.bArgument) {
      strText += "    '*:" + ZshText(option.strValue) + ":" + strValues + "' \\\n";
      continue;
    }
    for (const std::string& strName : option.Names()) {
      strText += "    '*" + strName + "[" + ZshText(option.strHelp) + "]";
      if (!option.strValue.empty()) strText += ":" + option.strValue + ":" + strValues;
      strText += "' \\\n";
    }
  }
  strText += "    && return ;;\n";
}

class CWyHelpFormatter : public CLI::FormatterBase {
 public:
  explicit CWyHelpFormatter(const CWyProgram& program) : m_program(program) {}
  std::string make_help(const CLI::App* pApp, std::string, CLI::AppFormatMode) const override {
    for (const CWyCommand& command : m_program.Commands()) {
      if (&command.Parser() == pApp) return CommandHelp(command);
    }
    return ProgramHelp(m_program);
  }

 private:
  const CWyProgram& m_program;
};

}  // namespace

std::shared_ptr<CLI::FormatterBase> WyHelpFormatter(const CWyProgram& program) {
  return std::make_shared<CWyHelpFormatter>(program);
}

std::string WyManPage(const CWyProgram& program) {
  std::string strText =
      ".TH WYLOGCTL 1\n.SH NAME\nwylogctl \\- read the logs that libwyerrlog writes\n.SH "
      "SYNOPSIS\n";
  for (const CWyCommand& command : program.Commands()) {
    strText += ".B " + Roff(Usage(command)) + "\n.br\n";
  }
  strText += ".SH COMMANDS\n";
  for (const CWyCommand& command : program.Commands()) {
    strText += ".SS " + Roff(command.Name()) + "\n" + Roff(command.Summary()) + ".\n";
    for (const WyOptionInfo& option : command.Options()) {
      strText += ".TP\n.B " + Roff(Left(option)) + "\n" + Roff(Right(option)) + "\n";
    }
    for (const std::string& strParagraph : command.Paragraphs()) {
      strText += ".PP\n" + Roff(strParagraph) + "\n";
    }
    for (const auto& [strCommand, strWhat] : command.Examples()) {
      strText += ".PP\n" + Roff(strWhat) + ":\n.PP\n.nf\n" + Roff(strCommand) + "\n.fi\n";
    }
  }
  strText += ".SH EXIT STATUS\n" + Roff(ExitCodes) + "\n.SH ENVIRONMENT\n";
  strText += ".TP\n.B NO_COLOR\nNo colours with \\-\\-color=auto.\n";
  strText += ".TP\n.B WYLOGCTL_PAGER, PAGER\nThe pager on a terminal; empty or cat for none.\n";
  strText +=
      ".TP\n.B WYLOGCTL_MESSAGES\nThe folder of manifests and catalogs, for \\-\\-messages.\n";
  return strText;
}

std::string WyBashCompletion(const CWyProgram& program) {
  std::vector<std::string> names;
  for (const CWyCommand& command : program.Commands()) names.push_back(command.Name());
  std::string strText = R"(# bash completion of wylogctl
_wylogctl() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} words=''
  local command=${COMP_WORDS[1]}
  [[ $COMP_CWORD -gt 2 ]] && case "${COMP_WORDS[1]}_${COMP_WORDS[2]}" in
)";
  for (const std::string& strName : names) {
    if (strName.find(' ') == std::string::npos) continue;
    const std::string strLabel = CaseLabel(strName);
    strText += "    " + strLabel + ") command=" + strLabel + " ;;\n";
  }
  strText += "  esac\n  if [[ $COMP_CWORD -eq 1 ]]; then\n    words='" + FirstWords(names) +
             " --help --version'\n  else case \"$command\" in\n";
  for (const auto& [strFirst, words] : SecondWordsOf(names)) {
    strText += "    " + strFirst + ") words='" + Joined(words) + "' ;;\n";
  }
  for (const CWyCommand& command : program.Commands()) AppendBashCase(strText, command);
  return strText + R"(  esac; fi
  COMPREPLY=($(compgen -W "$words" -- "$word"))
  [[ ${#COMPREPLY[@]} -gt 0 || $word == -* ]] || COMPREPLY=($(compgen -f -- "$word"))
}
complete -o filenames -F _wylogctl wylogctl
)";
}

std::string WyZshCompletion(const CWyProgram& program) {
  std::vector<std::string> names;
  std::map<std::string, std::string> described;  // "'check:Find what ...' ", by the first word
  std::string strFirst;
  for (const CWyCommand& command : program.Commands()) {
    names.push_back(command.Name());
    const std::string& strName = command.Name();
    const std::size_t uSpace = strName.find(' ');
    if (uSpace == std::string::npos) {
      strFirst += "  '" + ZshText(strName) + ":" + ZshText(command.Summary()) + "'\n";
    } else {
      described[strName.substr(0, uSpace)] +=
          " '" + ZshText(strName.substr(uSpace + 1)) + ":" + ZshText(command.Summary()) + "'";
    }
  }
  for (const auto& [strGroup, words] : SecondWordsOf(names)) {
    strFirst += "  '" + strGroup + ":" + Joined(words) + "'\n";
  }
  std::string strText = "#compdef wylogctl\nlocal -a commands seconds\ncommands=(\n" + strFirst +
                        ")\nif (( CURRENT == 2 )); then _describe command commands; return; fi\n"
                        "local command=$words[2]\ncase $command in\n";
  for (const auto& [strGroup, strSeconds] : described) {
    strText += "  " + strGroup + ") seconds=(" + strSeconds.substr(1) + ") ;;\n";
  }
  strText +=
      "esac\nif (( $#seconds )); then\n"
      "  if (( CURRENT == 3 )); then _describe command seconds; return; fi\n"
      "  command+=\" $words[3]\"; shift words; (( CURRENT-- ))\nfi\n"
      "shift words; (( CURRENT-- ))\ncase $command in\n";
  for (const CWyCommand& command : program.Commands()) AppendZshCase(strText, command);
  return strText + "esac\n";
}

void RegisterCompletionCommand(CWyProgram& program) {
  auto pWhat = std::make_shared<std::string>();
  CWyCommand& command =
      program.Add("completion", "Print the completion of a shell, or the man page", {});
  command.Argument("WHAT", "What to print", *pWhat, {"bash", "zsh", "man"});
  command.Example("source <(wylogctl completion bash)", "Completion in this shell");
  command.Run([pWhat, &program](CWyContext& context) {
    if (*pWhat == "bash") context.out.Write(WyBashCompletion(program));
    if (*pWhat == "zsh") context.out.Write(WyZshCompletion(program));
    if (*pWhat == "man") context.out.Write(WyManPage(program));
    return static_cast<int>(WyFound);
  });
}
