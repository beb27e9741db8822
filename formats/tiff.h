// TIFF: strips and tiles, chunky and planar, several pages; none, PackBits, LZW, Deflate, the three
// CCITT codings, JPEG.
// Facts: TIFF Revision 6.0; Technical Notes 1 and 2 for 6.0; ITU-T T.4 and T.6.
#pragma once

#include <cstdint>
#include <span>

#include "base/function_ref.h"
#include "base/status.h"
#include "io/format.h"

namespace tavo::tiff {

bool is_container(std::span<const uint8_t> head);
Status probe(const io::ProbeInput& input, FILEINFO& info);
// The same, but kSubtype for what read() does not know.
Status probe_readable(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

// Writes a whole TIFF file inside another, from `offset`, where that one ends, on: one strip,
// PackBits up to 8 bits and plain above. `next_row` puts the rows of `picture`, described at
// `depth` with T_ORDER_RGB, into `row`. `bytes` gets the file's length. kNoMemory, kBadSize, file
// statuses.
Status write_inside(io::OutputFile& file, uint64_t offset, const BitmapHandle& picture,
                    int32_t depth, std::span<const uint8_t> row, FunctionRef<Status()> next_row,
                    uint32_t& bytes);

}  // namespace tavo::tiff
