// Creating, renewing and reading the state of a key directory.

#include "wyerrlog_seal/WySealKeys.h"

#include <sys/stat.h>

#include <cerrno>

#include "extras/seal/internal/WySealKeyText.h"
#include "extras/seal/internal/WySealSignature.h"
#include "extras/seal/internal/WySealState.h"

namespace {

WySealKeyTexts TextsOf(const WySealPage& page, const WySealSlot& slot) {
  const uint64_t uFile = slot.uFile + 1;
  WySealKeyTexts keys{WySealKeyText({false, page.logId, uFile, slot.fileKey}), ""};
  if (page.uSigned != 0) {
    keys.publicKey = WySealKeyText({true, page.logId, uFile, WySealPublicKeyOf(slot.seed)});
  }
  return keys;
}

}  // namespace

bool WySealCreateKeys(const std::string& strDirectory, bool bSigned, WySealKeyTexts& keys) {
  if (!WySealInitialise()) {
    errno = ENOSYS;
    return false;
  }
  if (mkdir(strDirectory.c_str(), 0700) != 0 && errno != EEXIST) return false;
  CWySealWiped<WySealPage> page;
  page->uSigned = bSigned ? 1 : 0;
  randombytes_buf(page->logId.data(), page->logId.size());
  WySealSlot& slot = page->slots[0];
  slot.uSeq = slot.uMarkSeq = 1;
  randombytes_buf(slot.fileKey.data(), slot.fileKey.size());
  randombytes_buf(slot.seed.data(), slot.seed.size());
  if (!CWySealState::Create(strDirectory, *page)) return false;
  keys = TextsOf(*page, slot);
  return true;
}

bool WySealRenewKeys(const std::string& strDirectory, WySealKeyTexts& keys) {
  CWySealState state;
  if (!state.Open(strDirectory)) return false;
  const CWySealLock lock(state);
  if (!lock.IsHeld()) return false;
  WySealSlot& slot = state.Prepare();
  randombytes_buf(slot.fileKey.data(), slot.fileKey.size());
  // An ended file has said already which key the next one has; without a file there is none to end.
  if (slot.uFile != 0) slot.uFlags |= WySealRenewed;
  state.Commit();
  state.Sync();
  keys = TextsOf(state.Page(), state.Slot());
  return true;
}

bool WySealReadStatus(const std::string& strDirectory, WySealStatus& status) {
  CWySealState state;
  if (!state.Open(strDirectory)) return false;
  const CWySealLock lock(state);
  if (!lock.IsHeld()) return false;
  const WySealSlot& slot = state.Slot();
  status.logId = WySealEncode(state.Page().logId.data(), state.Page().logId.size());
  status.file = slot.uFile;
  status.nextRecord = slot.uSeq;
  status.lastTag = WySealEncode(slot.tag.data(), slot.tag.size());
  status.isSigned = state.Page().uSigned != 0;
  status.isRenewed = (slot.uFlags & WySealRenewed) != 0;
  return true;
}
