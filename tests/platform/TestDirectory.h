#ifndef TESTS_PLATFORM_TESTDIRECTORY_H
#define TESTS_PLATFORM_TESTDIRECTORY_H

#include <filesystem>
#include <string>

#include "test_support/TempDirectory.h"

// A directory of a test's own that tests without privileges can read, too.
class TestDirectory : public TempDirectory {
 public:
  TestDirectory() : m_strName(Path("")) {
    std::filesystem::permissions(m_strName, std::filesystem::perms(0755));
  }

  const char* Name() const { return m_strName.c_str(); }

 private:
  const std::string m_strName;
};

#endif
