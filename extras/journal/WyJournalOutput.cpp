// From a record to fields of the journal. libsystemd keeps one socket for the process, and reports
// success for records that it drops because there is no journal; so the output looks first.

#include "wyerrlog_journal/WyJournalOutput.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <array>
#include <cerrno>
#include <new>
#include <string_view>
#include <utility>

#include "wyerrlog/internal/WyErrorLine.h"

// The place of the call is that of the message, not one in this file.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

namespace {

constexpr char JournalSocket[] = "/run/systemd/journal/socket";  // libsystemd has no name for it

bool Fail(int iErrno) {
  errno = iErrno;
  return false;
}

// Whether a journal listens, asked by a connection that nothing is sent on.
bool JournalListens() {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::string_view(JournalSocket).copy(address.sun_path, sizeof address.sun_path - 1);
  const int hSocket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (hSocket < 0) return false;
  const bool bListens =
      connect(hSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  const int iErrno = errno;
  close(hSocket);
  errno = iErrno;
  return bListens;
}

// "NAME=value" one after another; a field with an empty value is left out. The texts are in one
// string and their places kept as offsets, since the string moves while it grows.
class CWyJournalFields {
 public:
  void Add(std::string_view strName, std::string_view strValue) {
    if (strValue.empty()) return;
    m_auStarts[m_uCount++] = m_strFields.size();
    m_strFields.append(strName).append(strValue);
  }

  // Returns 0 or a negative error number.
  int Send() const {
    std::array<iovec, MaxFields> parts;
    for (size_t i = 0; i < m_uCount; ++i) {
      const size_t uEnd = i + 1 < m_uCount ? m_auStarts[i + 1] : m_strFields.size();
      parts[i] = {const_cast<char*>(m_strFields.data()) + m_auStarts[i], uEnd - m_auStarts[i]};
    }
    return sd_journal_sendv(parts.data(), static_cast<int>(m_uCount));
  }

 private:
  // As many as Log adds.
  static constexpr size_t MaxFields = 7;

  std::string m_strFields;
  std::array<size_t, MaxFields> m_auStarts;
  size_t m_uCount = 0;
};

// "login" of "login-00004". From the right: a bundle's name may contain "-".
std::string_view ComponentOf(std::string_view strKey) {
  const size_t uDash = strKey.rfind('-');
  return uDash != std::string_view::npos ? strKey.substr(0, uDash) : std::string_view();
}

}  // namespace

CWyJournalOutput::CWyJournalOutput(const char* pszIdentifier, int iPriority)
    : m_strIdentifier(pszIdentifier != nullptr ? pszIdentifier : ""),
      m_iPriority(iPriority),
      m_bOpen(false) {
  SetType(Type);
}

CWyJournalOutput::~CWyJournalOutput() = default;

bool CWyJournalOutput::Open() {
  if (m_bOpen) return Fail(EBUSY);
  if (m_iPriority < 0 || m_iPriority > 7) return Fail(EINVAL);
  m_bOpen = JournalListens();
  return m_bOpen;
}

bool CWyJournalOutput::Log(CWyErrLogMessage& msg) {
  if (!m_bOpen) return Fail(EBADF);
  // For each record: the journal may be stopped at any time, and libsystemd would report success. A
  // connection for each would cost three system calls more.
  if (WyAccess(JournalSocket, F_OK) != 0) return false;
  const WyErrorLine line =
      WyErrorLine::Parse({msg.GetBuffer(), static_cast<size_t>(msg.GetStringLen())});
  const char cPriority =
      static_cast<char>('0' + (line.iPriority >= 0 ? line.iPriority : m_iPriority));
  try {
    CWyJournalFields fields;
    fields.Add("PRIORITY=", {&cPriority, 1});
    fields.Add("SYSLOG_IDENTIFIER=", m_strIdentifier);
    fields.Add("CODE_FILE=", line.strFile);
    fields.Add("CODE_LINE=", line.strLine);
    fields.Add("WYERRLOG_KEY=", line.strKey);
    fields.Add("WYERRLOG_COMPONENT=", ComponentOf(line.strKey));
    fields.Add("MESSAGE=", line.strText);
    const int iError = fields.Send();
    return iError == 0 || Fail(-iError);
  } catch (const std::bad_alloc&) {
    return Fail(ENOMEM);
  }
}

bool CWyJournalOutput::Close() { return std::exchange(m_bOpen, false); }
