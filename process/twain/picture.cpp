#include "process/twain/picture.h"

#include "base/depths.h"
#include "core/bitmap.h"
#include "process/source_picture.h"
#include "process/twain/values.h"

namespace tavo::twain {

Status describe(const ImageInfo& info, uint32_t units, Picture& picture) {
  constexpr int32_t kNotKnown = -1;
  if (info.width < 1) return kBadData;
  if (info.length < 1 && info.length != kNotKnown) return kBadData;
  picture.width = info.width;
  picture.height = info.length == kNotKnown ? 0 : info.length;
  picture.type = static_cast<uint16_t>(info.pixel_type);
  picture.pixel_bits = info.bits_per_pixel;
  picture.is_planar = info.is_planar != 0;
  picture.is_compressed = info.compression != 0;
  process::SourcePicture likely;
  process::set_resolution(dots_per_inch(info.x_resolution, units),
                          dots_per_inch(info.y_resolution, units), likely);
  picture.x_resolution = likely.x_resolution;
  picture.y_resolution = likely.y_resolution;
  return kOk;
}

void set_resolution(const Picture& picture, BitmapHandle& record) {
  if (picture.x_resolution == 0) return;
  record.XResolution = picture.x_resolution;
  record.YResolution = picture.y_resolution;
}

Status describe_record(const Picture& picture, BitmapHandle& record) {
  const int32_t bits = is_bitmap_depth(picture.pixel_bits) ? picture.pixel_bits : 24;
  TRY(core::init_bitmap(record, picture.width, picture.height, bits));
  set_resolution(picture, record);
  return kOk;
}

}  // namespace tavo::twain
