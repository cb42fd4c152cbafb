// Merges the files of a bundle into one table when the bundle is loaded, so that a look-up of a
// message searches one table and not one for each file.

#include "wyxlate/LoadedBundle.h"

#include <algorithm>
#include <cstddef>

namespace {

// Calls `visit` with what the locale adds to the names of a bundle's files, from the general to the
// special: "", "_zh", "_zh_Hant", "_zh_Hant_TW".
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
  // A special file replaces the keys that it shares with the general ones read before it. A file
  // that could not be opened for a shortage leaves the bundle incomplete: its keys would be
  // missing.
  ForEachSuffix(locale, [&](const std::string& strSuffix) {
    const FileState state = ReadPropertiesFile(strStem + strSuffix + ".properties", table);
    bFound |= state == FileState::Read;
    bComplete &= state != FileState::Busy;
  });
  return {BundleRef(bFound ? new CWyLoadedBundle(std::move(table), bComplete) : nullptr),
          bComplete};
}
