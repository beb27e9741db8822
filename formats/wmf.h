// Windows metafiles (WMF): a bitmap that is the whole picture is read as it is, drawings are drawn;
// a bitmap is written.
// Facts: Microsoft, [MS-WMF] "Windows Metafile Format".
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::wmf {

// Looks through all records, as `read` does: what is told of a file is what it delivers. Where
// there is nothing to show the file is told all the same, with the size of its window.
Status probe(const io::ProbeInput& input, FILEINFO& info);
// The same, but kSubtype for files that hold nothing to show.
// EPS files choose their preview by it.
Status probe_readable(const io::ProbeInput& input, FILEINFO& info);
// Delivers the bitmap that is the whole picture, or else a page. Of a file that ends early all rows
// come before its kReadError.
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
// StretchDIBits of the whole bitmap in a placeable file.
Status write(io::WriterUse use);

}  // namespace tavo::wmf
