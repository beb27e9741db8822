// The library's own compressed format (CMP): a 24-byte header, the stamp if there is one, a
// baseline JPEG stream, a 12-byte trailer. Numbers are little-endian.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tavo::cmp {

inline constexpr std::array<uint8_t, 4> kMagic = {'T', 'A', 'V', 'O'};  // header and trailer

// Header: magic, then at these offsets (all other bytes are 0):
inline constexpr size_t kHeaderSize = 24;
inline constexpr size_t kStampOffset = 5;     // kHasStamp or 0
inline constexpr size_t kFlagsOffset = 6;     // Flags
inline constexpr size_t kWidthOffset = 16;    // 2 bytes
inline constexpr size_t kHeightOffset = 18;   // 2 bytes: coded rows
inline constexpr size_t kDepthOffset = 20;    // 8 or 24
inline constexpr size_t kOrderOffset = 21;    // kTopFirst or 0
inline constexpr size_t kQualityOffset = 22;  // 2 bytes: multiplier of the quantisation tables

inline constexpr uint8_t kHasStamp = 0x10;
inline constexpr uint8_t kTopFirst = 0x20;

// Flags. Without kFull and kQuarter the chroma is halved horizontally.
inline constexpr uint8_t kHalfHeight = 0x80;  // only rows 0, 2, 4, ... are coded
inline constexpr uint8_t kGray = 0x40;
inline constexpr uint8_t kFull = 0x20;     // chroma not subsampled; always set for grey
inline constexpr uint8_t kQuarter = 0x10;  // chroma halved in both directions

// Stamp, behind the header: width, height, bits per pixel (8 or 24), for 8 bits 256 palette
// entries of red, green, blue, then the rows, top first, unpadded; 24-bit pixels are blue, green,
// red.
inline constexpr size_t kStampHeaderSize = 3;
inline constexpr size_t kStampPaletteSize = 768;

// Trailer: magic, horizontal and vertical dots per inch (2 bytes each), 4 zero bytes. The stream's
// JFIF segment has no density.
inline constexpr size_t kTrailerSize = 12;

// Texts of the COM segment, with the zero byte behind them: how rows are stored.
inline constexpr size_t kCommentSize = 29;
inline constexpr char kTopFirstComment[kCommentSize] = "TAVO Technologies Inc. V1.01";
inline constexpr char kBottomFirstComment[kCommentSize] = "TAVO Technologies Inc. V1.00";

inline bool is_bottom_first_comment(std::span<const uint8_t> text) {
  return std::ranges::equal(text, kBottomFirstComment);
}
// How readers tell streams of this library, whose density has no unit but is one, from others.
inline bool is_own_comment(std::span<const uint8_t> text) {
  return is_bottom_first_comment(text) || std::ranges::equal(text, kTopFirstComment);
}

}  // namespace tavo::cmp
