#ifndef WYLOGCTL_CONFIGCOMMAND_H
#define WYLOGCTL_CONFIGCOMMAND_H

// "config check" and "config explain": whether a trace configuration does what it seems to do, and
// what it does. ("config simulate" is in a file of its own.)

#include "tools/wylogctl/ConfigFile.h"

class CWyCommand;
class CWyProgram;

void RegisterConfigCommands(CWyProgram& program);

// Adds what all three commands have.
void WyAddConfigOptions(CWyCommand& command, WyConfigOptions& options);

#endif
