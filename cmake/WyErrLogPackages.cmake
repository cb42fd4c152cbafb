# The Debian packages, made by scripts/package.sh: one for each component of the installation, the debug
# symbols of the libraries in one of their own.
set(libraries_package "libwyerrlog${PROJECT_VERSION_MAJOR}")
set(release 1)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET wyerrlog_java)
  list(APPEND CPACK_COMPONENTS_ALL java)
endif()
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_PACKAGE_CONTACT "libwyerrlog maintainers <libwyerrlog@orvantis.example>" CACHE STRING
    "Maintainer of the packages")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${release})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# wyerrlog_package(<component> NAME <name> SECTION <section> WHAT <in a few words> CONTENT <a sentence>
#                  [DEPENDS <packages>] [RECOMMENDS <packages>])
macro(wyerrlog_package component)
  cmake_parse_arguments(package "" "NAME;SECTION;WHAT;CONTENT;DEPENDS;RECOMMENDS" "" ${ARGN})
  set(CPACK_DEBIAN_${component}_PACKAGE_NAME "${package_NAME}")
  set(CPACK_DEBIAN_${component}_PACKAGE_SECTION "${package_SECTION}")
  set(CPACK_DEBIAN_${component}_PACKAGE_DEPENDS "${package_DEPENDS}")
  set(CPACK_DEBIAN_${component}_PACKAGE_RECOMMENDS "${package_RECOMMENDS}")
  string(JOIN "\n" CPACK_DEBIAN_${component}_DESCRIPTION
    "error, trace and audit log for multi-threaded processes (${package_WHAT})"
    "Servers, agents, tools and Java code log through this library: translated"
    "messages addressed by identifiers, traces that a configuration file"
    "switches on in a running process, and audit records; to files with"
    "rollover and retention, the terminal, or functions of the host."
    ""
    "${package_CONTENT}")
endmacro()
set(same_version "${libraries_package} (= ${PROJECT_VERSION}-${release})")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each has its own

wyerrlog_package(RUNTIME NAME ${libraries_package} SECTION libs
  WHAT "libraries" CONTENT "This package has what programs need to run.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/debian/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_BINARY_DIR}/debian/triggers")
set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)

wyerrlog_package(DEVELOPMENT NAME libwyerrlog-dev SECTION libdevel
  WHAT "development" DEPENDS "${same_version}"
  CONTENT "This package has the headers, and the files for CMake and pkg-config.")

wyerrlog_package(JAVA NAME libwyerrlog-java SECTION java
  WHAT "Java" DEPENDS "${same_version}" RECOMMENDS "default-jre-headless | java17-runtime-headless"
  CONTENT "This package has the Java class over the library, and its bridges.")

include(CPack)
