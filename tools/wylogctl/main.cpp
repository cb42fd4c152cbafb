// wylogctl: the command for those who run the programs that log. Each command adds itself here.

#include "tools/wylogctl/ConfigCommand.h"
#include "tools/wylogctl/ConfigSimulate.h"
#include "tools/wylogctl/FilesCommand.h"
#include "tools/wylogctl/ListCommand.h"
#include "tools/wylogctl/LogCommand.h"
#include "tools/wylogctl/Manual.h"
#include "tools/wylogctl/MessageCommand.h"
#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/ReportCommand.h"
#include "tools/wylogctl/ShipCommand.h"
#include "tools/wylogctl/StatsCommand.h"
#include "tools/wylogctl/VerifyCommand.h"
#ifdef WYLOGCTL_SEAL
#include "tools/wylogctl/SealCommand.h"
#endif

int main(int iCount, char** ppszArguments) {
  CWyProgram program;
  RegisterLogCommand(program);
  RegisterStatsCommand(program);
  RegisterVerifyCommand(program);
  RegisterFilesCommand(program);
  RegisterListCommand(program);
  RegisterMessageCommand(program);
  RegisterConfigCommands(program);
  RegisterConfigSimulateCommand(program);
  RegisterShipCommand(program);
  RegisterReportCommand(program);
#ifdef WYLOGCTL_SEAL
  RegisterSealCommands(program);
#endif
  RegisterCompletionCommand(program);
  return program.Run(iCount, ppszArguments);
}
