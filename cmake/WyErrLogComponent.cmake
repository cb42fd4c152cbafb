include_guard(GLOBAL)

# wyerrlog_component(<name> SOURCES <file>... CATALOGS <file>...
#                    [LIBRARY_DESTINATION <folder>] [CATALOG_DESTINATION <folder>])
#
# Builds the message component lib<name>.so, a plug-in that the logger loads if <name> is in the known
# component table, and copies its catalogs into one folder, to be passed to
# CWyXlate::SetResourceDirectory:
#
#   <build>/bin/lib<name>.so    found with ORVA_WA_ROOT=<build>
#   <build>/messages/<catalog>
#
# <build> is the calling project's build folder. `cmake --install` installs both into bin/ and messages/
# below the prefix, or into the destinations, which are absolute or relative to the prefix. The component
# is linked to wyerrlog::wyerrlog, which is a target of this build or found by find_package(wyerrlog).
function(wyerrlog_component name)
  cmake_parse_arguments(PARSE_ARGV 1 arg
    "" "LIBRARY_DESTINATION;CATALOG_DESTINATION" "SOURCES;CATALOGS")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_SOURCES)
    message(FATAL_ERROR "wyerrlog_component(${name}): SOURCES missing, or unknown arguments: "
                        "${arg_UNPARSED_ARGUMENTS}")
  endif()

  set(copies "")
  foreach(catalog IN LISTS arg_CATALOGS)
    cmake_path(GET catalog FILENAME file_name)
    set(copy "${PROJECT_BINARY_DIR}/messages/${file_name}")
    add_custom_command(OUTPUT "${copy}"
      COMMAND ${CMAKE_COMMAND} -E make_directory "${PROJECT_BINARY_DIR}/messages"
      COMMAND ${CMAKE_COMMAND} -E copy "${CMAKE_CURRENT_SOURCE_DIR}/${catalog}" "${copy}"
      MAIN_DEPENDENCY "${catalog}"
      VERBATIM)
    list(APPEND copies "${copy}")
  endforeach()

  add_library(${name} MODULE ${arg_SOURCES} ${copies})
  target_link_libraries(${name} PRIVATE wyerrlog::wyerrlog)
  set_target_properties(${name} PROPERTIES
    PREFIX lib
    LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")

  # In the library's own build the components are for its tests and examples, and not installed.
  if(CMAKE_PROJECT_NAME STREQUAL "wyerrlog")
    return()
  endif()
  if(NOT arg_LIBRARY_DESTINATION)
    set(arg_LIBRARY_DESTINATION bin)
  endif()
  if(NOT arg_CATALOG_DESTINATION)
    set(arg_CATALOG_DESTINATION messages)
  endif()
  install(TARGETS ${name} LIBRARY DESTINATION "${arg_LIBRARY_DESTINATION}")
  install(FILES ${arg_CATALOGS} DESTINATION "${arg_CATALOG_DESTINATION}")
endfunction()
