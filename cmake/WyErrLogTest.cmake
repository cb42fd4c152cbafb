include_guard(GLOBAL)
include(GoogleTest)

# GoogleTest's headers take half of the time that a test compiles. The first program compiles them for all
# others. Not in the builds whose warnings count: g++ reports parts of the standard library that come from
# a precompiled header.
function(precompile_test_headers name)
  target_compile_options(${name} PRIVATE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds;-Wno-stringop-overflow;-Wno-stringop-overread>)
  get_property(first GLOBAL PROPERTY WYERRLOG_TEST_HEADERS)
  if(first)
    target_precompile_headers(${name} REUSE_FROM ${first})
    return()
  endif()
  set_property(GLOBAL PROPERTY WYERRLOG_TEST_HEADERS ${name})
  target_precompile_headers(${name} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:<gmock/gmock.h$<ANGLE-R>> $<$<COMPILE_LANGUAGE:CXX>:<gtest/gtest.h$<ANGLE-R>>)
endfunction()

# wyerrlog_test(<name> [SOURCES <file>...] [LIBRARIES <target>...] [LABELS <label>...]
#               [COMPONENTS <target>...] [ENVIRONMENT <NAME=value>...] [TIMEOUT <seconds>])
#
# Builds one GoogleTest program, of <name>.cpp unless SOURCES says otherwise, and gives every TEST in it
# to CTest, which runs each in a process of its own: a TEST may use process-wide state freely. COMPONENTS
# are the message components of the build tree that its loggers find, and whose messages it includes. The program's name is a label of
# its tests, so `ctest -L <name>` runs one program's tests. Headers of the folder tests/ are included by
# their path from there. Test programs are never installed.
function(wyerrlog_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBRARIES;LABELS;COMPONENTS;ENVIRONMENT")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "wyerrlog_test(${name}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT arg_SOURCES)
    set(arg_SOURCES ${name}.cpp)
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()

  add_executable(${name} ${arg_SOURCES})
  if(arg_COMPONENTS)
    list(APPEND arg_ENVIRONMENT "ORVA_WA_ROOT=${PROJECT_BINARY_DIR}")
    add_dependencies(${name} ${arg_COMPONENTS})
    list(TRANSFORM arg_COMPONENTS APPEND _messages OUTPUT_VARIABLE messages)
    list(APPEND arg_LIBRARIES ${messages})
  endif()
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE
    ${arg_LIBRARIES} GTest::gmock GTest::gtest_main wyerrlog_warnings)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests/bin"
    INSTALL_RPATH "$ORIGIN/../../lib")

  if(WYERRLOG_SANITIZE)
    precompile_test_headers(${name})
  endif()

  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES)

  # Properties that are lists do not survive gtest_discover_tests; CTest reads this file after it.
  set(properties_file "${CMAKE_CURRENT_BINARY_DIR}/${name}_properties.cmake")
  file(WRITE "${properties_file}"
    "if(${name}_TESTS)\n"
    "  set_tests_properties(\${${name}_TESTS} PROPERTIES TIMEOUT ${arg_TIMEOUT}\n"
    "    LABELS \"${name};${arg_LABELS}\" ENVIRONMENT [==[${arg_ENVIRONMENT}]==])\n"
    "endif()\n")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${properties_file}")
endfunction()
