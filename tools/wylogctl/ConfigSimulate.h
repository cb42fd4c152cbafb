#ifndef WYLOGCTL_CONFIGSIMULATE_H
#define WYLOGCTL_CONFIGSIMULATE_H

// "config simulate": what becomes of a record under a trace configuration.

class CWyProgram;

void RegisterConfigSimulateCommand(CWyProgram& program);

#endif
