#ifndef WYLOGCTL_LOGCOMMAND_H
#define WYLOGCTL_LOGCOMMAND_H

// "wylogctl log": shows the records of logs.

class CWyProgram;

void RegisterLogCommand(CWyProgram& program);

#endif
