// The bytes of a PICT file, counted.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"
#include "io/input_file.h"

namespace tavo::pict {

// Reads from where the file stands.
class Stream {
 public:
  explicit Stream(io::InputFile& file) : bytes_(file) {}

  // What can be asked for at once: more than any row, region or polygon has.
  static constexpr size_t kMost = 64 * 1024;

  Status start() { return bytes_.start(2 * kMost, 4096, kMost); }

  uint64_t position() const { return position_; }

  // The next `count` bytes, which are still to be taken; fewer where the data end. Good until the
  // next call.
  std::span<const uint8_t> peek(size_t count) {
    (void)bytes_.look_ahead(count).ok();
    return bytes_.window().first(std::min(count, bytes_.window().size()));
  }

  // The next `count` bytes. kReadError where the data end before.
  Status take(size_t count, std::span<const uint8_t>& bytes) {
    bytes = peek(count);
    if (bytes.size() < count) return bytes_.shortage();
    bytes_.consume(count);
    position_ += count;
    return kOk;
  }

  Status read_some(std::span<uint8_t> into, size_t& got) {
    TRY(bytes_.read_some(into, got));
    position_ += got;
    return kOk;
  }

  Status skip(uint64_t count) {
    position_ += count;
    return bytes_.skip(count);
  }

  Status failure() const { return bytes_.failure(); }

 private:
  ByteSource bytes_;
  uint64_t position_ = 0;
};

}  // namespace tavo::pict
