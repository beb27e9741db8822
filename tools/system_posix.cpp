#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "system.h"

namespace tavo::tools {
namespace {

std::string create_in(const std::string& folder) {
  constexpr int kTries = 1000;
  for (int n = 0; n < kTries; ++n) {
    std::string name = folder + "/.tavo-" + std::to_string(::getpid()) + "-" + std::to_string(n);
    const int file = ::open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (file >= 0) {
      ::close(file);
      return name;
    }
    if (errno != EEXIST) break;
  }
  return {};
}

}  // namespace

bool stderr_is_terminal() { return ::isatty(STDERR_FILENO) == 1; }

std::string absolute_path(const std::string& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.string();
}

std::string resolve_links(const std::string& path) {
  // The last name alone matters, and what it points to need not exist yet.
  constexpr int kMaxLinks = 40;
  std::filesystem::path resolved = absolute_path(path);
  std::error_code error;
  for (int i = 0; i < kMaxLinks && std::filesystem::is_symlink(resolved, error); ++i)
    resolved = resolved.parent_path() / std::filesystem::read_symlink(resolved, error);
  return resolved.string();
}

FileKind file_kind(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return FileKind::kMissing;
  if (S_ISREG(status.st_mode)) return FileKind::kRegular;
  return S_ISDIR(status.st_mode) ? FileKind::kDirectory : FileKind::kOther;
}

bool is_writable(const std::string& path) { return ::access(path.c_str(), W_OK) == 0; }

std::string create_beside(const std::string& path) {
  return create_in(path.substr(0, path.rfind('/')));
}

std::string create_temporary() {
  std::error_code error;
  const auto folder = std::filesystem::temp_directory_path(error);
  return error ? std::string() : create_in(folder.string());
}

bool replace_file(const std::string& from, const std::string& to) {
  struct stat old;
  if (::stat(to.c_str(), &old) == 0) {
    // Only the superuser may give a file away; for everybody else the owner is theirs already or
    // cannot be kept. Mode after owner, because a change of owner drops mode bits.
    if (::chown(from.c_str(), old.st_uid, old.st_gid) != 0 && errno != EPERM) return false;
    if (::chmod(from.c_str(), old.st_mode & 07777) != 0) return false;
  }
  return std::rename(from.c_str(), to.c_str()) == 0;
}

bool copy_content(const std::string& from, const std::string& to) {
  const auto close = [](std::FILE* file) { std::fclose(file); };
  const std::unique_ptr<std::FILE, decltype(close)> in(std::fopen(from.c_str(), "rb"), close);
  if (!in) return false;
  std::FILE* out = std::fopen(to.c_str(), "wb");
  if (out == nullptr) return false;
  char block[1 << 16];
  bool good = true;
  for (size_t n; good && (n = std::fread(block, 1, sizeof block, in.get())) != 0;)
    good = std::fwrite(block, 1, n, out) == n;
  good = good && std::ferror(in.get()) == 0;
  return std::fclose(out) == 0 && good;
}

void remove_file(const std::string& path) { ::unlink(path.c_str()); }

}  // namespace tavo::tools
