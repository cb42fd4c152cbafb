# Whether programs built for the recorded interface of a shared library run with this one: that none of
# its functions is gone, and no public type has changed its layout. With RECORD, writes the record.
#   cmake -DLIBRARY=<file> -DABI=<file> -DSOURCES=<folder> -DSUPPRESSIONS=<file> -DCURRENT=<scratch file>
#     [-DRECORD=ON] -P RecordedAbi.cmake

find_program(abidw abidw)
find_program(abidiff abidiff)
if(NOT abidw OR NOT abidiff)
  message(FATAL_ERROR "abidiff is not installed (Debian: abigail-tools)")
endif()

# What is read is the library's debug information, without what differs between machines.
execute_process(
  COMMAND ${abidw} --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed
    --no-write-default-sizes --no-parameter-names --exported-interfaces-only
    --suppressions "${SUPPRESSIONS}" --out-file "${CURRENT}" "${LIBRARY}"
  COMMAND_ERROR_IS_FATAL ANY)
file(READ "${CURRENT}" text)
string(REPLACE "path='${SOURCES}/" "path='" text "${text}")

if(RECORD)
  file(WRITE "${ABI}" "${text}")
  return()
endif()

# What is new is no matter for old programs; the list of exported symbols has it.
file(WRITE "${CURRENT}" "${text}")
execute_process(COMMAND ${abidiff} --no-added-syms "${ABI}" "${CURRENT}" RESULT_VARIABLE difference)
if(NOT difference EQUAL 0)
  message(FATAL_ERROR "${LIBRARY} has another interface than ${ABI}.\n"
                      "When that is intended: scripts/record-abi.sh")
endif()
