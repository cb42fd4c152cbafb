// Creating, renewing and reading the state of a key directory.

#include "wyerrlog_seal/WySealKeys.h"

#include <sys/stat.h>

#include <cerrno>

#include "extras/seal/internal/WySealKeyText.h"
#include "extras/seal/internal/WySealSignature.h"
#include "extras/seal/internal/WySealState.h"

namespace {

// The page has F_(file+1), so that a key printed now verifies from the next file on; before the
// first file that is the whole log.
WySealKeyTexts TextsOf(const WySealPage& page, const WySealSlot& slot) {
  const uint64_t uFile = slot.uFile + 1;
  CWySealWiped<WySealNamedKey> key;
  key->logId = page.logId;
  key->uFile = uFile;
  key->key = slot.fileKey;
  WySealKeyTexts keys{WySealKeyText(*key), ""};
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
  // An existing directory is taken as it is: its owner may have chosen other permissions on
  // purpose. The state's own are checked by every Open.
  if (mkdir(strDirectory.c_str(), 0700) != 0 && errno != EEXIST) return false;
  CWySealWiped<WySealPage> page;
  page->uSigned = bSigned ? 1 : 0;
  randombytes_buf(page->logId.data(), page->logId.size());
  WySealSlot& slot = page->slots[0];
  slot.uSeq = slot.uMarkSeq = 1;
  randombytes_buf(slot.fileKey.data(), slot.fileKey.size());
  // Also if nothing will be signed: the page has the same shape, and an unused seed costs nothing.
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
  // From the commit on, the old verification key derives nothing of the next files: fileKey is not
  // computed from it any more. The seed stays: the chain of signatures goes on over the renewal.
  WySealSlot& slot = state.Prepare();
  randombytes_buf(slot.fileKey.data(), slot.fileKey.size());
  // The flag makes the next record end the current file, so that the new key takes effect at once;
  // before the first file there is none to end.
  if (slot.uFile != 0) slot.uFlags |= WySealRenewed;
  state.Commit();
  state.Sync();
  keys = TextsOf(state.Page(), state.Slot());
  return true;
}

// Under the mutex, so that number and tag belong to one record: the pair is used as an anchor.
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
