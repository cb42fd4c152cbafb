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

set(same_version "${libraries_package} (= ${PROJECT_VERSION}-${release})")
string(CONCAT about
  "Servers, agents, tools and Java code log through this library: translated messages addressed by "
  "identifiers, traces that a configuration file switches on in a running process, and audit records; "
  "to files with rollover and retention, the terminal, or functions of the host.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${libraries_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}\n${about}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libwyerrlog-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${same_version}")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "${PROJECT_DESCRIPTION} (development files)\n${about}\n"
    "This package has the headers, and the files for CMake and pkg-config.")

set(CPACK_DEBIAN_JAVA_PACKAGE_NAME libwyerrlog-java)
set(CPACK_DEBIAN_JAVA_PACKAGE_SECTION java)
set(CPACK_DEBIAN_JAVA_PACKAGE_DEPENDS "${same_version}")
set(CPACK_DEBIAN_JAVA_PACKAGE_RECOMMENDS "default-jre-headless | java17-runtime-headless")
set(CPACK_DEBIAN_JAVA_DESCRIPTION
    "${PROJECT_DESCRIPTION} (Java classes)\n${about}\n"
    "This package has the class WyLogger over the library, and what sends java.util.logging and"
    " System.Logger to it.")

include(CPack)
