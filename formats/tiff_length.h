// The height of pages that do not tell it, as some fax programs write them.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "formats/tiff_image.h"

namespace tavo::tiff {

// Counts the rows of `image`, whose own height means nothing, from what its last strip holds.
// kBadData when that cannot be told: tiles, JPEG, pixels without a byte count.
Status count_rows(const Directory& directory, const Image& image, uint32_t& rows);

}  // namespace tavo::tiff
