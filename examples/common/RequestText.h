#ifndef AGENT_COMMON_REQUESTTEXT_H
#define AGENT_COMMON_REQUESTTEXT_H

// The parts of a request as log records show them. Control characters, quotes and backslashes in
// texts from the network are escaped ("\x0a"), so that no client can forge or split a record.

#include <string>

#include "AccessRequest.h"

class CWyTraceRecord;

// The text, escaped; "-" for an empty one.
std::string Printable(const std::string& strText);

inline std::string User(const AccessRequest& request) { return Printable(request.strUser); }
inline std::string Client(const AccessRequest& request) { return Printable(request.strClient); }
inline std::string Method(const AccessRequest& request) { return Printable(request.strMethod); }
inline std::string Resource(const AccessRequest& request) { return Printable(request.strResource); }

// A user or a client with the id of the request, for messages: "carol (1763900000-4711-12)".
inline std::string Who(const std::string& strName, const AccessRequest& request) {
  return strName + " (" + request.strId + ")";
}

// "allow", "deny", "unauthenticated" or "invalid".
const char* DecisionText(Decision decision);

double MillisecondsSince(std::chrono::steady_clock::time_point start);

// Sets the fields that all trace records of a request share: WY_TRACE(...).With(FieldsOf{request}).
struct FieldsOf {
  const AccessRequest& request;
  void operator()(CWyTraceRecord& record) const;
};

#endif
