# How every target of this project is compiled and linked. Included once, by the root list file; what
# it sets ends at this project's border, so a project that consumes this one keeps its own flags.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ${PROJECT_IS_TOP_LEVEL})

# Programs and plug-ins lie in bin/ and libraries in lib/, in the build tree and when installed; all of
# them search their own directory and lib/ beside it. One run path serves both trees: those that CMake
# makes for the build tree alone end in an empty entry, which means the working directory.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
file(RELATIVE_PATH bin_to_lib
     "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN" "$ORIGIN/../lib" "$ORIGIN/${bin_to_lib}")
list(REMOVE_DUPLICATES CMAKE_INSTALL_RPATH)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)

# Warnings, for our own targets alone: link it PRIVATE as $<BUILD_INTERFACE:wyerrlog_warnings>, so that
# nothing of it is exported.
add_library(wyerrlog_warnings INTERFACE)
target_compile_options(wyerrlog_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety> $<$<BOOL:${WYERRLOG_WERROR}>:-Werror>)

add_compile_definitions($<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

# Calls within a library, and those to others, take no detour through a table of jumps.
add_compile_options(-fno-plt -fno-semantic-interposition)
string(APPEND CMAKE_SHARED_LINKER_FLAGS " -Wl,-Bsymbolic-functions")

if(WYERRLOG_SANITIZE)
  add_compile_options(-fsanitize=${WYERRLOG_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -O1)
  add_link_options(-fsanitize=${WYERRLOG_SANITIZE})
  # With a sanitizer's checks in the code, g++ takes parts of the standard library for uninitialised.
  target_compile_options(wyerrlog_warnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
else()
  # A symbol that nobody provides is found when the library is linked, not when it is loaded.
  # Sanitized libraries leave the sanitizer's own symbols to the program.
  string(APPEND CMAKE_SHARED_LINKER_FLAGS " -Wl,--no-undefined")
  string(APPEND CMAKE_MODULE_LINKER_FLAGS " -Wl,--no-undefined")
endif()
