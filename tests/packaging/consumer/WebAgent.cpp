#include "WebAgent.h"

#include <wyerrlog/WyLogComponent.h>

namespace {

class CWyWebAgent : public CWyErrLogComponent {
 public:
  CWyWebAgent()
      : CWyErrLogComponent(WebAgent::Component, "webagent", "Web_Agent", "Guards a web server") {}

  void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) override {
    *pCount = 0;
    *ppList = nullptr;
  }

  const char* FetchMessage(unsigned int uId) override {
    return WyMessageNumber(uId) == WyMessageNumber(WebAgent::Started) ? "webagent-00001" : nullptr;
  }
};

}  // namespace

extern "C" CWyErrLogComponent* GetComponentPtr() {
  static CWyWebAgent component;
  return &component;
}
