// The tables in the form in which a logger has them. The child process that loads the libraries
// writes "<identifier in hexadecimal> <name>" and a zero byte for each component to a pipe.

#include "tools/wylogctl/ConfigTables.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tools/wylogctl/Manifest.h"
#include "wyerrlog/WyErrLogConfig.h"
#include "wyerrlog/WyMessageId.h"
#include "wyerrlog/internal/WyMessageCatalog.h"

namespace {

constexpr const char* BuiltIn = "Log";
constexpr const char* BuiltInSub = "Log/Legacy";

// The child: loads the libraries as a logger does. What they print is no result.
[[noreturn]] void PrintLoaded(int fd) {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  CWyMessageCatalog catalog;
  if (!catalog.Load(true)) _exit(1);
  catalog.Open();
  std::string strAll;
  const WyTraceComponentInfo* const pInfo = catalog.ComponentInfo();
  for (int i = 0; i < catalog.ComponentInfoCount(); ++i) {
    char szId[16];
    std::snprintf(szId, sizeof szId, "%08X ", pInfo[i].uId);
    strAll.append(szId).append(pInfo[i].pszName).push_back('\0');
  }
  const bool bAll = write(fd, strAll.data(), strAll.size()) == static_cast<ssize_t>(strAll.size());
  _exit(bAll ? 0 : 1);
}

std::string ReadAll(int fd) {
  std::string strAll;
  char acPart[4096];
  for (;;) {
    const ssize_t lRead = read(fd, acPart, sizeof acPart);
    if (lRead < 0 && errno == EINTR) continue;
    if (lRead <= 0) return strAll;
    strAll.append(acPart, static_cast<std::size_t>(lRead));
  }
}

std::string EndOf(int iStatus) {
  return WIFSIGNALED(iStatus) ? std::string("is killed: ") + strsignal(WTERMSIG(iStatus))
                              : "fails with exit code " + std::to_string(WEXITSTATUS(iStatus));
}

}  // namespace

CWyConfigTables::CWyConfigTables() {
  int iCount = 0;
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  GetKnownDataFields(&iCount, &pRows);
  m_fields.resize(static_cast<std::size_t>(iCount));
  for (std::size_t i = 0; i < m_fields.size(); ++i) {
    m_fields[i].uId = static_cast<unsigned int>(i);
    m_fields[i].pszName = pRows[i].pszName;
    m_fields[i].uWidth = static_cast<unsigned int>(pRows[i].iWidth);
  }
}

void CWyConfigTables::Add(unsigned int uId, const std::string& strName) {
  m_components.push_back({false, uId, m_names.emplace_back(strName).c_str()});
}

bool CWyConfigTables::Load(CWyContext& context, bool bLoadLibraries) {
  if (bLoadLibraries) return LoadLibraries(context);
  Add(WyComponentId(1), BuiltIn);
  Add(WyComponentId(1, 1), BuiltInSub);
  if (LoadManifests(context)) return true;
  m_bComponents = false;
  AddKnown();
  context.Note(
      "no manifests are found: names of components are not checked; --messages DIR says where the "
      "manifests are, --load asks the component libraries");
  return true;
}

bool CWyConfigTables::LoadManifests(CWyContext& context) {
  CWyManifests manifests;
  manifests.Load(context);
  for (const WyKnownComponent& component : manifests.Components()) {
    if (component.uNumber <= 1) continue;  // the built-in one is there
    Add(WyComponentId(component.uNumber), component.strName);
    for (const WyKnownSubcomponent& sub : component.subcomponents) {
      Add(WyComponentId(component.uNumber, sub.uNumber), component.strName + "/" + sub.strName);
    }
  }
  return !manifests.Components().empty();
}

void CWyConfigTables::AddKnown() {
  int iCount = 0;
  const char** ppszNames = nullptr;
  GetKnownComponentLibs(&iCount, &ppszNames);
  for (int i = 1; i < iCount; ++i)
    Add(WyComponentId(static_cast<unsigned int>(i) + 1), ppszNames[i]);
}

bool CWyConfigTables::LoadLibraries(CWyContext& context) {
  int afd[2];
  context.out.Flush();
  const pid_t child = pipe(afd) == 0 ? fork() : -1;
  if (child < 0) {
    context.Error(std::string("--load: ") + std::strerror(errno));
    return false;
  }
  if (child == 0) {
    close(afd[0]);
    PrintLoaded(afd[1]);
  }
  close(afd[1]);
  const std::string strAll = ReadAll(afd[0]);
  close(afd[0]);
  int iStatus = 0;
  while (waitpid(child, &iStatus, 0) < 0 && errno == EINTR) continue;
  if (iStatus != 0) {
    context.Error("--load: the process that loads the component libraries " + EndOf(iStatus));
    return false;
  }
  for (std::size_t u = 0; u < strAll.size();) {
    const std::string strEntry = strAll.c_str() + u;
    u += strEntry.size() + 1;
    const std::size_t uBlank = std::min(strEntry.find(' '), strEntry.size() - 1);
    Add(static_cast<unsigned int>(std::strtoul(strEntry.c_str(), nullptr, 16)),
        strEntry.substr(uBlank + 1));
  }
  return true;
}
