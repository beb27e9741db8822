#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#include "system.h"

namespace tavo::tools {
namespace {

// False while another has it; file systems without locks keep nobody out.
bool lock(int file, int kind) { return ::flock(file, kind | LOCK_NB) == 0 || errno != EWOULDBLOCK; }

bool is_same_file(int file, const std::string& path) {
  struct stat opened;
  struct stat now;
  return ::fstat(file, &opened) == 0 && ::stat(path.c_str(), &now) == 0 &&
         opened.st_dev == now.st_dev && opened.st_ino == now.st_ino;
}

// What a file gets that is created in the usual way.
mode_t usual_mode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

bool stderr_is_terminal() { return ::isatty(STDERR_FILENO) == 1; }

std::string absolute_path(const std::string& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.string();
}

std::string file_identity(const std::string& path) {
  return std::filesystem::path(absolute_path(path)).lexically_normal().string();
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

bool is_empty(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && status.st_size == 0;
}

bool can_be_read(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file >= 0) ::close(file);
  return file >= 0;
}

std::string last_error_text() { return std::strerror(errno); }

Reason last_error() {
  if (errno == ENOENT || errno == ENOTDIR) return Reason::kAbsent;
  const bool is_full = errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
  return is_full ? Reason::kNoRoom : Reason::kOther;
}

void forget_last_error() { errno = 0; }

void make_binary(std::FILE*) {}

std::string folder_of(const std::string& path) { return path.substr(0, path.rfind('/')); }

std::string in_folder(const std::string& folder, const std::string& name) {
  return folder + "/" + name;
}

std::string last_name_of(const std::string& path) { return path.substr(path.rfind('/') + 1); }

bool make_folder(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  errno = error.value();
  return !error;
}

std::vector<std::string> names_in(const std::string& folder, std::string_view prefix) {
  const auto close = [](DIR* entries) { ::closedir(entries); };
  const std::unique_ptr<DIR, decltype(close)> entries(::opendir((folder + "/").c_str()), close);
  std::vector<std::string> names;
  if (!entries) return names;
  while (const dirent* entry = ::readdir(entries.get()))
    if (std::string_view(entry->d_name).starts_with(prefix)) names.push_back(entry->d_name);
  return names;
}

std::string temporary_folder() {
  std::error_code error;
  const auto folder = std::filesystem::temp_directory_path(error);
  return error ? std::string() : std::filesystem::absolute(folder, error).string();
}

std::string host_name() {
  char name[HOST_NAME_MAX + 1] = {};
  if (::gethostname(name, sizeof name - 1) != 0 || *name == 0) std::strcpy(name, "localhost");
  for (char& c : name)
    if (c == '/' || c == '~') c = '_';
  std::string host = std::string(name) + ".";
  // Containers of one host number their processes each for itself.
  std::error_code error;
  for (const char c : std::filesystem::read_symlink("/proc/self/ns/pid", error).string())
    if (c >= '0' && c <= '9') host += c;
  return host;
}

uint32_t process_id() { return static_cast<uint32_t>(::getpid()); }

bool process_is_running(uint32_t process) {
  return ::kill(static_cast<pid_t>(process), 0) == 0 || errno != ESRCH;
}

Made make_private_file(const std::string& path) {
  const int file = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
  if (file < 0) return errno == EEXIST ? Made::kExists : Made::kNo;
  ::close(file);
  return Made::kYes;
}

Taken LockFile::take(const std::string& path) {
  drop();
  const char* const name = path.c_str();
  int file = ::open(name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (file < 0 && errno == ENOENT)
    file = ::open(name, O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (file < 0) return errno == EEXIST ? Taken::kBusy : Taken::kNo;
  // Who had it removes it before letting go: then this is no longer the one that others find.
  if (!lock(file, LOCK_EX) || !is_same_file(file, path)) {
    ::close(file);
    return Taken::kBusy;
  }
  file_ = file;
  path_ = path;
  doomed_.doom(path);
  return Taken::kYes;
}

void LockFile::drop() {
  if (file_ == kNone) return;
  ::unlink(path_.c_str());
  doomed_.spare();
  ::close(static_cast<int>(file_));
  file_ = kNone;
}

Taken ReadLock::take(const std::string& path) {
  drop();
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return Taken::kNo;
  if (!lock(file, LOCK_SH) || !is_same_file(file, path)) {
    ::close(file);
    return Taken::kBusy;
  }
  file_ = file;
  return Taken::kYes;
}

void ReadLock::drop() {
  if (file_ != kNone) ::close(static_cast<int>(file_));
  file_ = kNone;
}

bool sync_file(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  // Not every file system can.
  const bool is_stored = ::fsync(file) == 0 || errno == EINVAL || errno == ENOSYS;
  const int reason = errno;
  const bool is_closed = ::close(file) == 0;
  if (!is_stored) errno = reason;
  return is_stored && is_closed;
}

bool replace_file(const std::string& from, const std::string& to) {
  struct stat old;
  mode_t mode = usual_mode();
  if (::stat(to.c_str(), &old) == 0) {
    // Only the superuser may give a file away; for everybody else the owner is theirs already or
    // cannot be kept. Mode after owner, because a change of owner drops mode bits.
    if (::chown(from.c_str(), old.st_uid, old.st_gid) != 0 && errno != EPERM) return false;
    mode = old.st_mode & 07777;
  }
  return ::chmod(from.c_str(), mode) == 0 && std::rename(from.c_str(), to.c_str()) == 0;
}

void remove_file(const std::string& path) { ::unlink(path.c_str()); }

}  // namespace tavo::tools
