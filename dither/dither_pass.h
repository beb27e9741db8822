// The state of a dithering pass and what its engines share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "color/index_rows.h"
#include "color/nearest.h"
#include "dither/diffusion.h"
#include "dither/dither.h"
#include "tavo45.h"

namespace tavo::color {

// How a colour becomes an index.
enum class Mapping : uint32_t {
  kOwnTable = 0,     // an inverse colour table of the pass
  kCallerTable = 1,  // one of the caller's
  kBlackWhite = 2,   // threshold of the grey level
  kSixteen = 3,      // the 16 standard colours, of which black and the seven bright ones are used
  kCube = 4,         // the uniform 3-3-2 palette
};

// The index of a colour under the mappings that need no table.
constexpr uint32_t sixteen_index(uint32_t red, uint32_t green, uint32_t blue) {
  const uint32_t bits = red >> 7 | (green >> 7) << 1 | (blue >> 7) << 2;
  return bits != 0 ? bits + 8 : 0;
}
constexpr uint32_t cube_index(uint32_t red, uint32_t green, uint32_t blue) {
  return (red & 0xE0) | (green >> 5) << 2 | blue >> 6;
}

// A component plus the error carried to it is -255 to 510; its table is indexed from -255.
inline constexpr int32_t kLeastSum = -255;
inline constexpr uint32_t kSums = 766;

// For the mappings that treat each channel by itself: what one channel's sum adds to the index,
// and the error that it leaves.
struct ChannelChoice {
  int32_t next;  // the error times the weight of the next pixel: the chain is that much shorter
  int16_t error;
  uint16_t part;
};

// Floyd-Steinberg on one channel, whose chain from pixel to pixel bounds its speed: a table goes
// from sixteen times the component plus the numerator of the carried error straight to the next
// pixel's share, twice that so that it is a distance in the table's bytes. No dividing, clamping or
// indexing is left in the chain.
inline constexpr int32_t kMostNumerator = 16 * 255;
inline constexpr uint32_t kChainLength = 3 * kMostNumerator + 16;

struct DitherPass {
  uint32_t width = 0;
  int32_t depth_in = 0;
  uint32_t order = 0;
  int32_t depth_out = 0;
  uint32_t method = 0;
  Mapping mapping = Mapping::kOwnTable;
  uint32_t row_counter = 0;  // rows dithered so far
  uint32_t count = 0;
  T_PaletteEntry palette[256] = {};        // beyond `count` all zero
  T_PaletteEntry input_palette[256] = {};  // of indexed rows
  ColorTable input_colors = {};            // the same with red in the low byte
  bool is_gray_ramp = false;               // rows of 8 bits: index and grey level are the same

  const uint32_t* inverse = nullptr;  // the caller's table, while it is one
  NearestColor nearest;

  // Per colour class the index << 24 | red << 16 | green << 8 | blue of its palette entry, so
  // that one look-up yields all that diffusion needs; `unknown`, which no entry gives, while
  // nobody has asked. Null when no class is ever looked up. A caller's inverse table is made over
  // into this one.
  uint32_t* choices = nullptr;
  Array<uint32_t> own_choices;
  uint32_t unknown = 0;

  // Without diffusion per colour class 1 + the index, 0 while nobody has asked.
  Array<uint16_t> class_indices;
  // Without diffusion, for indexed rows: grey level and, for method 0, the index that each gives.
  uint8_t gray_levels[256] = {};
  uint8_t index_map[256] = {};

  // Grey rows and a grey palette: the three channels stay equal, so one is kept.
  bool is_gray = false;
  // Each channel's index part and error depend on nothing else: `separate` has a table for each
  // (one for grey). Otherwise it is empty.
  Array<ChannelChoice> separate;
  Array<int16_t> chain;  // from -kMostNumerator on; of grey passes with Floyd-Steinberg

  // The errors left by the last rows, interleaved by channel, `reach` zero pixels at either end.
  uint32_t channels = 0;
  size_t error_row_length = 0;
  Array<int16_t> errors;
  uint32_t newest = 0;  // which of the rows is the last one's

  const Diffusion& diffusion() const { return diffusion_of(method); }

  // Pixel 0 of the errors `age` rows ago (1 = the last row).
  int16_t* error_row(uint32_t age) {
    const uint32_t rows = diffusion().rows;
    const uint32_t row = (newest + rows + 1 - age) % rows;
    return errors.data() + row * error_row_length + diffusion().reach * channels;
  }

  uint32_t choice_of(uint32_t index) const {
    const T_PaletteEntry& entry = palette[index];
    return index << 24 | static_cast<uint32_t>(entry.Red) << 16 |
           static_cast<uint32_t>(entry.Green) << 8 | entry.Blue;
  }

  // Whether colours go through a table of their classes.
  bool looks_up() const {
    return mapping == Mapping::kOwnTable || mapping == Mapping::kCallerTable;
  }

  // Finds out the choice of a class and remembers it.
  uint32_t learn(uint32_t color_class);
  // The index of a class by the mappings that look classes up.
  uint32_t find_index(uint32_t color_class);
  uint32_t choose(uint32_t color_class) {
    const uint32_t known = choices[color_class];
    return known != unknown ? known : learn(color_class);
  }
  // The same for the index alone, without diffusion.
  uint32_t class_index(uint32_t color_class) {
    uint16_t& known = class_indices[color_class];
    if (known == 0) [[unlikely]]
      known = static_cast<uint16_t>(find_index(color_class) + 1);
    return known - 1u;
  }
};

// ---- Reading pixels ----

// `n` pixels from pixel x (a multiple of 8) on as red, green, blue bytes, or as one grey byte each.
void read_rgb(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n, uint8_t* rgb);
void read_gray(const DitherPass& pass, const uint8_t* row, uint32_t x, uint32_t n, uint8_t* gray);

// Where the components of consecutive pixels are.
struct Pixels {
  const uint8_t* bytes;
  uint32_t step;
  uint32_t red;
  uint32_t green;
  uint32_t blue;
};

// The layout of a pass's rows as its engines see them: 24 and 32 bits and grey ramps as they are,
// others as read_rgb or read_gray gives them.
Pixels pixel_layout(const DitherPass& pass);

inline bool is_read_in_place(const DitherPass& pass) {
  return pass.depth_in >= 24 || (pass.is_gray && pass.is_gray_ramp);
}

// ---- Engines ----

// Methods 0 and 7; `y` is the row counter.
void map_row(DitherPass& pass, const uint8_t* row, uint8_t* out, uint32_t y);
// Error diffusion of one row.
void diffuse_row(DitherPass& pass, const uint8_t* row, uint8_t* out);
// The same for colours, black and white, and Floyd-Steinberg.
void diffuse_row_black_white(DitherPass& pass, const uint8_t* row, uint8_t* out);

}  // namespace tavo::color
