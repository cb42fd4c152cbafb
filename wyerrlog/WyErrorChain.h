#ifndef WYERRLOG_WYERRORCHAIN_H
#define WYERRLOG_WYERRORCHAIN_H

// Exceptions in an error chain (WyError.h): one entry for each of the exceptions that are nested in
// one another (std::throw_with_nested), the cause first.
//
//   CWyError errors;
//   try {
//     OpenStore();  // throws "cannot open the store", with "disk full" nested in it
//   } catch (const std::exception& exception) {
//     WyAddErrors(errors, WySeverity::Error, exception);
//   }
//   errors.LogMessages();  // two lines: disk full; cannot open the store

#include <exception>
#include <system_error>

#include "wyerrlog/WyError.h"
#include "wyerrlog/WyLogText.h"

// Adds an entry for the exception, after those of the exceptions nested in it. Its message is the
// line that WyLogText writes with what(), escaped, with the place of this call. Its code is the
// value of the std::error_code of a std::system_error, else 0. So GetLastError returns the code of
// the outermost exception. A nested object that is not a std::exception is "unknown exception".
//
// If memory allocation fails for an entry, it is left out. Throws nothing.
inline void WyAddErrors(CWyError& errors, const WySeverityAt& severity,
                        const std::exception& exception) noexcept;

namespace WyLogDetail {

inline void AddError(CWyError& errors, const WySeverityAt& severity, const char* pszText,
                     int iCode) noexcept {
  CWyErrData* const pEntry = CWyError::NewErrData();
  if (pEntry == nullptr) return;
  pEntry->SetErr(iCode);
  const auto format = [&](const Statement& statement) {
    return statement.Format(pEntry->GetMsg());
  };
  if (WithText(severity, format, ToText(pszText).Ref(), 0)) {
    errors.AddError(pEntry);
  } else {
    delete pEntry;
  }
}

}  // namespace WyLogDetail

inline void WyAddErrors(CWyError& errors, const WySeverityAt& severity,
                        const std::exception& exception) noexcept {
  try {
    std::rethrow_if_nested(exception);
  } catch (const std::exception& nested) {
    WyAddErrors(errors, severity, nested);
  } catch (...) {
    WyLogDetail::AddError(errors, severity, "unknown exception", 0);
  }
  const auto* const pError = dynamic_cast<const std::system_error*>(&exception);
  WyLogDetail::AddError(errors, severity, exception.what(),
                        pError != nullptr ? pError->code().value() : 0);
}

#endif
