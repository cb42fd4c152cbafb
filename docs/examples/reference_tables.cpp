// Prints a table of the administrator's guide:
//
//   reference_tables fields                    the data fields
//   reference_tables components <folder>...    the known components
//
// A component's own library describes it. It is searched in the folders that are named.
#include <dlfcn.h>
#include <wyerrlog/WyErrLogConfig.h>
#include <wyerrlog/WyLogComponent.h>
#include <wyerrlog/WyLogField.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

namespace {

// The contents of the fields; the index is the field's number.
constexpr const char* Meanings[] = {
    "text of the record",
    "source file and line",
    "process id",
    "thread id",
    "date, month/day/year",
    "time, hours:minutes:seconds",
    "time with milliseconds",
    "function that traces",
    "value that a function returns",
    "user",
    "group of users",
    "domain of policies",
    "realm",
    "policy",
    "rule",
    "user directory",
    "name of an agent",
    "kind of an agent",
    "transaction, one request through several processes",
    "class of an object",
    "object id of a domain",
    "key of a search",
    "text of an error",
    "code of an error",
    "id of an object",
    "property of an object",
    "network address",
    "network port",
    "status of an authentication",
    "reason of an authentication's outcome",
    "authentication scheme",
    "serial number of a certificate",
    "distinguished name of a certificate's subject",
    "distinguished name of a certificate's issuer",
    "description of a session",
    "session id",
    "distribution point of revoked certificates",
    "distinguished name of a user",
    "resource, for example the path of a page",
    "action on a resource, for example the HTTP method",
    "object id of a realm",
    "state",
    "cluster id",
    "number of handles",
    "number of free handles",
    "number of handles in use",
    "time until the response",
    "requests per time",
    "highest throughput",
    "lowest throughput",
    "threshold",
    "name of a transaction",
    "data",
    "data in hexadecimal digits",
    "query",
    "active expression",
    "details of a call",
    "address that a request came from",
    "what a call returns",
    "expression",
    "result",
    "hits of a cache",
    "size of a cache",
    "number of references",
    "time that an execution took",
    "tenant",
};
static_assert(std::size(Meanings) == WyField::Count);

// WY_TRACE and Java set Function and SrcFile. The library computes the five fields after SrcFile.
bool IsFilledIn(unsigned int uField) {
  return (uField >= WyField::SrcFile && uField <= WyField::PreciseTime) ||
         uField == WyField::Function;
}

void PrintFields() {
  int iCount = 0;
  const KNOWNDATAFIELDINFO* pFields = nullptr;
  GetKnownDataFields(&iCount, &pFields);
  std::puts("| number | field | width | contents | set by |\n|---:|---|---:|---|---|");
  for (int i = 0; i < iCount; ++i) {
    std::printf("| %d | `%s` | %d | %s | %s |\n", i, pFields[i].pszName, pFields[i].iWidth,
                Meanings[i],
                IsFilledIn(static_cast<unsigned int>(i)) ? "the library" : "the program");
  }
}

using GetComponent = CWyErrLogComponent* (*)();

CWyErrLogComponent* FindComponent(const std::string& strName,
                                  const std::vector<std::string>& folders) {
  for (const std::string& strFolder : folders) {
    const auto path = std::filesystem::path(strFolder) / ("lib" + strName + ".so");
    void* const pLibrary = dlopen(path.c_str(), RTLD_NOW);
    if (pLibrary == nullptr) continue;
    return reinterpret_cast<GetComponent>(dlsym(pLibrary, "GetComponentPtr"))();
  }
  return nullptr;
}

void PrintSubComponents(CWyErrLogComponent& component) {
  int iCount = 0;
  const WyErrSubComponentInfo* pList = nullptr;
  component.GetSubComponents(&iCount, &pList);
  for (int i = 0; i < iCount; ++i) {
    std::printf("%s`%s/%s`", i == 0 ? "" : "<br>", component.GetComponentName(), pList[i].szName);
  }
}

void PrintComponent(int iRow, const char* pszLibrary, CWyErrLogComponent* pComponent) {
  const unsigned int uNumber = static_cast<unsigned int>(iRow) + 1;
  std::printf("| %u | `0x%08X` | %s%s%s |", uNumber, uNumber << 24, iRow == 0 ? "" : "`lib",
              iRow == 0 ? "built in" : pszLibrary, iRow == 0 ? "" : ".so`");
  if (pComponent == nullptr) {
    std::puts(" | |");
    return;
  }
  std::printf(" `%s` | ", pComponent->GetComponentName());
  PrintSubComponents(*pComponent);
  std::puts(" |");
}

void PrintComponents(const std::vector<std::string>& folders) {
  int iCount = 0;
  const char** ppszNames = nullptr;
  GetKnownComponentLibs(&iCount, &ppszNames);
  std::puts("| number | identifier | library | name | sub-components |\n|---:|---|---|---|---|");
  for (int i = 0; i < iCount; ++i) {
    PrintComponent(i, ppszNames[i],
                   i == 0 ? GetComponentPtr() : FindComponent(ppszNames[i], folders));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "fields") == 0) {
    PrintFields();
  } else if (argc > 1 && std::strcmp(argv[1], "components") == 0) {
    PrintComponents({argv + 2, argv + argc});
  } else {
    return 2;
  }
  return 0;
}
