#include "formats/tiff_rows.h"

#include <algorithm>
#include <cstring>

#include "formats/plausible.h"

namespace tavo::tiff {

namespace {

// What a decoder may write behind a row.
constexpr size_t kSlack = 64;

uint32_t divide_up(uint32_t value, uint32_t by) { return (value - 1) / by + 1; }

}  // namespace

BlockTable::BlockTable(const Directory& directory, const Image& image)
    : directory_(directory),
      image_(image),
      // TileOffsets and TileByteCounts (6.0, section 15); some writers use the tags of strips.
      offsets_(directory, image.is_tiled && directory.has(Tag::kTileOffsets) ? Tag::kTileOffsets
                                                                             : Tag::kStripOffsets),
      sizes_(directory, image.is_tiled && directory.has(Tag::kTileByteCounts)
                            ? Tag::kTileByteCounts
                            : Tag::kStripByteCounts) {}

// No coding takes more bytes than this for the pixels that it makes: a fax of single dots comes to
// six times its size. What else is in the data, fill bits or segments nobody asks for, is in the
// file once.
Status BlockTable::start() {
  constexpr uint64_t kMostCoded = 8;
  constexpr uint64_t kSmall = 65536;
  constexpr uint64_t kHuge = uint64_t{1} << 56;
  TRY(directory_.file().size(file_bytes_));
  const uint64_t line = std::min<uint64_t>(image_.row_bytes(image_.width), INT32_MAX);
  const uint64_t picture = std::min(line * image_.height, kHuge) * image_.planes();
  most_bytes_ = kSmall + 2 * uint64_t{file_bytes_} + kMostCoded * picture;
  return kOk;
}

// Many tiles may have one block's data in common: an attack makes each of them expensive.
Status BlockTable::count_bytes(uint64_t taken) {
  bytes_taken_ += taken;
  return bytes_taken_ <= most_bytes_ ? kOk : kBadData;
}

Status BlockTable::count_pixels(uint64_t pixels) {
  pixels_ += pixels;
  return formats::check_plausible(formats::Density::kJpeg, pixels_, 1, file_bytes_);
}

// Byte counts may be missing, 0 or too large: the data then go on as far as they can.
Status BlockTable::find(uint64_t block, uint64_t& position, uint64_t& size) {
  TRY(offsets_.get(block, position));
  if (position >= file_bytes_) return kReadError;
  size = 0;
  const Status status = sizes_.get(block, size);
  if (status != kBadData) TRY(status);
  if (size == 0) size = rest(position);
  size = std::min(size, rest(position));
  return kOk;
}

// Memory: for strips a row of each plane, for tiles the rows of one row of them.
Status StoredRows::start() {
  TRY(blocks_.start());
  const uint64_t block_row_bytes = image_.row_bytes(image_.block_width);
  const uint64_t row_bytes = image_.row_bytes(image_.width);
  if (block_row_bytes > INT32_MAX || row_bytes > INT32_MAX) return kNoMemory;
  block_row_bytes_ = static_cast<size_t>(block_row_bytes);
  row_bytes_ = static_cast<size_t>(row_bytes);
  for (uint32_t p = 0; p < image_.planes(); ++p) {
    TRY(decoders_[p].start(image_, directory_.order()));
  }
  const uint32_t rows_held = image_.is_tiled ? 1 : image_.planes();
  TRY(block_row_.allocate(uint64_t{block_row_bytes_} * rows_held + kSlack));
  if (!image_.is_tiled) return kOk;
  band_rows_ = divide_up(std::min(image_.block_height, image_.height), image_.unit_height);
  return band_.allocate(row_bytes * band_rows_ * image_.planes());
}

// Stored rows of the blocks at `block_row`, those below the picture left out.
uint32_t StoredRows::rows_in_block(uint32_t block_row) const {
  const uint32_t first = block_row * image_.block_height;
  return divide_up(std::min(image_.block_height, image_.height - first), image_.unit_height);
}

// With PlanarConfiguration 2 (6.0, section 8) all blocks of a sample come before the next one's.
Status StoredRows::begin_block(uint32_t plane, uint64_t block, uint32_t rows) {
  const uint64_t blocks = uint64_t{image_.blocks_across} * image_.blocks_down;
  block += plane * blocks;
  uint64_t position = 0;
  uint64_t size = 0;
  TRY(blocks_.count_bytes(decoders_[plane].bytes_taken()));
  TRY(blocks_.find(block, position, size));
  // What is not coded has a size of its own, and a wrong one does no harm when there is one block.
  const uint64_t decoded = uint64_t{block_row_bytes_} * rows;
  if (image_.compression == kNone && blocks * image_.planes() == 1) {
    size = std::min(decoded, blocks_.rest(position));
  }
  return decoders_[plane].begin(directory_.file(), position, size, decoded);
}

Status StoredRows::next(std::span<uint8_t> into) {
  if (!image_.is_tiled) return next_of_strips(into);
  if (rows_left_ == 0) TRY(read_tile_row());
  for (uint32_t p = 0; p < image_.planes(); ++p) {
    rows_[p] = {band_.data() + (size_t{p} * band_rows_ + rows_taken_) * row_bytes_, row_bytes_};
  }
  ++rows_taken_;
  --rows_left_;
  return kOk;
}

// Rows begin at byte boundaries (6.0, section 3), those of each plane, too.
Status StoredRows::next_of_strips(std::span<uint8_t> into) {
  if (rows_left_ == 0) {
    rows_left_ = rows_in_block(block_row_number_);
    for (uint32_t p = 0; p < image_.planes(); ++p) {
      TRY(begin_block(p, block_row_number_, rows_left_));
    }
    ++block_row_number_;
  }
  --rows_left_;
  for (uint32_t p = 0; p < image_.planes(); ++p) {
    const bool goes_straight = into.size() >= row_bytes_;
    const std::span<uint8_t> row =
        goes_straight ? into.first(row_bytes_)
                      : std::span(block_row_.data() + p * block_row_bytes_, row_bytes_);
    TRY(decoders_[p].read_row(row));
    rows_[p] = row;
  }
  return kOk;
}

// Tiles go from left to right, rows of them from top to bottom (6.0, section 15).
Status StoredRows::read_tile_row() {
  rows_left_ = rows_in_block(block_row_number_);
  rows_taken_ = 0;
  for (uint32_t p = 0; p < image_.planes(); ++p) {
    for (uint32_t across = 0; across < image_.blocks_across; ++across) {
      TRY(begin_block(p, uint64_t{block_row_number_} * image_.blocks_across + across,
                      divide_up(image_.block_height, image_.unit_height)));
      TRY(read_tile(p, across, rows_left_));
    }
  }
  ++block_row_number_;
  return kOk;
}

// Tiles at the edges are whole: what is beyond the picture is dropped.
Status StoredRows::read_tile(uint32_t plane, uint32_t across, uint32_t rows) {
  const size_t from = across * block_row_bytes_;
  const size_t part = std::min(block_row_bytes_, row_bytes_ - from);
  uint8_t* to = band_.data() + size_t{plane} * band_rows_ * row_bytes_ + from;
  for (uint32_t y = 0; y < rows; ++y, to += row_bytes_) {
    TRY(decoders_[plane].read_row({block_row_.data(), block_row_bytes_}));
    std::memcpy(to, block_row_.data(), part);
  }
  return kOk;
}

}  // namespace tavo::tiff
