// The rows of a TIFF page whose strips or tiles are JPEG streams: TIFF Technical Note 2, and of
// the older form (TIFF 6.0, section 22) whatever its writers made of it.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "codec/jpeg/decoder.h"
#include "formats/tiff_block.h"
#include "formats/tiff_image.h"
#include "formats/tiff_old_jpeg.h"
#include "formats/tiff_rows.h"

namespace tavo::tiff {

class JpegRows {
 public:
  JpegRows(const Directory& directory, const Image& image)
      : directory_(directory), image_(image), blocks_(directory, image), bytes_(part_) {}

  Status start();

  // The next row of the picture, 1 or 3 bytes a pixel.
  Status next(std::span<uint8_t> into);

  // After the last row: what the first damaged stream said, or kOk. What is lost is grey.
  Status outcome() const { return outcome_; }

 private:
  Status read_tables();
  Status read_block_header(uint32_t lines);
  Status begin_block(uint64_t block, uint32_t lines);
  Status read_row();
  Status read_tile(uint32_t across, uint32_t rows);
  Status read_tile_row(uint32_t rows);
  Status next_of_strips(std::span<uint8_t> into);
  Status note(Status status);

  const Directory& directory_;
  const Image& image_;
  BlockTable blocks_;
  FilePart part_;
  ByteSource bytes_;
  jpeg::Decoder decoder_;
  JpegLayout layout_ = JpegLayout::kStreams;
  Status outcome_ = kOk;
  size_t pixel_bytes_ = 1;
  Buffer line_;  // a row of the stream at hand
  size_t line_bytes_ = 0;
  Buffer band_;  // tiles: the rows of one row of tiles
  uint32_t block_row_ = 0;
  uint32_t rows_left_ = 0;
  uint32_t rows_taken_ = 0;
  bool is_strip_lost_ = false;
};

}  // namespace tavo::tiff
