#ifndef WYLOGCTL_STATSCOMMAND_H
#define WYLOGCTL_STATSCOMMAND_H

// "wylogctl stats": counts the records of logs.

class CWyProgram;

void RegisterStatsCommand(CWyProgram& program);

#endif
