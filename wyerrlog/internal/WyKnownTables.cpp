// The last component table is remembered, as long as any logger has it. Nearly all loggers of a
// process find the same components, so one is enough.

#include "wyerrlog/internal/WyKnownTables.h"

#include <algorithm>
#include <atomic>

#include "wyerrlog/WyErrLogConfig.h"
#include "wyerrlog/internal/WyMutex.h"
#include "wyerrlog/internal/WyNeverDestroyed.h"

namespace {

// No fork comes while a thread holds it: loggers are initialised inside the fork gate.
constinit CWyNeverDestroyed<CWyMutex> s_mutex;
constinit CWyNeverDestroyed<std::weak_ptr<const WyComponentTable>> s_last
    WYERRLOG_GUARDED_BY(s_mutex.value);

// The text has all names, so it differs if they do.
bool AreEqual(const WyComponentTable& a, const WyComponentTable& b) {
  return a.strText == b.strText &&
         std::ranges::equal(a.rows, b.rows, {}, &WyTraceComponentInfo::uId,
                            &WyTraceComponentInfo::uId) &&
         a.names == b.names;
}

WyFieldTable* NewFieldTable() {
  const KNOWNDATAFIELDINFO* pRows = nullptr;
  int iCount = 0;
  GetKnownDataFields(&iCount, &pRows);
  const auto uCount = static_cast<std::size_t>(iCount);
  auto pTable = std::make_unique<WyFieldTable>();
  pTable->pRows.reset(new WyTraceDataFieldInfo[uCount]());
  for (std::size_t i = 0; i < uCount; ++i) {
    if (i != 0) pTable->strText.append(" ");
    pTable->strText.append(pRows[i].pszName);
    pTable->pRows[i].uId = static_cast<unsigned int>(i);
    pTable->pRows[i].pszName = pRows[i].pszName;
    pTable->pRows[i].uWidth = static_cast<unsigned int>(pRows[i].iWidth);
  }
  return pTable.release();
}

}  // namespace

std::shared_ptr<const WyComponentTable> WyShareTable(
    std::shared_ptr<const WyComponentTable> pTable) {
  const CWyMutexLock lock(s_mutex.value);
  auto pLast = s_last.value.lock();
  if (pLast != nullptr && AreEqual(*pLast, *pTable)) return pLast;
  s_last.value = pTable;
  return pTable;
}

// A thread that comes second deletes its own table.
const WyFieldTable& WyKnownFields() {
  static constinit std::atomic<const WyFieldTable*> s_pTable{nullptr};
  const WyFieldTable* pKnown = s_pTable.load(std::memory_order_acquire);
  if (pKnown != nullptr) return *pKnown;
  std::unique_ptr<const WyFieldTable> pNew(NewFieldTable());
  if (s_pTable.compare_exchange_strong(pKnown, pNew.get())) return *pNew.release();
  return *pKnown;
}
