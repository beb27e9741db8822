#include "formats/tiff_jpeg.h"

#include <algorithm>
#include <cstring>

namespace tavo::tiff {

namespace {

constexpr uint32_t kInputBytes = 32768;
constexpr uint32_t kInputStep = 1024;
constexpr uint8_t kGrey = 128;

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

// Keeps the status of damage; other failures end all work.
Status JpegRows::note(Status status) {
  if (!is_damage(status, directory_.file())) return status;
  if (outcome_.ok()) outcome_ = directory_.file().note_damage(status, bytes_);
  return kOk;
}

Status JpegRows::read_tile(uint32_t across, uint32_t rows) {
  const size_t row_bytes = size_t{image_.width} * pixel_bytes_;
  const size_t tile_bytes = size_t{image_.block_width} * pixel_bytes_;
  const size_t from = across * tile_bytes;
  const size_t part = std::min(tile_bytes, row_bytes - from);
  uint8_t* to = band_.data() + from;
  Status status =
      begin_block(uint64_t{block_row_} * image_.blocks_across + across, image_.block_height);
  for (uint32_t y = 0; y < rows; ++y, to += row_bytes) {
    if (status.ok()) status = read_row();
    if (status.ok()) {
      std::memcpy(to, line_.data(), std::min(part, line_bytes_));
    } else {
      std::memset(to, kGrey, part);
    }
  }
  return status;
}

Status JpegRows::read_tile_row(uint32_t rows) {
  uint32_t lost = 0;
  for (uint32_t across = 0; across < image_.blocks_across; ++across) {
    const Status status = read_tile(across, rows);
    if (status.ok()) continue;
    TRY(note(status));
    ++lost;
  }
  return lost == image_.blocks_across && !blocks_.has_more(block_row_) ? outcome_ : kOk;
}

// One stream for the whole picture counts as one block.
Status JpegRows::next(std::span<uint8_t> into) {
  const size_t row_bytes = size_t{image_.width} * pixel_bytes_;
  if (rows_left_ == 0) {
    const uint32_t first = block_row_ * image_.block_height;
    rows_left_ = image_.height - first;
    if (layout_ != JpegLayout::kWhole) rows_left_ = std::min(rows_left_, image_.block_height);
    rows_taken_ = 0;
    const Status status =
        image_.is_tiled ? read_tile_row(rows_left_) : begin_block(block_row_, rows_left_);
    if (image_.is_tiled) TRY(status);
    if (!status.ok()) TRY(note(status));
    is_strip_lost_ = !status.ok();
    ++block_row_;
  }
  --rows_left_;
  if (image_.is_tiled) {
    std::memcpy(into.data(), band_.data() + rows_taken_++ * row_bytes, row_bytes);
    return kOk;
  }
  return next_of_strips(into.first(row_bytes));
}

Status JpegRows::next_of_strips(std::span<uint8_t> into) {
  const Status status = is_strip_lost_ ? outcome_ : read_row();
  if (status.ok()) {
    const size_t part = std::min(into.size(), line_bytes_);
    std::memcpy(into.data(), line_.data(), part);
    std::ranges::fill(into.subspan(part), uint8_t{0});
    return kOk;
  }
  TRY(note(status));
  is_strip_lost_ = true;
  if (layout_ == JpegLayout::kWhole || !blocks_.has_more(block_row_ - 1)) return outcome_;
  std::ranges::fill(into, kGrey);
  return kOk;
}

}  // namespace tavo::tiff
