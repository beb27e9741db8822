// The rows of a TIFF page from top to bottom, put together from its strips or tiles, as stored.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "base/buffer.h"
#include "formats/tiff_block.h"

namespace tavo::tiff {

// Where the blocks are in the file.
class BlockTable {
 public:
  BlockTable(const Directory& directory, const Image& image);

  Status start();

  // The coded bytes of a block; without a size the rest of the file. kReadError: behind its end.
  Status find(uint64_t block, uint64_t& position, uint64_t& size);

  // Whether the file has any block below this row of blocks, so that it is worth going on behind
  // damage there.
  bool has_more(uint32_t block_row);

  bool contains(uint64_t position) const { return position < file_bytes_; }

  // Counts coded bytes that a block took, and pixels that its JPEG stream has. Blocks may share
  // their data, as empty tiles do; but all that the file and the picture can account for, several
  // times over, is not decoded for the few rows of a picture. kBadData then.
  Status count_bytes(uint64_t taken);
  Status count_pixels(uint64_t pixels);

  // Bytes of the file from `position` on.
  uint64_t rest(uint64_t position) const { return file_bytes_ - position; }

 private:
  const Directory& directory_;
  const Image& image_;
  ValueList offsets_;
  ValueList sizes_;
  uint32_t file_bytes_ = 0;
  uint64_t most_bytes_ = 0;
  uint64_t bytes_taken_ = 0;
  uint64_t pixels_ = 0;
  bool is_used_up_ = false;
  std::optional<uint64_t> last_row_;  // of blocks, that the file has any of
};

// What is wrong with the data of a block, but not with reading.
bool is_damage(Status status, const io::InputFile& file);

class StoredRows {
 public:
  StoredRows(const Directory& directory, const Image& image)
      : directory_(directory), image_(image), blocks_(directory, image) {}

  Status start();

  // Goes to the next stored row (of image.unit_height rows of the picture). Of chunky strips, with
  // `into` long enough, straight there. What is lost of a damaged block is zero, as long as the
  // file has blocks behind it; then the status of the first damage.
  Status next() { return next({}); }
  Status next(std::span<uint8_t> into);

  // The row of a plane: image.row_bytes(image.width) bytes.
  std::span<const uint8_t> row(uint32_t plane) const { return rows_[plane]; }

  // Nothing of the present row is there.
  bool is_lost() const { return lost_ == image_.planes(); }

  // After the last row: what the first damaged block said, or kOk.
  Status outcome() const { return outcome_; }

 private:
  uint32_t rows_in_block(uint32_t block_row) const;
  Status begin_block(uint32_t plane, uint64_t block, uint32_t rows);
  Status begin_strips();
  Status next_of_strips(std::span<uint8_t> into);
  Status read_tile_row();
  Status read_tile(uint32_t plane, uint32_t across, uint32_t rows);
  Status note(Status status);

  const Directory& directory_;
  const Image& image_;
  BlockTable blocks_;
  std::array<BlockDecoder, kMaxUsedSamples> decoders_;

  size_t block_row_bytes_ = 0;  // of a block's rows, coded
  size_t row_bytes_ = 0;        // of the picture's
  Buffer block_row_;            // strips: a row for each plane; tiles: one row of a tile
  Buffer band_;                 // tiles: the rows of all tiles of one row of tiles, for each plane
  uint32_t band_rows_ = 0;      // room in it, for each plane
  std::array<std::span<const uint8_t>, kMaxUsedSamples> rows_;

  uint32_t block_row_number_ = 0;  // of the blocks that are next
  uint32_t rows_left_ = 0;         // in the present ones
  uint32_t rows_taken_ = 0;

  Status outcome_ = kOk;
  std::array<bool, kMaxUsedSamples> is_strip_lost_ = {};
  uint32_t lost_ = 0;  // planes of which the present row is lost
};

}  // namespace tavo::tiff
