// Sizes and rectangles, as the command line puts them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tavo45.h"

namespace tavo::tools {

struct Extent {
  int32_t width = 0;
  int32_t height = 0;

  Extent turned() const { return {height, width}; }
  bool operator==(const Extent&) const = default;
};

inline Extent extent_of(const BitmapHandle& record) { return {record.Width, record.Height}; }
inline Extent extent_of(const FILEINFO& info) { return {info.Width, info.Height}; }

// A size that pictures are to get. Sides are rounded to nearest, and have a pixel at least.
struct SizeWish {
  int32_t width = 0;  // 0: in proportion to the height
  int32_t height = 0;
  int64_t percent = 0;   // of both sides, in 1/10000; 0: width and height count
  bool is_box = false;   // as large as fits inside
  bool may_grow = true;  // else a picture that is smaller stays as it is

  Extent of(Extent picture) const;
};

// "640x480", "320x", "x200", "33.3%"
std::optional<SizeWish> parse_size(std::string_view text);
// "640x480", as a box
std::optional<SizeWish> parse_box(std::string_view text);

struct Region {
  Extent extent;
  int32_t x = 0;
  int32_t y = 0;

  bool is_inside(Extent picture) const;
};

// "300x200+10+20"
std::optional<Region> parse_region(std::string_view text);

}  // namespace tavo::tools
