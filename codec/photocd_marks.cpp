#include "codec/photocd_marks.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/endian.h"

namespace tavo::photocd {

namespace {

constexpr uint32_t kMarkOnes = 23;
constexpr uint32_t kMarkBits = 24;
constexpr uint32_t kHeaderBits = 16;

// Ones at the end and at the front of a byte.
uint32_t ones_behind(uint8_t byte) { return static_cast<uint32_t>(std::countr_one(byte)); }
uint32_t ones_before(uint8_t byte) { return static_cast<uint32_t>(std::countl_one(byte)); }

}  // namespace

Status RowIndex::start(uint32_t height, Planes planes) {
  height_ = height;
  planes_ = static_cast<uint32_t>(planes);
  last_ = nullptr;
  end_ = 0;
  for (uint32_t i = 0; i < planes_; ++i) TRY(rows_[i].allocate(i == 0 ? height : height / 2));
  return kOk;
}

// A mark has 16 ones or more in whole bytes: only from a byte of ones on bits are counted.
Status RowIndex::scan(Window& window, uint64_t position, uint32_t width) {
  constexpr size_t kPiece = 32 * 1024;
  // No code has more than 16 bits; the marks of 16Base, 5 bytes for each of 4096 rows, take less
  // than a piece.
  const uint64_t samples = uint64_t{width} * height_ * (planes_ + 1) / 2;
  const uint64_t reach = position + 2 * samples + kPiece;
  const uint64_t limit = std::min(reach, window.file_size());
  uint32_t ones = 0;  // right before the byte that is looked at
  while (position < limit) {
    const auto count = static_cast<size_t>(std::min<uint64_t>(kPiece, limit - position));
    const uint8_t* bytes = nullptr;
    TRY(window.at(position, count + 4, bytes));
    for (size_t i = 0; i < count; ++i) {
      if (bytes[i] == 0xFF) {
        ones += 8;
        continue;
      }
      const uint32_t more = ones_before(bytes[i]);
      if (ones + more >= kMarkOnes) {
        const uint32_t header = load_be32(bytes + i) << (more + 1) >> kHeaderBits;
        if (!add((position + i) * 8 + more + 1, header)) return kOk;
      }
      const void* const next = std::memchr(bytes + i + 1, 0xFF, count - i - 1);
      const auto* const found = static_cast<const uint8_t*>(next);
      i = (found != nullptr ? static_cast<size_t>(found - bytes) : count) - 1;
      ones = ones_behind(bytes[i]);
    }
    position += count;
  }
  end_row(limit * 8);
  return kOk;
}

// Of a mark that ends before `bit`. False when it ends the level.
bool RowIndex::add(uint64_t bit, uint32_t header) {
  end_row(bit - kMarkBits);
  const uint32_t number = header >> 14;
  const uint32_t plane = number == 0 ? 0 : number - 1;
  const uint32_t row = header >> 1 & 0x1FFF;
  if (number == 1 || plane >= planes_ || row >= height_) {
    end_ = bit + kHeaderBits;
    return false;
  }
  RowPlace& place = rows_[plane][plane == 0 ? row : row / 2];
  if (place.first != 0) return true;
  place = {bit + kHeaderBits, 0};
  last_ = &place;
  return true;
}

// What looks like a mark may begin in the number of a row.
void RowIndex::end_row(uint64_t bit) {
  if (last_ != nullptr) last_->end = std::max(bit, last_->first);
  last_ = nullptr;
}

bool RowIndex::is_short() const {
  for (uint32_t i = 0; i < planes_; ++i) {
    if (rows_[i].items().back().first == 0) return true;
  }
  return false;
}

}  // namespace tavo::photocd
