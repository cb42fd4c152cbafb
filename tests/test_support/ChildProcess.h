#ifndef WYERRLOG_TESTS_CHILDPROCESS_H
#define WYERRLOG_TESTS_CHILDPROCESS_H

// Forked children, and what every process of a test that translates messages does first.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wyxlate/WyXlate.h>

#include <cstdlib>
#include <string>

namespace test_support {

// The status of a child's end, 0 if it ended well.
inline int StatusOf(pid_t pid) {
  int iStatus = -1;
  EXPECT_EQ(waitpid(pid, &iStatus, 0), pid);
  return iStatus;
}

// The catalogs of the components that the test is built with.
inline void SetMessageDirectory() {
  const std::string strRoot = getenv("ORVA_WA_ROOT");
  EXPECT_TRUE(CWyXlate::SetResourceDirectory((strRoot + "/messages").c_str()));
}

}  // namespace test_support

#endif
