#ifndef WYLOGCTL_REPORTCOMMAND_H
#define WYLOGCTL_REPORTCOMMAND_H

// wylogctl report: a page made from the store.

class CWyProgram;
void RegisterReportCommand(CWyProgram& program);

#endif
