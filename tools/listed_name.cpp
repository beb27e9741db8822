#include "listed_name.h"

#include "hash.h"
#include "output_names.h"
#include "system.h"

namespace tavo::tools {
namespace {

bool may_be_shorter(std::string_view name) {
  return name.empty() || name.starts_with(".") || name.ends_with("/") ||
         name.find("/.") != name.npos || name.find("//") != name.npos;
}

// Takes the last name off; false when there is none to take.
bool go_up(std::string& path) {
  const size_t slash = path.rfind('/');
  const size_t last = slash == path.npos ? 0 : slash + 1;
  if (last == path.size() || std::string_view(path).substr(last) == "..") return false;
  path.resize(slash == path.npos || slash == 0 ? last : slash);
  return true;
}

}  // namespace

std::string short_name(std::string_view name) {
  if (!may_be_shorter(name)) return std::string(name);
  const bool is_absolute = name.starts_with('/');
  std::string path(is_absolute ? "/" : "");
  for (size_t at = 0; at < name.size();) {
    const std::string_view part = name.substr(at, name.find('/', at) - at);
    at += part.size() + 1;
    if (part.empty() || part == ".") continue;
    if (part == ".." && (go_up(path) || is_absolute)) continue;
    if (!path.empty() && path.back() != '/') path += '/';
    path += part;
  }
  return path.empty() ? "." : path;
}

std::string name_below(std::string_view base, std::string_view name) {
  std::string path = short_name(with_slashes(std::string(name)));
  if (!is_absolute_path(path)) return path;
  if (path == base) return ".";
  const size_t length = base.ends_with('/') ? base.size() : base.size() + 1;
  if (path.starts_with(base) && path.size() > length && path[length - 1] == '/')
    path.erase(0, length);
  return path;
}

bool leads_out(std::string_view name) {
  return name == ".." || name.starts_with("../") || is_absolute_path(name);
}

std::string output_name(const std::string& name, uint64_t hash, int fanout,
                        const std::string& extension) {
  if (fanout == 0) return with_extension(name, extension);
  const std::string digits = to_hex(hash);
  std::string folders;
  for (size_t i = 0; i < static_cast<size_t>(fanout); ++i) folders += digits.substr(2 * i, 2) + "/";
  return folders + with_extension(name, extension);
}

}  // namespace tavo::tools
