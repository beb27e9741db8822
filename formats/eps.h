// Encapsulated PostScript: the preview is the picture; PostScript is not interpreted. A picture is
// written with itself as the preview.
// Facts: Adobe Technical Note 5002, "Encapsulated PostScript File Format Specification", version 3.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::eps {

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

// The header of files with a preview of its own, all fields the low byte first.
inline constexpr size_t kHeaderBytes = 30;
inline constexpr uint32_t kMagic = 0xC6D3D0C5;
inline constexpr size_t kTextAt = 4, kWmfAt = 12, kTiffAt = 20;  // each: offset and length
inline constexpr size_t kChecksumAt = 28;

}  // namespace tavo::eps
