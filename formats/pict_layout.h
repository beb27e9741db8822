// What a PICT file shows, decided before a pixel is decoded: one bitmap as it is, bitmaps that
// join to one, or a page on which they are put.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "formats/pict_records.h"
#include "process/source_picture.h"

namespace tavo::pict {

enum class Show : uint8_t {
  kNothing,  // there is no bitmap that can be drawn
  kAlone,    // the only one covers the frame: its source rectangle
  kJoined,   // row by row and from the left they fill the frame: their pixels side by side
  kPage,     // 24 bits
};

// Pixels of a page for units of the picture's coordinates.
struct Scale {
  int64_t pixels = 1;
  int64_t units = 1;

  bool operator<(const Scale& other) const { return pixels * other.units < other.pixels * units; }
  bool equals(const Scale& other) const { return pixels * other.units == other.pixels * units; }
  // The pixel at which unit `at` of an axis begins that starts at `from`.
  int64_t pixel(int64_t at, int64_t from) const {
    const int64_t halves = (at - from) * pixels * 2 + units;
    const int64_t floor = halves >= 0 ? 0 : units * 2 - 1;
    return (halves - floor) / (units * 2);
  }
};

struct Layout {
  Show show = Show::kNothing;
  Rect space;   // the frame in the coordinates of the records
  Scale scale;  // of a page
  process::SourcePicture picture;
  const char* compression = "None";
  Status end = kOk;  // of the records, if not that of the picture
};

// Goes through all records of the picture at `offset` in the file. kNoMemory, and what keeps from
// reading on when nothing has come that can be seen; after that it stands in the layout.
Status survey(io::InputFile& file, uint32_t offset, uint32_t file_bytes, Layout& layout);

}  // namespace tavo::pict
