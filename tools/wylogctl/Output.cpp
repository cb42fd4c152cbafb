// A reader that ends before everything is written (head, a pager that is left) is no failure: the
// program ends too, at once and without a word. SIGPIPE is ignored, so that this is seen as EPIPE.

#include "tools/wylogctl/Output.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t BufferSize = std::size_t{1} << 17;

std::string PagerCommand() {
  for (const char* const pszName : {"WYLOGCTL_PAGER", "PAGER"}) {
    const char* const pszCommand = std::getenv(pszName);
    if (pszCommand != nullptr) return pszCommand;
  }
  return "less";
}

}  // namespace

CWyOutput::CWyOutput() : m_bTerminal(isatty(STDOUT_FILENO) == 1), m_bColor(false) {
  m_strBuffer.reserve(BufferSize + 4096);
  std::signal(SIGPIPE, SIG_IGN);
}

CWyOutput::~CWyOutput() {
  Flush();
  if (m_iPager == 0) return;
  close(STDOUT_FILENO);
  int iStatus;
  while (waitpid(m_iPager, &iStatus, 0) < 0 && errno == EINTR) {
  }
}

void CWyOutput::SetColor(const std::string& strColor) {
  const char* const pszNoColor = std::getenv("NO_COLOR");
  const bool bWanted = pszNoColor == nullptr || *pszNoColor == '\0';
  m_bColor = strColor == "always" || (strColor == "auto" && m_bTerminal && bWanted);
}

void CWyOutput::StartPager() {
  const std::string strCommand = PagerCommand();
  int aiPipe[2];
  if (!m_bTerminal || strCommand.empty() || strCommand == "cat" || pipe(aiPipe) != 0) return;
  m_iPager = fork();
  if (m_iPager == 0) {
    dup2(aiPipe[0], STDIN_FILENO);
    close(aiPipe[0]);
    close(aiPipe[1]);
    std::signal(SIGPIPE, SIG_DFL);
    setenv("LESS", "FRXMK", 0);
    execl("/bin/sh", "sh", "-c", strCommand.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  if (m_iPager > 0) dup2(aiPipe[1], STDOUT_FILENO);
  if (m_iPager < 0) m_iPager = 0;
  close(aiPipe[0]);
  close(aiPipe[1]);
}

void CWyOutput::Write(std::string_view text) {
  if (text.size() > BufferSize) {
    Flush();
    return WriteAll(text.data(), text.size());
  }
  m_strBuffer.append(text);
  if (m_strBuffer.size() >= BufferSize) Flush();
}

void CWyOutput::Flush() {
  WriteAll(m_strBuffer.data(), m_strBuffer.size());
  m_strBuffer.clear();
}

void CWyOutput::WriteAll(const char* p, std::size_t uSize) {
  while (uSize > 0) {
    const ssize_t nWritten = write(STDOUT_FILENO, p, uSize);
    if (nWritten < 0 && errno == EINTR) continue;
    if (nWritten < 0 && errno == EPIPE) {
      if (m_iPager > 0) waitpid(m_iPager, nullptr, 0);
      _exit(0);
    }
    if (nWritten < 0) {
      std::fprintf(stderr, "wylogctl: error: the output cannot be written: %s\n",
                   std::strerror(errno));
      _exit(2);
    }
    p += nWritten;
    uSize -= static_cast<std::size_t>(nWritten);
  }
}
