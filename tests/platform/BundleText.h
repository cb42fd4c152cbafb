#ifndef TESTS_PLATFORM_BUNDLETEXT_H
#define TESTS_PLATFORM_BUNDLETEXT_H

#include <wyxlate/WyXlate.h>

#include <string>

// The pattern of a key, as one whole use of the library returns it: "no bundle" and "no key" where
// the library returns null.
inline std::string BundleText(const char* bundle, const char* locale, const char* key) {
  CWyXlateBundle* pBundle = CWyXlate::GetBundle(bundle, locale);
  if (pBundle == nullptr) return "no bundle";
  const char* pszPattern = pBundle->Lookup(key);
  const std::string text = pszPattern != nullptr ? pszPattern : "no key";
  pBundle->Release();
  return text;
}

#endif
