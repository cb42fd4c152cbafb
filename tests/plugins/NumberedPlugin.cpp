// Component NUMBER, named "C" and the number, with SUB_COMPONENTS sub-components "S1", "S2" and so
// on, without a description and with message 1 alone; a test may look on when it is fetched.

#include <cstdio>
#include <vector>

#include "wyerrlog/WyLogComponent.h"
#include "wyerrlog/WyMessageId.h"

#define TEXT_OF_NUMBER(number) #number
#define NAME_OF(number) "C" TEXT_OF_NUMBER(number)

// Set by a test that finds it in the loaded library.
extern "C" WYERRLOG_API void (*DuringFetchMessage)();
void (*DuringFetchMessage)() = nullptr;

namespace {

class Component : public CWyErrLogComponent {
 public:
  Component()
      : CWyErrLogComponent(WyComponentId(NUMBER), "bundle", NAME_OF(NUMBER), nullptr),
        m_subComponents(SUB_COMPONENTS, WyErrSubComponentInfo{"", "", nullptr}) {
    int i = 0;
    for (auto& sub : m_subComponents) snprintf(sub.szName, sizeof sub.szName, "S%d", ++i);
  }
  void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) override {
    *pCount = static_cast<int>(m_subComponents.size());
    *ppList = m_subComponents.data();
  }
  const char* FetchMessage(unsigned int uId) override {
    if (DuringFetchMessage != nullptr) DuringFetchMessage();
    return WyMessageNumber(uId) == 1 ? NAME_OF(NUMBER) : nullptr;
  }

 private:
  std::vector<WyErrSubComponentInfo> m_subComponents;
};

}  // namespace

extern "C" CWyErrLogComponent* GetComponentPtr() {
  static Component component;
  return &component;
}
