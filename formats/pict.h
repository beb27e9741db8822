// Macintosh PICT, versions 1 and 2: what QuickDraw recorded. Bitmaps are read, what is
// drawn around them is drawn, one bitmap is written.
// Facts: Apple, "Inside Macintosh: Imaging With QuickDraw", appendix A.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::pict {

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::pict
