// Pages that are drawn: how large, in which bands, and how their rows are delivered.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/function_ref.h"
#include "base/status.h"
#include "draw/painter.h"
#include "process/row_delivery.h"
#include "process/source_picture.h"

namespace tavo::formats {

struct PageSize {
  int32_t width;
  int32_t height;
};

// Sides of a pixel or more, brought down evenly to what a page may have.
PageSize page_size(int64_t width, int64_t height);

// Whether a file of that many bytes may have such a page: pages that a few bytes draw are small;
// posters of 16 million pixels may take none. kBadData, or what the limits say.
Status check_page(int32_t width, int32_t height, uint64_t file_bytes);

// How many times as large as at the screen's resolution pages are, as T_SetDrawScale has it; less
// where a side would be too long.
int32_t draw_scale(int32_t width, int32_t height);

// Draws on the page at hand, which is `factor` times as large as what is delivered: all records
// from the first on, for each band of the page again. kReadError when the data end early, which
// ends the delivery after the rows.
using DrawPage = FunctionRef<Status(draw::Painter& painter, int32_t factor)>;

// Delivers a picture of 24 bits that `draw` draws; as T_SetDrawSmooth has it, from one that is four
// times as large. `rows` has not been started.
Status deliver_page(const process::SourcePicture& picture, process::RowDelivery& rows,
                    DrawPage draw);

}  // namespace tavo::formats
