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

inline constexpr int32_t kLossy = 33;

struct FormatCase {
  std::string name;
  std::vector<Sample> samples;  // one per variant of the format
  int32_t save_format = 0;      // 0: the format cannot be saved
  std::vector<int32_t> save_depths = {};
  int32_t lossless_from = 1;  // at this depth and above what is saved loads back to the same pixels
  bool fills_up = false;      // a file that ends early loads with zeros for the rest
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

// A PCX file of 150 and 75 dpi from its parts; the palette has up to 16 colours.
Bytes pcx_file(uint32_t width, uint32_t height, uint8_t plane_bits, uint8_t planes,
               uint32_t line_bytes, const Bytes& data, Bytes palette = {},
               const Bytes& trailer = {});

// The rows of formats that are not here stand with the tests of their own.
FormatCase gif_case();
FormatCase jpeg_case();
FormatCase cmp_case();
FormatCase tga_case();
FormatCase pcx_case();
FormatCase ras_case();
FormatCase macpaint_case();
FormatCase msp_case();
FormatCase gem_case();
FormatCase wpg_case();
FormatCase pict_case();
FormatCase png_case();
FormatCase wmf_case();
FormatCase eps_case();
FormatCase eps_text_case();

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
