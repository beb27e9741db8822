// The platform layer for native builds; memory is in heap.cpp.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <span>

#include "platform/heap.h"
#include "platform/platform.h"

namespace tavo::platform {

namespace {

constexpr int32_t kAccessWrite = 1;
constexpr int32_t kAccessReadWrite = 2;
constexpr int32_t kAccessCreate = 0x300;
constexpr int32_t kModeExclusive = 0x80;

int open_flags(int32_t access) {
  int flags = O_RDONLY;
  if ((access & kAccessReadWrite) != 0) {
    flags = O_RDWR;
  } else if ((access & kAccessWrite) != 0) {
    flags = O_WRONLY;
  }
  if ((access & kAccessCreate) != 0) {
    // Windows opens for both; what is there is cut once nobody else has it.
    flags = O_RDWR | O_CREAT;
  }
  return flags | O_CLOEXEC;
}

// Windows' share modes as advisory locks: a file that is open exclusively is open once, all other
// modes share it. False when another keeps it; file systems without locks keep nothing.
bool lock(int file, int32_t mode) {
  const int kind = (mode & kModeExclusive) != 0 ? LOCK_EX : LOCK_SH;
  int result;
  do {
    result = ::flock(file, kind | LOCK_NB);
  } while (result < 0 && errno == EINTR);
  return result == 0 || errno != EWOULDBLOCK;
}

// Whether the name still leads to what was opened: a finished file may have been renamed over it
// before it was locked, and what is written to the old one would be lost.
bool is_in_place(const char* name, const struct stat& opened) {
  struct stat now;
  return ::stat(name, &now) == 0 && now.st_dev == opened.st_dev && now.st_ino == opened.st_ino;
}

// Whether the open file can be had in the way asked, and what is to be cut is cut.
bool take_file(int file, const char* name, int32_t access, int32_t mode) {
  struct stat about;
  if (::fstat(file, &about) != 0) return false;
  if (S_ISDIR(about.st_mode)) {  // opens for reading but is no file
    errno = EISDIR;
    return false;
  }
  if (!S_ISREG(about.st_mode)) return true;  // a device or pipe is everybody's
  if (!lock(file, mode)) return false;
  if ((mode & kModeExclusive) != 0 && !is_in_place(name, about)) return false;
  if ((access & kAccessCreate) == 0) return true;
  // Only now: its last owner may have written until it was locked.
  if ((access & kAccessOnlyEmpty) != 0) return ::fstat(file, &about) == 0 && about.st_size == 0;
  return ::ftruncate(file, 0) == 0;
}

}  // namespace

void ask_for_huge_pages([[maybe_unused]] void* block, [[maybe_unused]] size_t bytes) {
#ifdef MADV_HUGEPAGE
  // Advice: nothing is lost where the system has none.
  (void)::madvise(block, bytes & ~(kHugePage - 1), MADV_HUGEPAGE);
#endif
}

// They read as zero afterwards (madvise(2)).
std::span<uint8_t> give_back(std::span<uint8_t> bytes) {
#ifdef __linux__
  const auto page = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
  const size_t before = -reinterpret_cast<uintptr_t>(bytes.data()) & (page - 1);
  if (bytes.size() < before + page) return bytes.first(0);
  const auto pages = bytes.subspan(before, (bytes.size() - before) & ~(page - 1));
  if (::madvise(pages.data(), pages.size(), MADV_DONTNEED) == 0) return pages;
#endif
  return bytes.first(0);
}

int32_t last_error() { return errno; }

Cause cause_of(int32_t error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return Cause::kAbsent;
    case EACCES:
    case EPERM:
      return Cause::kDenied;
    case EISDIR:
      return Cause::kIsFolder;
    case EBUSY:
    case ETXTBSY:
    case EWOULDBLOCK:
      return Cause::kInUse;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return Cause::kNoRoom;
    case EROFS:
      return Cause::kReadOnly;
    case ENAMETOOLONG:
      return Cause::kNameTooLong;
    case EMFILE:
    case ENFILE:
      return Cause::kTooManyFiles;
    case EIO:
    case ENXIO:
      return Cause::kDevice;
    default:
      return Cause::kOther;
  }
}

// Names are bytes to the system.
void take_names_as_utf8(bool) {}

int32_t T_CALL open_file(const char* name, int32_t access, int32_t mode) {
  if (name == nullptr) return -1;
  const int file = ::open(name, open_flags(access), 0666);
  if (file < 0 || take_file(file, name, access, mode)) return file;
  const int why = errno;
  ::close(file);
  errno = why;
  return -1;
}

bool is_absent(const char* name) {
  struct stat about;
  return ::stat(name, &about) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

uint32_t T_CALL read_file(int32_t file, void* buffer, uint32_t count) {
  ssize_t got;
  do {
    got = ::read(file, buffer, count);
  } while (got < 0 && errno == EINTR);
  return got < 0 ? UINT32_MAX : static_cast<uint32_t>(got);
}

uint32_t T_CALL write_file(int32_t file, const void* buffer, uint32_t count) {
  // A signal cuts a write to a pipe short, which is no failure yet.
  uint32_t written = 0;
  while (written < count) {
    const ssize_t put =
        ::write(file, static_cast<const uint8_t*>(buffer) + written, count - written);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0 && written == 0) return UINT32_MAX;
    if (put <= 0) break;
    written += static_cast<uint32_t>(put);
  }
  return written;
}

int64_t seek_large_file(int32_t file, int64_t offset, int32_t origin) {
  static_assert(sizeof(off_t) == sizeof(int64_t), "the build file asks for 64-bit positions");
  const int from = origin == 0 ? SEEK_SET : origin == 1 ? SEEK_CUR : SEEK_END;
  return ::lseek(file, offset, from);
}

int32_t T_CALL seek_file(int32_t file, int32_t offset, int32_t origin) {
  const int64_t position = seek_large_file(file, offset, origin);
  return position < 0 || position > INT32_MAX ? -1 : static_cast<int32_t>(position);
}

int32_t T_CALL close_file(int32_t file) { return ::close(file); }

bool make_temporary_name(char (&path)[kMaxPath]) {
  const char* directory = std::getenv("TMPDIR");
  if (directory == nullptr || *directory == 0) directory = "/tmp";
  constexpr char kPattern[] = "/TVXXXXXX";
  const size_t length = std::strlen(directory);
  if (length + sizeof(kPattern) > kMaxPath) return false;
  std::memcpy(path, directory, length);
  std::memcpy(path + length, kPattern, sizeof(kPattern));
  const int file = ::mkstemp(path);
  if (file < 0) return false;
  ::close(file);
  return true;
}

intptr_t open_temporary(const char* path) {
  const int file = ::open(path, O_RDWR | O_CLOEXEC);
  if (file != 0) return file;
  // A record's handle of 0 is none; this number is free where standard input is closed.
  const int moved = ::fcntl(file, F_DUPFD_CLOEXEC, 1);
  ::close(file);
  return moved;
}

int64_t seek_temporary(intptr_t file, uint64_t position) {
  return ::lseek(static_cast<int>(file), static_cast<off_t>(position), SEEK_SET);
}

int64_t read_temporary(intptr_t file, void* buffer, uint32_t count) {
  ssize_t got;
  do {
    got = ::read(static_cast<int>(file), buffer, count);
  } while (got < 0 && errno == EINTR);
  return got;
}

int64_t write_temporary(intptr_t file, const void* buffer, uint32_t count) {
  ssize_t put;
  do {
    put = ::write(static_cast<int>(file), buffer, count);
  } while (put < 0 && errno == EINTR);
  return put;
}

bool empty_temporary(intptr_t file) { return ::ftruncate(static_cast<int>(file), 0) == 0; }
int32_t close_temporary(intptr_t file) { return ::close(static_cast<int>(file)); }
int32_t delete_temporary(const char* path) { return ::unlink(path); }

const char* const kPhotoCdModule = "libpcdlib.so";

uintptr_t load_module(const char* name) {
  return reinterpret_cast<uintptr_t>(::dlopen(name, RTLD_NOW | RTLD_LOCAL));
}

void* module_entry(uintptr_t module, const char* entry) {
  return ::dlsym(reinterpret_cast<void*>(module), entry);
}

void unload_module(uintptr_t module) {
  if (module != 0) ::dlclose(reinterpret_cast<void*>(module));
}

ScreenSize screen_size() { return {1280, 1024}; }

}  // namespace tavo::platform
