// The terminal: one descriptor of "/dev/tty" for all console outputs of the process, open while one
// of them is. Messages appear there wherever standard output and standard error go.

#include <fcntl.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include "wyerrlog/WyLogOutput.h"
#include "wyerrlog/internal/WyForkHandling.h"

// ---- The shared terminal ------------------------------------------------------------------------

CWyConsoleManager::CWyConsoleManager() : m_iRefCount(0), m_hConsole(-1) {}

CWyConsoleManager::~CWyConsoleManager() = default;

int CWyConsoleManager::GetConsoleHandle() {
  const CWyErrLogAutoCS lock(m_cs);
  if (m_iRefCount == 0) {
    // Fails in a process without a controlling terminal, a daemon for instance.
    const int hConsole = WyOpen("/dev/tty", O_RDWR, 0);
    m_hConsole = hConsole < 0 ? -1 : hConsole;
  }
  if (m_hConsole != -1) ++m_iRefCount;
  return m_hConsole;
}

void CWyConsoleManager::ReleaseConsoleHandle() {
  const CWyErrLogAutoCS lock(m_cs);
  if (--m_iRefCount != 0) return;
  close(m_hConsole);
  m_hConsole = -1;
}

// Each logger's constructor calls this, so the manager is older than every logger and outlives
// their outputs at process exit.
CWyConsoleManager* theConsoleManager() {
  const CWyForkGate gate;  // a forked child must not find the construction half done
  static CWyConsoleManager s_consoleManager;
  return &s_consoleManager;
}

// ---- The output ---------------------------------------------------------------------------------

CWyConsoleOutput::CWyConsoleOutput() : m_hConsole(-1) { SetType(WyOutputType::Console); }

CWyConsoleOutput::~CWyConsoleOutput() = default;

bool CWyConsoleOutput::SetParams() { return true; }

// A second Open would take a second reference that no Close returns.
bool CWyConsoleOutput::Open() {
  if (m_hConsole != -1) return false;
  m_hConsole = theConsoleManager()->GetConsoleHandle();
  return m_hConsole != -1;
}

bool CWyConsoleOutput::Log(CWyErrLogMessage& msg) {
  if (m_hConsole == -1) return false;
  // One write(2): several threads' messages are not mixed within a line. It waits while the
  // terminal is stopped (Ctrl-S).
  return write(m_hConsole, msg.GetBuffer(), static_cast<size_t>(msg.GetStringLen())) >= 0;
}

bool CWyConsoleOutput::Close() {
  if (m_hConsole == -1) return false;
  theConsoleManager()->ReleaseConsoleHandle();
  m_hConsole = -1;
  return true;
}
