#ifndef BENCH_COMPARE_APPENDFILE_H
#define BENCH_COMPARE_APPENDFILE_H

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace compare {

// A file opened with O_APPEND, to which each text is written with one write(2).
class AppendFile {
 public:
  explicit AppendFile(const std::string& strPath)
      : m_hFile(open(strPath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644)) {
    if (m_hFile < 0) throw std::runtime_error("cannot open " + strPath);
  }
  ~AppendFile() { close(m_hFile); }
  AppendFile(const AppendFile&) = delete;
  AppendFile& operator=(const AppendFile&) = delete;

  void Write(std::string_view text) const {
    if (write(m_hFile, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
      throw std::runtime_error("a write failed");
    }
  }

 private:
  int m_hFile;
};

}  // namespace compare

#endif
