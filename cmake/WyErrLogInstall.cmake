# The parts that `cmake --install` installs: `runtime` contains the files that a program needs to run,
# `development` those that it needs to be built, `java` those that Java code needs besides `runtime`, `tools`
# the programs, `java_natives` the native libraries in a jar; `seal` and `seal_development` contain the sealed
# audit log, in the same two parts, `journal` and `journal_development` the output to the journal; `shipping`
# contains the configurations of collectors.
#
# Message components (components/) belong to the product and are not installed. The function
# wyerrlog_component is installed, so that other projects can build and install their components.
include(CMakePackageConfigHelpers)

set(package_directory "${CMAKE_INSTALL_LIBDIR}/cmake/wyerrlog")

install(TARGETS wyerrlog wyxlate wyi18n EXPORT wyerrlogTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)

# The message compiler is a program of the system that builds, and part of what that needs.
if(TARGET wymsgc AND WYERRLOG_BUILD_TOOLS)
  install(TARGETS wymsgc EXPORT wyerrlogTargets
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT development)
endif()

# find_package(wyerrlog)
install(EXPORT wyerrlogTargets NAMESPACE wyerrlog::
  DESTINATION "${package_directory}" COMPONENT development)
configure_package_config_file(
  "${CMAKE_CURRENT_LIST_DIR}/wyerrlogConfig.cmake.in" wyerrlogConfig.cmake
  INSTALL_DESTINATION "${package_directory}"
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(wyerrlogConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_CURRENT_BINARY_DIR}/wyerrlogConfig.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/wyerrlogConfigVersion.cmake"
  "${CMAKE_CURRENT_LIST_DIR}/WyErrLogComponent.cmake"
  DESTINATION "${package_directory}" COMPONENT development)

# pkg-config wyerrlog. Its paths are relative to the file, so that an installed tree can be moved. With the
# prefix /usr they are absolute, because pkg-config recognises and omits the system's folders.
file(RELATIVE_PATH prefix_to_lib "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_LIBDIR}")
file(RELATIVE_PATH prefix_to_include "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(pkgconfig_prefix /usr)
else()
  file(RELATIVE_PATH pkgconfig_to_prefix
       "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
  string(REGEX REPLACE "/$" "" pkgconfig_prefix "\${pcfiledir}/${pkgconfig_to_prefix}")
endif()
configure_file("${CMAKE_CURRENT_LIST_DIR}/wyerrlog.pc.in" wyerrlog.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/wyerrlog.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

foreach(extra IN ITEMS seal journal)
  if(NOT TARGET wyerrlog_${extra})
    continue()
  endif()
  install(TARGETS wyerrlog_${extra} EXPORT wyerrlog_${extra}Targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${extra}
      NAMELINK_COMPONENT ${extra}_development
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT ${extra}_development)
  install(EXPORT wyerrlog_${extra}Targets NAMESPACE wyerrlog::
    DESTINATION "${package_directory}" COMPONENT ${extra}_development)
  configure_file("${CMAKE_CURRENT_LIST_DIR}/wyerrlog_${extra}.pc.in" wyerrlog_${extra}.pc @ONLY)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/wyerrlog_${extra}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT ${extra}_development)
endforeach()

if(WYERRLOG_BUILD_TOOLS)
  install(DIRECTORY shipping DESTINATION "${CMAKE_INSTALL_DATADIR}/wyerrlog" COMPONENT shipping
    USE_SOURCE_PERMISSIONS PATTERN lnav EXCLUDE)
endif()

if(TARGET wyerrlog_java)
  install_jar(wyerrlog_java DESTINATION "${CMAKE_INSTALL_DATADIR}/java" COMPONENT java)

  # A Maven repository, <prefix>/share/maven-repo, in which the jar is a link to the one above.
  set(maven "com/orvantis/wyerrlog/${PROJECT_VERSION}")
  set(maven_folder "${CMAKE_INSTALL_DATADIR}/maven-repo/${maven}")
  get_target_property(artefact wyerrlog_java WYERRLOG_ARTEFACT)
  get_target_property(natives_jar wyerrlog_java WYERRLOG_NATIVES)
  set(maven_jar "${CMAKE_CURRENT_BINARY_DIR}/maven/wyerrlog-${PROJECT_VERSION}.jar")
  file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/maven")
  file(CREATE_LINK "../../../../../java/wyerrlog-${PROJECT_VERSION}.jar" "${maven_jar}" SYMBOLIC)
  install(FILES "${artefact}.pom" "${maven_jar}" "${artefact}-sources.jar"
    DESTINATION "${maven_folder}" COMPONENT java)
  if(Java_JAVADOC_EXECUTABLE)
    install(FILES "${artefact}-javadoc.jar" DESTINATION "${maven_folder}" COMPONENT java)
  endif()
  # Not in the Debian packages: there the libraries are in a package of their own.
  if(natives_jar)
    install(FILES "${natives_jar}" DESTINATION "${maven_folder}" COMPONENT java_natives)
  endif()

  # A link in the folder where the system's virtual machines search native libraries. Only the package
  # needs it: without the development package there is no libwyerrlog.so without a version number.
  set(native_library "${CMAKE_CURRENT_BINARY_DIR}/jni/libwyerrlog.so")
  file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/jni")
  file(CREATE_LINK "../libwyerrlog.so.${PROJECT_VERSION_MAJOR}" "${native_library}" SYMBOLIC)
  install(FILES "${native_library}"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/jni" COMPONENT java EXCLUDE_FROM_ALL)
endif()
