#ifndef WYERRLOG_WYLOGCOMPONENT_H
#define WYERRLOG_WYLOGCOMPONENT_H

// Message components. A component is a plug-in: a shared library lib<name>.so whose name is in the
// known component table (WyErrLogConfig.h) and which defines the function GetComponentPtr. A logger
// loads it when it is initialised and asks it for the keys of its messages:
//
//   class CWySessionStore : public CWyErrLogComponent {
//    public:
//     CWySessionStore()
//         : CWyErrLogComponent(WyComponentId(12), "sessionstore", "Session_Store", "Sessions") {}
//     void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) override {
//       *pCount = 0;
//       *ppList = nullptr;
//     }
//     const char* FetchMessage(unsigned int uId) override {
//       return WyMessageNumber(uId) == 1 ? "sessionstore-00001" : nullptr;
//     }
//   };
//
//   extern "C" CWyErrLogComponent* GetComponentPtr() {
//     static CWySessionStore component;
//     return &component;
//   }
//
// WyMessageId.h describes how the identifiers of components and messages are composed.
//
// Components are unloaded once per process, by the first logger that is released, at process exit
// at the latest. A forked child has its parent's components.

#include "wyerrlog/WyErrLogPort.h"
#include "wyerrlog/WyMessageId.h"

// One sub-component, a part that can be traced alone. Its number is its place in the list, from 1.
// Unused bytes of the arrays are zero; a name that fills its array needs no terminator.
struct WyErrSubComponentInfo {
  char szAbbrName[24];         // not used by the library
  char szName[32];             // in trace configuration files, after the component's and "/"
  const char* pszDescription;  // one line
};

// Base of a component. A plug-in derives from it and returns one object, which it owns and which
// lives as long as its library. Many threads call the object at once, without a lock: its results
// must not change. A message that its constructor logs to the logger that is loading it is dropped.
//
// A component whose constructor or GetSubComponents throws is not used; a message whose
// FetchMessage throws counts as missing. Exceptions do not leave the logger. The virtual operations
// and their order are an interface between libraries that are built apart.
class WYERRLOG_API CWyErrLogComponent {
 public:
  // The texts are not copied: they must live as long as the component. `uId` is
  // WyComponentId(number), and the number must be that of the library's row, or messages are looked
  // for in another component. `pszAbbrName` is the name of the component's bundle of translated
  // messages (`<pszAbbrName>_de.properties`), `pszName` its name in trace configuration files,
  // without blanks, ":" and ",". `pszDescription` is one line for administrators. A null text
  // counts as an empty one in the logger's lists.
  CWyErrLogComponent(unsigned int uId, const char* pszAbbrName, const char* pszName,
                     const char* pszDescription);
  virtual ~CWyErrLogComponent();
  CWyErrLogComponent(const CWyErrLogComponent&) = delete;
  CWyErrLogComponent& operator=(const CWyErrLogComponent&) = delete;

  // Stores the number of sub-components and their array, which stays valid as long as the
  // component; the caller does not free it. Called by CWyLogger::Init and InitKnownInfo.
  virtual void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) = 0;

  // Returns the key of the message with the number in bits 0 to 13 of `uId` (or the printf pattern,
  // for a component that is not translated); null if there is no such message. The text stays valid
  // as long as the component. Called for every message that is logged.
  virtual const char* FetchMessage(unsigned int uId) = 0;

  // The constructor's arguments.
  unsigned int GetComponentID() const { return m_uId; }
  const char* GetComponentAbbrName() const { return m_pszAbbrName; }
  const char* GetComponentName() const { return m_pszName; }
  const char* GetComponentDescription() const { return m_pszDescription; }

  // The library's handle, which the logger sets and reads; not for components.
  void* GetHandle() const { return m_pHandle; }
  void SetHandle(void* pHandle) { m_pHandle = pHandle; }

 private:
  void* m_pHandle;  // a holder of the library's handle, null for the built-in component
  unsigned int m_uId;
  const char* m_pszAbbrName;
  const char* m_pszName;
  const char* m_pszDescription;
};

// The built-in component, number 1, "Log": messages 1 to 3 have the pattern "%1s", so that the
// first argument is the whole message; other numbers do not exist. One sub-component, "Legacy".
// Each logger owns an object of its own.
class WYERRLOG_API CWyLogComponent : public CWyErrLogComponent {
 public:
  CWyLogComponent();
  ~CWyLogComponent() override;

  void GetSubComponents(int* pCount, const WyErrSubComponentInfo** ppList) override;
  const char* FetchMessage(unsigned int uId) override;
};

// The entry point of a component library, which every plug-in defines. Returns the library's
// component, which the library still owns, at each call the same one; null, or an exception, if
// there is none: the component's messages are missing then. libwyerrlog's own returns one
// CWyLogComponent, constructed by the first call and destroyed at process exit.
extern "C" WYERRLOG_API CWyErrLogComponent* GetComponentPtr();

#endif
