// Bytes of a file that are wanted from several places of it in turn.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/function_ref.h"
#include "base/status.h"

namespace tavo::photocd {

// Reads into.size() bytes from `position` on, all of which the file has. Anything but kOk is a
// failed read.
using ReadAt = FunctionRef<Status(uint64_t position, std::span<uint8_t> into)>;

// A file as codecs of this format see it.
struct FileBytes {
  ReadAt read;
  uint64_t size;
};

// The part of a file around the place that was asked for last. Cheap where the places follow each
// other, in either direction.
class Window {
 public:
  static constexpr size_t kMostBytes = 40 * 1024;  // that one call may ask for

  Status start(const FileBytes& file);

  // `count` bytes from `position` on, zeros behind the end of the file. They stay where they are
  // until the next call.
  Status at(uint64_t position, size_t count, const uint8_t*& bytes);

  uint64_t file_size() const { return file_->size; }

 private:
  Status move(uint64_t position, size_t count);

  const FileBytes* file_ = nullptr;
  Buffer bytes_;
  uint64_t begin_ = 0;
  uint64_t end_ = 0;
};

}  // namespace tavo::photocd
