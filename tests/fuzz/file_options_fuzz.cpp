// Reads options of a log file from a text.
//
// What is accepted an output accepts, too; what is refused is refused with a text for a terminal.

#include <string>

#include "fuzz/FuzzInput.h"
#include "wyerrlog/WyEscape.h"
#include "wyerrlog/internal/WyFileOptionsText.h"
#include "wyerrlog/internal/WyRecordFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize) {
  for (const bool bTrace : {false, true}) {
    WyTextOptions options;
    const std::string strRefused = WyReadFileOptions(fuzz::Text(pData, uSize), bTrace, options);
    options.file.path = "./a.log";
    fuzz::Require(!strRefused.empty() || WyAreValid(options.file));
    fuzz::Require(bTrace || options.strDelimiter.empty());
    fuzz::Require(WyEscape(strRefused) == strRefused);
  }
  return 0;
}
