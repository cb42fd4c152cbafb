#ifndef AGENT_COMMON_CREDENTIALS_H
#define AGENT_COMMON_CREDENTIALS_H

#include <optional>
#include <string>
#include <string_view>

// The name and password that a client sends with a request.
struct Credentials {
  std::string strUser;
  std::string strPassword;
};

// Decodes the value of an "Authorization" header of the basic scheme: "Basic " and "user:password"
// in base 64. Returns nothing for any other value, and if the name or password contains a zero
// byte.
std::optional<Credentials> ReadBasicCredentials(std::string_view header);

#endif
