# How every target of this project is compiled and linked. Included once, by the root CMakeLists.txt. The
# settings apply to this project's folders alone: a project that uses this one keeps its own flags.

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

# Programs and plug-ins are in bin/ and libraries in lib/, in the build tree and when installed. All of them
# search their own directory and lib/ beside it. The build tree uses the run path of the installation too:
# the one that CMake generates for build trees ends in an empty entry, which means the working directory.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
file(RELATIVE_PATH bin_to_lib
     "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN" "$ORIGIN/../lib" "$ORIGIN/${bin_to_lib}")
list(REMOVE_DUPLICATES CMAKE_INSTALL_RPATH)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)

# Warnings, for this project's targets. Link it PRIVATE as $<BUILD_INTERFACE:wyerrlog_warnings>, so that it
# is not exported.
add_library(wyerrlog_warnings INTERFACE)
target_compile_options(wyerrlog_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety> $<$<BOOL:${WYERRLOG_WERROR}>:-Werror>)

add_compile_definitions($<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

# Calls within a library and to other libraries do not go through the procedure linkage table.
add_compile_options(-fno-plt -fno-semantic-interposition)
string(APPEND CMAKE_SHARED_LINKER_FLAGS " -Wl,-Bsymbolic-functions")

# Thread-local objects are found by descriptors (g++; clang 14 has no such option on x86-64): the
# libraries of a program's start have theirs at a fixed place, which a descriptor finds without a call
# of the loader's general function. Loaders before glibc 2.40 do not preserve vector registers when
# a thread first touches an object, which the compiler relies on: hence thread-local objects are used
# in functions of their own, which are not inlined.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-mtls-dialect=gnu2 WYERRLOG_HAS_TLS_DESCRIPTORS)
if(WYERRLOG_HAS_TLS_DESCRIPTORS AND NOT WYERRLOG_SANITIZE)
  add_compile_options(-mtls-dialect=gnu2)
endif()

if(WYERRLOG_SANITIZE)
  add_compile_options(-fsanitize=${WYERRLOG_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -O1)
  add_link_options(-fsanitize=${WYERRLOG_SANITIZE})
  # g++ reports parts of the standard library as uninitialised if they contain a sanitizer's checks.
  target_compile_options(wyerrlog_warnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
else()
  # An undefined symbol is an error when the library is linked, not only when it is loaded. Libraries with
  # a sanitizer are exempt: the program provides the sanitizer's symbols.
  string(APPEND CMAKE_SHARED_LINKER_FLAGS " -Wl,--no-undefined")
  string(APPEND CMAKE_MODULE_LINKER_FLAGS " -Wl,--no-undefined")
endif()
