// TIFF: strips and tiles, chunky and planar, several pages; none, PackBits, LZW, Deflate, the three
// CCITT codings, JPEG.
// Facts: TIFF Revision 6.0; Technical Notes 1 and 2 for 6.0; ITU-T T.4 and T.6.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/format.h"

namespace tavo::tiff {

bool is_container(std::span<const uint8_t> head);
Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::tiff
