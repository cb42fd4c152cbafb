include_guard(GLOBAL)

set(WYERRLOG_MSGC "" CACHE FILEPATH
    "The message compiler, for builds that cannot run the one that they build or find")

# wyerrlog_component(<name> MESSAGES <definition> [CATALOGS <file>...] [SOURCES <file>...]
#                    [REQUIRE <locale>...] [ALLOW <code>...] [WERROR]
#                    [LIBRARY_DESTINATION <folder>] [CATALOG_DESTINATION <folder>])
# wyerrlog_component(<name> SOURCES <file>... [CATALOGS <file>...]
#                    [LIBRARY_DESTINATION <folder>] [CATALOG_DESTINATION <folder>])
#
# Builds the message component lib<name>.so, a plug-in that the logger loads if <name> is in the known
# component table, and copies its catalogs into one folder, to be passed to
# CWyXlate::SetResourceDirectory:
#
#   <build>/bin/lib<name>.so                 found with ORVA_WA_ROOT=<build>
#   <build>/messages/<catalog>
#   <build>/messages/<name>.messages.json    with MESSAGES: the manifest
#
# <build> is the calling project's build folder. `cmake --install` installs them into bin/ and messages/
# below the prefix, or into the destinations, which are absolute or relative to the prefix. The component
# is linked to wyerrlog::wyerrlog, which is a target of this build or found by find_package(wyerrlog).
#
# With MESSAGES the message compiler makes the component's source, its header and its English catalog from
# the definition (.wymsg), and checks the translations in CATALOGS against it; what does not agree fails the
# build. REQUIRE makes a missing translation into that language an error, ALLOW switches a warning off,
# WERROR makes the others errors. Programs that log the messages link <name>_messages, which brings the
# folder of the header; its property WYERRLOG_FOLDER is that folder, which also has the Java class (property
# WYERRLOG_JAVA_SOURCE) and the table of messages for administrators.
#
# The message compiler is the program WYERRLOG_MSGC, or else wyerrlog::wymsgc.
function(wyerrlog_component name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "WERROR"
    "MESSAGES;LIBRARY_DESTINATION;CATALOG_DESTINATION" "SOURCES;CATALOGS;REQUIRE;ALLOW")
  if(arg_UNPARSED_ARGUMENTS OR NOT (arg_SOURCES OR arg_MESSAGES))
    message(FATAL_ERROR "wyerrlog_component(${name}): MESSAGES and SOURCES missing, or unknown "
                        "arguments: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if((arg_WERROR OR arg_REQUIRE OR arg_ALLOW) AND NOT arg_MESSAGES)
    message(FATAL_ERROR "wyerrlog_component(${name}): WERROR, REQUIRE and ALLOW need MESSAGES")
  endif()

  set(sources ${arg_SOURCES})
  if(arg_MESSAGES)
    set(options "")
    if(arg_WERROR)
      list(APPEND options --werror)
    endif()
    list(TRANSFORM arg_REQUIRE PREPEND "--require=" OUTPUT_VARIABLE required)
    list(TRANSFORM arg_ALLOW PREPEND "--allow=" OUTPUT_VARIABLE allowed)
    wyerrlog_compile_messages(${name} "${arg_MESSAGES}" "${arg_CATALOGS}"
      "${options};${required};${allowed}" source)
    list(APPEND sources "${source}")
  endif()
  wyerrlog_copy_catalogs(copies ${arg_CATALOGS})

  add_library(${name} MODULE ${sources} ${copies})
  target_link_libraries(${name} PRIVATE wyerrlog::wyerrlog)
  if(arg_MESSAGES)
    target_link_libraries(${name} PRIVATE ${name}_messages)
  endif()
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
  if(arg_MESSAGES)
    get_target_property(installed ${name}_messages WYERRLOG_INSTALLED)
    install(FILES ${installed} DESTINATION "${arg_CATALOG_DESTINATION}")
  endif()
endfunction()

# Copies catalogs to <build>/messages; the copies are listed in the variable `result`.
function(wyerrlog_copy_catalogs result)
  set(copies "")
  foreach(catalog IN LISTS ARGN)
    cmake_path(GET catalog FILENAME file_name)
    cmake_path(ABSOLUTE_PATH catalog)
    set(copy "${PROJECT_BINARY_DIR}/messages/${file_name}")
    add_custom_command(OUTPUT "${copy}"
      COMMAND ${CMAKE_COMMAND} -E make_directory "${PROJECT_BINARY_DIR}/messages"
      COMMAND ${CMAKE_COMMAND} -E copy "${catalog}" "${copy}"
      MAIN_DEPENDENCY "${catalog}"
      VERBATIM)
    list(APPEND copies "${copy}")
  endforeach()
  set(${result} "${copies}" PARENT_SCOPE)
endfunction()

# The command that runs the message compiler, in the variable `result`.
function(wyerrlog_find_msgc name result)
  if(WYERRLOG_MSGC)
    set(${result} "${WYERRLOG_MSGC}" PARENT_SCOPE)
  elseif(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    message(FATAL_ERROR "wyerrlog_component(${name}): a program of the target system cannot compile "
                        "the messages; set WYERRLOG_MSGC to a wymsgc of this system")
  elseif(TARGET wyerrlog::wymsgc)
    set(${result} wyerrlog::wymsgc PARENT_SCOPE)
  else()
    message(FATAL_ERROR "wyerrlog_component(${name}): there is no message compiler. Install CLI11 and "
                        "nlohmann-json (Debian: libcli11-dev, nlohmann-json3-dev) to build it, build "
                        "the library with WYERRLOG_BUILD_TOOLS, or set WYERRLOG_MSGC")
  endif()
endfunction()

# The first word behind a statement of a definition, or the default. A definition that lacks it is reported
# by the compiler, when the component is built.
function(wyerrlog_read_statement definition statement default result)
  file(STRINGS "${definition}" line LIMIT_COUNT 1 REGEX "^[ \t]*${statement}[ \t]+[^ \t]+")
  string(REGEX REPLACE "^[ \t]*${statement}[ \t]+([^ \t]+).*$" "\\1" word "${line}")
  if(NOT word)
    set(word "${default}")
  endif()
  set(${result} "${word}" PARENT_SCOPE)
endfunction()

# Makes the targets <name>_messages and <name>_compile_messages; the source of the component is in the
# variable `result`. The outputs keep their times when their content does not change, hence the stamp.
function(wyerrlog_compile_messages name definition catalogs options result)
  cmake_path(ABSOLUTE_PATH definition NORMALIZE)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${definition}")
  if(NOT EXISTS "${definition}")
    message(FATAL_ERROR "wyerrlog_component(${name}): there is no definition ${definition}")
  endif()
  wyerrlog_read_statement("${definition}" "component[ \t]+[^ \t]+" "${name}" component)
  if(NOT component STREQUAL name)
    message(FATAL_ERROR "wyerrlog_component(${name}): ${definition} defines the component ${component}; "
                        "the logger loads it by that name")
  endif()
  wyerrlog_read_statement("${definition}" cpp "${name}" cpp)
  wyerrlog_read_statement("${definition}" bundle "${name}" bundle)
  wyerrlog_read_statement("${definition}" java "" java)
  wyerrlog_find_msgc(${name} compiler)

  set(folder "${CMAKE_CURRENT_BINARY_DIR}/${name}.messages")
  set(installed "${PROJECT_BINARY_DIR}/messages")
  set(outputs "${folder}/${cpp}.cpp" "${folder}/${cpp}Messages.h" "${folder}/${name}.messages.md")
  set(copied "${bundle}.properties" "${name}.messages.json")
  set(arguments "")
  set(inputs "${definition}")
  foreach(catalog IN LISTS catalogs)
    cmake_path(ABSOLUTE_PATH catalog NORMALIZE)
    list(APPEND arguments --catalog "${catalog}")
    list(APPEND inputs "${catalog}")
  endforeach()
  cmake_path(REPLACE_FILENAME definition "${name}.lock" OUTPUT_VARIABLE lock)
  if(EXISTS "${lock}")
    list(APPEND inputs "${lock}")
  endif()
  if(java)
    string(REPLACE "." "/" java_path "${java}")
    list(APPEND outputs "${folder}/${java_path}.java")
  endif()

  list(TRANSFORM copied PREPEND "${folder}/" OUTPUT_VARIABLE made)
  list(TRANSFORM copied PREPEND "${installed}/" OUTPUT_VARIABLE copies)
  list(REMOVE_ITEM options "")
  add_custom_command(OUTPUT "${folder}/stamp"
    BYPRODUCTS ${outputs} ${made} ${copies}
    COMMAND ${compiler} compile "${definition}" ${arguments} ${options} --out "${folder}"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${installed}"
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${made} "${installed}"
    COMMAND ${CMAKE_COMMAND} -E touch "${folder}/stamp"
    DEPENDS ${inputs} ${compiler}
    COMMENT "Compiling the messages of ${name}"
    VERBATIM)
  add_custom_target(${name}_compile_messages DEPENDS "${folder}/stamp")

  add_library(${name}_messages INTERFACE)
  target_include_directories(${name}_messages INTERFACE "${folder}")
  set_target_properties(${name}_messages PROPERTIES
    WYERRLOG_FOLDER "${folder}"
    WYERRLOG_INSTALLED "${made}")  # the English catalog and the manifest
  if(java)
    set_target_properties(${name}_messages PROPERTIES
      WYERRLOG_JAVA_SOURCE "${folder}/${java_path}.java")
  endif()
  add_dependencies(${name}_messages ${name}_compile_messages)
  set(${result} "${folder}/${cpp}.cpp" PARENT_SCOPE)
endfunction()
