#include "geometry.h"

#include <algorithm>

#include "numbers.h"

namespace tavo::tools {
namespace {

constexpr int kPercentPlaces = 4;
constexpr int64_t kWhole = 1'000'000;            // 100%
constexpr int64_t kMostPercent = 1'000'000'000;  // 100000%: products with a side fit
constexpr Range kSide = {1, INT32_MAX};
constexpr Range kPlace = {0, INT32_MAX};

// length * part / whole, to nearest.
int32_t scaled(int32_t length, int64_t part, int64_t whole) {
  const int64_t result = (length * part + whole / 2) / whole;
  return static_cast<int32_t>(std::clamp<int64_t>(result, 1, INT32_MAX));
}

}  // namespace

Extent SizeWish::of(Extent picture) const {
  if (percent != 0)
    return {scaled(picture.width, percent, kWhole), scaled(picture.height, percent, kWhole)};
  if (!may_grow && picture.width <= width && picture.height <= height) return picture;
  const bool is_flat = is_box && int64_t{picture.width} * height > int64_t{picture.height} * width;
  if (height == 0 || is_flat) return {width, scaled(picture.height, width, picture.width)};
  if (width == 0 || is_box) return {scaled(picture.width, height, picture.height), height};
  return {width, height};
}

std::optional<SizeWish> parse_size(std::string_view text) {
  if (text.ends_with('%')) {
    const auto percent = read_decimal(text.substr(0, text.size() - 1), kPercentPlaces);
    if (!percent || *percent < 1 || *percent > kMostPercent) return std::nullopt;
    return SizeWish{.percent = *percent};
  }
  const size_t cross = text.find('x');
  if (cross == text.npos || text.size() == 1) return std::nullopt;
  const std::string_view width = text.substr(0, cross);
  const std::string_view height = text.substr(cross + 1);
  const auto w = width.empty() ? 0 : read_whole(width, kSide);
  const auto h = height.empty() ? 0 : read_whole(height, kSide);
  if (!w || !h) return std::nullopt;
  return SizeWish{.width = *w, .height = *h};
}

std::optional<SizeWish> parse_box(std::string_view text) {
  auto wish = parse_size(text);
  if (!wish || wish->width == 0 || wish->height == 0) return std::nullopt;
  wish->is_box = true;
  return wish;
}

bool Region::is_inside(Extent picture) const {
  return int64_t{x} + extent.width <= picture.width && int64_t{y} + extent.height <= picture.height;
}

std::optional<Region> parse_region(std::string_view text) {
  const size_t cross = text.find('x');
  const size_t first = text.find('+');
  const size_t second = text.find('+', first + 1);
  if (cross == text.npos || first == text.npos || second == text.npos || cross > first)
    return std::nullopt;
  const auto width = read_whole(text.substr(0, cross), kSide);
  const auto height = read_whole(text.substr(cross + 1, first - cross - 1), kSide);
  const auto x = read_whole(text.substr(first + 1, second - first - 1), kPlace);
  const auto y = read_whole(text.substr(second + 1), kPlace);
  if (!width || !height || !x || !y) return std::nullopt;
  return Region{{*width, *height}, *x, *y};
}

}  // namespace tavo::tools
