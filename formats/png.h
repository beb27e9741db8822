// Portable Network Graphics. Of animated files the picture that all programs show.
// Facts: W3C, "Portable Network Graphics (PNG)", third edition.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::png {

// Parses all that stands before the pixels, as `read` does, so that it accepts what that does.
Status probe(const io::ProbeInput& input, FILEINFO& info);
// Asked for 32 bits: the opacity comes as the fourth byte, where the file has it.
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
// Signature, IHDR, PLTE where indices have one, pHYs where the resolution is known, IDAT, IEND.
Status write(io::WriterUse use);

}  // namespace tavo::png
