// What comments of an Encapsulated PostScript file tell: its bounding box, and the preview that
// stands among them (EPSI). The program itself is not looked at.
// Facts: Adobe Technical Notes 5001 (structuring conventions) and 5002 (EPSF).
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/input_file.h"
#include "process/row_delivery.h"
#include "process/source_picture.h"

namespace tavo::eps {

// A part of a file, counted from its first byte.
struct Part {
  uint64_t offset = 0;
  uint64_t bytes = 0;  // 0: there is none
};

inline constexpr int64_t kPoint = 10000;  // units of a box

// Technical Note 5001, %%BoundingBox: two corners, lower left and upper right, whose origin may be
// anywhere; rows of the picture go down from `top`.
struct Box {
  int64_t left = 0;
  int64_t bottom = 0;
  int64_t right = 0;
  int64_t top = 0;

  int64_t width() const { return right - left; }
  int64_t height() const { return top - bottom; }
  bool is_sound() const { return width() > 0 && height() > 0; }
};

struct Comments {
  Box box;
  int32_t width = 0;  // of the preview; 0: there is none that can be read
  int32_t height = 0;
  int32_t bits = 0;  // 1, 2, 4 or 8
  Part preview;      // its lines, and what follows
};

// How much of the PostScript is looked at.
enum class Look : uint8_t {
  kHeader,   // its first comments, if they tell the box; where another preview is at hand
  kPreview,  // 64 KiB
};

// Looks at the beginning of the PostScript `text`, and for a box that is promised there at its end.
// kNoMemory, and failures of the file.
Status read_comments(io::InputFile& file, const Part& text, Look look, Comments& comments);

// The preview as its rows are delivered, but for what the file around it says.
void describe_preview(const Comments& comments, process::SourcePicture& picture);

// Delivers its rows. kReadError where it ends early.
Status read_preview(io::InputFile& file, const Comments& comments, process::RowDelivery& rows);

}  // namespace tavo::eps
