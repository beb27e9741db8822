// The platform layer for native builds.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <span>

#include "platform/allocation_gate.h"
#include "platform/platform.h"

namespace tavo::platform {

namespace {

AllocationGate gate;

// Blocks are aligned for vector code; pixels of large pictures gain from whole cache lines.
constexpr size_t kAlignment = 64;
static_assert(alignof(max_align_t) >= 16);

// From this size on blocks ask for huge pages: a fresh picture of 36 MiB is 18 page faults instead
// of 9,216, which cost more than most decoders. Never more memory than the block's own whole pages.
constexpr size_t kHugePage = size_t{2} << 20;
constexpr size_t kHugeBlock = 2 * kHugePage;

void ask_for_huge_pages([[maybe_unused]] void* block, [[maybe_unused]] size_t bytes) {
#ifdef MADV_HUGEPAGE
  // Advice: nothing is lost where the system has none.
  (void)::madvise(block, bytes & ~(kHugePage - 1), MADV_HUGEPAGE);
#endif
}

// What stands in front of a block.
struct BlockNote {
  void* given;  // by the allocator
  size_t bytes;
};
static_assert(sizeof(BlockNote) <= alignof(max_align_t));

// Blocks below that size end where what the allocator gave ends, so that checkers of memory see all
// that is beyond; what it gave stands before them.
//
// For huge pages it is not asked: around a block so aligned it leaves pieces that others take, the
// next one does not fit there, and a program that keeps freed memory grows with every picture.
void* take_block(size_t bytes, bool is_zeroed) {
  if (!gate.admit(bytes)) return nullptr;
  const bool is_huge = bytes >= kHugeBlock;
  const size_t alignment = is_huge ? kHugePage : is_zeroed ? alignof(max_align_t) : kAlignment;
  if (bytes > PTRDIFF_MAX - alignment) return nullptr;
  void* given = nullptr;
  if (is_zeroed) {
    given = std::calloc(1, bytes + alignment);
  } else if (is_huge) {
    given = std::malloc(bytes + alignment);
  } else if (::posix_memalign(&given, alignment, bytes + alignment) != 0) {
    return nullptr;
  }
  if (given == nullptr) return nullptr;
  const size_t before = alignment - (reinterpret_cast<uintptr_t>(given) & (alignment - 1));
  auto* const block = static_cast<uint8_t*>(given) + before;
  const BlockNote note{given, bytes};
  std::memcpy(block - sizeof note, &note, sizeof note);
  if (is_huge) ask_for_huge_pages(block, bytes);
  gate.block_taken(bytes);
  return block;
}

// Returns those whole pages among `bytes` to the system that nobody shares: they read as zero
// afterwards (madvise(2)).
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

BlockNote note_of(void* block) {
  BlockNote note;
  std::memcpy(&note, static_cast<uint8_t*>(block) - sizeof note, sizeof note);
  return note;
}

void return_block(void* block) {
  if (block == nullptr) return;
  const BlockNote note = note_of(block);
  gate.block_returned(note.bytes);
  std::free(note.given);
}

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

// A native palette object.
struct Palette {
  uint32_t count;
  T_PaletteEntry entries[256];
};

}  // namespace

uintptr_t allocate_movable(size_t bytes) {
  return reinterpret_cast<uintptr_t>(take_block(bytes, false));
}

void* lock_block(uintptr_t block) { return reinterpret_cast<void*>(block); }
int32_t unlock_block(uintptr_t) { return 0; }

int32_t free_block(uintptr_t block) {
  return_block(reinterpret_cast<void*>(block));
  return 0;
}

void hand_over(uintptr_t block) {
  gate.block_returned(note_of(reinterpret_cast<void*>(block)).bytes);
}

void free_shared(uintptr_t block) {
  if (block != 0) std::free(note_of(reinterpret_cast<void*>(block)).given);
}

size_t shared_size(uintptr_t) { return 0; }

void clear_block(void* at, size_t bytes) {
  const std::span<uint8_t> all(static_cast<uint8_t*>(at), bytes);
  const std::span<uint8_t> pages = bytes < kHugePage ? all.first(0) : give_back(all);
  const std::span<uint8_t> before = all.first(static_cast<size_t>(pages.data() - all.data()));
  std::ranges::fill(before, uint8_t{0});
  std::ranges::fill(all.subspan(before.size() + pages.size()), uint8_t{0});
}

void discard(void* at, size_t bytes) { (void)give_back({static_cast<uint8_t*>(at), bytes}); }

void* allocate_fixed(size_t bytes) { return take_block(bytes, true); }
void free_fixed(void* block) { return_block(block); }

void limit_memory(uint64_t bytes) { gate.limit(bytes); }
uint64_t over_limit() { return gate.over_limit(); }
void forget_over_limit() { gate.forget_over_limit(); }

void refuse_allocation(int64_t n, bool all_later) { gate.refuse(n, all_later); }
bool allocation_was_refused() { return gate.refused(); }
int64_t blocks_in_use() { return gate.in_use(); }
uint64_t bytes_taken() { return gate.bytes_taken(); }

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

uintptr_t create_palette(std::span<const T_PaletteEntry> entries) {
  if (entries.empty() || entries.size() > 256) return 0;
  auto* palette = static_cast<Palette*>(allocate_fixed(sizeof(Palette)));
  if (palette == nullptr) return 0;
  palette->count = static_cast<uint32_t>(entries.size());
  std::memcpy(palette->entries, entries.data(), entries.size_bytes());
  return reinterpret_cast<uintptr_t>(palette);
}

uint32_t palette_entries(uintptr_t palette, uint32_t first, std::span<T_PaletteEntry> entries) {
  const auto* object = reinterpret_cast<const Palette*>(palette);
  if (object == nullptr || first >= object->count) return 0;
  uint32_t count = object->count - first;
  if (count > entries.size()) count = static_cast<uint32_t>(entries.size());
  std::memcpy(entries.data(), object->entries + first, count * sizeof(T_PaletteEntry));
  return count;
}

uint32_t palette_size(uintptr_t palette) {
  const auto* object = reinterpret_cast<const Palette*>(palette);
  return object == nullptr ? 0 : object->count;
}

int32_t delete_object(uintptr_t object) {
  free_fixed(reinterpret_cast<void*>(object));
  return 1;
}

ScreenSize screen_size() { return {1280, 1024}; }

}  // namespace tavo::platform
