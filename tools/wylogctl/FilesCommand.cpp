// The files of logs in the order in which the other commands read them.

#include "tools/wylogctl/FilesCommand.h"

#include <memory>

#include "tools/wylogctl/LogInput.h"
#include "tools/wylogctl/Places.h"
#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/Table.h"
#include "wyerrlog/WyErrLogMessage.h"

namespace {

// The number of a trace's layout, as the program that traces gives it.
std::uint64_t LayoutOf(WyLogFormat kind) {
  if (kind == WyLogFormat::Json) return WyTraceLayout::Json;
  return static_cast<std::uint64_t>(kind) - static_cast<std::uint64_t>(WyLogFormat::Brackets);
}

WyCell TimeCell(WyCivil time) {
  if (time == WyNoTime) return {};
  std::string strTime;
  WyAppendIso(strTime, time, false);
  return strTime;
}

int RunFiles(CWyContext& context, const WyInputOptions& options) {
  context.Start(true);
  CWyLogInput input(context);
  if (!input.Open(options)) return WyFailed;
  CWyTable table(context, {"file", "log", "layout", "size", "first", "last"});
  bool bAny = false;
  for (auto& stream : input.Streams()) {
    const auto& files = stream.pReader->Files();
    const CWyPlaces places(files, input.GivenShape(), WyTitleSearch::Whole);
    for (std::size_t i = 0; i < files.size(); ++i) {
      const auto pShape = places.ShapeAt(i, files[i].uSize);
      if (pShape == nullptr && files[i].uSize > 0) {
        context.Error(files[i].strPath + ": cannot be read");
        continue;
      }
      bAny = true;
      const bool bTrace = pShape != nullptr && WyIsTrace(pShape->kind);
      const std::uint64_t uLayout = bTrace ? LayoutOf(pShape->kind) : 0;
      table.Row({files[i].strPath,
                 pShape == nullptr ? WyCell("empty") : WyCell(WyLogOfKind(pShape->kind)),
                 bTrace ? WyCell(uLayout) : WyCell(), files[i].uSize, TimeCell(places.FirstTime(i)),
                 TimeCell(places.LastTime(i).time)});
    }
  }
  table.End();
  return context.Exit(bAny);
}

}  // namespace

void RegisterFilesCommand(CWyProgram& program) {
  auto pOptions = std::make_shared<WyInputOptions>();
  CWyCommand& command =
      program.Add("files", "List the files of logs, oldest first", {"table", "json", "csv"});
  WyAddInput(command, *pOptions, false);
  command.Example("wylogctl files /var/log/app/trace.log",
                  "Which backups there are, and from when to when");
  command.Run([pOptions](CWyContext& context) { return RunFiles(context, *pOptions); });
}
