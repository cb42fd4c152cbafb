#ifndef WYLOGCTL_SHIPCOMMAND_H
#define WYLOGCTL_SHIPCOMMAND_H

// wylogctl ship check: whether a host's logs reach the store before they are deleted.

class CWyProgram;
void RegisterShipCommand(CWyProgram& program);

#endif
