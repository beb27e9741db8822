// Encapsulated PostScript: the preview is the picture; PostScript is not interpreted. A picture is
// written with itself as the preview.
// Facts: Adobe Technical Note 5002, "Encapsulated PostScript File Format Specification", version 3.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::eps {

// Files without a preview are known, too: `info` has their bounding box then.
Status probe(const io::ProbeInput& input, FILEINFO& info);
// kSubtype without a preview. Otherwise what the reader of the last one answers: previews that
// cannot be read give way to the next as long as none of their rows has been delivered.
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

// The header of files with a preview of its own (Technical Note 5002, the header of DOS EPS files),
// all fields the low byte first. Adobe Illustrator 16 fills it up to 32 bytes, others do not: parts
// are where their offsets say, and need not stand in this order.
inline constexpr size_t kHeaderBytes = 30;
inline constexpr uint32_t kMagic = 0xC6D3D0C5;  // "EPSF", the highest bit of each letter set
inline constexpr size_t kTextAt = 4, kWmfAt = 12, kTiffAt = 20;  // each: offset and length
inline constexpr size_t kChecksumAt = 28;  // of 2 bytes: FFFF is not to be checked

}  // namespace tavo::eps
