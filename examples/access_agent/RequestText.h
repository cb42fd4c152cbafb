#ifndef ACCESS_AGENT_REQUESTTEXT_H
#define ACCESS_AGENT_REQUESTTEXT_H

// What of a request goes into records. Texts from the network go there with their control
// characters, quotes and backslashes escaped ("\x0a"), so that no client can forge or break a line.

#include <string>

#include "AccessRequest.h"

class CWyTraceRecord;

// The text as it goes into a record; an empty one as "-".
std::string Printable(const std::string& strText);

inline std::string User(const AccessRequest& request) { return Printable(request.strUser); }
inline std::string Client(const AccessRequest& request) { return Printable(request.strClient); }
inline std::string Method(const AccessRequest& request) { return Printable(request.strMethod); }
inline std::string Resource(const AccessRequest& request) { return Printable(request.strResource); }

// "allow", "deny", "unauthenticated" or "invalid".
const char* DecisionText(Decision decision);

double MillisecondsSince(std::chrono::steady_clock::time_point start);

// Sets the fields that all trace records of a request have: WY_TRACE(...).With(FieldsOf{request}).
struct FieldsOf {
  const AccessRequest& request;
  void operator()(CWyTraceRecord& record) const;
};

#endif
