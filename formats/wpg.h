// WordPerfect Graphics (WPG): the bitmaps of version 1 and 2 files; version 1 is written. Without a
// bitmap the drawing is drawn; PostScript is skipped.
// Facts: WordPerfect Corporation, "WordPerfect 5.1 File Formats", WPG; the same for 6.0.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::wpg {

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::wpg
