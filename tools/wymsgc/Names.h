#ifndef WYERRLOG_TOOLS_WYMSGC_NAMES_H
#define WYERRLOG_TOOLS_WYMSGC_NAMES_H

// Names in C++ and in Java, and those of one language derived from those of the other.

#include <string>
#include <string_view>

// Letters, digits and "_", no digit first.
bool IsIdentifier(std::string_view name);

bool IsCppKeyword(std::string_view name);
bool IsJavaKeyword(std::string_view name);

// "WriteFailed" becomes "WRITE_FAILED", "HTTPError" "HTTP_ERROR".
std::string JavaConstant(std::string_view name);

// "WriteFailed" becomes "writeFailed". A name that Java has for itself gets "Message" at its end.
std::string JavaMethod(std::string_view name);

// The name of a parameter; a keyword gets "_" at its end.
std::string JavaParameter(std::string_view name);

#endif
