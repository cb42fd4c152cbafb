// The exported operations. Exceptions end here: if memory allocation fails, a directory is not set
// and a bundle is not found. Every CWyXlateBundle comes from GetBundle, which returns
// CWyLoadedBundle alone; hence the casts.

#include <wyxlate/WyXlate.h>

#include <exception>

#include "wyxlate/BundleCache.h"

bool CWyXlate::SetResourceDirectory(const char* directory) {
  try {
    return theBundleCache().SetDirectory(directory);
  } catch (const std::exception&) {
    return false;
  }
}

CWyXlateBundle* CWyXlate::GetBundle(const char* bundle, const char* locale) {
  if (bundle == nullptr) return nullptr;
  try {
    // The reference becomes the caller's, who ends it with Release.
    return theBundleCache().Get(bundle, locale != nullptr ? locale : "").release();
  } catch (const std::exception&) {
    return nullptr;
  }
}

const char* CWyXlateBundle::Lookup(const char* key) {
  return key == nullptr ? nullptr : static_cast<CWyLoadedBundle*>(this)->Find(key);
}

void CWyXlateBundle::Release() { static_cast<CWyLoadedBundle*>(this)->DropReference(); }
