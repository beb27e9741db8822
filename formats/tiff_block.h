// The coded rows of one strip or tile of a TIFF file.
#pragma once

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
  void set(io::InputFile& file, uint64_t position, uint64_t size, bool is_reversed) {
    file_ = &file;
    position_ = position;
    left_ = size;
    is_reversed_ = is_reversed;
    next_left_ = 0;
  }
  // Another part goes on behind it.
  void append(uint64_t position, uint64_t size) {
    next_position_ = position;
    next_left_ = size;
  }
  Status read_some(std::span<uint8_t> into, size_t& got);

 private:
  io::InputFile* file_ = nullptr;
  uint64_t position_ = 0;
  uint64_t left_ = 0;
  uint64_t next_position_ = 0;
  uint64_t next_left_ = 0;
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

  // Goes to the `size` coded bytes at `position`.
  Status begin(io::InputFile& file, uint64_t position, uint64_t size);

  // The next row, image.row_bytes(block_width) long, predictor undone. kReadError when the data
  // end before, or what the codec says.
  Status read_row(std::span<uint8_t> row);

  // Fax codings: see ccitt::Decoder::end_rows().
  uint32_t end_rows() const { return image_->is_fax() ? ccitt_.end_rows() : 0; }

 private:
  template <class Lzw>
  Status read_lzw(Lzw& decoder, std::span<uint8_t> row);
  Status begin_lzw();
  void undo_predictor(std::span<uint8_t> row) const;

  const Image* image_ = nullptr;
  ByteOrder order_;
  FilePart part_;
  ByteSource bytes_;
  ccitt::Decoder ccitt_;
  inflate::Decoder inflate_;
  lzw::HighFirstDecoder lzw_;
  lzw::LowFirstDecoder old_lzw_;
  bool is_old_lzw_ = false;
  packbits::Decoder packbits_;
};

}  // namespace tavo::tiff
