// One subsection for each command, with its arguments and options in the order of --help.
#include "tools/wymsgc/ManPage.h"

#include "tools/common/Roff.h"

namespace {

std::string Synopsis(const CLI::App& command) {
  std::string strText = "wymsgc " + command.get_name() + " [OPTION]...";
  for (const CLI::Option* const pOption : command.get_options()) {
    if (!pOption->get_positional()) continue;
    const bool bMany = pOption->get_expected_max() > 1;
    strText += (pOption->get_required() ? " " : " [") + pOption->get_type_name() +
               (bMany ? "..." : "") + (pOption->get_required() ? "" : "]");
  }
  return strText;
}

std::string Entry(const CLI::Option& option) {
  const bool bArgument = option.get_positional();
  std::string strName = bArgument ? option.get_type_name() : option.get_name(false, true);
  const bool bValue = !bArgument && option.get_expected_max() > 0;
  if (bValue) strName += " " + option.get_type_name();
  return ".TP\n.B " + Roff(strName) + "\n" + Roff(option.get_description()) + "\n";
}

}  // namespace

std::string ManPage(const CLI::App& app) {
  std::string strText = ".TH WYMSGC 1\n.SH NAME\nwymsgc \\- " +
                        Roff("compile and check the messages of a component") + "\n.SH SYNOPSIS\n";
  std::string strCommands;
  const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
  for (const CLI::App* const pCommand : commands) {
    strText += ".B " + Roff(Synopsis(*pCommand)) + "\n.br\n";
    strCommands +=
        ".SS " + Roff(pCommand->get_name()) + "\n" + Roff(pCommand->get_description()) + ".\n";
    for (const CLI::Option* const pOption : pCommand->get_options()) strCommands += Entry(*pOption);
  }
  return strText + ".SH COMMANDS\n" + strCommands + ".SH EXIT STATUS\n" + Roff(app.get_footer()) +
         "\n.SH ENVIRONMENT\n.TP\n.B NO_COLOR\nNo colours with \\-\\-color=auto.\n";
}
