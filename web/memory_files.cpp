#include "memory_files.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tavo45.h"

namespace web {
namespace {

constexpr int32_t kAccessCreate = 0x300;
constexpr uint32_t kMostBytes = 1u << 30;

// Handles. As with files that the library reads from memory, each is open once at a time.
constexpr int32_t kShown = 0, kSaved = 1;

struct File {
  uint8_t* bytes = nullptr;
  uint32_t size = 0;
  uint32_t room = 0;  // of the saved one
  uint32_t at = 0;
} files[2];

bool make_room(File& file, uint32_t end) {
  if (end <= file.room) return true;
  const uint32_t room = std::max(end, file.room + file.room / 2);
  void* const bytes = std::realloc(file.bytes, room);
  if (bytes == nullptr) return false;
  file.bytes = static_cast<uint8_t*>(bytes);
  file.room = room;
  return true;
}

int32_t T_CALL open_file(const char*, int32_t access, int32_t) {
  const bool creates = (access & kAccessCreate) != 0;
  if (creates) files[kSaved].size = 0;
  files[creates ? kSaved : kShown].at = 0;
  return creates ? kSaved : kShown;
}

uint32_t T_CALL read_file(int32_t handle, void* buffer, uint32_t count) {
  File& file = files[handle];
  count = std::min(count, file.size - std::min(file.at, file.size));
  if (count != 0) std::memcpy(buffer, file.bytes + file.at, count);
  file.at += count;
  return count;
}

uint32_t T_CALL write_file(int32_t handle, const void* buffer, uint32_t count) {
  File& file = files[handle];
  if (handle != kSaved || uint64_t{file.at} + count > kMostBytes) return UINT32_MAX;
  if (!make_room(file, file.at + count)) return UINT32_MAX;
  if (file.at > file.size) std::memset(file.bytes + file.size, 0, file.at - file.size);
  if (count != 0) std::memcpy(file.bytes + file.at, buffer, count);
  file.at += count;
  file.size = std::max(file.size, file.at);
  return count;
}

int32_t T_CALL seek_file(int32_t handle, int32_t offset, int32_t origin) {
  File& file = files[handle];
  const int64_t from = origin == 0 ? 0 : origin == 1 ? file.at : file.size;
  const int64_t at = from + offset;
  if (at < 0 || at > INT32_MAX) return -1;
  file.at = static_cast<uint32_t>(at);
  return static_cast<int32_t>(at);
}

int32_t T_CALL close_file(int32_t) { return 0; }

}  // namespace

void use_memory_files() { T_RedirectIO(open_file, read_file, write_file, seek_file, close_file); }

void show_file(std::span<const uint8_t> bytes) {
  // Written to by nobody: write_file refuses.
  files[kShown] = {const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()), 0, 0};
}

std::span<const uint8_t> saved_file() { return {files[kSaved].bytes, files[kSaved].size}; }

void drop_saved_file() {
  std::free(files[kSaved].bytes);
  files[kSaved] = {};
}

}  // namespace web
