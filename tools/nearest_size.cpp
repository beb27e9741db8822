#include "nearest_size.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

#include "failure.h"
#include "picture.h"

namespace tavo::tools {
namespace {

uint32_t place_of(int32_t at, int32_t old_side, int32_t new_side) {
  return static_cast<uint32_t>((2 * int64_t{at} + 1) * old_side / (2 * int64_t{new_side}));
}

// `places` are numbers of pixels of `from`.
template <size_t kBytes>
void take_pixels(const uint8_t* from, std::span<const uint32_t> places, uint8_t* to) {
  for (const uint32_t place : places) {
    std::memcpy(to, from + place * kBytes, kBytes);
    to += kBytes;
  }
}

auto pixels_of(int32_t bits) {
  switch (bits) {
    case 8:
      return take_pixels<1>;
    case 16:
      return take_pixels<2>;
    case 24:
      return take_pixels<3>;
    default:
      return take_pixels<4>;
  }
}

// With all that is told of the old one, and no storage yet.
BitmapHandle described_like(const BitmapHandle& old, Extent to, const std::string& where) {
  BitmapHandle made = old;
  check(T_InitBitmap(&made, to.width, to.height, old.BitsPerPixel), where);
  made.Flags |= old.Flags & T_FLAG_GRAY;
  made.Colors = old.Colors;
  made.Order = old.Order;
  made.ViewPerspective = old.ViewPerspective;
  made.XResolution = old.XResolution;
  made.YResolution = old.YResolution;
  return made;
}

// Of 8 bits and more.
void size_bytes(BitmapHandle& record, Extent to, const std::string& where) {
  Picture picture;
  BitmapHandle& made = picture.record();
  made = described_like(record, to, where);
  check(T_AllocateBitmap(&made, 1), where);
  T_AccessBitmap(&made);
  T_AccessBitmap(&record);
  const auto take = pixels_of(record.BitsPerPixel);
  std::vector<uint32_t> places(static_cast<size_t>(to.width));
  for (int32_t x = 0; x < to.width; ++x)
    places[static_cast<size_t>(x)] = place_of(x, record.Width, to.width);
  std::vector<uint8_t> from(record.BytesPerLine);
  std::vector<uint8_t> row(made.BytesPerLine);
  uint32_t in_hand = UINT32_MAX;
  for (int32_t y = 0; y < to.height; ++y) {
    check_signals();
    const uint32_t wanted = place_of(y, record.Height, to.height);
    if (wanted != in_hand) {
      check_moved(record.BytesPerLine,
                  T_GetBitmapRow(&record, from.data(), wanted, record.BytesPerLine), where);
      take(from.data(), places, row.data());
      in_hand = wanted;
    }
    check_moved(made.BytesPerLine,
                T_PutBitmapRow(&made, row.data(), static_cast<uint32_t>(y), made.BytesPerLine),
                where);
  }
  std::swap(record, made);
}

}  // namespace

// Pixels smaller than a byte are made bytes, and back.
void size_by_nearest(BitmapHandle& record, Extent to, const std::string& where) {
  const int32_t bits = record.BitsPerPixel;
  if (bits >= 8) return size_bytes(record, to, where);
  const T_BitmapInfo info = record.Info;
  const uint32_t colors = std::clamp(record.Colors, 1u, 1u << bits);
  check(T_ColorResolution(&record, 8, T_PALETTE_GIVEN, info.Palette, colors), where);
  record.Colors = colors;  // no more are in use: the way back is exact
  size_bytes(record, to, where);
  check(T_ColorResolution(&record, bits, T_PALETTE_GIVEN, info.Palette, colors), where);
}

}  // namespace tavo::tools
