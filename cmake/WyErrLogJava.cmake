include_guard(GLOBAL)

# Finds the JDK for the Java binding: its headers, as the target JNI::JNI, which links nothing, and its
# tools for UseJava. Without the headers there is no binding: WYERRLOG_JNI is off from here on.

find_package(Java 17 QUIET COMPONENTS Development)

# FindJNI searches few directories of its own. The JDK is the one that the compiler is a part of.
if(Java_JAVAC_EXECUTABLE AND NOT JAVA_HOME AND NOT DEFINED ENV{JAVA_HOME})
  file(REAL_PATH "${Java_JAVAC_EXECUTABLE}" javac)
  cmake_path(GET javac PARENT_PATH JAVA_HOME)
  cmake_path(GET JAVA_HOME PARENT_PATH JAVA_HOME)
endif()
find_package(JNI QUIET OPTIONAL_COMPONENTS JVM)

if(NOT TARGET JNI::JNI)
  message(WARNING "jni.h not found (Debian: openjdk-17-jdk-headless): the Java binding is not built")
  set(WYERRLOG_JNI OFF)
endif()
