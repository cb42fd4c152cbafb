// Component NUMBER as two components in turn, one for each time that the library is asked for it:
// message n has the key "an" of the bundle "first", or "bn" of the bundle "second". Numbers above
// 4 have no message.

#include <array>

#include "wyerrlog/WyLogComponent.h"
#include "wyerrlog/WyMessageId.h"

namespace {

class Component : public CWyErrLogComponent {
 public:
  using Keys = std::array<const char*, 5>;

  Component(const char* pszBundle, const Keys& keys)
      : CWyErrLogComponent(WyComponentId(NUMBER), pszBundle, pszBundle, nullptr), m_keys(keys) {}
  void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) override {
    *pCount = 0;
    *ppList = nullptr;
  }
  const char* FetchMessage(unsigned int uId) override {
    return WyMessageNumber(uId) < m_keys.size() ? m_keys[WyMessageNumber(uId)] : nullptr;
  }

 private:
  const Keys m_keys;
};

}  // namespace

extern "C" CWyErrLogComponent* GetComponentPtr() {
  static Component s_components[] = {{"first", {nullptr, "a1", "a2", "a3", "a4"}},
                                     {"second", {nullptr, "b1", "b2", "b3", "b4"}}};
  static int s_iAsked = 0;
  return &s_components[s_iAsked++ % 2];
}
