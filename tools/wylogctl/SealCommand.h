#ifndef WYLOGCTL_SEALCOMMAND_H
#define WYLOGCTL_SEALCOMMAND_H

// The commands of sealed logs: wylogctl seal create, renew, status, append and verify.

class CWyProgram;

void RegisterSealCommands(CWyProgram& program);

#endif
