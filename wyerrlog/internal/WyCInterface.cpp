// The text of a thread's last failure: in memory of the thread, so that it costs no allocation and
// cannot fail itself.

#include "wyerrlog/internal/WyCInterface.h"

namespace {

constexpr size_t ErrorSize = 512;
constinit thread_local char s_szError[ErrorSize] = "";

}  // namespace

const char* WyErrorForC() noexcept { return s_szError; }

void WySetErrorForC(std::string_view strText) noexcept {
  const size_t uSize = strText.copy(s_szError, ErrorSize - 1);
  s_szError[uSize] = '\0';
}
