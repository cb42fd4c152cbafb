#ifndef WYLOGCTL_VERIFYCOMMAND_H
#define WYLOGCTL_VERIFYCOMMAND_H

// "wylogctl verify": looks for damage in logs.

class CWyProgram;

void RegisterVerifyCommand(CWyProgram& program);

#endif
