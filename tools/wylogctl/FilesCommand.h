#ifndef WYLOGCTL_FILESCOMMAND_H
#define WYLOGCTL_FILESCOMMAND_H

// "wylogctl files": lists the files that logs consist of.

class CWyProgram;

void RegisterFilesCommand(CWyProgram& program);

#endif
