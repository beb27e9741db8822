#include "process/scans/page_cells.h"

#include <algorithm>
#include <bit>

#include "base/endian.h"

namespace tavo::process {

namespace {

constexpr uint32_t kMostCells = 512;  // to either side, as far as a cell can be that large
constexpr uint32_t kLeastSide = 8;    // whole bytes
constexpr uint32_t kMostSide = 248;
constexpr uint32_t kSpeckPixels = 24;  // in cells of the least side

}  // namespace

Status PageCells::read(core::Progress& progress) {
  TRY(page_.start());
  TRY(progress.start());
  const uint32_t longest = std::max(width(), height());
  const uint32_t wanted = (longest / kMostCells + kLeastSide) / kLeastSide * kLeastSide;
  side_ = std::min(wanted, kMostSide);
  columns_ = (width() + side_ - 1) / side_;
  rows_ = (height() + side_ - 1) / side_;
  const uint64_t count = uint64_t{columns_} * rows_;
  TRY(cells_.allocate(count));
  TRY(found_.allocate(count));
  TRY(is_taken_.allocate(count));
  TRY(read_rows(progress));
  remove_border();
  return kOk;
}

Status PageCells::read_rows(core::Progress& progress) {
  for (uint32_t y = 0; y < height(); ++y) {
    std::span<const uint8_t> row;
    TRY(page_.read(y, row));
    add_row(row, y);
    TRY(progress.at(y + 1, height()));
  }
  return kOk;
}

// Most of a page is paper: eight bytes at a time are passed over.
void PageCells::add_row(std::span<const uint8_t> row, uint32_t y) {
  Cell* const cells = cells_.data() + size_t{y / side_} * columns_;
  const auto in_cell = static_cast<uint8_t>(y % side_);
  const uint32_t cell_bytes = side_ / 8;
  for (uint32_t i = 0; i < row.size(); i += 8) {
    if (load_native<uint64_t>(row.data() + i) == 0) continue;
    for (uint32_t k = i; k < i + 8; ++k) {
      if (row[k] == 0) continue;
      Cell& cell = cells[k / cell_bytes];
      const uint32_t first = k % cell_bytes * 8 + static_cast<uint32_t>(std::countl_zero(row[k]));
      const uint32_t last =
          k % cell_bytes * 8 + 7 - static_cast<uint32_t>(std::countr_zero(row[k]));
      if (cell.pixels == 0) {
        cell.left = static_cast<uint8_t>(first);
        cell.top = in_cell;
      }
      cell.pixels = static_cast<uint16_t>(cell.pixels + std::popcount(row[k]));
      cell.left = std::min(cell.left, static_cast<uint8_t>(first));
      cell.right = std::max(cell.right, static_cast<uint8_t>(last));
      cell.bottom = in_cell;
    }
  }
}

// Takes a cell, and all that can be reached from it, into found_.
template <class Wanted>
void PageCells::spread(uint32_t at, const Wanted& is_wanted) {
  const auto take = [&](uint32_t cell) {
    if (is_taken_[cell] != 0 || !is_wanted(cells_[cell])) return;
    is_taken_[cell] = 1;
    found_[found_count_++] = cell;
  };
  uint32_t done = found_count_;
  take(at);
  for (; done < found_count_; ++done) {
    const uint32_t column = found_[done] % columns_;
    const uint32_t row = found_[done] / columns_;
    for (uint32_t y = std::max(row, 1u) - 1; y < std::min(row + 2, rows_); ++y) {
      for (uint32_t x = std::max(column, 1u) - 1; x < std::min(column + 2, columns_); ++x) {
        take(y * columns_ + x);
      }
    }
  }
}

void PageCells::remove_border() {
  const uint32_t half = side_ * side_ / 2;
  const auto is_dark = [half](const Cell& cell) { return cell.pixels >= half; };
  found_count_ = 0;
  for (uint32_t x = 0; x < columns_; ++x) {
    spread(x, is_dark);
    spread((rows_ - 1) * columns_ + x, is_dark);
  }
  for (uint32_t y = 0; y < rows_; ++y) {
    spread(y * columns_, is_dark);
    spread(y * columns_ + columns_ - 1, is_dark);
  }
  const auto found = found_.items().first(found_count_);
  for (const uint32_t cell : found) {
    const uint32_t column = cell % columns_;
    const uint32_t row = cell / columns_;
    for (uint32_t y = std::max(row, 1u) - 1; y < std::min(row + 2, rows_); ++y) {
      for (uint32_t x = std::max(column, 1u) - 1; x < std::min(column + 2, columns_); ++x) {
        cells_[size_t{y} * columns_ + x] = {};
      }
    }
  }
  std::ranges::fill(is_taken_.items(), uint8_t{0});
}

bool PageCells::next_group(InkGroup& group) {
  const auto has_ink = [](const Cell& cell) { return cell.pixels != 0; };
  for (; next_ < cells_.size(); ++next_) {
    if (cells_[next_].pixels == 0 || is_taken_[next_] != 0) continue;
    found_count_ = 0;
    spread(next_, has_ink);
    group = {};
    for (const uint32_t at : found_.items().first(found_count_)) {
      const Cell& cell = cells_[at];
      const uint32_t x = at % columns_ * side_;
      const uint32_t y = at / columns_ * side_;
      group.pixels += cell.pixels;
      group.left = std::min(group.left, x + cell.left);
      group.top = std::min(group.top, y + cell.top);
      group.right = std::max(group.right, x + cell.right + 1);
      group.bottom = std::max(group.bottom, y + cell.bottom + 1);
    }
    if (counts(group)) return true;
  }
  return false;
}

// Specks are few pixels in no more than two cells to either side. A line along an edge of the page
// is what a thin border leaves.
bool PageCells::counts(const InkGroup& group) const {
  const uint32_t cells = 2 * side_;
  const uint32_t scale = side_ / kLeastSide;
  if (group.pixels <= uint64_t{kSpeckPixels} * scale * scale && group.width() <= cells &&
      group.height() <= cells) {
    return false;
  }
  const bool is_at_side = group.left == 0 || group.right == width();
  const bool is_at_end = group.top == 0 || group.bottom == height();
  return !(is_at_side && group.width() <= cells) && !(is_at_end && group.height() <= cells);
}

}  // namespace tavo::process
