// MacPaint documents: one page of 576 x 720 pixels in black and white, rows coded with PackBits;
// with a MacBinary header in front, or as they stand in a Macintosh file's data fork.
// Facts: Apple, "Macintosh Technical Note 86: MacPaint Document Format"; "MacBinary II Standard".
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/format.h"

namespace tavo::macpaint {

inline constexpr size_t kMacBinaryBytes = 128;

// Where the page's packed rows lie in the file; there is one byte at least.
struct Header {
  uint32_t data = 0;
  uint32_t data_end = 0;
};

// `head`: the first kMacBinaryBytes of the file, or as many as there are. kBadData for another
// format, kReadError when the file ends before the rows.
Status parse_header(std::span<const uint8_t> head, uint32_t file_bytes, Header& header);

// Documents behind a MacBinary header, and those without, which no signature tells: where the rest
// of the head is right and the packed rows make exactly one page.
Status probe(const io::ProbeInput& input, FILEINFO& info);
Status probe_bare(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::macpaint
