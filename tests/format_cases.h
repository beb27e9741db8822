// The table that the common format tests run through: one row per format.
#pragma once

#include <string>
#include <vector>

#include "support.h"

namespace tavo::test {

struct Sample {
  std::string name;
  Bytes file;  // small and valid: the tests cut it at every length
};

struct FormatCase {
  std::string name;
  std::vector<Sample> samples;  // one per variant of the format
  int32_t save_format = 0;      // 0: the format cannot be saved
  std::vector<int32_t> save_depths = {};
  bool is_lossless = true;  // what is saved loads back to the same pixels
  bool fills_up = false;    // a file that ends early loads with zeros for the rest
};

inline void PrintTo(const FormatCase& format, std::ostream* out) { *out << format.name; }

// All formats; each adds its row in format_cases.cpp.
const std::vector<FormatCase>& format_cases();

// A file that the library itself saves: a sample for formats whose writer is proved elsewhere.
Bytes saved_sample(int32_t format, int32_t depth, int32_t width, int32_t height);

// A BMP file from its parts, and a 40-byte information header.
Bytes bmp_file(Bytes info_header, Bytes palette_and_gap, Bytes data);
Bytes bmp_info(int32_t width, int32_t height, uint32_t bits, uint32_t compression,
               uint32_t colors_used);

// A GIF file from its parts; its screen is 500 x 400, its image at 3, 4.
struct GifFile {
  uint16_t width = 0;
  uint16_t height = 0;
  uint8_t screen_packed = 0;
  Bytes global_table = {};
  Bytes extensions = {};
  uint8_t image_packed = 0;
  Bytes local_table = {};
  uint8_t minimum_code_size = 8;
  Bytes data = {};  // sub-blocks
};
Bytes gif_file(const GifFile& gif);
FormatCase gif_case();

FormatCase jpeg_case();
FormatCase cmp_case();

// A TGA file from its parts; its origin fields are 7 and 9.
struct TgaFile {
  uint8_t map_type = 0;
  uint8_t type = 2;
  uint16_t map_first = 0;
  uint16_t map_entries = 0;
  uint8_t map_bits = 0;
  uint16_t width = 0;
  uint16_t height = 0;
  uint8_t bits = 0;
  uint8_t descriptor = 0;
  Bytes id = {};
  Bytes map = {};
  Bytes data = {};
};
Bytes tga_file(const TgaFile& tga);
FormatCase tga_case();

// A PCX file from its parts; its resolutions are 150 and 75.
struct PcxFile {
  uint16_t width = 0;
  uint16_t height = 0;
  uint8_t plane_bits = 8;
  uint8_t planes = 1;
  uint16_t line_bytes = 0;
  Bytes palette = {};  // up to 16 colours
  Bytes data = {};
  Bytes trailer = {};
};
Bytes pcx_file(const PcxFile& pcx);
FormatCase pcx_case();

// A Sun raster file from its parts.
struct RasFile {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t depth = 0;
  uint32_t type = 1;
  uint32_t map_type = 0;
  Bytes map = {};
  Bytes data = {};
};
Bytes ras_file(const RasFile& ras);
FormatCase ras_case();

// A TIFF file: `data` at offset 8, then a directory of these tags and its longer values.
struct TiffTag {
  uint32_t tag;
  uint32_t type;  // 1, 3, 4 or 5 (values in pairs)
  std::vector<uint32_t> values;
};
Bytes tiff_file(const std::vector<TiffTag>& tags, const Bytes& data, bool is_big_endian = false);

// The tags of a one-strip picture, to which others may be added.
std::vector<TiffTag> tiff_tags(uint32_t width, uint32_t height, uint32_t bits, uint32_t samples,
                               uint32_t compression, uint32_t photometric, uint32_t data_bytes);

// `bytes` as a stored block in a zlib wrapper.
Bytes deflate_stored(const Bytes& bytes);

}  // namespace tavo::test
