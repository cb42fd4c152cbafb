#include <wyerrlog/WyLogComponent.h>

#include <iterator>

#include "SessionStoreMessages.h"

namespace {

// The key of message number i + 1 is in row i.
constexpr const char* Keys[] = {
    "sessionstore-00001",
    "sessionstore-00002",
    "sessionstore-00003",
};

// Sub-component number i + 1 is in row i.
constexpr WyErrSubComponentInfo SubComponents[] = {
    {"Cleanup", "Cleanup", "Removes sessions that have ended"},
};

class CWySessionStore : public CWyErrLogComponent {
 public:
  CWySessionStore()
      : CWyErrLogComponent(SessionStore::Component, "sessionstore", "Session_Store",
                           "Keeps the sessions of users") {}

  void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) override {
    *pCount = static_cast<int>(std::size(SubComponents));
    *ppList = SubComponents;
  }

  const char* FetchMessage(unsigned int uId) override {
    const unsigned int uNumber = WyMessageNumber(uId);
    return uNumber >= 1 && uNumber <= std::size(Keys) ? Keys[uNumber - 1] : nullptr;
  }
};

}  // namespace

extern "C" CWyErrLogComponent* GetComponentPtr() {
  static CWySessionStore component;
  return &component;
}
