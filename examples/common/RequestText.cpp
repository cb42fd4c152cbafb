// Escapes and formats the parts of a request for log records.

#include "RequestText.h"

#include <wyerrlog/WyLog.h>

std::string Printable(const std::string& strText) {
  constexpr char HexDigits[] = "0123456789abcdef";
  if (strText.empty()) return "-";
  std::string strResult;
  for (const char c : strText) {
    const auto uByte = static_cast<unsigned char>(c);
    if (uByte >= 0x20 && uByte != 0x7F && c != '"' && c != '\\') {
      strResult += c;
    } else {
      strResult.append({'\\', 'x', HexDigits[uByte >> 4], HexDigits[uByte & 0xF]});
    }
  }
  return strResult;
}

const char* DecisionText(Decision decision) {
  switch (decision) {
    case Decision::Allow:
      return "allow";
    case Decision::Deny:
      return "deny";
    case Decision::Unauthenticated:
      return "unauthenticated";
    case Decision::Invalid:
      break;
  }
  return "invalid";
}

double MillisecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

// Functions, so that only fields that are shown are escaped.
void FieldsOf::operator()(CWyTraceRecord& record) const {
  record.Set(WyField::Tenant, [this] { return Printable(request.strTenant); })
      .Set(WyField::User, [this] { return User(request); })
      .Set(WyField::IPAddr, [this] { return Client(request); })
      .Set(WyField::Resource, [this] { return Resource(request); })
      .Set(WyField::Action, [this] { return Method(request); })
      .Set(WyField::Rule, request.iRule);
}
