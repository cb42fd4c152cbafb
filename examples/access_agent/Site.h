#ifndef ACCESS_AGENT_SITE_H
#define ACCESS_AGENT_SITE_H

#include <filesystem>
#include <string>
#include <system_error>

// Whether a resource is a path from "/" whose every part is a plain name: no part is empty, "." or
// "..", and no zero byte or backslash is in it. A "/" may end it.
bool IsValidResource(const std::string& strResource);

// The guarded folder. Resources are valid ones in the sense above; what a symbolic link puts
// outside the folder counts as not there. Any thread may call it.
class Site {
 public:
  explicit Site(const std::filesystem::path& root);

  const std::filesystem::path& Root() const { return m_root; }

  // The page's bytes; the page of a folder is its index.html. On failure the error says why.
  std::string Read(const std::string& strResource, std::error_code& error) const;
  void Delete(const std::string& strResource, std::error_code& error) const;

 private:
  std::filesystem::path Locate(const std::string& strResource, std::error_code& error) const;

  std::filesystem::path m_root;
};

const char* ContentType(const std::string& strResource);

#endif
