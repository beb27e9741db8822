// What one page of a TIFF file is: geometry, samples, coding, and the picture that it becomes.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "formats/tiff_directory.h"
#include "process/source_picture.h"

namespace tavo::tiff {

// Values of two tags, and the sections of TIFF 6.0 that define them.
enum Compression : uint32_t {
  kNone = 1,             // section 3: rows packed into bytes
  kCcittRuns = 2,        // section 10: modified Huffman, rows of whole bytes
  kGroup3 = 3,           // section 11, T.4
  kGroup4 = 4,           // section 11, T.6
  kLzw = 5,              // section 13
  kOldJpeg = 6,          // section 22
  kJpeg = 7,             // Technical Note 2
  kDeflate = 8,          // zlib streams, as Adobe registered them
  kPackBits = 32773,     // section 9
  kCcittRuns16 = 32771,  // as 2, rows of whole 16-bit words
  kOldDeflate = 32946,   // the same as 8, by its first number
};

enum Photometric : uint32_t {
  kWhiteIsZero = 0,  // section 3
  kBlackIsZero = 1,  // section 3
  kRgb = 2,          // section 6
  kPalette = 3,      // section 5
  kMask = 4,         // section 8: shown as black and white
  kSeparated = 5,    // section 16
  kYCbCr = 6,        // section 21
};

inline constexpr uint32_t kMaxUsedSamples = 4;
inline constexpr uint32_t kHorizontalPredictor = 2;  // TIFF 6.0, section 14

// What parse_image accepted: width and height are 1 to INT32_MAX, a block is at least a pixel, and
// when is_supported, everything fits together: bits 1 to 16 or 32, samples used_samples to 64.
struct Image {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t bits = 1;     // per sample
  uint32_t samples = 1;  // per pixel
  uint32_t used_samples = 1;
  uint32_t compression = kNone;
  uint32_t photometric = kBlackIsZero;
  bool is_planar = false;
  bool is_reversed = false;  // bits of bytes
  bool has_predictor = false;
  uint32_t t4_options = 0;

  // Strips are tiles as wide as the picture.
  bool is_tiled = false;
  uint32_t block_width = 0;
  uint32_t block_height = 0;
  uint32_t blocks_across = 0;
  uint32_t blocks_down = 0;

  // Pixels that share their colour in photometric YCbCr, otherwise 1 by 1.
  uint32_t unit_width = 1;
  uint32_t unit_height = 1;

  bool is_supported = false;
  process::SourcePicture picture;

  bool is_fax() const {
    return compression >= kCcittRuns && compression <= kGroup4 ? true : compression == kCcittRuns16;
  }
  bool is_jpeg() const { return compression == kJpeg || compression == kOldJpeg; }
  uint32_t samples_per_plane() const { return is_planar ? 1 : samples; }
  uint32_t planes() const { return is_planar ? used_samples : 1; }
  // Bytes of a coded row of `pixels`; of unit_height rows when colours are shared.
  uint64_t row_bytes(uint32_t pixels) const;
};

// kBadData when what every picture needs is missing or makes no sense, or no file of this size
// holds the picture; kReadError when what the pixels depend on was cut off; a resolution may be. A
// picture of a kind that read() does not know is described with is_supported false.
Status parse_image(const Directory& directory, Image& image);

// The palette of the picture: its colour map, or steps of grey. kBadData for a colour map that is
// not there.
Status read_palette(const Directory& directory, const Image& image, T_PaletteEntry (&palette)[256]);

const char* compression_text(uint32_t compression);

}  // namespace tavo::tiff
