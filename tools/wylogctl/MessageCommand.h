#ifndef WYLOGCTL_MESSAGECOMMAND_H
#define WYLOGCTL_MESSAGECOMMAND_H

// "wylogctl message": explains one message.

class CWyProgram;

void RegisterMessageCommand(CWyProgram& program);

#endif
