#include "io/file_table.h"

#include <algorithm>
#include <cstring>

#include "platform/platform.h"

namespace tavo::io {

namespace {

constexpr int32_t kMemoryHandle = 5;

int32_t T_CALL memory_open(const char*, int32_t, int32_t) { return kMemoryHandle; }

uint32_t T_CALL memory_read(int32_t, void* buffer, uint32_t count) {
  MemoryFileState& file = settings.memory_file;
  // Seeks are not checked: a position outside the block reads nothing.
  const uint32_t left = file.position < file.size ? file.size - file.position : 0;
  count = std::min(count, left);
  if (count != 0) std::memcpy(buffer, file.base + file.position, count);
  file.position += count;
  return count;
}

uint32_t T_CALL memory_write(int32_t, const void*, uint32_t count) { return count; }

int32_t T_CALL memory_seek(int32_t, int32_t offset, int32_t origin) {
  MemoryFileState& file = settings.memory_file;
  const auto distance = static_cast<uint32_t>(offset);
  if (origin == 0) {
    file.position = distance;
  } else if (origin == 1) {
    file.position += distance;
  } else if (origin == 2) {
    // Positions behind the end are clamped to it.
    file.position = offset < 0 ? file.size + distance : file.size;
  }
  return static_cast<int32_t>(file.position);
}

int32_t T_CALL memory_close(int32_t) {
  settings.memory_file.position = 0;
  return 1;
}

int32_t T_CALL sub_open(const char*, int32_t, int32_t) {
  const SubFileState& sub = settings.sub_file;
  return sub.outer.Seek(sub.handle, sub.base, 0) < 0 ? -1 : sub.handle;
}

int32_t T_CALL sub_seek(int32_t, int32_t offset, int32_t origin) {
  const SubFileState& sub = settings.sub_file;
  int64_t position = 0;  // inside the picture
  if (origin == 0) {
    position = offset;
  } else if (origin == 1) {
    const int32_t real = sub.outer.Seek(sub.handle, offset, 1);
    return real < 0 ? -1 : real - sub.base;
  } else if (origin == 2) {
    position = int64_t{sub.length} + offset;
  } else {
    return -1;
  }
  const int64_t real = position + sub.base;
  if (position < 0 || real > INT32_MAX) return -1;
  if (sub.outer.Seek(sub.handle, static_cast<int32_t>(real), 0) < 0) return -1;
  return static_cast<int32_t>(position);
}

int32_t T_CALL sub_close(int32_t) { return 1; }

}  // namespace

void redirect(T_FileOpen open, T_FileRead read, T_FileWrite write, T_FileSeek seek,
              T_FileClose close) {
  FileIOTable& files = settings.files;
  files.Open = open != nullptr ? open : platform::open_file;
  files.Read = read != nullptr ? read : platform::read_file;
  files.Write = write != nullptr ? write : platform::write_file;
  files.Seek = seek != nullptr ? seek : platform::seek_file;
  files.Close = close != nullptr ? close : platform::close_file;
}

MemoryFileScope::MemoryFileScope(const void* address, uint32_t size)
    : outer_(settings.files), outer_state_(settings.memory_file) {
  settings.memory_file = {static_cast<const uint8_t*>(address), size, 0};
  settings.files = {memory_open, memory_read, memory_write, memory_seek, memory_close};
}

MemoryFileScope::~MemoryFileScope() {
  settings.files = outer_;
  settings.memory_file = outer_state_;
}

SubFileScope::SubFileScope(int32_t handle, int32_t base, int32_t length)
    : outer_(settings.files), outer_state_(settings.sub_file) {
  settings.sub_file = {handle, base, length, outer_};
  settings.files.Open = sub_open;
  settings.files.Seek = sub_seek;
  settings.files.Close = sub_close;
}

SubFileScope::~SubFileScope() {
  settings.files = outer_;
  settings.sub_file = outer_state_;
}

OuterFilesScope::OuterFilesScope() : inner_(settings.files) {
  settings.files = settings.sub_file.outer;
}

OuterFilesScope::~OuterFilesScope() { settings.files = inner_; }

bool is_absent(const char* name) {
  if (settings.files.Open == platform::open_file) return platform::is_absent(name);
  // An operation of the caller's says no more than -1, so every way is tried that creates nothing:
  // a file that cannot be read is not taken for one that is not there.
  constexpr int32_t kBinary = 0x8000;
  for (const int32_t access : {kBinary, kBinary | 2, kBinary | 1}) {
    const int32_t handle = settings.files.Open(name, access, 0);
    if (handle < 0) continue;
    settings.files.Close(handle);
    return false;
  }
  return true;
}

bool seeks_large_files() { return settings.files.Seek == platform::seek_file; }

bool reads_system_files() {
  return settings.files.Open == platform::open_file && settings.files.Read == platform::read_file &&
         seeks_large_files();
}

Status seek(int32_t handle, int64_t offset, int32_t origin, uint64_t& position) {
  int64_t reached = -1;
  if (seeks_large_files()) {
    reached = platform::seek_large_file(handle, offset, origin);
  } else if (offset >= INT32_MIN && offset <= INT32_MAX) {
    reached = settings.files.Seek(handle, static_cast<int32_t>(offset), origin);
    if (reached < -1) return kTooLarge;
  }
  if (reached < 0) return kSeekError;
  position = static_cast<uint64_t>(reached);
  return kOk;
}

void note_system_error() {
  if (settings.files.Open == platform::open_file)
    settings.note.system_error = platform::last_error();
}

uint32_t write_once(int32_t handle, const void* bytes, uint32_t size) {
  if (size == 0) return 0;
  const uint32_t written = settings.files.Write(handle, bytes, size);
  return written <= size ? written : 0;
}

}  // namespace tavo::io
