// What the records of a WordPerfect Graphics file, version 1, draw.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "draw/painter.h"
#include "formats/wpg_records.h"
#include "io/input_file.h"

namespace tavo::wpg {

// Draws all records on the page. `scale`: so many of its pixels are one at 96 per inch. kReadError
// for a file that ends early, after what there is has been drawn.
Status draw_records(io::InputFile& file, uint32_t file_bytes, const Contents& contents,
                    draw::Painter& painter, int32_t scale);

}  // namespace tavo::wpg
