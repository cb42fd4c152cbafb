#ifndef WYERRLOG_INTERNAL_WYNOTHROW_H
#define WYERRLOG_INTERNAL_WYNOTHROW_H

// Where the exceptions of the standard library end: nothing that the library itself throws leaves a
// public operation.

#include <exception>

// Calls a part of a public operation and returns its result, or `failure` if it throws a
// std::exception, which within the library means that memory allocation failed. The part must not
// call code of the host: exceptions from there pass through to the host's own handlers.
template <typename Result, typename Body>
Result WyNoThrow(Result failure, Body body) {
  try {
    return body();
  } catch (const std::exception&) {
    return failure;
  }
}

#endif
