#ifndef WYERRLOG_INTERNAL_WYNOTHROW_H
#define WYERRLOG_INTERNAL_WYNOTHROW_H

// Where the exceptions of the standard library end: nothing that the library itself throws leaves a
// public operation.

#include <exception>

// Runs a piece of a public operation and returns its result, or `failure` if the piece throws a
// std::exception, which within the library means that memory allocation failed. The piece must not
// call code of the host: what that throws passes through to the host's own handlers.
template <typename Result, typename Body>
Result WyNoThrow(Result failure, Body body) {
  try {
    return body();
  } catch (const std::exception&) {
    return failure;
  }
}

#endif
