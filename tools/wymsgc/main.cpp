// wymsgc, the message compiler: one definition file per component becomes its C++ header and
// source, its Java class, its English catalog, a manifest and a table; translations are checked
// against it.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "tools/wymsgc/Commands.h"
#include "tools/wymsgc/ManPage.h"

namespace {

struct Arguments {
  WySettings settings;
  std::string strFormat = "text", strColor = "auto";
  std::vector<std::string> allowed, required, reviewed;
  std::string strFile, strFolder, strInstalled, strHeader, strSource, strOutput;
  std::vector<std::string> catalogs;
  bool bUpdate = false;
};

std::string WarningCode(const std::string& strCode) {
  const auto& codes = WarningCodes();
  if (std::find(codes.begin(), codes.end(), strCode) != codes.end()) return {};
  return strCode + " is not the code of a warning; those are " + codes.front() + " to " +
         codes.back();
}

void AddCommonOptions(CLI::App& command, Arguments& arguments) {
  command.add_option("--format", arguments.strFormat, "Form of the findings")
      ->check(CLI::IsMember({"text", "json"}))
      ->capture_default_str();
  command.add_option("--color", arguments.strColor, "Colours; auto: on a terminal")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->capture_default_str();
  command.add_flag("--werror", arguments.settings.policy.bWarningsAreErrors, "Warnings are errors");
  command.add_option("--allow", arguments.allowed, "Do not report this warning")
      ->type_name("CODE")
      ->check(WarningCode)
      ->allow_extra_args(false);
}

void AddRequire(CLI::App& command, Arguments& arguments) {
  command
      .add_option("--require", arguments.required,
                  "A missing translation into this language is an error")
      ->type_name("LOCALE")
      ->allow_extra_args(false);
}

CLI::App& AddCommand(CLI::App& app, Arguments& arguments, const char* pszName,
                     const char* pszDescription) {
  CLI::App& command = *app.add_subcommand(pszName, pszDescription);
  AddCommonOptions(command, arguments);
  return command;
}

void AddCatalogOption(CLI::App& command, Arguments& arguments) {
  command.add_option("--catalog", arguments.catalogs, "A translation to check")
      ->type_name("FILE")
      ->allow_extra_args(false);
}

void AddCompile(CLI::App& app, Arguments& arguments) {
  CLI::App& command = AddCommand(app, arguments, "compile",
                                 "Check a definition, and write what is "
                                 "made of it");
  command.add_option("definition", arguments.strFile, "The component's definition")
      ->type_name("FILE.wymsg")
      ->required();
  AddCatalogOption(command, arguments);
  AddRequire(command, arguments);
  command.add_option("--out", arguments.strFolder, "Folder of the outputs")
      ->type_name("DIR")
      ->required();
}

void AddCheck(CLI::App& app, Arguments& arguments) {
  CLI::App& command =
      AddCommand(app, arguments, "check", "Check a definition and its translations");
  CLI::Option* const pFile =
      command.add_option("definition", arguments.strFile, "The component's definition")
          ->type_name("FILE.wymsg");
  command.add_option("catalogs", arguments.catalogs, "Translations to check")->type_name("CATALOG");
  AddRequire(command, arguments);
  command
      .add_option("--installed", arguments.strInstalled,
                  "Check the catalogs in this folder against the manifests there, without "
                  "sources")
      ->type_name("DIR")
      ->excludes(pFile);
}

void AddLock(CLI::App& app, Arguments& arguments) {
  CLI::App& command = AddCommand(app, arguments, "lock", "Compare a definition with its lock file");
  command.add_option("definition", arguments.strFile, "The component's definition")
      ->type_name("FILE.wymsg")
      ->required();
  CLI::Option* const pUpdate = command.add_flag("--update", arguments.bUpdate,
                                                "Write the lock file: the changes are intended");
  AddCatalogOption(command, arguments);
  command
      .add_option("--reviewed", arguments.reviewed,
                  "Translations into this language fit today's texts")
      ->type_name("LOCALE")
      ->needs(pUpdate)
      ->allow_extra_args(false);
}

void AddImport(CLI::App& app, Arguments& arguments) {
  CLI::App& command = AddCommand(app, arguments, "import",
                                 "Make a definition of a component that was written by hand");
  command.add_option("header", arguments.strHeader, "Its identifiers")
      ->type_name("HEADER")
      ->required();
  command.add_option("source", arguments.strSource, "Its keys and sub-components")
      ->type_name("SOURCE")
      ->required();
  command.add_option("catalogs", arguments.catalogs, "Its catalogs; the English one is needed")
      ->type_name("CATALOG")
      ->required();
  command.add_option("--out", arguments.strOutput, "Write to this file instead of standard output")
      ->type_name("FILE");
}

// Colours on a terminal, unless the user has asked for none (https://no-color.org).
WyColor ChosenColor(const Arguments& arguments) {
  if (arguments.strColor == "always") return WyColor::Always;
  const char* const pszNoColor = std::getenv("NO_COLOR");
  const bool bRefused = pszNoColor != nullptr && *pszNoColor != '\0';
  const bool bAuto = arguments.strColor == "auto" && !bRefused && ::isatty(STDERR_FILENO) == 1;
  return bAuto ? WyColor::Always : WyColor::Never;
}

int RunCheck(const Arguments& arguments) {
  if (!arguments.strInstalled.empty()) {
    return CheckInstalled(arguments.settings, arguments.strInstalled);
  }
  if (arguments.strFile.empty()) throw CWyFatal("check: name a definition, or --installed DIR");
  return Check(arguments.settings, arguments.strFile, arguments.catalogs);
}

int Run(const CLI::App& app, Arguments& arguments) {
  arguments.settings.bJson = arguments.strFormat == "json";
  arguments.settings.color = ChosenColor(arguments);
  arguments.settings.policy.allowed = {arguments.allowed.begin(), arguments.allowed.end()};
  arguments.settings.required = {arguments.required.begin(), arguments.required.end()};
  if (app.got_subcommand("man")) {
    std::cout << ManPage(app);
    return 0;
  }
  if (app.got_subcommand("compile")) {
    return Compile(arguments.settings, arguments.strFile, arguments.catalogs, arguments.strFolder);
  }
  if (app.got_subcommand("check")) return RunCheck(arguments);
  if (app.got_subcommand("import")) {
    return Import(arguments.settings, arguments.strHeader, arguments.strSource, arguments.catalogs,
                  arguments.strOutput);
  }
  // `lock` without --update: the comparison is a part of every check.
  if (!arguments.bUpdate) return Check(arguments.settings, arguments.strFile, arguments.catalogs);
  return UpdateLock(arguments.settings, arguments.strFile, arguments.catalogs,
                    {arguments.reviewed.begin(), arguments.reviewed.end()});
}

int Main(int argc, char** argv) {
  Arguments arguments;
  CLI::App app("The message compiler: messages of a component, compiled and checked", "wymsgc");
  app.require_subcommand(1);
  app.set_version_flag("--version", WYERRLOG_VERSION);
  app.footer("Exit codes: 0 clean or warnings alone, 1 errors, 2 could not do it.");
  AddCompile(app, arguments);
  AddCheck(app, arguments);
  AddLock(app, arguments);
  AddImport(app, arguments);
  app.add_subcommand("man", "Print the man page");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // CLI11 has codes above 100 of its own; scripts rely on 2 for "could not do it". --help and
    // --version return 0.
    return app.exit(error) == 0 ? 0 : 2;
  }
  return Run(app, arguments);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Main(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "wymsgc: " << error.what() << '\n';
    return 2;
  }
}
