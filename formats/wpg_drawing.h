// What the records of a WordPerfect Graphics file draw.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "draw/painter.h"
#include "formats/wpg_records.h"
#include "formats/wpg_walk.h"
#include "io/input_file.h"

namespace tavo::wpg {

// Draws all records on the page. `scale`: so many of its pixels are one at 96 per inch. kReadError
// for a file that ends early, after what there is has been drawn.
// Called for each band of the page again; `contents` is what scan() has found in the same file.
Status draw_records(io::InputFile& file, uint32_t file_bytes, const Contents& contents,
                    draw::Painter& painter, int32_t scale);

// The same for the records of version 2 that `walk` is in front of.
Status draw_records2(Walk& walk, const Contents& contents, draw::Painter& painter, int32_t scale);

}  // namespace tavo::wpg
