#include "codec/photocd_planes.h"

#include <algorithm>
#include <cstring>

#include "codec/photocd_samples.h"

namespace tavo::photocd {

// ---- Rows ----

Status MadeRows::allocate(uint32_t width) {
  numbers_ = {kNone, kNone};
  for (Buffer& row : rows_) TRY(row.allocate(width + kRowSlack));
  return kOk;
}

Status MadeRows::row(uint32_t y, const uint8_t*& samples) {
  const uint32_t slot = y % 2;
  if (numbers_[slot] != y) {
    numbers_[slot] = kNone;
    TRY(make(y, rows_[slot].data()));
    numbers_[slot] = y;
  }
  samples = rows_[slot].data();
  return kOk;
}

Status StoredPlane::start(Window& window, uint64_t position, uint32_t level, uint32_t plane) {
  window_ = &window;
  position_ = position;
  pair_bytes_ = 3 * width_of(level);
  plane_ = plane;
  return allocate(width_of(level));
}

Status StoredPlane::make(uint32_t y, uint8_t* samples) {
  const uint32_t width = pair_bytes_ / 3;
  const uint32_t pair = plane_ == 0 ? y / 2 : y;
  const uint32_t part = plane_ == 0 ? y % 2 * width : 2 * width + (plane_ - 1) * width / 2;
  const uint64_t at = position_ + uint64_t{pair} * pair_bytes_ + part;
  const uint32_t count = plane_ == 0 ? width : width / 2;
  if (at + count > window_->file_size()) return kReadError;
  const uint8_t* bytes = nullptr;
  TRY(window_->at(at, count, bytes));
  std::memcpy(samples, bytes, count);
  return kOk;
}

Status DoubledPlane::start(PlaneRows& below, uint32_t width, uint32_t height,
                           Differences* differences) {
  below_ = &below;
  width_ = width;
  height_ = height;
  differences_ = differences;
  return allocate(2 * width);
}

Status DoubledPlane::make(uint32_t y, uint8_t* samples) {
  const uint8_t* above = nullptr;
  TRY(below_->row(y / 2, above));
  if (y % 2 == 0) {
    double_row(above, width_, samples);
  } else {
    const uint8_t* below = nullptr;
    TRY(below_->row(std::min(y / 2 + 1, height_ - 1), below));
    double_between(above, below, width_, samples);
  }
  return differences_ != nullptr ? differences_->add(y, samples) : kOk;
}

// ---- Differences ----

Status Differences::start(const FileBytes& file, const RowIndex& index, uint32_t plane,
                          const CodeTable& table, uint32_t width) {
  index_ = &index;
  table_ = &table;
  plane_ = plane;
  width_ = width;
  pair_ = kNone;
  were_missing_ = false;
  for (Window& window : windows_) TRY(window.start(file));
  for (Buffer& row : rows_) TRY(row.allocate(width + kRowSlack));
  return kOk;
}

// What is missing is no difference.
Status Differences::decode(uint32_t pair) {
  pair_ = kNone;
  for (uint32_t i = 0; i < 2; ++i) {
    const RowPlace& place = index_->place(plane_, 2 * pair + i);
    codes_[i] = {nullptr, static_cast<uint32_t>(place.first % 8), place.end - place.first,
                 reinterpret_cast<int8_t*>(rows_[i].data()), 0};
    if (place.first == 0) continue;
    TRY(windows_[i].at(place.first / 8, 2 * size_t{width_} + kCodeSlack, codes_[i].bytes));
  }
  if (codes_[0].bytes != nullptr && codes_[1].bytes != nullptr) {
    table_->decode(codes_[0], codes_[1], width_);
  } else {
    for (CodedRow& row : codes_) {
      if (row.bytes != nullptr) table_->decode(row, width_);
    }
  }
  for (CodedRow& row : codes_) std::memset(row.out + row.found, 0, width_ - row.found);
  pair_ = pair;
  return kOk;
}

Status Differences::add(uint32_t y, uint8_t* samples) {
  if (pair_ != y / 2) TRY(decode(y / 2));
  const CodedRow& row = codes_[y % 2];
  were_missing_ = were_missing_ || row.found < width_;
  add_differences(row.out, width_, samples);
  return kOk;
}

// ---- Files ----

namespace {

constexpr uint64_t kSector = 2048;
constexpr uint64_t k4BaseAt = 388 * kSector;

// Parses the tables at `position` and finds the rows behind them. `are_whole`: no table is damaged;
// those that are have no codes.
Status read_codes(const FileBytes& file, uint64_t position, uint32_t level,
                  std::span<CodeTable> tables, RowIndex& index, bool& are_whole) {
  Window window;
  TRY(window.start(file));
  const size_t size = tables.size() * kLargestTable;
  const uint8_t* bytes = nullptr;
  TRY(window.at(position, size, bytes));
  std::span<const uint8_t> left(bytes, size);
  are_whole = true;
  for (CodeTable& table : tables) {
    const size_t used = are_whole ? table.parse(left) : 0;
    are_whole = used != 0;
    left = left.subspan(used);
  }
  const Planes planes = level == k4Base ? Planes::kLuma : Planes::kAll;
  TRY(index.start(height_of(level), planes));
  return index.scan(window, position + (size - left.size()), width_of(level));
}

}  // namespace

// 4Base begins at a fixed sector; the tables of 16Base are in the thirteenth behind the one in
// which its end mark ends. (GraphicsMagick has it so; FFmpeg leaves out the mark's last two bytes,
// which makes a difference where a sector begins with them.)
Status find_16base(const FileBytes& file, uint64_t& position) {
  RowIndex index;
  Array<CodeTable> table;
  TRY(table.allocate(1));
  bool is_whole = false;
  TRY(read_codes(file, k4BaseAt, k4Base, table.items(), index, is_whole));
  position = 0;
  if (index.end() == 0) return kOk;
  const uint64_t sector = (index.end() - 1) / 8 / kSector + 13;
  if (sector * kSector < file.size) position = sector * kSector;
  return kOk;
}

// ---- The planes ----

Status PlaneSet::start_codes(const FileBytes& file, uint64_t position, uint32_t level,
                             Codes& codes) {
  const uint32_t planes = level == k4Base ? 1 : 3;
  TRY(codes.tables.allocate(planes));
  bool are_whole = false;
  TRY(read_codes(file, position, level, codes.tables.items(), codes.index, are_whole));
  is_short_ = is_short_ || !are_whole || codes.index.is_short();
  for (uint32_t i = 0; i < planes; ++i) {
    const uint32_t width = width_of(level) / (i == 0 ? 1 : 2);
    TRY(codes.planes[i].start(file, codes.index, i, codes.tables[i], width));
  }
  return kOk;
}

Status PlaneSet::start(const FileBytes& file, const Layout& layout) {
  const uint32_t stored = std::min(layout.level, kBase);
  TRY(window_.start(file));
  for (uint32_t i = 0; i < 3; ++i) TRY(stored_[i].start(window_, layout.stored, stored, i));
  luma_ = &stored_[0];
  chroma_ = {&stored_[1], &stored_[2]};
  for (uint32_t level = k4Base; level <= layout.level; ++level) {
    Codes& codes = codes_[level - k4Base];
    TRY(start_codes(file, level == k4Base ? k4BaseAt : layout.tables_16base, level, codes));
    const uint32_t width = width_of(level - 1), height = height_of(level - 1);
    Larger& larger = larger_[level - k4Base];
    TRY(larger[0].start(*luma_, width, height, &codes.planes[0]));
    luma_ = &larger[0];
    for (uint32_t i = 0; i < 2; ++i) {
      Differences* const differences = level == k4Base ? nullptr : &codes.planes[1 + i];
      TRY(larger[1 + i].start(*chroma_[i], width / 2, height / 2, differences));
      chroma_[i] = &larger[1 + i];
    }
  }
  return kOk;
}

bool PlaneSet::is_damaged() const {
  for (const Codes& codes : codes_) {
    for (const Differences& plane : codes.planes) {
      if (plane.were_missing()) return true;
    }
  }
  return false;
}

// A row that the end of the data cuts is missing, too.
bool PlaneSet::is_short() const {
  const bool has_no_end = std::ranges::any_of(codes_, [](const Codes& codes) {
    return codes.tables.size() != 0 && codes.index.end() == 0;
  });
  return is_short_ || (has_no_end && is_damaged());
}

}  // namespace tavo::photocd
