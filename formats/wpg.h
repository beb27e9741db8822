// WordPerfect Graphics (WPG): the bitmaps of version 1 and 2 files; version 1 is written. Without a
// bitmap the drawing is drawn; PostScript is skipped.
// Facts: WordPerfect Corporation, "WordPerfect 5.1 File Formats", WPG; the same for 6.0.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::wpg {

// Goes through all records, as bitmaps are counted as pages. What read() refuses with kSubtype is
// told all the same: with the size of its page and 1 bit.
Status probe(const io::ProbeInput& input, FILEINFO& info);
// The bitmap that settings.page_number names, of those behind the last one the last; without any
// the drawing. kReadError comes behind the rows that are there; of a turned bitmap behind all,
// those that are missing being white.
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
// Of more than 65535 pixels on a side kBadSize: fields of records have 16 bits.
Status write(io::WriterUse use);

}  // namespace tavo::wpg
