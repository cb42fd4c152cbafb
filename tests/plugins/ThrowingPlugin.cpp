// Component NUMBER, which throws THROWN from one PLACE: the entry point, the constructor or
// GetSubComponents. The exceptions' code lies in this library, as its destructors do.

#include <atomic>
#include <exception>

#include "wyerrlog/WyLogComponent.h"

namespace {

enum Place { EntryPoint, Constructor, SubComponents };

std::atomic<int> g_iDestroyed = 0;

struct Failure {
  Failure() = default;
  ~Failure() { g_iDestroyed = 1; }
};

struct StandardFailure : std::exception {
  ~StandardFailure() override { g_iDestroyed = 1; }
};

void ThrowIn(Place place) {
  if (place == PLACE) throw THROWN;
}

class Component : public CWyErrLogComponent {
 public:
  Component() : CWyErrLogComponent(WyComponentId(NUMBER), "bundle", "thrower", nullptr) {
    ThrowIn(Constructor);
  }
  void GetSubComponents(int* pCount, const WyErrSubComponentInfo** /*ppList*/) override {
    ThrowIn(SubComponents);
    *pCount = 0;
  }
  const char* FetchMessage(unsigned int /*uId*/) override { return "thrower"; }
};

}  // namespace

extern "C" CWyErrLogComponent* GetComponentPtr() {
  ThrowIn(EntryPoint);
  // Not that below: under the thread sanitizer the other threads, which wait for a static object
  // whose constructor throws, wait forever.
  if constexpr (PLACE == Constructor) Component();
  static Component component;
  return &component;
}
