#include "formats/tiff_jpeg.h"

#include <algorithm>
#include <cstring>

namespace tavo::tiff {

namespace {

constexpr uint32_t kInputBytes = 32768;
constexpr uint32_t kInputStep = 1024;

}  // namespace

// Technical Note 2 gives each strip or tile a stream of its own; compression 6 has to be found out.
Status JpegRows::start() {
  TRY(blocks_.start());
  TRY(bytes_.start(kInputBytes, kInputStep, kInputStep));
  pixel_bytes_ = image_.used_samples == 1 ? 1 : 3;
  if (image_.is_tiled) {
    const uint32_t rows = std::min(image_.block_height, image_.height);
    TRY(band_.allocate(uint64_t{image_.width} * pixel_bytes_ * rows));
  }
  if (image_.compression == kJpeg) return read_tables();
  return open_old_jpeg(directory_, image_, blocks_, part_, bytes_, decoder_, layout_);
}

// Technical Note 2: JPEGTables is an abbreviated stream of the tables that all others share.
Status JpegRows::read_tables() {
  const Field& tables = directory_.field(Tag::kJpegTables);
  if (tables.count == 0) return kOk;
  part_.set(directory_.file(), tables.position, tables.count, false);
  bytes_.reset();
  return decoder_.feed_tables(bytes_);
}

// A frame header counts in 16 bits (ISO/IEC 10918-1, B.2.2). That of pieces may be the picture's,
// which is wider than a tile.
Status JpegRows::read_block_header(uint32_t lines) {
  if (layout_ == JpegLayout::kStreams) return decoder_.read_header(bytes_, read_options(image_));
  const uint32_t columns = image_.is_tiled ? image_.block_width : decoder_.frame().width;
  if (lines > UINT16_MAX || columns > UINT16_MAX) return kBadData;
  TRY(skip_markers(bytes_));
  decoder_.continue_with(bytes_, columns, lines);
  return kOk;
}

// Goes to a strip or tile of so many lines. Its stream may say another size, for which memory is
// taken only when the file can hold it.
Status JpegRows::begin_block(uint64_t block, uint32_t lines) {
  if (layout_ != JpegLayout::kWhole) {
    uint64_t position = 0;
    uint64_t size = 0;
    TRY(blocks_.count_bytes(part_.bytes_read() - bytes_.window().size()));
    TRY(blocks_.find(block, position, size));
    const uint64_t decoded = image_.row_bytes(image_.block_width) * lines;
    part_.set(directory_.file(), position, size, false, decoded);
    bytes_.reset();
    TRY(read_block_header(lines));
  }
  TRY(blocks_.count_pixels(decoder_.frame().coded_pixels()));
  line_bytes_ = size_t{decoder_.frame().width} * pixel_bytes_;
  if (line_.size() < line_bytes_) TRY(line_.allocate(line_bytes_));
  return decoder_.start(pixel_bytes_ == 1 ? jpeg::PixelLayout::kGray8 : jpeg::PixelLayout::kRgb24);
}

// A stream may be narrower than its block, or wider at the right edge: what is there is taken, what
// is not becomes zero.
Status JpegRows::read_row() {
  uint32_t got = 0;
  TRY(decoder_.next_rows(line_.bytes().first(line_bytes_), line_bytes_, 1, got));
  if (outcome_.ok()) outcome_ = directory_.file().note_damage(decoder_.outcome(), bytes_);
  if (got == 1) return kOk;
  return outcome_.ok() ? kBadData : outcome_;
}

Status JpegRows::read_tile_row(uint32_t rows) {
  const size_t row_bytes = size_t{image_.width} * pixel_bytes_;
  const size_t tile_bytes = size_t{image_.block_width} * pixel_bytes_;
  for (uint32_t across = 0; across < image_.blocks_across; ++across) {
    TRY(begin_block(uint64_t{block_row_} * image_.blocks_across + across, image_.block_height));
    const size_t from = across * tile_bytes;
    const size_t part = std::min({tile_bytes, row_bytes - from, line_bytes_});
    for (uint32_t y = 0; y < rows; ++y) {
      TRY(read_row());
      std::memcpy(band_.data() + y * row_bytes + from, line_.data(), part);
    }
  }
  return kOk;
}

// One stream for the whole picture counts as one block.
Status JpegRows::next(std::span<uint8_t> into) {
  if (rows_left_ == 0) {
    const uint32_t first = block_row_ * image_.block_height;
    rows_left_ = image_.height - first;
    if (layout_ != JpegLayout::kWhole) rows_left_ = std::min(rows_left_, image_.block_height);
    rows_taken_ = 0;
    TRY(image_.is_tiled ? read_tile_row(rows_left_) : begin_block(block_row_, rows_left_));
    ++block_row_;
  }
  const size_t row_bytes = size_t{image_.width} * pixel_bytes_;
  --rows_left_;
  if (image_.is_tiled) {
    std::memcpy(into.data(), band_.data() + rows_taken_++ * row_bytes, row_bytes);
    return kOk;
  }
  TRY(read_row());
  const size_t part = std::min(row_bytes, line_bytes_);
  std::memcpy(into.data(), line_.data(), part);
  std::memset(into.data() + part, 0, row_bytes - part);
  return kOk;
}

}  // namespace tavo::tiff
