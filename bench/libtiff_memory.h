// Files in memory for libtiff.
#pragma once

#ifdef PEER_TIFF
#include <tiffio.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace bench {

struct MemoryFile {
  std::vector<uint8_t> bytes;
  uint64_t position = 0;

  static tmsize_t read(thandle_t handle, void* into, tmsize_t size) {
    auto* file = static_cast<MemoryFile*>(handle);
    const uint64_t left =
        file->bytes.size() - std::min<uint64_t>(file->position, file->bytes.size());
    const uint64_t part = std::min<uint64_t>(left, static_cast<uint64_t>(size));
    std::memcpy(into, file->bytes.data() + file->position, part);
    file->position += part;
    return static_cast<tmsize_t>(part);
  }
  static tmsize_t write(thandle_t handle, void* from, tmsize_t size) {
    auto* file = static_cast<MemoryFile*>(handle);
    const uint64_t end = file->position + static_cast<uint64_t>(size);
    if (file->bytes.size() < end) file->bytes.resize(end);
    std::memcpy(file->bytes.data() + file->position, from, static_cast<size_t>(size));
    file->position = end;
    return size;
  }
  static toff_t seek(thandle_t handle, toff_t offset, int origin) {
    auto* file = static_cast<MemoryFile*>(handle);
    file->position = offset + (origin == SEEK_CUR   ? file->position
                               : origin == SEEK_END ? file->bytes.size()
                                                    : 0);
    return file->position;
  }
  static int close(thandle_t) { return 0; }
  static toff_t size(thandle_t handle) { return static_cast<MemoryFile*>(handle)->bytes.size(); }
  static int map(thandle_t handle, void** base, toff_t* size) {
    auto* file = static_cast<MemoryFile*>(handle);
    *base = file->bytes.data();
    *size = file->bytes.size();
    return 1;
  }
  static void unmap(thandle_t, void*, toff_t) {}

  TIFF* open(const char* mode) {
    position = 0;
    return TIFFClientOpen("memory", mode, this, read, write, seek, close, size, map, unmap);
  }
};

}  // namespace bench
#endif
