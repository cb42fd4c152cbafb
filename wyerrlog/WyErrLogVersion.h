#ifndef WYERRLOG_WYERRLOGVERSION_H
#define WYERRLOG_WYERRLOGVERSION_H

// The version of the headers that a program is compiled with, as find_package(wyerrlog) and
// `pkg-config --modversion wyerrlog` report it too: the build reads it from here.
//
// Within a major version the library keeps its interface: a program that is compiled with these
// headers runs with every later library of the same major version. Code that is to compile with
// older headers as well tests the number first:
//
//   #include <wyerrlog/WyErrLogVersion.h>
//   #if WYERRLOG_VERSION_NUMBER >= 10200  // 1.2.0
//   ...
//   #endif
//
// Constants of the preprocessor alone; nothing here is linked.

// "major.minor.patch"
#define WYERRLOG_VERSION "1.0.0"

// For comparisons: major * 10000 + minor * 100 + patch.
#define WYERRLOG_VERSION_NUMBER 10000

#endif
