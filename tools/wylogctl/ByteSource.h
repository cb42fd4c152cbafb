#ifndef WYLOGCTL_BYTESOURCE_H
#define WYLOGCTL_BYTESOURCE_H

// Where the bytes of a log come from: a file, a file compressed by gzip, or the standard input.
// Files are read, never mapped: one that is truncated while it is read must not end the program.

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>

// Which file a descriptor refers to, whatever its name is by now.
struct WyFileIdentity {
  std::uint64_t uDevice = 0;
  std::uint64_t uInode = 0;

  bool operator==(const WyFileIdentity&) const = default;
};

// The file's identity and size; false, with errno, when there is none.
bool WyIdentify(const std::string& strPath, WyFileIdentity& identity, std::uint64_t& uSize);

class CWyByteSource {
 public:
  virtual ~CWyByteSource() = default;

  // Opens a file, as a compressed one if its content says so; "-" is the standard input. Null, with
  // the reason in `strError`, when it cannot be opened or is a folder.
  static std::unique_ptr<CWyByteSource> Open(const std::string& strPath, std::string& strError);

  // Reads up to `uSize` bytes: the number read, 0 at the end, -1 with the reason in Error().
  virtual ssize_t Read(char* pBuffer, std::size_t uSize) = 0;

  // Whether the source can be read from any place at no cost, and Size() means anything.
  virtual bool CanSeek() const { return false; }
  virtual bool Seek(std::uint64_t) { return false; }
  virtual std::uint64_t Size() const { return 0; }
  virtual WyFileIdentity Identity() const { return {}; }

  const std::string& Error() const { return m_strError; }

 protected:
  std::string m_strError;
};

#endif
