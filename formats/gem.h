// GEM raster images (IMG): 1 to 8 planes, or pixels of 15 to 32 bits, run-length coded; with the
// palettes that Atari programs added. Written with 1 plane as GEM has them, with 4 and 8 as XIMG.
// Facts: Digital Research, "GEM Programmer's Guide", volume 1, appendix G; T. Quester, "GEM Bit
// Image" (XIMG, STTT).
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/format.h"

namespace tavo::gem {

// As many bytes as a header with the largest palette has.
inline constexpr size_t kHeadBytes = 22 + 6 * 256;

// Where the colours of up to 8 planes are.
enum class Palette : uint8_t {
  kOfFormat,  // those that planes of this number have
  kGrays,     // greys from white to black
  // XIMG: red, green and blue as the VDI counts them, 0 to 1000; or their opposites, cyan, magenta
  // and yellow.
  kThousandths,
  kInverseThousandths,
  kAtari,        // words 0RGB
  kUnsupported,  // another colour model
};

// What parse_header accepted.
struct Header {
  uint32_t data = 0;    // offset
  uint32_t planes = 0;  // 1 to 8: of one bit each; 15, 16, 24, 32: bits of whole pixels
  // Patterns of 0 bytes are read as those of 1.
  uint32_t pattern_bytes = 0;  // 0 to 8
  uint16_t width = 0;          // 1 and more, like height
  uint16_t height = 0;
  uint16_t pixel_width = 0;  // microns; 0: not said
  uint16_t pixel_height = 0;
  Palette palette = Palette::kOfFormat;
  uint32_t palette_at = 0;
  uint32_t palette_entries = 0;
  bool has_tag = false;
};

// `head`: the first kHeadBytes of the file, or as many as there are. kBadData for another format,
// kReadError for data that must end early.
Status parse_header(std::span<const uint8_t> head, uint32_t file_bytes, Header& header);

// There is no signature: the fields of the header must be those that programs wrote.
Status probe(const io::ProbeInput& input, FILEINFO& info);
// Reads more than probe() accepts, for callers who know the format: five and more planes without a
// tag, a pattern length of 0. HLS palettes: kSubtype.
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
// kBadSize beyond 65535 pixels on a side, which are words.
Status write(io::WriterUse use);

}  // namespace tavo::gem
