// The images of a GIF file as frames: what a page shows is composed of them.
#pragma once

#include <cstdint>

#include "base/byte_source.h"
#include "base/function_ref.h"
#include "base/status.h"
#include "formats/gif_blocks.h"
#include "io/input_file.h"
#include "process/row_delivery.h"
#include "process/source_picture.h"

namespace tavo::gif {

// The canvas as it is after image `number`.
struct Frame {
  process::SourcePicture picture;  // 1, 4 or 8 bits where one table serves, otherwise 24
  int32_t number = 1;
  int32_t first = 1;          // the first image that shows
  T_PaletteEntry blank = {};  // of the canvas where no image is
  uint8_t blank_index = 0;    // the same in the palette
};

// Walks to frame `wanted`, or the last one; its data come next. `bytes` stand at the start of the
// file. Statuses of parse_header; kBadData for a canvas that no file of this size fills.
Status find_frame(ByteSource& bytes, uint64_t file_bytes, int32_t wanted, Frame& frame);

// Composes the frame and hands over its rows. `bytes` stand at the start of the file again. Damage
// in any image that shows is told when all is delivered.
Status deliver_frame(ByteSource& bytes, const Frame& frame, process::RowDelivery& rows);

}  // namespace tavo::gif
