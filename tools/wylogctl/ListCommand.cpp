// What the library and the installed manifests know. No component is loaded for it.

#include "tools/wylogctl/ListCommand.h"

#include <memory>

#include "tools/wylogctl/Manifest.h"
#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/Table.h"
#include "wyerrlog/WyErrLogConfig.h"

namespace {

WyCell TextCell(const std::string& strText) { return strText.empty() ? WyCell() : WyCell(strText); }

void ListFields(CWyContext& context) {
  CWyTable table(context, {"number", "name", "width"});
  int iCount = 0;
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  GetKnownDataFields(&iCount, &pRows);
  for (int i = 0; i < iCount; ++i) {
    table.Row({static_cast<std::uint64_t>(i), pRows[i].pszName,
               static_cast<std::uint64_t>(pRows[i].iWidth)});
  }
  table.End();
}

// All components that the library knows by number; of those with a manifest, what it says.
void ListComponents(CWyContext& context, const CWyManifests& manifests) {
  CWyTable table(context, {"number", "name", "manifest", "about"});
  int iCount = 0;
  const char** ppszNames = nullptr;
  GetKnownComponentLibs(&iCount, &ppszNames);
  for (int i = 0; i < iCount; ++i) {
    const auto uNumber = static_cast<std::uint64_t>(i) + 1;
    const WyKnownComponent* pKnown = nullptr;
    for (const WyKnownComponent& component : manifests.Components()) {
      if (component.uNumber == uNumber) pKnown = &component;
    }
    if (pKnown == nullptr) {
      table.Row({uNumber, i == 0 ? "Log" : ppszNames[i], {}, {}});
      continue;
    }
    table.Row({uNumber, pKnown->strName, pKnown->strFile, TextCell(pKnown->strAbout)});
    for (const WyKnownSubcomponent& sub : pKnown->subcomponents) {
      table.Row({uNumber, pKnown->strName + "/" + sub.strName, {}, TextCell(sub.strAbout)});
    }
  }
  table.End();
}

bool ListMessages(CWyContext& context, const CWyManifests& manifests) {
  CWyTable table(context, {"id", "key", "severity", "component", "name", "text"});
  for (const WyKnownMessage& message : manifests.Messages()) {
    table.Row({message.IdText(), message.strKey, WySeverityText(message.severity),
               manifests.ComponentOf(message).strName, TextCell(message.strName),
               TextCell(message.strText)});
  }
  table.End();
  if (!manifests.Messages().empty()) return true;
  context.Note("no manifests of messages are found; --messages DIR says where they are");
  return false;
}

int RunList(CWyContext& context, const std::string& strWhat) {
  context.Start(true);
  if (strWhat == "fields") {
    ListFields(context);
    return context.Exit(true);
  }
  CWyManifests manifests;
  manifests.Load(context);
  if (strWhat == "messages") return context.Exit(ListMessages(context, manifests));
  ListComponents(context, manifests);
  return context.Exit(true);
}

}  // namespace

void RegisterListCommand(CWyProgram& program) {
  auto pWhat = std::make_shared<std::string>();
  CWyCommand& command =
      program.Add("list", "List components, data fields or messages", {"table", "json", "csv"});
  command.Argument("WHAT", "What to list", *pWhat, {"components", "fields", "messages"});
  command.Example("wylogctl list fields", "The names for the data line of a trace configuration");
  command.Run([pWhat](CWyContext& context) { return RunList(context, *pWhat); });
}
