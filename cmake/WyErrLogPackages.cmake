# The Debian packages, which scripts/package.sh builds: one for each part of the installation, and one with
# the debug symbols of the libraries.
set(libraries_package "libwyerrlog${PROJECT_VERSION_MAJOR}")
set(release 1)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET wyerrlog_java)
  list(APPEND CPACK_COMPONENTS_ALL java)
endif()
if(TARGET wylogctl)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
if(WYERRLOG_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL shipping)
endif()
foreach(extra IN ITEMS seal journal)
  if(TARGET wyerrlog_${extra})
    list(APPEND CPACK_COMPONENTS_ALL ${extra} ${extra}_development)
  endif()
endforeach()
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_PACKAGE_CONTACT "libwyerrlog maintainers <libwyerrlog@orvantis.example>" CACHE STRING
    "Maintainer of the packages")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${release})
set(CPACK_DEBIAN_PACKAGE_SOURCE ${PROJECT_NAME})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# The documents that Debian requires in every package: the licence, the changes of the package and the
# changes of its contents. Their date is SOURCE_DATE_EPOCH, if that is set.
find_program(WYERRLOG_GZIP gzip REQUIRED)
set(documents "${CMAKE_CURRENT_BINARY_DIR}/debian")
string(TIMESTAMP packaged "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file("${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in" debian/changelog.Debian @ONLY)
configure_file("${PROJECT_SOURCE_DIR}/CHANGELOG.md" debian/changelog COPYONLY)
foreach(changelog IN ITEMS changelog.Debian changelog)
  execute_process(COMMAND ${WYERRLOG_GZIP} -9nc "${documents}/${changelog}"
    OUTPUT_FILE "${documents}/${changelog}.gz" COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# wyerrlog_package(<component> NAME <name> SECTION <section> WHAT <in a few words> CONTENT <a sentence>
#                  [DEPENDS <packages>] [RECOMMENDS <packages>])
#
# Describes a package. Sets package_documents to the folder of its documents.
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

  string(TOLOWER ${component} package_component)
  set(package_documents "${CMAKE_INSTALL_DATADIR}/doc/${package_NAME}")
  install(
    FILES "${CMAKE_CURRENT_LIST_DIR}/debian/copyright"
          "${documents}/changelog.gz" "${documents}/changelog.Debian.gz"
    DESTINATION "${package_documents}" COMPONENT ${package_component})
endmacro()
set(same_version "${libraries_package} (= ${PROJECT_VERSION}-${release})")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own

wyerrlog_package(RUNTIME NAME ${libraries_package} SECTION libs
  WHAT "libraries" CONTENT "This package contains the libraries that programs need to run.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
file(WRITE "${documents}/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${documents}/triggers")
install(FILES docs/administration.md docs/formats.md docs/reliability.md
  DESTINATION "${package_documents}" COMPONENT runtime)
set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)

wyerrlog_package(DEVELOPMENT NAME libwyerrlog-dev SECTION libdevel
  WHAT "development" DEPENDS "${same_version}"
  CONTENT "This package contains headers, the message compiler, files for CMake and pkg-config, and pages.")
# In the same folders as in the repository, because the pages contain links.
install(FILES README.md DESTINATION "${package_documents}" COMPONENT development)
install(DIRECTORY docs examples DESTINATION "${package_documents}" COMPONENT development
  FILES_MATCHING
  PATTERN "*.md" PATTERN "*.svg" PATTERN "*.h" PATTERN "*.cpp" PATTERN "*.java" PATTERN "*.conf"
  PATTERN "*.properties" PATTERN "*.html" PATTERN "CMakeLists.txt"
  PATTERN "docs/CMakeLists.txt" EXCLUDE)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS ON)  # the message compiler's
set(CPACK_DEBIAN_DEVELOPMENT_DEBUGINFO_PACKAGE ON)

wyerrlog_package(JAVA NAME libwyerrlog-java SECTION java
  WHAT "Java" DEPENDS "${same_version}" RECOMMENDS "default-jre-headless | java17-runtime-headless"
  CONTENT "This package contains the library's Java classes and its logging bridges.")

install(FILES "${CMAKE_CURRENT_LIST_DIR}/debian/libwyerrlog-java.lintian-overrides"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" RENAME libwyerrlog-java COMPONENT java)

if(TARGET wylogctl)
  wyerrlog_package(TOOLS NAME wyerrlog-tools SECTION admin
    WHAT "tools" DEPENDS "${same_version}"
    CONTENT "This package contains wylogctl, which reads, follows and checks the logs.")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_TOOLS_DEBUGINFO_PACKAGE ON)
endif()

# Configurations and a script: no architecture. They read logs, so that they need no other package of these.
wyerrlog_package(SHIPPING NAME wyerrlog-shipping SECTION admin
  WHAT "shipping" RECOMMENDS "wyerrlog-tools, rsyslog-pgsql, rsyslog-relp, rsyslog-openssl"
  CONTENT "This package contains configurations that ship the logs of many hosts to PostgreSQL.")
set(CPACK_DEBIAN_SHIPPING_PACKAGE_ARCHITECTURE all)
install(FILES docs/shipping.md DESTINATION "${package_documents}" COMPONENT shipping)

set(seal_package "libwyerrlog-seal${PROJECT_VERSION_MAJOR}")
wyerrlog_package(SEAL NAME ${seal_package} SECTION libs
  WHAT "sealed audit log" DEPENDS "${same_version}"
  CONTENT "This package contains the output whose log files cannot be changed without detection.")
set(CPACK_DEBIAN_SEAL_PACKAGE_SHLIBDEPS ON)
# It is linked to the libraries of the first package, which need not be installed here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_SEAL_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_BINARY_DIR}/debian/triggers")
set(CPACK_DEBIAN_SEAL_DEBUGINFO_PACKAGE ON)

wyerrlog_package(SEAL_DEVELOPMENT NAME libwyerrlog-seal-dev SECTION libdevel
  WHAT "sealed audit log, development"
  DEPENDS "libwyerrlog-dev (= ${PROJECT_VERSION}-${release}), ${seal_package} (= ${PROJECT_VERSION}-${release})"
  CONTENT "This package contains the headers of the sealed audit log, and the files for CMake and pkg-config.")

set(journal_package "libwyerrlog-journal${PROJECT_VERSION_MAJOR}")
wyerrlog_package(JOURNAL NAME ${journal_package} SECTION libs
  WHAT "journal" DEPENDS "${same_version}"
  CONTENT "This package contains the output that writes records with their fields to the systemd journal.")
set(CPACK_DEBIAN_JOURNAL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_JOURNAL_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_BINARY_DIR}/debian/triggers")
set(CPACK_DEBIAN_JOURNAL_DEBUGINFO_PACKAGE ON)

wyerrlog_package(JOURNAL_DEVELOPMENT NAME libwyerrlog-journal-dev SECTION libdevel
  WHAT "journal, development"
  DEPENDS "libwyerrlog-dev (= ${PROJECT_VERSION}-${release}), ${journal_package} (= ${PROJECT_VERSION}-${release})"
  CONTENT "This package contains the header of the output to the journal, and the files for CMake and pkg-config.")

include(CPack)
