#ifndef TESTS_PLATFORM_TESTDIRECTORY_H
#define TESTS_PLATFORM_TESTDIRECTORY_H

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

// A directory of its own for one test, removed with everything in it at the end.
class TestDirectory {
 public:
  TestDirectory() : m_path(testing::TempDir() + "platform_XXXXXX") {
    EXPECT_NE(::mkdtemp(m_path.data()), nullptr);
    std::filesystem::permissions(m_path, std::filesystem::perms(0755));
  }
  ~TestDirectory() { std::filesystem::remove_all(m_path); }
  TestDirectory(const TestDirectory&) = delete;
  TestDirectory& operator=(const TestDirectory&) = delete;

  const char* Path() const { return m_path.c_str(); }
  std::string File(const std::string& name) const { return m_path + '/' + name; }

  // Writes a file of that content; its directory is made if need be.
  void Write(const std::string& name, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(File(name)).parent_path());
    std::ofstream(File(name), std::ios::binary) << content;
  }

 private:
  std::string m_path;
};

#endif
