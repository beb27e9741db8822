// What decoders read from: a window of bytes and a way to get more, so that no codec knows files.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "base/buffer.h"
#include "base/status.h"

namespace tavo {

// Hot loops work on window() directly and consume() what they used; when it runs low they call
// refill(), which keeps the unread bytes, moves them to the front and appends what it gets. They
// go on by single bytes where that is fewer than they want: short of memory, the block buffer has
// kLeastSize bytes, and waiting for more would not end. Who needs many at once has look_ahead().
//
// The end of the data is not an error: refill() then leaves the window as it is and at_end()
// turns true. A failing read is an error and sticks: it counts as the end, too.
class ByteSource {
 public:
  // Gets up to into.size() bytes; sets `got`, 0 at the end. Anything but kOk is a failed read.
  using Refill = Status (*)(void* context, std::span<uint8_t> into, size_t& got);

  // Reads from `file`, anything with Status read_some(std::span<uint8_t>, size_t& got).
  template <class File>
  explicit ByteSource(File& file)
      : refill_([](void* context, std::span<uint8_t> into, size_t& got) {
          return static_cast<File*>(context)->read_some(into, got);
        }),
        context_(&file) {}
  ByteSource(Refill get_more, void* context) : refill_(get_more), context_(context) {}

  // Reads bytes that stay the caller's; needs no start().
  explicit ByteSource(std::span<const uint8_t> bytes)
      : next_(bytes.data()), end_(bytes.data() + bytes.size()), at_end_(true) {}

  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  static constexpr size_t kDefaultSize = 61440, kLeastSize = 1024;

  // Takes the block buffer: `size` bytes, `step` less each time memory is refused, down to
  // `minimum`. kNoMemory when none is to be had. Reads nothing yet.
  Status start(size_t size = kDefaultSize, size_t step = 1024, size_t minimum = kLeastSize) {
    return buffer_.allocate_shrinking(size, step, minimum);
  }

  std::span<const uint8_t> window() const { return {next_, end_}; }
  void consume(size_t count) { next_ += count; }

  // Makes the window longer if more data exist. A failed read returns its status; kNoMemory when
  // the window is as long as the block buffer, so that no loop waits for what has no room.
  Status refill();

  // Makes the window `count` bytes long, or as long as there are data. The block buffer grows where
  // it has no room for them: kNoMemory when that is refused, with the window as it was.
  Status look_ahead(size_t count);

  bool at_end() const { return at_end_; }
  Status failure() const { return failure_; }

  // What it means that there is less than was needed: a failed read's status, else kReadError.
  Status shortage() const { return failure_.ok() ? kReadError : failure_; }

  // The next byte, or -1 at the end.
  int get() {
    if (next_ == end_ && (!refill().ok() || next_ == end_)) return -1;
    return *next_++;
  }

  // Exactly into.size() bytes, or kReadError when fewer are left (those are consumed). Long reads
  // bypass the block buffer.
  Status read(std::span<uint8_t> into);

  // As many bytes as there are, up to into.size(); `got` says how many.
  Status read_some(std::span<uint8_t> into, size_t& got);

  // Drops `count` bytes; kReadError when fewer are left.
  Status skip(uint64_t count);

  // Forgets the window, after the caller has moved the underlying file.
  void reset() {
    next_ = end_ = buffer_.data();
    at_end_ = false;
    failure_ = kOk;
  }

 private:
  Status grow(size_t size);

  Refill refill_ = nullptr;
  void* context_ = nullptr;
  const uint8_t* next_ = nullptr;
  const uint8_t* end_ = nullptr;
  Buffer buffer_;
  bool at_end_ = false;
  Status failure_ = kOk;
};

}  // namespace tavo
