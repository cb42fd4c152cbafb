// Writing to descriptors whose other end may go away. A socket is asked not to signal that; for a
// pipe the thread holds SIGPIPE back during the call and takes it back afterwards.

#include "wyerrlog/WyDescriptorOutput.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>
#include <wyi18n/wyi18n.h>

#include <cerrno>
#include <csignal>
#include <new>
#include <string>
#include <utility>

#include "wyerrlog/internal/WyErrorLine.h"
#include "wyerrlog/internal/WyForkHandling.h"
#include "wyerrlog/internal/WyMutex.h"
#include "wyerrlog/internal/WyNoThrow.h"
#include "wyerrlog/internal/WyRecordWriter.h"

namespace {

bool Fail(int iErrno) {
  errno = iErrno;
  return false;
}

ssize_t Send(int hFile, const iovec* pParts, int iCount) {
  msghdr header = {};
  header.msg_iov = const_cast<iovec*>(pParts);
  header.msg_iovlen = static_cast<size_t>(iCount);
  return sendmsg(hFile, &header, MSG_NOSIGNAL);
}

// A thread that does not hold SIGPIPE back has none pending; so one that is pending after the call
// is that of the call.
ssize_t WriteToPipe(int hFile, const iovec* pParts, int iCount) {
  sigset_t sigpipe, before;
  sigemptyset(&sigpipe);
  sigaddset(&sigpipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &sigpipe, &before);
  const ssize_t lWritten = CWyRecordWriter::WritePlainly(hFile, pParts, iCount);
  if (sigismember(&before, SIGPIPE) != 0) return lWritten;
  const int iErrno = errno;
  const timespec atOnce = {};
  if (lWritten < 0 && iErrno == EPIPE) sigtimedwait(&sigpipe, nullptr, &atOnce);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = iErrno;
  return lWritten;
}

CWyRecordWriter::Call CallFor(mode_t uMode) {
  if (S_ISSOCK(uMode)) return Send;
  return S_ISFIFO(uMode) ? WriteToPipe : CWyRecordWriter::WritePlainly;
}

// The text with the prefix after each newline but the last.
std::string WithPrefixes(std::string_view strText, std::string_view strPrefix) {
  std::string strLines;
  for (size_t uEnd; (uEnd = strText.find('\n')) + 1 < strText.size() && uEnd + 1 != 0;) {
    strLines.append(strText.substr(0, uEnd + 1)).append(strPrefix);
    strText.remove_prefix(uEnd + 1);
  }
  return strLines.append(strText);
}

}  // namespace

// The state of an output, out of sight of the header. A fork does not wait for the mutex: a thread
// may hold it as long as the pipe is full, and the process that is to read the pipe may be the
// child.
class CWyDescriptorWriter : private CWyForkReset {
 public:
  CWyDescriptorWriter(int hFile, int iPriority)
      : CWyForkReset(Reset), m_hFile(hFile), m_iPriority(iPriority) {
    CWyForkRegistry::Add(*this);
  }
  ~CWyDescriptorWriter() { CWyForkRegistry::Remove(*this); }
  CWyDescriptorWriter(const CWyDescriptorWriter&) = delete;
  CWyDescriptorWriter& operator=(const CWyDescriptorWriter&) = delete;

  bool Open() {
    struct stat status;
    if (m_pfnCall != nullptr) return Fail(EBUSY);
    if (m_iPriority < CWyDescriptorOutput::NoPriority || m_iPriority > LOG_DEBUG) {
      return Fail(EINVAL);
    }
    const int iFlags = fcntl(m_hFile, F_GETFL);
    if (iFlags == -1 || fstat(m_hFile, &status) != 0) return false;
    if ((iFlags & O_ACCMODE) == O_RDONLY) return Fail(EBADF);
    m_pfnCall = CallFor(status.st_mode);
    return true;
  }

  bool Close() { return std::exchange(m_pfnCall, nullptr) != nullptr; }

  bool Log(std::string_view strText) {
    if (m_pfnCall == nullptr) return Fail(EBADF);
    if (m_iPriority == CWyDescriptorOutput::NoPriority) return Write({}, strText);
    const int iOwn = WyErrorLine::Parse(strText).iPriority;
    const char szPrefix[] = {'<', static_cast<char>('0' + (iOwn >= 0 ? iOwn : m_iPriority)), '>'};
    const std::string_view strPrefix(szPrefix, sizeof szPrefix);
    const size_t uNewline = strText.find('\n');
    if (uNewline == std::string_view::npos || uNewline + 1 == strText.size()) {
      return Write(strPrefix, strText);
    }
    return WyNoThrow(false, [&] { return Write(strPrefix, WithPrefixes(strText, strPrefix)); });
  }

 private:
  static void Reset(CWyForkReset& object) {
    new (&static_cast<CWyDescriptorWriter&>(object).m_mutex) CWyMutex;
  }

  bool Write(std::string_view strPrefix, std::string_view strText) {
    const CWyMutexLock lock(m_mutex);
    return m_writer.Write(m_hFile, strPrefix, strText, m_pfnCall);
  }

  const int m_hFile;
  const int m_iPriority;
  CWyRecordWriter::Call m_pfnCall = nullptr;  // null while the output is not open
  CWyMutex m_mutex;
  CWyRecordWriter m_writer WYERRLOG_GUARDED_BY(m_mutex);
};

CWyDescriptorOutput::CWyDescriptorOutput(int hFile, int iPriority)
    : m_pWriter(std::make_unique<CWyDescriptorWriter>(hFile, iPriority)) {
  SetType(Type);
}

CWyDescriptorOutput::~CWyDescriptorOutput() = default;

bool CWyDescriptorOutput::Open() { return m_pWriter->Open(); }

bool CWyDescriptorOutput::Log(CWyErrLogMessage& msg) {
  return m_pWriter->Log({msg.GetBuffer(), static_cast<size_t>(msg.GetStringLen())});
}

bool CWyDescriptorOutput::Close() { return m_pWriter->Close(); }

// The variable has the device and the inode of the stream: "8:12345".
bool CWyDescriptorOutput::IsJournalStream(int hFile) {
  const CWyGetEnv variable("JOURNAL_STREAM");
  struct stat status;
  if (variable.c_str() == nullptr || fstat(hFile, &status) != 0) return false;
  return WyNoThrow(false, [&] {
    return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino) == variable.c_str();
  });
}
