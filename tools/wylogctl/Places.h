#ifndef WYLOGCTL_PLACES_H
#define WYLOGCTL_PLACES_H

// Where to begin reading, so that a question about a part of a log does not read all of it: from a
// time on, by binary search, or the last records, from the end backwards.

#include <functional>
#include <optional>
#include <vector>

#include "tools/wylogctl/ChainReader.h"

// How far before a place the header lines of a trace are searched for, so that the cost does not
// depend on the file's size. Behind that the names are those of the file's first header lines, if
// the records at the place have the form that these announce.
enum class WyTitleSearch : std::uint8_t {
  Ignored,  // which column has which name does not matter
  Near,     // it does: such names are marked as assumed
  Whole     // to the beginning of the file
};

class CWyPlaces {
 public:
  // The files of a log, as CWyChainReader lists them.
  CWyPlaces(const std::vector<WyLogFile>& files, std::shared_ptr<const WyLogShape> pShape,
            WyTitleSearch search)
      : m_files(files), m_pGiven(std::move(pShape)), m_search(search) {}

  // A place before every record of this time or later. The times of a file are taken to go back by
  // less than `slack`.
  WyPlace Since(WyCivil time, WyCivil slack) const;

  // A place behind which at least `uCount` records satisfy `matches`, or the beginning; and how
  // many do.
  struct LastPlace {
    WyPlace place;
    std::size_t uFound = 0;
  };
  LastPlace Last(std::size_t uCount, const std::function<bool(const WyRecord&)>& matches) const;

  // The time of the first record of a file that has one; WyNoTime if there is none.
  WyCivil FirstTime(std::size_t uFile) const;

  // The latest time of a file: of its last records, or, if it is compressed, of all of them; and
  // the same in UTC, if the record itself says in which zone its time is.
  struct Latest {
    WyCivil time = WyNoTime;
    std::optional<std::int64_t> utc;
  };
  Latest LastTime(std::size_t uFile) const;

  // The shape of the lines at a place of a file; null if the file cannot be read.
  using Shape = std::shared_ptr<const WyLogShape>;
  Shape ShapeAt(std::size_t uFile, std::uint64_t uOffset) const;

 private:
  std::uint64_t SinceInFile(std::size_t uFile, const Shape& pShape, WyCivil time) const;
  WyCivil TimeAt(std::size_t uFile, std::uint64_t uOffset, const Shape& pShape) const;
  std::size_t CountFrom(std::size_t uFile, std::uint64_t uOffset, const Shape& pShape,
                        const std::function<bool(const WyRecord&)>& matches) const;
  Shape HeadShape(std::size_t uFile) const;
  Shape Assumed(const Shape& pHead) const;
  bool Fits(std::size_t uFile, std::uint64_t uOffset, const Shape& pShape) const;

  const std::vector<WyLogFile>& m_files;
  Shape m_pGiven;
  WyTitleSearch m_search;
};

#endif
