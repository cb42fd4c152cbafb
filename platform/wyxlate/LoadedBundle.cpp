#include "wyxlate/LoadedBundle.h"

#include <algorithm>
#include <cstddef>

namespace {

// What the locale adds to the names of a bundle's files, from the general to the special: "",
// "_zh",
// "_zh_Hant", "_zh_Hant_TW". Calls `visit` with each.
template <typename Visitor>
void ForEachSuffix(std::string_view locale, Visitor visit) {
  visit(std::string());
  for (std::size_t uEnd = 0; uEnd < locale.size(); ++uEnd) {
    uEnd = std::min(locale.find('_', uEnd), locale.size());
    visit('_' + std::string(locale.substr(0, uEnd)));
  }
}

}  // namespace

LoadResult LoadBundle(const std::string& strDirectory, std::string_view bundle,
                      std::string_view locale) {
  const std::string strStem = strDirectory + '/' + std::string(bundle);
  PropertyTable table;
  bool bFound = false;
  bool bComplete = true;
  // Each file replaces the keys it shares with the more general ones before it.
  ForEachSuffix(locale, [&](const std::string& strSuffix) {
    const FileState state = ReadPropertiesFile(strStem + strSuffix + ".properties", table);
    bFound |= state == FileState::Read;
    bComplete &= state != FileState::Busy;
  });
  return {BundleRef(bFound ? new CWyLoadedBundle(std::move(table)) : nullptr), bComplete};
}
