// The bitmaps of a PICT file: what stands in front of their pixels.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "formats/pict_region.h"
#include "formats/pict_stream.h"
#include "process/source_picture.h"
#include "tavo45.h"

namespace tavo::pict {

// How the pixels of a row are stored.
enum class Packing : uint8_t {
  kPlain,    // as the pixel map has them; of 32 bits one byte stands before red, green and blue
  kTriples,  // red, green, blue
  kBytes,    // PackBits
  kBytesOrPlain,  // PackBits, if the rows unpack to what they should
  kWords,         // PackBits whose unit is a word
  kPlanes,        // a plane for each component, all of them PackBits
  kJpeg,          // a stream
};

// kBytesOrPlain is known by the first rows, when these are reached.
constexpr bool is_packed(Packing packing) {
  return packing != Packing::kPlain && packing != Packing::kTriples;
}

struct Bitmap {
  Rect bounds;        // of all pixels
  Rect source;        // of those that are shown, inside `bounds`
  Rect destination;   // where they go
  uint32_t mode = 0;  // how, by the numbers of QuickDraw
  uint32_t row_bytes = 0;
  uint32_t bits = 1;        // of a pixel: 1, 2, 4, 8, 16 or, for red, green and blue, 24
  uint32_t components = 1;  // of kPlanes: 3, or 4 of which the first is nobody's
  Packing packing = Packing::kPlain;
  uint32_t x_resolution = 0;  // 16.16 dots per inch, 0: not said
  uint32_t y_resolution = 0;
  bool has_palette = false;
  T_PaletteEntry palette[256] = {};

  bool is_indexed() const { return bits <= 8; }
};

// Opcodes: direct bits are colours, the others indices or, in a BitMap, black and white. Odd ones
// have a mask, a region in front of the pixels.
inline constexpr uint32_t kBitsRect = 0x90, kBitsRegion = 0x91, kPackBitsRect = 0x98,
                          kPackBitsRegion = 0x99, kDirectBitsRect = 0x9A, kDirectBitsRegion = 0x9B;
constexpr bool is_bitmap(uint32_t opcode) {
  return opcode == kBitsRect || opcode == kBitsRegion ||
         (opcode >= kPackBitsRect && opcode <= kDirectBitsRegion);
}

// Reads what stands between the opcode and the pixels. `mask` gets the bitmap's, if it has one.
// kSubtype for depths and packings that are not known, kBadData.
Status read_bitmap(Stream& stream, uint32_t opcode, Bitmap& bitmap, Region& mask);

// Reads a pixel map and its colour table, from the rowBytes word on, as pixel patterns have them.
Status read_pixel_map(Stream& stream, Bitmap& bitmap);

// Of a row of the source rectangle as RowReader gives it.
size_t shown_bytes(const Bitmap& bitmap);

// What the bitmap's rows are as a picture, but for size and resolution.
void describe_pixels(const Bitmap& bitmap, process::SourcePicture& picture);

}  // namespace tavo::pict
