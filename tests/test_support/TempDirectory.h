#ifndef TEST_SUPPORT_TEMPDIRECTORY_H
#define TEST_SUPPORT_TEMPDIRECTORY_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

// A directory of the test's own, removed with all it holds at the end.
class TempDirectory {
 public:
  TempDirectory() : m_strPath(std::filesystem::temp_directory_path() / "wyerrlog_XXXXXX") {
    if (mkdtemp(m_strPath.data()) == nullptr) throw std::runtime_error("mkdtemp");
  }
  ~TempDirectory() { std::filesystem::remove_all(m_strPath); }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  std::string Path(const std::string& strName) const { return m_strPath + '/' + strName; }
  void Write(const std::string& strName, const std::string& strContent) const {
    std::ofstream(Path(strName), std::ios::binary) << strContent;
  }
  std::string Read(const std::string& strName) const {
    std::ifstream file(Path(strName), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_strPath)) {
      names.insert(entry.path().filename());
    }
    return names;
  }

 private:
  std::string m_strPath;
};

#endif
