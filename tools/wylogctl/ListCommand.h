#ifndef WYLOGCTL_LISTCOMMAND_H
#define WYLOGCTL_LISTCOMMAND_H

// "wylogctl list": lists components, fields and messages.

class CWyProgram;

void RegisterListCommand(CWyProgram& program);

#endif
