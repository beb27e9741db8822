// Stamps: small pictures that travel with a CMP or JPEG file.
// Facts: JFIF 1.02 (thumbnails), ISO/IEC 10918-5.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "formats/jpeg.h"
#include "io/input_file.h"

namespace tavo::jpeg {

// Where a file has its stamp, and what this is.
struct StampPlace {
  enum class Kind { kPalette, kBgr, kRgb, kCoded };  // kCoded: a JPEG stream of its own
  Kind kind = Kind::kBgr;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t bits = 0;    // 8 or 24
  uint64_t offset = 0;  // of the palette, the pixels, the stream
  size_t coded_size = 0;
};

// Looks for the stamp in the header of a CMP file, in the JFXX or else the JFIF segment of a
// stream. kNoStamp; kReadError when the file ends before it could come; kBadData for an empty one
// or one of another depth.
Status find_stamp(io::InputFile& file, const Container& container, StampPlace& stamp);

// T_GetCompressFileStamp for a file that is one of these.
Status read_stamp(const char* name, BitmapHandle& stamp);

}  // namespace tavo::jpeg
