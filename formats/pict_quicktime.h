// Pictures of QuickTime compressors in a PICT file (opcode 8200).
// Facts: Apple, "Inside Macintosh: QuickTime", chapter 3, and what files have.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "formats/pict_bitmap.h"
#include "formats/pict_region.h"
#include "formats/pict_rows.h"
#include "formats/pict_stream.h"

namespace tavo::pict {

// Reads a record of `bytes` up to the pixels, which `rows` is made ready for: "jpeg" and "raw " of
// 24 and 32 bits. `left` gets how many of its bytes are to come when it is none of these, which is
// kSubtype. kReadError, kNoMemory; a stream that cannot be decoded is kSubtype, too.
Status read_quicktime(Stream& stream, uint64_t bytes, uint64_t file_bytes, Bitmap& bitmap,
                      Region& mask, RowReader& rows, uint64_t& left);

}  // namespace tavo::pict
