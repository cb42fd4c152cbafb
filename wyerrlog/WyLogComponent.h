#ifndef WYERRLOG_WYLOGCOMPONENT_H
#define WYERRLOG_WYLOGCOMPONENT_H

// Message components. A component is a plug-in: a shared library lib<name>.so whose name stands in
// the known component table (WyErrLogConfig.h) and which defines the function GetComponentPtr. The
// logger loads it when it is initialised and asks it for the keys of its messages.
//
// WyMessageId.h tells how the identifiers of components and messages are put together.
//
// Components are unloaded once per process, by the first logger that is released, at process exit
// at the latest; a forked child has its parent's.

#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyMessageId.h"

// One sub-component. The texts are ended by zero bytes up to the array's size.
struct WyErrSubComponentInfo {
  char szAbbrName[24];         // not used by the library
  char szName[32];             // in trace configuration files, behind the component's and "/"
  const char* pszDescription;  // one line
};

// Base of a component. A plug-in derives from it and hands out one object, which lives as long as
// its library and is called by many threads at once, without a lock: what it answers must not
// change. A component that throws when it is made or lists its sub-components is not used; a
// message whose fetching throws is a missing one. The virtual operations and their order are an
// interface between libraries.
class WYERRLOG_API CWyErrLogComponent {
 public:
  // The texts are not copied; they live as long as the component. `uId` is WyComponentId(number).
  // `pszAbbrName` is the name of the component's bundle of translated messages, `pszName` its name
  // in trace configuration files.
  CWyErrLogComponent(unsigned int uId, const char* pszAbbrName, const char* pszName,
                     const char* pszDescription);
  virtual ~CWyErrLogComponent();
  CWyErrLogComponent(const CWyErrLogComponent&) = delete;
  CWyErrLogComponent& operator=(const CWyErrLogComponent&) = delete;

  // The sub-components, an array that stays valid as long as the component.
  virtual void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) = 0;

  // The key of the message (or the printf pattern, for a component that is not translated) with the
  // number in bits 0 to 13 of `uId`; null when there is no such message. The text stays valid as
  // long as the component.
  virtual const char* FetchMessage(unsigned int uId) = 0;

  // What the constructor was given.
  unsigned int GetComponentID() const { return m_uId; }
  const char* GetComponentAbbrName() const { return m_pszAbbrName; }
  const char* GetComponentName() const { return m_pszName; }
  const char* GetComponentDescription() const { return m_pszDescription; }

  // The logger's note of the loaded library; not for components.
  void* GetHandle() const { return m_pHandle; }
  void SetHandle(void* pHandle) { m_pHandle = pHandle; }

 private:
  void* m_pHandle;  // a holder of the library's handle, null for the built-in component
  unsigned int m_uId;
  const char* m_pszAbbrName;
  const char* m_pszName;
  const char* m_pszDescription;
};

// The built-in component, number 1, "Log": messages 1 to 3 are "%1s", so that the first argument is
// the whole message. One sub-component, "Legacy".
class WYERRLOG_API CWyLogComponent : public CWyErrLogComponent {
 public:
  CWyLogComponent();
  ~CWyLogComponent() override;

  void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) override;
  const char* FetchMessage(unsigned int uId) override;
};

// The entry point of a component library, which every plug-in defines. The library's own gives one
// CWyLogComponent, made by the first call and destroyed at process exit.
extern "C" WYERRLOG_API CWyErrLogComponent* GetComponentPtr();

#endif
