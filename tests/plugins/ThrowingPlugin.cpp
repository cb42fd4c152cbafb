// Component NUMBER, which throws THROWN from one PLACE: the entry point, the constructor or
// GetSubComponents. The exceptions' code lies in this library, as its destructors do.

#include <exception>

#include "wyerrlog/WyLogComponent.h"

namespace {

enum Place { EntryPoint, Constructor, SubComponents };

volatile int g_iDestroyed = 0;

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
  static Component component;
  return &component;
}
