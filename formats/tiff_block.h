// The coded rows of one strip or tile of a TIFF file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"
#include "codec/ccitt_decoder.h"
#include "codec/inflate.h"
#include "codec/lzw.h"
#include "codec/packbits.h"
#include "formats/tiff_image.h"
#include "io/input_file.h"

namespace tavo::tiff {

// A part of the file as a stream of bytes.
class FilePart {
 public:
  // `expected`: about how many bytes will be needed. No more are read at first, because a part
  // whose size the file does not tell goes on to the end of it.
  void set(io::InputFile& file, uint64_t position, uint64_t size, bool is_reversed,
           uint64_t expected = UINT64_MAX) {
    file_ = &file;
    position_ = position;
    left_ = size;
    is_reversed_ = is_reversed;
    next_left_ = 0;
    step_ = std::max(expected, kLeastStep);
    read_ = 0;
  }
  // Another part goes on behind it.
  void append(uint64_t position, uint64_t size) {
    next_position_ = position;
    next_left_ = size;
  }
  Status read_some(std::span<uint8_t> into, size_t& got);

  // Bytes read since set().
  uint64_t bytes_read() const { return read_; }

  io::InputFile& file() const { return *file_; }

 private:
  static constexpr uint64_t kLeastStep = 256;

  io::InputFile* file_ = nullptr;
  uint64_t position_ = 0;
  uint64_t left_ = 0;
  uint64_t next_position_ = 0;
  uint64_t next_left_ = 0;
  uint64_t step_ = 0;  // most bytes of the next read
  uint64_t read_ = 0;
  bool is_reversed_ = false;
};

// Decodes the rows of one block after the other. Several can be at work on one file, as each
// moves it to its own place.
class BlockDecoder {
 public:
  BlockDecoder() : bytes_(part_), packbits_(bytes_) {}
  BlockDecoder(const BlockDecoder&) = delete;
  BlockDecoder& operator=(const BlockDecoder&) = delete;

  // Takes the memory that the coding of `image` needs. `order` is that of 16-bit samples.
  Status start(const Image& image, const ByteOrder& order);

  // Goes to the `size` coded bytes at `position`, of which `decoded` bytes of rows come.
  Status begin(io::InputFile& file, uint64_t position, uint64_t size, uint64_t decoded);

  // Coded bytes of the block that have been decoded.
  uint64_t bytes_taken() const { return part_.bytes_read() - bytes_.window().size(); }

  // The next row, image.row_bytes(block_width) long, predictor undone. kReadError when the data
  // end before, or what the codec says.
  Status read_row(std::span<uint8_t> row);

  // Fax codings: see ccitt::Decoder::end_rows().
  uint32_t end_rows() const { return image_->is_fax() ? ccitt_.end_rows() : 0; }

 private:
  Status decode_row(std::span<uint8_t> row);
  template <class Lzw>
  Status read_lzw(Lzw& decoder, std::span<uint8_t> row);
  Status begin_lzw();
  Status begin_fax(io::InputFile& file, uint64_t position, uint64_t size, uint64_t decoded);
  Status try_coding(ccitt::Coding coding, uint64_t rows, bool& is_it);
  void undo_predictor(std::span<uint8_t> row) const;

  const Image* image_ = nullptr;
  ByteOrder order_;
  FilePart part_;
  ByteSource bytes_;
  ccitt::Decoder ccitt_;
  bool knows_coding_ = false;  // of the fax kind
  inflate::Decoder inflate_;
  lzw::HighFirstDecoder lzw_;
  lzw::LowFirstDecoder old_lzw_;
  bool is_old_lzw_ = false;
  packbits::Decoder packbits_;
};

}  // namespace tavo::tiff
