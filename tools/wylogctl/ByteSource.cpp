// Files, compressed files and the standard input as one kind of source. A compressed file is known
// by its first two bytes, not by its name: a log that was compressed in place is read all the same.

#include "tools/wylogctl/ByteSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>

namespace {

// zlib's default of 8 KiB costs a read(2) for each; beyond 128 KiB nothing is gained.
constexpr unsigned int GzipBuffer = 1u << 17;

WyFileIdentity IdentityOf(const struct stat& status) {
  return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)};
}

class CWyPlainSource : public CWyByteSource {
 public:
  CWyPlainSource(int fd, bool bRegular) : m_fd(fd), m_bRegular(bRegular) {}
  ~CWyPlainSource() override {
    // The standard input belongs to the process.
    if (m_fd != STDIN_FILENO) close(m_fd);
  }

  ssize_t Read(char* pBuffer, std::size_t uSize) override {
    ssize_t nRead;
    do {
      nRead = read(m_fd, pBuffer, uSize);
    } while (nRead < 0 && errno == EINTR);
    if (nRead < 0) m_strError = std::strerror(errno);
    return nRead;
  }
  bool CanSeek() const override { return m_bRegular; }
  bool Seek(std::uint64_t uOffset) override {
    return m_bRegular && lseek(m_fd, static_cast<off_t>(uOffset), SEEK_SET) >= 0;
  }
  std::uint64_t Size() const override {
    struct stat status;
    return fstat(m_fd, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
  }
  WyFileIdentity Identity() const override {
    struct stat status;
    return fstat(m_fd, &status) == 0 ? IdentityOf(status) : WyFileIdentity();
  }

 private:
  int m_fd;
  bool m_bRegular;
};

class CWyGzipSource : public CWyByteSource {
 public:
  CWyGzipSource(int fd, gzFile pFile) : m_pFile(pFile) {
    gzbuffer(m_pFile, GzipBuffer);
    struct stat status;
    if (fstat(fd, &status) == 0) m_identity = IdentityOf(status);
  }
  ~CWyGzipSource() override { gzclose(m_pFile); }

  ssize_t Read(char* pBuffer, std::size_t uSize) override {
    const int nRead = gzread(m_pFile, pBuffer, static_cast<unsigned int>(uSize));
    int iError = Z_OK;
    const char* const pszError = gzerror(m_pFile, &iError);
    // A file that ends in the middle delivers what it has, then this error.
    if (nRead <= 0 && iError != Z_OK) {
      m_strError = iError == Z_BUF_ERROR ? "the compressed file ends in the middle" : pszError;
      return -1;
    }
    return nRead;
  }
  // Reads on to the place: what was read already cannot be read again.
  bool Seek(std::uint64_t uOffset) override {
    return gzseek(m_pFile, static_cast<z_off_t>(uOffset), SEEK_SET) >= 0;
  }
  WyFileIdentity Identity() const override { return m_identity; }

 private:
  gzFile m_pFile;
  WyFileIdentity m_identity;
};

// pread(2) leaves the offset at the beginning for whoever reads next.
bool IsGzip(int fd) {
  unsigned char abMagic[2] = {};
  return pread(fd, abMagic, sizeof abMagic, 0) == 2 && abMagic[0] == 0x1f && abMagic[1] == 0x8b;
}

}  // namespace

bool WyIdentify(const std::string& strPath, WyFileIdentity& identity, std::uint64_t& uSize) {
  struct stat status;
  if (stat(strPath.c_str(), &status) != 0) return false;
  identity = IdentityOf(status);
  uSize = static_cast<std::uint64_t>(status.st_size);
  return true;
}

std::unique_ptr<CWyByteSource> CWyByteSource::Open(const std::string& strPath,
                                                   std::string& strError) {
  if (strPath == "-") return std::make_unique<CWyPlainSource>(STDIN_FILENO, false);
  // O_NOCTTY: a path to a terminal must not make it the controlling one. Blocking on purpose: a
  // named pipe is read like the standard input.
  const int fd = open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  struct stat status;
  if (fd < 0 || fstat(fd, &status) != 0) {
    strError = std::strerror(errno);
    if (fd >= 0) close(fd);
    return nullptr;
  }
  if (S_ISDIR(status.st_mode)) {
    close(fd);
    strError = "is a folder; name the log file in it";
    return nullptr;
  }
  if (S_ISREG(status.st_mode) && IsGzip(fd)) {
    if (gzFile pFile = gzdopen(fd, "rb")) return std::make_unique<CWyGzipSource>(fd, pFile);
  }
  return std::make_unique<CWyPlainSource>(fd, S_ISREG(status.st_mode));
}
