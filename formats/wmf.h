// Windows metafiles (WMF): a bitmap that is the whole picture is read as it is, drawings are drawn;
// a bitmap is written.
// Facts: Microsoft, [MS-WMF] "Windows Metafile Format".
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::wmf {

Status probe(const io::ProbeInput& input, FILEINFO& info);
// The same, but kSubtype for files that hold nothing to show.
Status probe_readable(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::wmf
