// Bitmaps with random pixels, read back pixel by pixel whatever their storage.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "tavo45.h"

namespace tavo::test {

class TestBitmap {
 public:
  // Described, not allocated.
  TestBitmap() { T_InitBitmap(&record_, 1, 1, 8); }
  // Allocated with this request, released.
  TestBitmap(int32_t width, int32_t height, int32_t depth, uint32_t request) {
    T_InitBitmap(&record_, width, height, depth);
    EXPECT_EQ(T_AllocateBitmap(&record_, request), T_OK);
  }
  ~TestBitmap() { T_FreeBitmap(&record_); }
  TestBitmap(const TestBitmap&) = delete;
  TestBitmap& operator=(const TestBitmap&) = delete;

  BitmapHandle& operator*() { return record_; }
  BitmapHandle* operator->() { return &record_; }
  BitmapHandle* get() { return &record_; }

  // A random palette and random rows, some of them smooth; indices stay below `indices`.
  void fill(std::mt19937& random, uint32_t indices = 256) {
    for (T_PaletteEntry& e : record_.Info.Palette) {
      e = {static_cast<uint8_t>(random()), static_cast<uint8_t>(random()),
           static_cast<uint8_t>(random()), 0};
    }
    for (int32_t y = 0; y < record_.Height; ++y) {
      std::vector<uint8_t> row(record_.BytesPerLine);
      for (size_t i = 0; i < row.size(); ++i) {
        row[i] = static_cast<uint8_t>(y % 3 == 0 ? i + 2 * y : random() % (y % 3 * 128));
        if (record_.BitsPerPixel == 8) row[i] = static_cast<uint8_t>(row[i] % indices);
      }
      set_row(y, row);
    }
  }

  void set_row(int32_t y, const std::vector<uint8_t>& row) {
    const bool accessed = access();
    EXPECT_EQ(T_PutBitmapRow(&record_, row.data(), y, row.size()), int(row.size()));
    if (accessed) T_ReleaseBitmap(&record_);
  }

  std::vector<uint8_t> row(int32_t y) {
    const bool accessed = access();
    std::vector<uint8_t> row(record_.BytesPerLine);
    EXPECT_EQ(T_GetBitmapRow(&record_, row.data(), y, row.size()), int(row.size()));
    if (accessed) T_ReleaseBitmap(&record_);
    return row;
  }

  std::vector<uint8_t> bytes() {
    std::vector<uint8_t> all;
    for (int32_t y = 0; y < record_.Height; ++y) {
      const auto one = row(y);
      all.insert(all.end(), one.begin(), one.end());
    }
    return all;
  }

  // The index of a pixel of up to 8 bits.
  int pixel(int x, int y) {
    const auto& bytes = cached(y);
    const int depth = record_.BitsPerPixel;
    if (depth == 8) return bytes[x];
    return bytes[x * depth / 8] >> (8 - depth - x * depth % 8) & ((1 << depth) - 1);
  }

  // Red, green, blue.
  std::array<int, 3> color(int x, int y) {
    const int depth = record_.BitsPerPixel;
    if (depth <= 8) {
      const T_PaletteEntry& e = record_.Info.Palette[pixel(x, y)];
      return {e.Red, e.Green, e.Blue};
    }
    const auto& bytes = cached(y);
    std::array<int, 3> c = {};
    for (int k = 0; k < 3; ++k) {
      if (depth == 16) {
        const int field = (bytes[2 * x] | bytes[2 * x + 1] << 8) >> 5 * k & 31;
        c[k] = field << 3 | field >> 2;
      } else {
        c[k] = bytes[depth / 8 * x + k];
      }
    }
    if (record_.Order == T_ORDER_BGR) std::swap(c[0], c[2]);
    return c;
  }

 private:
  bool access() {
    const bool mine = (record_.Flags & (T_FLAG_MEMORY | T_FLAG_LOCKED)) == T_FLAG_MEMORY;
    if (mine) T_AccessBitmap(&record_);
    return mine;
  }
  const std::vector<uint8_t>& cached(int y) {
    if (y != cached_row_) cached_ = row(cached_row_ = y);
    return cached_;
  }

  BitmapHandle record_ = {};
  std::vector<uint8_t> cached_;
  int cached_row_ = -1;
};

}  // namespace tavo::test
