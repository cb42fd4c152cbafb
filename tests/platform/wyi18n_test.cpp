#include <wyi18n/wyi18n.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "platform/TestDirectory.h"

namespace {

TEST(WyFileOperations, KeepTheContractsOfTheirPosixCallsForUtf8Names) {
  const TestDirectory directory;
  const std::string log = directory.Path(
      "pr\xC3\xBC"
      "fung.log");
  const std::string backup = directory.Path(
      "pr\xC3\xBC"
      "fung_1.log");
  directory.Write(
      "pr\xC3\xBC"
      "fung_1.log",
      "old");

  EXPECT_EQ(WyOpen(log.c_str(), O_WRONLY, 0), -1);
  EXPECT_EQ(errno, ENOENT);
  ::umask(0);
  const int fd = WyOpen(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0640);
  ASSERT_GE(fd, 0);
  struct stat info;
  ASSERT_EQ(::fstat(fd, &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  ASSERT_EQ(::write(fd, "new", 3), 3);
  ::close(fd);

  EXPECT_EQ(WyRename(log.c_str(), backup.c_str()), -1);
  EXPECT_EQ(errno, EEXIST) << "an existing file is not replaced";
  EXPECT_EQ(WyUnlink(backup.c_str()), 0);
  EXPECT_EQ(WyRename(log.c_str(), backup.c_str()), 0);
  EXPECT_EQ(WyAccess(log.c_str(), F_OK), -1);
  EXPECT_EQ(errno, ENOENT);
  std::string content;
  std::ifstream(backup) >> content;
  EXPECT_EQ(content, "new");

  EXPECT_EQ(WyUnlink(backup.c_str()), 0);
  EXPECT_EQ(WyUnlink(backup.c_str()), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST(WyFileOperations, RefuseNullNames) {
  errno = 0;
  EXPECT_EQ(WyOpen(nullptr, O_RDONLY, 0), -1);
  EXPECT_EQ(WyAccess(nullptr, F_OK), -1);
  EXPECT_EQ(WyRename("/tmp", nullptr), -1);
  EXPECT_EQ(WyRename(nullptr, "/tmp"), -1);
  EXPECT_EQ(WyUnlink(nullptr), -1);
  EXPECT_EQ(errno, EFAULT);
}

TEST(WyOpenTest, DescriptorIsNotInheritedByOtherPrograms) {
  const int fd = WyOpen("/dev/null", O_RDWR, 0);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(::fcntl(fd, F_GETFD), FD_CLOEXEC);
  ::close(fd);
}

std::atomic<int> g_nSignals{0};

// True when the kernel reports the thread as sleeping, within a generous time.
bool WaitUntilAsleep(pid_t tid) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (std::chrono::steady_clock::now() < deadline) {
    std::ifstream status("/proc/self/task/" + std::to_string(tid) + "/stat");
    std::string number, name, state;
    status >> number >> name >> state;
    if (state == "S") {
      return true;
    }
    std::this_thread::yield();
  }
  return false;
}

TEST(WyOpenTest, GoesOnAfterASignalHandlerInterruptedIt) {
  const TestDirectory directory;
  const std::string pipe = directory.Path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  struct sigaction action = {};
  action.sa_handler = [](int) { ++g_nSignals; };  // no SA_RESTART
  ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);

  std::atomic<pid_t> tid{0};
  int fd = -1;
  std::thread reader([&] {
    tid = static_cast<pid_t>(::syscall(SYS_gettid));
    fd = WyOpen(pipe.c_str(), O_RDONLY, 0);  // sleeps until there is a writer
  });
  while (tid == 0) {
    std::this_thread::yield();
  }
  EXPECT_TRUE(WaitUntilAsleep(tid));
  ::pthread_kill(reader.native_handle(), SIGUSR1);
  while (g_nSignals == 0) {
    std::this_thread::yield();
  }
  // Opened for both directions, the pipe never makes this thread wait.
  const int writer = WyOpen(pipe.c_str(), O_RDWR, 0);
  reader.join();
  EXPECT_GE(fd, 0);
  ::close(fd);
  ::close(writer);
}

TEST(WyLoadLibraryTest, GivesAHandleWhoseSymbolsStayWithIt) {
  void* pLibrary = WyLoadLibrary(WYI18N_TEST_PLUGIN);
  ASSERT_NE(pLibrary, nullptr);
  const auto answer = reinterpret_cast<int (*)()>(::dlsym(pLibrary, "WyI18nTestPluginAnswer"));
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer(), 42);
  EXPECT_EQ(::dlsym(RTLD_DEFAULT, "WyI18nTestPluginAnswer"), nullptr);
  EXPECT_EQ(::dlclose(pLibrary), 0);
}

TEST(WyLoadLibraryTest, AnswersNullForNamesOfNoLibrary) {
  EXPECT_EQ(WyLoadLibrary(nullptr), nullptr);
  EXPECT_EQ(WyLoadLibrary(""), nullptr) << "not the program itself";
  EXPECT_EQ(WyLoadLibrary("libno-such-library.so"), nullptr);
  EXPECT_EQ(WyLoadLibrary("/proc/self/status"), nullptr);
}

TEST(CWyGetEnvTest, KeepsTheValueItFound) {
  ::setenv("WYI18N_TEST", "/opt/product", 1);
  const CWyGetEnv root("WYI18N_TEST");
  ::setenv("WYI18N_TEST", "", 1);
  const CWyGetEnv empty("WYI18N_TEST");
  ::unsetenv("WYI18N_TEST");
  EXPECT_STREQ(root.c_str(), "/opt/product");
  EXPECT_STREQ(empty.c_str(), "");
  EXPECT_EQ(CWyGetEnv("WYI18N_TEST").c_str(), nullptr);
  EXPECT_EQ(CWyGetEnv(nullptr).c_str(), nullptr);
}

TEST(WyGetAdminLocaleTest, IsTheFirstVariableThatSaysSomething) {
  ::setenv("LC_ALL", "de_DE.UTF-8", 1);
  ::setenv("LC_MESSAGES", "fr_FR", 1);
  ::setenv("LANG", "ja_JP", 1);
  EXPECT_STREQ(WyGetAdminLocale(), "de_DE.UTF-8");
  ::setenv("LC_ALL", "", 1);
  EXPECT_STREQ(WyGetAdminLocale(), "fr_FR");
  ::unsetenv("LC_MESSAGES");
  EXPECT_STREQ(WyGetAdminLocale(), "ja_JP");
  ::unsetenv("LC_ALL");
  ::setenv("LANG", "", 1);
  EXPECT_STREQ(WyGetAdminLocale(), "en");
}

}  // namespace
