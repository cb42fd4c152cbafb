#ifndef COMPONENTS_TABLECOMPONENT_H
#define COMPONENTS_TABLECOMPONENT_H

// The base of the message components in this folder: a component that looks everything up in two
// constant tables. A plug-in defines its tables and GetComponentPtr:
//
//   constexpr WyMessageRow Messages[] = {{LoginRequired, "login-00001"}, ...};
//   static_assert(AreNumberedFromOne(Messages));
//   constexpr WyErrSubComponentInfo SubComponents[] = {{"Auth", "Authentication", "..."}, ...};
//
//   extern "C" CWyErrLogComponent* GetComponentPtr() {
//     static CWyTableComponent s_component(Component, "login", "Login_Logout", "...", Messages,
//                                        SubComponents);
//     return &s_component;
//   }

#include <span>

#include "wyerrlog/WyLogComponent.h"
#include "wyerrlog/WyMessageId.h"

// One message: its identifier, and its key or printf pattern.
struct WyMessageRow {
  unsigned int uId;
  const char* pszText;
};

// Whether row i holds message number i + 1, which is how CWyTableComponent finds it.
constexpr bool AreNumberedFromOne(std::span<const WyMessageRow> messages) {
  for (unsigned int i = 0; i < messages.size(); ++i) {
    if (WyMessageNumber(messages[i].uId) != i + 1) return false;
  }
  return true;
}

// The tables are not copied: they live as long as the plug-in, like the component itself. They
// never change, so the operations are thread-safe.
class CWyTableComponent : public CWyErrLogComponent {
 public:
  CWyTableComponent(unsigned int uId, const char* pszAbbrName, const char* pszName,
                    const char* pszDescription, std::span<const WyMessageRow> messages,
                    std::span<const WyErrSubComponentInfo> subComponents)
      : CWyErrLogComponent(uId, pszAbbrName, pszName, pszDescription),
        m_messages(messages),
        m_subComponents(subComponents) {}

  void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) override {
    *pCount = static_cast<int>(m_subComponents.size());
    *ppList = m_subComponents.data();
  }

  const char* FetchMessage(unsigned int uId) override {
    const unsigned int uNumber = WyMessageNumber(uId);
    if (uNumber == 0 || uNumber > m_messages.size()) return nullptr;
    return m_messages[uNumber - 1].pszText;
  }

 private:
  std::span<const WyMessageRow> m_messages;
  std::span<const WyErrSubComponentInfo> m_subComponents;
};

#endif
