#ifndef WYLOGCTL_SEALVERIFYCOMMAND_H
#define WYLOGCTL_SEALVERIFYCOMMAND_H

// wylogctl seal verify: names every change of a sealed log.

class CWyProgram;

void RegisterSealVerifyCommand(CWyProgram& program);

#endif
