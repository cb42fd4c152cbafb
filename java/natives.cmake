# cmake -DFOLDER=<folder> -DLIBRARIES=<file>|<file>... -DSTRIP=<program> -P natives.cmake
#
# Fills the folder with the libraries, without symbols and named by their sonames, and with the file
# "index": the SHA-256 of each library and its name, the one that Java loads last.
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
string(REPLACE "|" ";" LIBRARIES "${LIBRARIES}")
set(index "")
foreach(library IN LISTS LIBRARIES)
  cmake_path(GET library FILENAME name)
  string(REGEX REPLACE "(\\.so\\.[0-9]+).*" "\\1" name "${name}")
  file(COPY_FILE "${library}" "${FOLDER}/${name}")
  execute_process(COMMAND "${STRIP}" --strip-unneeded "${FOLDER}/${name}" COMMAND_ERROR_IS_FATAL ANY)
  file(SHA256 "${FOLDER}/${name}" digest)
  string(APPEND index "${digest}  ${name}\n")
endforeach()
file(WRITE "${FOLDER}/index" "${index}")
