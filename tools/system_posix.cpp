#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <malloc.h>
#include <poll.h>
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

#include "native_name.h"
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

std::string read_host_name() {
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

// What a file gets that is created in the usual way.
mode_t usual_mode() {
  static const mode_t mask = [] {
    const mode_t before = ::umask(0);
    ::umask(before);
    return before;
  }();
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
  const bool is_normal = path.starts_with('/') && path.find("/.") == path.npos &&
                         path.find("//") == path.npos && !path.ends_with('/');
  if (is_normal) return path;  // a million of them are asked for a batch
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

FileKind file_kind(const std::string& path) { return stamp_of(path).kind; }

bool is_writable(const std::string& path) { return ::access(path.c_str(), W_OK) == 0; }

std::string last_error_text() { return std::strerror(errno); }
int last_error_number() { return errno; }

Reason last_error() {
  if (errno == ENOENT || errno == ENOTDIR) return Reason::kAbsent;
  const bool is_full = errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
  return is_full ? Reason::kNoRoom : Reason::kOther;
}

void forget_last_error() { errno = 0; }

void make_binary(std::FILE*) {}

size_t read_unless_signalled(std::FILE* stream, char* bytes, size_t size) {
  constexpr int kWait = 100;  // milliseconds: a signal may come just before the call
  struct pollfd wanted = {::fileno(stream), POLLIN, 0};
  while (noted_signal() == 0) {
    if (::poll(&wanted, 1, kWait) <= 0) continue;
    const ssize_t got = ::read(wanted.fd, bytes, size);
    if (got >= 0) return static_cast<size_t>(got);
    if (errno != EINTR && errno != EAGAIN) return 0;
  }
  return 0;
}

void silence_stderr() {
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0) return;
  ::dup2(nowhere, STDERR_FILENO);
  ::close(nowhere);
}

FileStamp stamp_of(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return {};
  const FileKind kind = S_ISREG(status.st_mode)   ? FileKind::kRegular
                        : S_ISDIR(status.st_mode) ? FileKind::kDirectory
                                                  : FileKind::kOther;
  return {kind, status.st_size, status.st_mtime};
}

bool is_about_name(int error) {
  return error == ENAMETOOLONG || error == EISDIR || error == ENOTDIR || error == EEXIST ||
         error == ELOOP || error == EINVAL || error == EILSEQ;
}

bool is_lack_of_memory(int error) { return error == ENOMEM; }

std::string with_slashes(std::string path) { return path; }

bool is_absolute_path(std::string_view path) { return path.starts_with('/'); }

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

bool sync_folder(const std::string& path) { return sync_file(path); }

bool list_folder(const std::string& folder,
                 const std::function<void(const std::string& name, EntryKind kind)>& visit) {
  const auto close = [](DIR* entries) { ::closedir(entries); };
  const std::unique_ptr<DIR, decltype(close)> entries(::opendir((folder + "/").c_str()), close);
  if (!entries) return false;
  errno = 0;
  while (const dirent* entry = ::readdir(entries.get())) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    struct stat status {};
    const int file = ::dirfd(entries.get());
    if (::fstatat(file, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    const bool is_link = S_ISLNK(status.st_mode);
    if (is_link && ::fstatat(file, name.c_str(), &status, 0) != 0) continue;
    if (S_ISREG(status.st_mode)) visit(name, EntryKind::kFile);
    if (S_ISDIR(status.st_mode) && !is_link) visit(name, EntryKind::kFolder);
    errno = 0;
  }
  return errno == 0;
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

void give_memory_back() {
#ifdef M_MMAP_THRESHOLD
  constexpr int kLarge = 1 << 17;  // set by hand the thresholds no longer follow what is freed
  ::mallopt(M_MMAP_THRESHOLD, kLarge);
  ::mallopt(M_TRIM_THRESHOLD, kLarge);
#endif
}

const std::string& host_name() {
  static const std::string name = read_host_name();
  return name;
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
  // Network file systems lock only what is open for writing.
  int file = ::open(name, O_RDWR | O_NOFOLLOW | O_CLOEXEC);
  if (file < 0 && errno == EACCES) file = ::open(name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (file < 0 && errno == ENOENT) file = ::open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
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

bool GrowingFile::open(const std::string& path) {
  close();
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (file < 0) return false;
  file_ = file;
  struct stat status {};
  if (::fstat(file, &status) != 0) return false;
  size_ = static_cast<uint64_t>(status.st_size);
  return true;
}

bool GrowingFile::append(std::string_view bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = ::write(static_cast<int>(file_), bytes.data() + done, bytes.size() - done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      const int reason = errno;
      cut(size_);
      errno = reason;
      return false;
    }
    done += static_cast<size_t>(got);
  }
  size_ += bytes.size();
  return true;
}

bool GrowingFile::cut(uint64_t size) {
  if (::ftruncate(static_cast<int>(file_), static_cast<off_t>(size)) != 0) return false;
  size_ = size;
  return true;
}

bool GrowingFile::sync() { return ::fsync(static_cast<int>(file_)) == 0; }

void GrowingFile::close() {
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

std::filesystem::path native_name(const std::string& path) { return path; }

std::FILE* open_stream(const std::string& path, const char* mode) {
  return std::fopen(path.c_str(), mode);
}

}  // namespace tavo::tools
