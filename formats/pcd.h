// Kodak Photo CD: image packs, from Base/16 to 16Base, and overview packs. Not written.
//
// The layout is that of the discs themselves, as open decoders have described it since 1994;
// colours: Eastman Kodak, "Fully Utilizing Photo CD Images", PhotoYCC.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::pcd {

inline constexpr int32_t kLevels = 5;
inline constexpr int32_t kSmallestSide = 128;  // of Base/16

// Tells what a load would deliver with the level, page and module that settings have.
Status probe(const io::ProbeInput& input, FILEINFO& info);
// The level that settings.photocd_level names, or the largest below it that the file has.
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);

// The level that has so many eighths of the size.
// `eighths`: 1, 2, 4 or 8. Each level has half the sides of the next one: nothing is scaled.
Status read_draft(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                  void* context, uint32_t eighths);

}  // namespace tavo::pcd
