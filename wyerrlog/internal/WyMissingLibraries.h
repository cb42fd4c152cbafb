#ifndef WYERRLOG_INTERNAL_WYMISSINGLIBRARIES_H
#define WYERRLOG_INTERNAL_WYMISSINGLIBRARIES_H

// Which known component libraries a search has not found, so that the next logger does not search
// all folders for each of them again.

#include <bitset>
#include <cstdint>
#include <string>
#include <vector>

// One search for the known libraries, by a logger that is initialised. What the last search has not
// found is skipped, unless it was more than a second ago or a folder of the search has changed
// since (its modification time, stat(2)).
//
// Only absent files are remembered: a library that cannot be loaded is tried again each time.
class CWyMissingLibraries {
 public:
  CWyMissingLibraries();  // throws std::bad_alloc

  // Whether the library of that row of the table need not be searched for.
  bool Includes(std::size_t uRow) const { return uRow < m_skipped.size() && m_skipped[uRow]; }
  // The library could not be loaded. Throws std::bad_alloc.
  void Add(std::size_t uRow, const char* pszName);
  // The search is over: the next ones may rely on it.
  void Remember() const;

 private:
  std::vector<std::string> m_folders;  // with a "/" at the end, and the linker's cache
  std::string m_strFolders;            // and their modification times, when the search began
  std::int64_t m_iBegin;
  std::bitset<256> m_skipped;
  std::bitset<256> m_missing;
  bool m_bSearched = false;
};

// The folder of component libraries below the installation root, with a "/" at its end; null as
// long as there is none. The text never changes. Defined with the loading by short names.
const char* WyInstalledLibraries();

#endif
