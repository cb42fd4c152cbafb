#ifndef WYERRLOG_INTERNAL_WYMESSAGECATALOG_H
#define WYERRLOG_INTERNAL_WYMESSAGECATALOG_H

// The message components of one logger: which text key an identifier has, and what a trace
// configuration can select.

#include <atomic>
#include <memory>

#include "wyerrlog/internal/WyKnownTables.h"
#include "wyerrlog/internal/WyReadSideSection.h"

class CWyErrLogComponent;

struct WyMessageSource {
  const char* pszBundle;
  const char* pszKey;
};

// A logger owns its catalog, fills it when it is initialised and empties it when it is released.
// Messages ask the catalog of the process logger, without going through the logger.
//
// Look-ups take no lock. A caller stays inside ReadSide() as long as it uses a text that it has
// looked up: Close waits for it before it releases the components. The operations that change the
// catalog are called by one thread at a time, with the logger's guards held.
class CWyMessageCatalog {
 public:
  CWyMessageCatalog() = default;
  ~CWyMessageCatalog();
  CWyMessageCatalog(const CWyMessageCatalog&) = delete;
  CWyMessageCatalog& operator=(const CWyMessageCatalog&) = delete;

  // ---- Filling and emptying ---------------------------------------------------------------------

  // Creates the built-in component, loads the known component libraries that are installed (only
  // with `bLibraries`), and builds the lists. Returns false, with nothing loaded, if memory
  // allocation fails. Look-ups find nothing until Open.
  bool Load(bool bLibraries);
  bool HasLibraries() const;
  void Open();

  // From here on look-ups find nothing. Waits for those under way, then deletes the built-in
  // component and forgets the others; with `bUnloadLibraries` closes their libraries (dlclose(3)).
  // The lists stay until ClearLists.
  void Close(bool bUnloadLibraries);

  // Builds the lists below afresh from the components. Returns false if memory allocation fails.
  bool BuildLists();
  void ClearLists();

  // ---- Look-ups ---------------------------------------------------------------------------------

  CWyReadSideSection& ReadSide() const { return m_readSide; }

  // The message key (or printf pattern) of an identifier, and the name of its component's bundle;
  // null if there is no such component or message.
  const char* FetchMsg(unsigned int uId) const;
  const char* GetMsgBundle(unsigned int uId) const;

  // Both of one component, also while Close begins: a bundle without a key is that of a component
  // which does not have the message.
  WyMessageSource FindMessage(unsigned int uId) const;

  // The two lists as texts (see CWyLogger::GetAvailableComponents); null once they are cleared.
  const char* AvailableComponents() const;
  const char* AvailableDataFields() const;

  // The same as tables, which a trace configuration copies; null unless open. Requires: the caller
  // is inside ReadSide().
  const WyTraceComponentInfo* ComponentInfo() const;
  int ComponentInfoCount() const;
  const WyTraceDataFieldInfo* DataFieldInfo() const;

  // ---- What has been looked up before -----------------------------------------------------------

  // A number that rises whenever look-ups in any catalog of the process may have other results from
  // then on: when a catalog opens, when one has closed to new look-ups, and before a component is
  // unloaded. A look-up that begins after a number has been read is at least as new as the number.
  static unsigned long Generation() { return s_uGeneration.load(std::memory_order_acquire); }
  static void BeginGeneration() { s_uGeneration.fetch_add(1); }

  // ---- The catalog of the process logger --------------------------------------------------------

  // Null until the process logger has been constructed; from then on always the same.
  static const CWyMessageCatalog* OfProcess() {
    return s_pOfProcess.load(std::memory_order_acquire);
  }
  void BecomeThatOfProcess() { s_pOfProcess.store(this, std::memory_order_release); }

 private:
  void LoadComponents(bool bLibraries);
  void ReleaseComponents();
  CWyErrLogComponent* FindComponent(unsigned int uId) const;

  void BuildComponentList();
  void GiveUpComponent(CWyErrLogComponent*& pSlot);

  static std::atomic<const CWyMessageCatalog*> s_pOfProcess;
  static std::atomic<unsigned long> s_uGeneration;

  // Slot n - 1 has the component of number n, or null. Slot 0 has the built-in component, owned.
  std::unique_ptr<CWyErrLogComponent*[]> m_ppComponents;
  int m_iSlotCount = 0;
  std::atomic<bool> m_bOpen{false};
  mutable CWyReadSideSection m_readSide;

  std::shared_ptr<const WyComponentTable> m_pTable;  // with that of the fields; null once cleared
  const WyFieldTable* m_pFields = nullptr;
};

#endif
