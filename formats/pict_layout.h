// What a PICT file shows, decided before a pixel is decoded: one bitmap as it is, bitmaps that
// join to one, or a page on which they are put and the rest is drawn.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "formats/pict_grid.h"
#include "formats/pict_records.h"
#include "process/source_picture.h"

namespace tavo::pict {

enum class Show : uint8_t {
  kNothing,  // there is nothing that can be drawn
  kAlone,    // the only one covers the frame: its source rectangle
  kJoined,   // row by row and from the left they fill the frame: their pixels side by side
  kPage,     // bitmaps on a page of 24 bits
  kDrawing,  // a page of 24 bits with lines, shapes and texts
};

struct Layout {
  Show show = Show::kNothing;
  Grid grid;  // of a page, which begins where the frame or the header's other rectangle does
  process::SourcePicture picture;
  const char* compression = "None";
  Status end = kOk;  // of the records, if not that of the picture
};

// Goes through all records of the picture at `offset` in the file. kNoMemory, and what keeps from
// reading on when nothing has come that can be seen; after that it stands in the layout.
Status survey(io::InputFile& file, uint32_t offset, uint32_t file_bytes, Layout& layout);

}  // namespace tavo::pict
