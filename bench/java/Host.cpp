// The C++ half of the comparison with Java: the same records by the front end, in the process and
// on the thread of the virtual machine.

#include <jni.h>

#include <string>
#include <vector>

#include "AgentMessages.h"
#include "wyerrlog/WyLog.h"

namespace {

struct Arguments {
  std::string strUser;
  std::string strResource;
};

const std::vector<Arguments>& AllArguments() {
  static const std::vector<Arguments> s_all = [] {
    std::vector<Arguments> all;
    for (int i = 0; i < 64; ++i) {
      all.push_back(
          {"alice" + std::to_string(10 + i), "/reports/2026/q" + std::to_string(i) + ".html"});
    }
    return all;
  }();
  return s_all;
}

void Log(const Arguments& arguments) {
  WyLog(Agent::Refused, arguments.strUser, "write", arguments.strResource);
}

void Trace(const Arguments& arguments) {
  WY_TRACE(Agent::Traced)
      .Message("User %s may not %s %s.", arguments.strUser.c_str(), "write",
               arguments.strResource.c_str());
}

void TraceNothing(const Arguments& arguments) {
  WY_TRACE(Agent::NotTraced).Set(WyField::User, arguments.strUser).Message("%s", "");
}

}  // namespace

extern "C" JNIEXPORT void JNICALL Java_bench_JavaBench_logInCpp(JNIEnv*, jclass, jint iKind,
                                                                jint iCount) {
  constexpr void (*Functions[])(const Arguments&) = {Log, Trace, TraceNothing};
  const auto pfnLog = Functions[iKind];
  const std::vector<Arguments>& all = AllArguments();
  for (jint i = 0; i < iCount; ++i) pfnLog(all[static_cast<std::size_t>(i) % all.size()]);
}
