#ifndef AGENT_COMMON_POLICY_H
#define AGENT_COMMON_POLICY_H

// The access policy: the users with their passwords and groups, and the rules, from a text file.
// The comments of demo/policy.conf describe the format.

#include <map>
#include <set>
#include <string>
#include <vector>

// Returns true if a resource is a path from "/" whose parts are plain names: none is empty, "." or
// "..", and none contains a zero byte or a backslash. The path may end with "/".
bool IsValidResource(const std::string& strResource);

// One "rule" line. A rule's number is its position among the rules of the file, from 1.
struct PolicyRule {
  int iNumber = 0;
  std::set<std::string> methods;   // "GET" (which stands for HEAD as well), "DELETE"
  std::string strPath;             // if it ends in "/" a folder with all its pages, else one page
  bool bForAnyone = false;         // permitted without a login
  std::set<std::string> subjects;  // "alice", "@editors"
};

enum class LoginResult { Accepted, UnknownUser, WrongPassword };

// The first error in a policy file.
struct PolicyError {
  int iLine = 0;        // 0: the file cannot be read
  std::string strText;  // the invalid word, or the text of errno
};

// Loaded once, before other threads use it. After that all operations are thread-safe.
class Policy {
 public:
  // Reads a file into this empty object. At the first error fills `error` and returns false; the
  // object must not be used then.
  bool Load(const std::string& strFile, PolicyError& error);

  LoginResult CheckLogin(const std::string& strUser, const std::string& strPassword) const;

  // The first rule for this method and resource; null if there is none. The method HEAD is treated
  // as GET.
  const PolicyRule* FindRule(const std::string& strMethod, const std::string& strResource) const;

  // The rule of that number. Throws std::out_of_range.
  const PolicyRule& Rule(int iNumber) const { return m_rules.at(static_cast<size_t>(iNumber - 1)); }

  bool Permits(const PolicyRule& rule, const std::string& strUser) const;

  size_t UserCount() const { return m_users.size(); }
  size_t RuleCount() const { return m_rules.size(); }

 private:
  struct User {
    std::string strPasswordHash;  // as crypt(3) returns it
    std::set<std::string> groups;
  };

  bool ParseStatement(const std::vector<std::string>& words, PolicyError& error);
  bool ParseUser(const std::vector<std::string>& words, PolicyError& error);
  bool ParseRule(const std::vector<std::string>& words, PolicyError& error);
  bool ParseSubject(const std::string& strWord, PolicyRule& rule) const;

  std::map<std::string, User> m_users;
  std::set<std::string> m_groups;
  std::vector<PolicyRule> m_rules;
};

#endif
