// The pixels of a PICT file's bitmap, one row after the other.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"
#include "codec/jpeg/decoder.h"
#include "formats/pict_bitmap.h"
#include "formats/pict_stream.h"

namespace tavo::pict {

class RowReader {
 public:
  explicit RowReader(Stream& stream) : stream_(stream), part_{stream}, source_(part_) {}
  RowReader(const RowReader&) = delete;
  RowReader& operator=(const RowReader&) = delete;

  // Behind what was drawn: writing goes beyond a row by as much.
  static constexpr size_t kSlack = 64;

  // `stream` stands at the pixels of `bitmap`, which is kept by address.
  void start(const Bitmap& bitmap);
  // The same of pixels whose record has `bytes` for them.
  void start(const Bitmap& bitmap, uint64_t bytes);
  // Reads the head of the JPEG stream that stands in the next `bytes`, and says in `bitmap` what is
  // in it. next() needs no start() then.
  Status start_jpeg(uint64_t bytes, uint64_t file_bytes, Bitmap& bitmap);

  // The next row: the columns of the source rectangle as describe_pixels() tells of them, what is
  // left of the last byte zero. kReadError where the data end, kNoMemory.
  Status next(std::span<uint8_t> row);
  // Passes `count` rows over.
  Status skip(uint32_t count);
  // Passes all that is left over.
  Status finish();
  // The row of the source rectangle that next() gives.
  uint32_t row() const { return std::max(row_, first()) - first(); }
  // What is wrong with the data of rows that came all the same.
  Status outcome() const { return decoder_ ? decoder_->outcome() : kOk; }

 private:
  // What a record has of a stream.
  struct Part {
    Stream& stream;
    uint64_t left = 0;
    bool is_all = true;  // the record does not say

    Status read_some(std::span<uint8_t> into, size_t& got);
    Status take(size_t count, std::span<const uint8_t>& bytes);
  };

  uint32_t first() const;
  enum class Fit : uint8_t { kUnknown, kYes, kNo };
  Fit fit(bool is_word_counted);
  void choose_counts();
  bool has_counts() const;
  size_t stored_bytes() const;
  size_t line_bytes() const;
  Status take_packed(std::span<const uint8_t>& bytes);
  Status take_line(const uint8_t*& line);
  Status next_jpeg();
  void show(const uint8_t* line, std::span<uint8_t> row) const;

  Stream& stream_;
  Part part_;
  const Bitmap* bitmap_ = nullptr;
  Packing packing_ = Packing::kPlain;
  bool is_word_counted_ = false;  // packed rows
  uint32_t row_ = 0;
  uint32_t rows_ = 0;
  Buffer line_;
  ByteSource source_;
  std::optional<jpeg::Decoder> decoder_;
};

// Copies pixels of 1 to 24 bits from one row into another, whose other pixels stay.
void move_pixels(const uint8_t* from, uint32_t from_x, uint8_t* to, uint32_t to_x, uint32_t count,
                 uint32_t bits);

}  // namespace tavo::pict
