include_guard(GLOBAL)

# Finds the JDK for the Java binding: its headers (the target JNI::JNI, which links no library) and its
# tools for UseJava. If the headers are missing, sets WYERRLOG_JNI to OFF, and the binding is not built.

find_package(Java 17 QUIET COMPONENTS Development)

# FindJNI searches few directories. This names the JDK that contains the Java compiler.
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
