// A JPEG or CMP stream that arrives in pieces of the caller's choosing.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"
#include "core/bitmap.h"
#include "formats/jpeg.h"

namespace tavo::jpeg {

// Rows of sequential streams come as soon as the data that they can take at most have arrived, and
// what is decoded is dropped. Streams of several scans, and those that tell their height at the
// end, are kept whole and decoded at the end.
class PushDecoder {
 public:
  PushDecoder() = default;
  PushDecoder(const PushDecoder&) = delete;
  PushDecoder& operator=(const PushDecoder&) = delete;

  // One start(), any number of push(), one end(); kBadArgument out of that order. The sink is
  // called from within push() and end(). A failure sticks: each call up to end() gives it again,
  // and takes nothing more.

  // Whatever was going on is forgotten.
  Status start(T_RowSink sink, int32_t bits_per_pixel, int32_t order, void* context);
  Status push(std::span<const uint8_t> bytes);
  Status end();

 private:
  Status append(std::span<const uint8_t> bytes);
  Status advance();
  Status try_header();
  Status begin_rows();
  Status deliver();
  Status read_some(std::span<uint8_t> into, size_t& got);
  size_t unread() const { return end_ - next_; }

  bool is_started_ = false;
  bool is_complete_ = false;  // no more bytes will come
  Status failure_ = kOk;      // sticks
  T_RowSink sink_ = nullptr;
  int32_t bits_ = 0;
  int32_t order_ = 0;
  void* context_ = nullptr;

  Buffer buffer_;
  size_t next_ = 0;  // the unread bytes are buffer_[next_, end_)
  size_t end_ = 0;
  size_t try_at_ = 0;  // unread bytes from which on the header is looked for again

  // What the decoder reads from: at the end of what has come it finds the end of the data, which
  // deliver() keeps it from reaching before end().
  struct Input {
    PushDecoder* owner;
    Status read_some(std::span<uint8_t> into, size_t& got) { return owner->read_some(into, got); }
  };
  Input input_ = {this};
  std::optional<ByteSource> source_;
  std::optional<PictureDecoder> decoder_;
  bool has_rows_ = false;  // the decoder has begun
  std::optional<core::OwnedBitmap> record_;
};

}  // namespace tavo::jpeg
