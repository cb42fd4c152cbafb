#ifndef TESTS_TOOLS_RUNPROGRAM_H
#define TESTS_TOOLS_RUNPROGRAM_H

// Runs a program as a shell would, and keeps what it prints.

#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

struct ProgramResult {
  int iExit = -1;
  std::string strOut;
  std::string strError;
};

// `strCommand` is a shell's command line, run in `strFolder`; times are those of Berlin.
inline ProgramResult RunProgram(const std::string& strFolder, const std::string& strCommand) {
  const auto read = [&](const char* pszName) {
    std::ifstream file(strFolder + pszName, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const std::string strLine = "cd '" + strFolder +
                              "' && export TZ=Europe/Berlin NO_COLOR= WYLOGCTL=" WYLOGCTL
                              " && unset ORVA_WA_ROOT WYLOGCTL_MESSAGES && { " +
                              strCommand + "; } >.out 2>.err </dev/null";
  const int iStatus = std::system(strLine.c_str());
  return {WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -1, read("/.out"), read("/.err")};
}

#endif
