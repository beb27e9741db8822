// What stands before the pixels of a PNG file. Sections are those of the W3C's "Portable Network
// Graphics (PNG)", third edition.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"
#include "process/source_picture.h"
#include "tavo45.h"

namespace tavo::png {

// 5.2: the name among what transfers as text spoil: the high bit, line ends, Ctrl-Z.
inline constexpr std::array<uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
inline constexpr size_t kHeadBytes = 8;     // of a chunk: length, type
inline constexpr size_t kCheckBytes = 4;    // behind its data: the checksum of type and data
inline constexpr size_t kHeaderBytes = 13;  // of data in IHDR

// A chunk's type (5.3) as a number.
constexpr uint32_t chunk_type(const char (&name)[5]) {
  uint32_t type = 0;
  for (int i = 0; i < 4; ++i) type = type << 8 | static_cast<uint8_t>(name[i]);
  return type;
}
inline constexpr uint32_t kIHDR = chunk_type("IHDR");  // image header (11.2.1)
inline constexpr uint32_t kPLTE = chunk_type("PLTE");  // palette (11.2.2)
inline constexpr uint32_t kIDAT = chunk_type("IDAT");  // image data (11.2.3)
inline constexpr uint32_t kIEND = chunk_type("IEND");  // image trailer, empty (11.2.4)
inline constexpr uint32_t kTRNS = chunk_type("tRNS");  // transparency (11.3.1.1)
inline constexpr uint32_t kBKGD = chunk_type("bKGD");  // background colour (11.3.4.1)
inline constexpr uint32_t kPHYS = chunk_type("pHYs");  // physical pixel dimensions (11.3.4.3)

// Colour types (11.2.1) are sums of these.
inline constexpr uint8_t kIsIndexed = 1, kIsColor = 2, kHasAlpha = 4;

inline constexpr uint32_t kDotsPerMeter = 1;  // pHYs, unit specifier (11.3.4.3)

// What parse_header accepted: sizes are 1 to INT32_MAX; colour type and depth go together.
struct Header {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t bits = 0;  // of a sample
  uint8_t color = 0;  // type
  bool is_interlaced = false;

  T_PaletteEntry palette[256] = {};
  uint32_t colors = 0;  // of the palette
  // Palettes: how opaque each entry is. Others: the colour that is transparent, in the file's
  // samples, one for grey, else three.
  bool has_transparency = false;
  std::array<uint8_t, 256> opacity = {};
  std::array<uint32_t, 3> transparent = {};
  // What transparent pixels show, white if the file does not say: samples as the file's, of
  // palettes the colour itself.
  std::array<uint32_t, 3> background = {};

  int64_t x_per_inch = 0;  // 0: not known
  int64_t y_per_inch = 0;
  uint32_t extras = 0;  // T_EXTRA_ bits

  bool is_indexed() const { return (color & kIsIndexed) != 0; }
  bool is_color() const { return (color & kIsColor) != 0; }
  bool has_alpha() const { return (color & kHasAlpha) != 0; }  // with each pixel
  bool is_opaque() const { return !has_alpha() && !has_transparency; }
  uint32_t samples() const {
    return (is_color() && !is_indexed() ? 3u : 1u) + (has_alpha() ? 1u : 0u);
  }
  uint32_t pixel_bits() const { return samples() * bits; }
  // What filters look back by (9.2).
  uint32_t pixel_bytes() const { return (pixel_bits() + 7) / 8; }
  // 7.2: pixels are packed, and each row begins with a byte of its own.
  uint64_t row_bytes(uint32_t pixels) const { return (uint64_t{pixels} * pixel_bits() + 7) / 8; }
};

// Reads up to the first IDAT chunk, whose data come next: `data_bytes` of them. kBadData (no PNG
// file, damage in what matters, or a picture that no file of this size holds), kReadError (it ends
// before), kSubtype (a critical chunk of another kind; another compression, filter or interlace
// method).
Status parse_header(ByteSource& bytes, uint64_t file_bytes, Header& header, uint32_t& data_bytes);

// 16 bits to 8, rounded.
constexpr uint8_t narrow_16_bits(uint32_t sample) {
  return static_cast<uint8_t>((sample * 255 + 32895) >> 16);
}

}  // namespace tavo::png
