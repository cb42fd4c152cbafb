#ifndef AGENT_COMMON_AGENT_POLICY_H
#define AGENT_COMMON_AGENT_POLICY_H

// The access policy (Policy.h) and the messages of the agents, for servers in C.

#include <stddef.h>  // NOLINT(modernize-deprecated-headers): for C

#ifdef __cplusplus
extern "C" {
#endif

typedef struct agent_policy agent_policy;

// Loads a policy file. On failure returns NULL and writes the reason, with file and line, to
// `error`.
agent_policy* agent_policy_load(const char* file, char* error, size_t size);
void agent_policy_free(agent_policy* policy);

// Returns the number of the first rule for this method and path, 0 if there is none, and -1 if the
// path is not valid. Thread-safe, like the next two.
int agent_policy_rule(const agent_policy* policy, const char* method, const char* path);

// Whether a rule permits a user; NULL for a client that has not logged in.
int agent_policy_permits(const agent_policy* policy, int rule, const char* user);

// Checks the value of an "Authorization" header and writes the user's name to `user`, if it can be
// read. Computes a password hash, which takes milliseconds.
enum agent_login {
  AGENT_LOGIN_ACCEPTED,
  AGENT_LOGIN_UNREADABLE,
  AGENT_LOGIN_UNKNOWN_USER,
  AGENT_LOGIN_WRONG_PASSWORD
};
enum agent_login agent_policy_login(const agent_policy* policy, const char* authorization,
                                    char* user, size_t size);

// Identifiers of messages: component << 24 | severity << 14 | number. agent_policy.cpp checks that
// they are those of the definitions in components/.
enum {
  ISAUTH_COMPONENT = 4 << 24,
  ISAUTH_RECEIVE_REQUEST = ISAUTH_COMPONENT | 1 << 16,
  ISAUTH_SEND_RESPONSE = ISAUTH_COMPONENT | 2 << 16,
  ISAUTH_NOT_PERMITTED = ISAUTH_COMPONENT | 2 << 14 | 7,
  ISAUTH_NO_RULE = ISAUTH_COMPONENT | 2 << 14 | 8,
  ISAUTH_INVALID_PATH = ISAUTH_COMPONENT | 2 << 14 | 9,
  ISAUTH_AUDIT_FAILED = ISAUTH_COMPONENT | 3 << 14 | 13,
  ISAUTH_TRACING_ON = ISAUTH_COMPONENT | 1 << 14 | 14,
  ISAUTH_TRACING_OFF = ISAUTH_COMPONENT | 1 << 14 | 15,
  ISAUTH_TRACING_FAILED = ISAUTH_COMPONENT | 3 << 14 | 16,

  LOGIN_COMPONENT = 3 << 24,
  LOGIN_AUTHENTICATION = LOGIN_COMPONENT | 1 << 16,
  LOGIN_REQUIRED = LOGIN_COMPONENT | 1 << 14 | 1,
  LOGIN_UNREADABLE = LOGIN_COMPONENT | 2 << 14 | 2,
  LOGIN_UNKNOWN_USER = LOGIN_COMPONENT | 2 << 14 | 3,
  LOGIN_WRONG_PASSWORD = LOGIN_COMPONENT | 2 << 14 | 4
};

#ifdef __cplusplus
}
#endif

#endif
