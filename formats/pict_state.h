// What the records of a PICT file set for those that draw.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "draw/raster_op.h"
#include "tavo45.h"

namespace tavo::pict {

inline constexpr T_PaletteEntry kBlack = {0, 0, 0, 0}, kWhite = {255, 255, 255, 0};

// What pens draw with and shapes are filled with.
struct Pattern {
  enum class Kind : uint8_t {
    kBits,   // of 1 the foreground's colour, of 0 the background's
    kColor,  // `color`
    kTile,   // pixels of `tile`, three bytes each
  };

  Kind kind = Kind::kBits;
  std::array<uint8_t, 8> bits = {};
  T_PaletteEntry color = {};
  Buffer tile;
  int32_t width = 0;
  int32_t height = 0;

  void set(std::span<const uint8_t> rows);
};

// Transfer modes: srcCopy, srcOr, srcXor, srcBic are 0 to 3, the same with the source inverted 4 to
// 7. Those of patterns are those of bitmaps and 8.
enum class Mode : uint8_t { kCopy, kOr, kXor, kBic, kNothing };
struct Transfer {
  Mode mode = Mode::kCopy;
  bool inverts = false;  // what is transferred
};
// Arithmetic of colours and highlighting count as copying.
Transfer transfer_of(uint32_t mode);
// The same of colours, as a raster operation whose `operand` is kOfPattern or kOfSource.
inline constexpr uint32_t kOfPattern = 0xF0, kOfSource = 0xCC, kOfPage = 0xAA;
draw::RasterOp color_operation(const Transfer& transfer, uint32_t operand);
// The arithmetic mode in which a bitmap's pixels of the background's colour are not drawn.
inline constexpr uint32_t kTransparent = 36;
// Whether nothing of what is there remains where a bitmap comes.
bool covers(uint32_t mode);

// A point of QuickDraw, the row first.
struct Place {
  int32_t y = 0;
  int32_t x = 0;
};
Place load_place(const uint8_t* bytes);

// Of three words the higher bytes.
T_PaletteEntry load_color(const uint8_t* bytes);

struct Font {
  int32_t number = 0;
  uint32_t face = 0;  // of FaceBits
  int32_t size = 0;   // 0: as usual
  uint32_t mode = 1;
  int64_t space_extra = 0;   // of spaces, in 65536ths of a unit
  int64_t extra = 0;         // of other characters, in 4096ths of the size
  Place numerator = {1, 1};  // what text is stretched by
  Place denominator = {1, 1};
};
// Outline (8) and shadow (16) are left out: such letters are drawn plain.
enum FaceBits : uint32_t {
  kBold = 1,
  kItalic = 2,
  kUnderline = 4,
  kCondensed = 32,
  kExtended = 64
};

struct State {
  T_PaletteEntry foreground = kBlack;
  T_PaletteEntry background = kWhite;
  Pattern pen, fill, paper;
  Place pen_size = {1, 1};
  uint32_t pen_mode = 8;
  Place pen_at;
  Place oval_size;
  Font font;
  Place text_at;

  State();

  // A record of state other than patterns with colours and the origin. `data` are as long as the
  // opcode says.
  void take(uint32_t opcode, std::span<const uint8_t> data);
};

}  // namespace tavo::pict
