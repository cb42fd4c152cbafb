#ifndef ACCESS_AGENT_CREDENTIALS_H
#define ACCESS_AGENT_CREDENTIALS_H

#include <optional>
#include <string>
#include <string_view>

struct Credentials {
  std::string strUser;
  std::string strPassword;
};

// Reads the value of an "Authorization" header of the basic scheme: "Basic " and "user:password" in
// base 64. Nothing when it is anything else, or when a name or password holds a zero byte.
std::optional<Credentials> ReadBasicCredentials(std::string_view header);

#endif
