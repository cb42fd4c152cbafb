#ifndef ACCESS_AGENT_POLICY_H
#define ACCESS_AGENT_POLICY_H

// Who may do what where: the users with their passwords and groups, and the rules, from a text file
// (demo/policy.conf is one, and tells its format).

#include <map>
#include <set>
#include <string>
#include <vector>

// The names of a policy file's statements are its own words; a rule's number is its position among
// the rules, from 1.
struct PolicyRule {
  int iNumber = 0;
  std::set<std::string> methods;   // "GET" (which stands for HEAD as well), "DELETE"
  std::string strPath;             // a folder with all below it when it ends in "/", else one page
  bool bForAnyone = false;         // nobody needs to log in
  std::set<std::string> subjects;  // "alice", "@editors"
};

enum class LoginResult { Accepted, UnknownUser, WrongPassword };

// What Load found wrong.
struct PolicyError {
  int iLine = 0;        // 0: the file cannot be read
  std::string strText;  // the word that is not understood, or the system's reason
};

// Loaded once, before other threads use it; from then on any thread may ask.
class Policy {
 public:
  // Reads a file into this fresh object. False, with `error` filled, at the first thing that is not
  // understood: an agent must not start with half a policy.
  bool Load(const std::string& strFile, PolicyError& error);

  LoginResult CheckLogin(const std::string& strUser, const std::string& strPassword) const;

  // The first rule for this method and resource; null when there is none. The method HEAD counts as
  // GET.
  const PolicyRule* FindRule(const std::string& strMethod, const std::string& strResource) const;

  bool Permits(const PolicyRule& rule, const std::string& strUser) const;

  size_t UserCount() const { return m_users.size(); }
  size_t RuleCount() const { return m_rules.size(); }

 private:
  struct User {
    std::string strPasswordHash;  // as crypt(3) makes it
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
