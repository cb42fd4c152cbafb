# Whether a shared library exports what a list names, and nothing else; with RECORD, writes the list.
#   cmake -DNM=<nm> -DLIBRARY=<file> -DLIST=<file> [-DEXCEPT=<regex>] [-DRECORD=ON]
#     -P ExportedSymbols.cmake
# EXCEPT: names on the list that this build does not have.

execute_process(COMMAND ${NM} -DC --defined-only "${LIBRARY}"
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "\n$" "" symbols "${symbols}")
string(REPLACE "\n" ";" symbols "${symbols}")
list(TRANSFORM symbols REPLACE "^[0-9a-f]+ . " "")
list(REMOVE_DUPLICATES symbols)  # constructors and destructors have several under one name
list(SORT symbols)

if(RECORD)
  list(JOIN symbols "\n" text)
  file(WRITE "${LIST}" "${text}\n")
  return()
endif()

file(STRINGS "${LIST}" missing)
if(EXCEPT)
  list(FILTER missing EXCLUDE REGEX "${EXCEPT}")
endif()
set(expected ${missing})
list(REMOVE_ITEM missing ${symbols})
list(REMOVE_ITEM symbols ${expected})
if(missing OR symbols)
  list(JOIN missing "\n  " missing)
  list(JOIN symbols "\n  " symbols)
  message(FATAL_ERROR "on the list, but not exported:\n  ${missing}\n"
                      "exported, but not on the list:\n  ${symbols}\n"
                      "When that is intended: scripts/record-abi.sh")
endif()
