// The blocks of a GIF file, and what stands in those that matter to a picture.
// Sections are those of "Graphics Interchange Format", version 89a.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/byte_source.h"
#include "base/status.h"
#include "tavo45.h"

namespace tavo::gif {

// Header (17: signature, version) and logical screen descriptor (18). The pixel aspect ratio, its
// last byte, is not looked at.
inline constexpr size_t kScreenSize = 13;
inline constexpr size_t kScreenWidth = 6, kScreenHeight = 8, kScreenPacked = 10,
                        kScreenBackground = 11;

// Image descriptor (20), without its separator.
inline constexpr size_t kImageSize = 9;
inline constexpr size_t kImageLeft = 0, kImageTop = 2, kImageWidth = 4, kImageHeight = 6,
                        kImagePacked = 8;

// What a block begins with.
inline constexpr uint8_t kExtension = 0x21;       // 23 to 26
inline constexpr uint8_t kImageSeparator = 0x2C;  // 20
inline constexpr uint8_t kTrailer = 0x3B;         // 27

// Bits of both packed fields; the low three are the size of the table that follows.
inline constexpr uint8_t kHasTable = 0x80;
inline constexpr uint8_t kInterlaced = 0x40;  // of the image's only

// A global (19) or local (21) color table; the entries behind its colors are black.
struct ColorTable {
  uint32_t colors = 0;  // 0: there is none
  T_PaletteEntry entries[256] = {};
};

struct Screen {
  uint32_t width = 0;
  uint32_t height = 0;
  uint8_t packed = 0;
  uint8_t background = 0;
  ColorTable table;
};

// What becomes of an image before the next one is drawn (23).
enum class Disposal : uint8_t { kKeep, kBackground, kPrevious };

// An image with what the graphic control extension before it says. Its data come next.
struct Image {
  uint32_t left = 0;
  uint32_t top = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  uint8_t packed = 0;
  uint8_t minimum_code_size = 0;  // unchecked
  int32_t transparent = -1;       // the index that leaves what is below
  Disposal disposal = Disposal::kKeep;
  ColorTable table;

  bool is_interlaced() const { return (packed & kInterlaced) != 0; }
};

// kBadData when the file does not begin as a GIF file, kReadError for a table that is cut.
Status read_screen(ByteSource& bytes, Screen& screen);

// From the end of a block up to the data of the next image. kReadError where none follows.
Status read_image(ByteSource& bytes, Image& image);

// Data sub-blocks (15) up to their terminator (16).
Status skip_blocks(ByteSource& bytes);

// How many images the file has, no more than T_MAX_PAGES; the data of number `count` come next.
int32_t count_images(ByteSource& bytes, int32_t count);

}  // namespace tavo::gif
