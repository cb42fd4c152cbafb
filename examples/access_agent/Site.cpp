// Maps resources to files. A path is resolved before it is compared with the folder, so that a
// symbolic link cannot lead out of it.

#include "Site.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

std::error_code NotThere() { return std::make_error_code(std::errc::no_such_file_or_directory); }

bool IsBelow(const fs::path& path, const fs::path& folder) {
  return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
         folder.end();
}

}  // namespace

Site::Site(const fs::path& root) : m_root(fs::weakly_canonical(root)) {}

fs::path Site::Locate(const std::string& strResource, std::error_code& error) const {
  fs::path path = fs::canonical(m_root / strResource.substr(1), error);
  std::error_code ignored;
  if (fs::is_directory(path, ignored)) path = fs::canonical(path / "index.html", error);
  if (error) return path;
  if (!IsBelow(path, m_root) || !fs::is_regular_file(path, ignored)) error = NotThere();
  return path;
}

std::string Site::Read(const std::string& strResource, std::error_code& error) const {
  const fs::path path = Locate(strResource, error);
  if (error) return "";
  std::ifstream file(path, std::ios::binary);
  if (!file) error.assign(errno, std::generic_category());
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Site::Delete(const std::string& strResource, std::error_code& error) const {
  const fs::path path = Locate(strResource, error);
  if (!error) fs::remove(path, error);
}

const char* ContentType(const std::string& strResource) {
  if (strResource.ends_with('/') || strResource.ends_with(".html")) return "text/html";
  if (strResource.ends_with(".txt")) return "text/plain";
  return "application/octet-stream";
}
