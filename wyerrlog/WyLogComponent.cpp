// The base of message components, and the built-in component number 1, which logs texts that have
// no message definition. It is compiled into the library, so that it works without any plug-in.

#include "wyerrlog/WyLogComponent.h"

#include <iterator>

CWyErrLogComponent::CWyErrLogComponent(unsigned int uId, const char* pszAbbrName,
                                       const char* pszName, const char* pszDescription)
    : m_pHandle(nullptr),
      m_uId(uId),
      m_pszAbbrName(pszAbbrName),
      m_pszName(pszName),
      m_pszDescription(pszDescription) {}

CWyErrLogComponent::~CWyErrLogComponent() = default;

namespace {

// The whole message is the first argument; one message for each severity.
constexpr const char* Messages[] = {"%1s", "%1s", "%1s"};

constexpr WyErrSubComponentInfo SubComponents[] = {{"Legacy", "Legacy", "Legacy Description."}};

}  // namespace

CWyLogComponent::CWyLogComponent()
    : CWyErrLogComponent(WyComponentId(1), "Log", "Log", "Log description") {}

CWyLogComponent::~CWyLogComponent() = default;

void CWyLogComponent::GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) {
  *pCount = static_cast<int>(std::size(SubComponents));
  *ppList = SubComponents;
}

const char* CWyLogComponent::FetchMessage(unsigned int uId) {
  const unsigned int uNumber = WyMessageNumber(uId);
  if (uNumber < 1 || uNumber > std::size(Messages)) return nullptr;
  return Messages[uNumber - 1];
}

// The entry point that plug-ins define. A plug-in without one must not get this: the loader checks
// which library defines it (WyComponentLibrary.cpp).
CWyErrLogComponent* GetComponentPtr() {
  static CWyLogComponent s_component;
  return &s_component;
}
