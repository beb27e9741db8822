// The picture that a source announces before it sends it.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "process/twain/records.h"
#include "tavo45.h"

namespace tavo::twain {

// What describe() accepted: there is a width.
struct Picture {
  int32_t width = 0;
  int32_t height = 0;  // 0: not known
  uint16_t type = kBlackAndWhite;
  int32_t pixel_bits = 0;  // as they come
  bool is_planar = false;
  bool is_compressed = false;
  int32_t x_resolution = 0;  // dots per inch, 0: not known
  int32_t y_resolution = 0;
};

// kBadData when there can be no such picture. `units`: those of the resolution.
Status describe(const ImageInfo& info, uint32_t units, Picture& picture);

// Gives a record the resolution of the picture, where that is known.
void set_resolution(const Picture& picture, BitmapHandle& record);

// The record of a picture whose pixels go elsewhere: geometry and resolution, no storage.
Status describe_record(const Picture& picture, BitmapHandle& record);

}  // namespace tavo::twain
