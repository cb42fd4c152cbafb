// What the library and the installed manifests know. Component libraries are loaded only with
// --load, which runs their code, in a child process.

#include "tools/wylogctl/ListCommand.h"

#include <map>
#include <memory>

#include "tools/wylogctl/ConfigTables.h"
#include "tools/wylogctl/Manifest.h"
#include "tools/wylogctl/Program.h"
#include "tools/wylogctl/Table.h"
#include "wyerrlog/WyErrLogConfig.h"
#include "wyerrlog/WyMessageId.h"

namespace {

struct ListOptions {
  std::string strWhat;
  bool bLoad = false;
};

struct ComponentRow {
  std::string strName;
  WyCell manifest, about, library;
};
// By the identifiers of components and sub-components, which are in the order of their numbers.
using ComponentRows = std::map<unsigned int, ComponentRow>;

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

// All components that the library knows by number.
ComponentRows KnownComponents() {
  ComponentRows rows;
  int iCount = 0;
  const char** ppszNames = nullptr;
  GetKnownComponentLibs(&iCount, &ppszNames);
  for (int i = 0; i < iCount; ++i) {
    rows[WyComponentId(static_cast<unsigned int>(i) + 1)].strName = i == 0 ? "Log" : ppszNames[i];
  }
  return rows;
}

void AddManifests(ComponentRows& rows, const CWyManifests& manifests) {
  for (const WyKnownComponent& component : manifests.Components()) {
    ComponentRow& row = rows[WyComponentId(component.uNumber)];
    row = {component.strName, component.strFile, TextCell(component.strAbout), {}};
    for (const WyKnownSubcomponent& sub : component.subcomponents) {
      rows[WyComponentId(component.uNumber, sub.uNumber)] = {
          component.strName + "/" + sub.strName, {}, TextCell(sub.strAbout), {}};
    }
  }
}

void AddLoaded(ComponentRows& rows, const CWyConfigTables& tables) {
  for (auto& [uId, row] : rows) row.library = "missing";
  for (const WyTraceComponentInfo& component : tables.Components()) {
    ComponentRow& row = rows[component.uId];
    row.strName = component.pszName;
    row.library = "loaded";
  }
}

// Returns false, with the error reported, if the libraries cannot be loaded.
bool ListComponents(CWyContext& context, const CWyManifests& manifests, bool bLoad) {
  ComponentRows rows = KnownComponents();
  AddManifests(rows, manifests);
  if (bLoad) {
    CWyConfigTables tables;
    if (!tables.Load(context, true)) return false;
    AddLoaded(rows, tables);
  }
  CWyTable table(context, {"number", "name", "manifest", "about", "library"});
  for (const auto& [uId, row] : rows) {
    table.Row({std::uint64_t{uId >> 24}, row.strName, row.manifest, row.about, row.library});
  }
  table.End();
  return true;
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

int RunList(CWyContext& context, const ListOptions& options) {
  if (options.bLoad && options.strWhat != "components") {
    context.Error("--load belongs to wylogctl list components");
    return WyFailed;
  }
  context.Start(true);
  if (options.strWhat == "fields") {
    ListFields(context);
    return context.Exit(true);
  }
  CWyManifests manifests;
  manifests.Load(context);
  if (options.strWhat == "messages") return context.Exit(ListMessages(context, manifests));
  return context.Exit(ListComponents(context, manifests, options.bLoad));
}

}  // namespace

void RegisterListCommand(CWyProgram& program) {
  auto pOptions = std::make_shared<ListOptions>();
  CWyCommand& command =
      program.Add("list", "List components, data fields or messages", {"table", "json", "csv"});
  command.Argument("WHAT", "What to list", pOptions->strWhat, {"components", "fields", "messages"});
  command.Flag(
      "--load",
      "Also the components of the installed libraries, in a process of its own; this runs their "
      "code",
      pOptions->bLoad);
  command.Example("wylogctl list fields", "The names for the data line of a trace configuration");
  command.Example("wylogctl list components --load", "Which component libraries can be loaded");
  command.Run([pOptions](CWyContext& context) { return RunList(context, *pOptions); });
}
