#ifndef ACCESS_AGENT_SITE_H
#define ACCESS_AGENT_SITE_H

#include <filesystem>
#include <string>
#include <system_error>

// The served folder. Requires: resources are valid (IsValidResource of Policy.h). A
// symbolic link that leads out of the folder is treated as missing. Thread-safe.
class Site {
 public:
  explicit Site(const std::filesystem::path& root);

  const std::filesystem::path& Root() const { return m_root; }

  // Returns the bytes of a page; the page of a folder is its index.html. On failure sets `error`.
  std::string Read(const std::string& strResource, std::error_code& error) const;
  void Delete(const std::string& strResource, std::error_code& error) const;

 private:
  std::filesystem::path Locate(const std::string& strResource, std::error_code& error) const;

  std::filesystem::path m_root;
};

// The MIME type of a page, by the ending of its name.
const char* ContentType(const std::string& strResource);

#endif
