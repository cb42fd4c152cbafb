#ifndef WYERRLOG_TESTS_FAILINGMEMORY_H
#define WYERRLOG_TESTS_FAILINGMEMORY_H

// Memory that runs out when the test says so. Takes the place of malloc, or in a sanitized program,
// whose malloc is the sanitizer's, of the operators new.

namespace test_support {

class FailingMemory {
 public:
  // Starting with the next one inside a call, the allocation of that number (from 1) fails, and all
  // after it if so wanted.
  static void FailAt(long lNumber, bool bAllAfterIt);
  // Whether that allocation has been reached.
  static bool HasFailed();

  // Runs a call of the test's thread. Memory fails in it alone.
  template <typename Call>
  static auto During(Call call) {
    const Window window;
    return call();
  }

  // Memory is there for a piece of the call, what the system's dynamic linker does, say.
  class Spared {
   public:
    Spared();
    ~Spared();
    Spared(const Spared&) = delete;
    Spared& operator=(const Spared&) = delete;

   private:
    bool m_bBefore;
  };

 private:
  class Window {
   public:
    Window();
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
  };
};

}  // namespace test_support

#endif
