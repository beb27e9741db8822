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
  is_used_up_ |= bytes_taken_ > most_bytes_;
  return is_used_up_ ? kBadData : kOk;
}

Status BlockTable::count_pixels(uint64_t pixels) {
  pixels_ += pixels;
  is_used_up_ |= !formats::check_plausible(formats::Density::kJpeg, pixels_, 1, file_bytes_).ok();
  return is_used_up_ ? kBadData : kOk;
}

// The blocks of all planes are looked up, once.
bool BlockTable::has_more(uint32_t block_row) {
  if (is_used_up_) return false;
  if (!last_row_) {
    last_row_ = 0;
    const uint64_t blocks = uint64_t{image_.blocks_across} * image_.blocks_down;
    uint64_t position = 0;
    for (uint64_t i = 0; i < blocks * image_.planes() && offsets_.get(i, position).ok(); ++i) {
      if (contains(position)) last_row_ = std::max(*last_row_, i % blocks / image_.blocks_across);
    }
  }
  return block_row < *last_row_;
}

bool is_damage(Status status, const io::InputFile& file) {
  return (status == kBadData || status == kReadError) && file.failure().ok();
}

// Byte counts may be missing, unreadable, 0 or too large: the data then go on as far as they can.
Status BlockTable::find(uint64_t block, uint64_t& position, uint64_t& size) {
  TRY(offsets_.get(block, position));
  if (position >= file_bytes_) return kReadError;
  size = 0;
  if (!sizes_.get(block, size).ok()) TRY(directory_.file().failure());
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

// Keeps the status of damage; other failures end all work.
Status StoredRows::note(Status status) {
  if (!is_damage(status, directory_.file())) return status;
  if (outcome_.ok()) outcome_ = status;
  return kOk;
}

Status StoredRows::begin_strips() {
  rows_left_ = rows_in_block(block_row_number_);
  for (uint32_t p = 0; p < image_.planes(); ++p) {
    const Status status = begin_block(p, block_row_number_, rows_left_);
    is_strip_lost_[p] = !status.ok();
    if (!status.ok()) TRY(note(status));
  }
  ++block_row_number_;
  return kOk;
}

// Rows begin at byte boundaries (6.0, section 3), those of each plane, too.
Status StoredRows::next_of_strips(std::span<uint8_t> into) {
  if (rows_left_ == 0) TRY(begin_strips());
  --rows_left_;
  lost_ = 0;
  for (uint32_t p = 0; p < image_.planes(); ++p) {
    const bool goes_straight = into.size() >= row_bytes_;
    const std::span<uint8_t> row =
        goes_straight ? into.first(row_bytes_)
                      : std::span(block_row_.data() + p * block_row_bytes_, row_bytes_);
    rows_[p] = row;
    const Status status = is_strip_lost_[p] ? outcome_ : decoders_[p].read_row(row);
    if (status.ok()) continue;
    TRY(note(status));
    is_strip_lost_[p] = true;
    std::ranges::fill(row, uint8_t{0});
    ++lost_;
  }
  return is_lost() && !blocks_.has_more(block_row_number_ - 1) ? outcome_ : kOk;
}

// Tiles go from left to right, rows of them from top to bottom (6.0, section 15).
Status StoredRows::read_tile_row() {
  rows_left_ = rows_in_block(block_row_number_);
  rows_taken_ = 0;
  lost_ = 0;
  for (uint32_t p = 0; p < image_.planes(); ++p) {
    uint32_t lost_tiles = 0;
    for (uint32_t across = 0; across < image_.blocks_across; ++across) {
      const Status status = read_tile(p, across, rows_left_);
      if (status.ok()) continue;
      TRY(note(status));
      ++lost_tiles;
    }
    if (lost_tiles == image_.blocks_across) ++lost_;
  }
  ++block_row_number_;
  return is_lost() && !blocks_.has_more(block_row_number_ - 1) ? outcome_ : kOk;
}

// Tiles at the edges are whole: what is beyond the picture is dropped.
Status StoredRows::read_tile(uint32_t plane, uint32_t across, uint32_t rows) {
  const size_t from = across * block_row_bytes_;
  const size_t part = std::min(block_row_bytes_, row_bytes_ - from);
  uint8_t* to = band_.data() + size_t{plane} * band_rows_ * row_bytes_ + from;
  Status status = begin_block(plane, uint64_t{block_row_number_} * image_.blocks_across + across,
                              divide_up(image_.block_height, image_.unit_height));
  for (uint32_t y = 0; y < rows; ++y, to += row_bytes_) {
    if (status.ok()) status = decoders_[plane].read_row({block_row_.data(), block_row_bytes_});
    if (status.ok()) {
      std::memcpy(to, block_row_.data(), part);
    } else {
      std::memset(to, 0, part);
    }
  }
  return status;
}

}  // namespace tavo::tiff
