// The directory in front of the pages of a DCX file.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/endian.h"
#include "tavo45.h"

namespace tavo::dcx {

inline constexpr uint32_t kMagic = 0x3ADE68B1;
inline constexpr uint32_t kAreaSize =
    4 + 4 * (T_MAX_PAGES + 1);  // magic, offsets, the 0 behind them

// The first bytes of a file, zeros where it is shorter.
class Directory {
 public:
  std::span<uint8_t> bytes() { return area_; }
  bool is_present() const { return load_le32(area_.data()) == kMagic; }

  static constexpr uint32_t place(uint32_t page) { return 4 + 4 * page; }
  uint32_t offset(uint32_t page) const { return load_le32(&area_[place(page)]); }
  void set_offset(uint32_t page, uint32_t offset) { store_le32(&area_[place(page)], offset); }

  uint32_t count() const {
    uint32_t pages = 0;
    while (pages < T_MAX_PAGES && offset(pages) != 0) ++pages;
    return pages;
  }

  // Bytes that a directory of so many pages takes.
  static constexpr uint32_t size(uint32_t pages) { return place(pages + 1); }

  // Starts an empty directory.
  void set_up() {
    area_ = {};
    store_le32(area_.data(), kMagic);
  }

 private:
  std::array<uint8_t, kAreaSize> area_ = {};
};

}  // namespace tavo::dcx
