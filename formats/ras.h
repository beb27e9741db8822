// Sun raster: byte-encoded files and plain ones of all types, of 1, 4, 8, 24 and 32 bits, with or
// without a colour map; standard files are written.
// Facts: Sun Microsystems, rasterfile(5) and <rasterfile.h>.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/format.h"
#include "process/source_picture.h"

namespace tavo::ras {

inline constexpr size_t kHeaderSize = 32;

// Of any other value, too: what is not byte-encoded is rows as stored.
enum class Type : uint32_t {
  // RT_STANDARD: rows as stored; RT_OLD, 0, is the same without a length.
  kStandard = 1,
  // RT_BYTE_ENCODED.
  kByteEncoded = 2,
  // RT_FORMAT_RGB: rows as stored, red first instead of blue.
  kRgb = 3,
  // RT_FORMAT_TIFF, RT_FORMAT_IFF: converted from such files, rows as stored.
  kEmbeddedTiff = 4,
  kEmbeddedIff = 5,
};

// What parse_header accepted: sizes are 1 to INT32_MAX and a row fits 32 bits; depth is 1, 4, 8, 24
// or 32. rasterfile(5) has no 4: two pixels in a byte, the left one in the high bits.
struct Header {
  int32_t width = 0;
  int32_t height = 0;
  int32_t depth = 0;
  Type type = Type::kStandard;
  bool has_map = false;    // red, green and blue planes behind the header
  uint32_t map_bytes = 0;  // between the header and the pixels, whatever is in them
};

// kBadData (no Sun raster, no size or one that no file of this size holds, another depth),
// kReadError (shorter than a header).
Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header);

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::ras
