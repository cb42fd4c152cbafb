#ifndef WYERRLOG_TOOLS_WYMSGC_MANPAGE_H
#define WYERRLOG_TOOLS_WYMSGC_MANPAGE_H

// The man page, from the options that the parser accepts and --help prints.

#include <CLI/CLI.hpp>
#include <string>

std::string ManPage(const CLI::App& app);

#endif
