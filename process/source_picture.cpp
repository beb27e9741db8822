#include "process/source_picture.h"

#include <cstring>

namespace tavo::process {

void set_resolution(int64_t x, int64_t y, SourcePicture& picture) {
  const auto likely = [](int64_t dots) { return dots >= 1 && dots <= 9600 ? dots : 0; };
  x = likely(x);
  y = likely(y);
  picture.x_resolution = static_cast<int32_t>(x != 0 ? x : y);
  picture.y_resolution = static_cast<int32_t>(y != 0 ? y : x);
  picture.has_resolution = picture.x_resolution != 0;
}

void describe(const SourcePicture& picture, int32_t format, const char* compression,
              FILEINFO& info) {
  info.Format = format;
  info.Width = picture.width;
  info.Height = picture.height;
  info.BitsPerPixel = picture.bits;
  info.Order = static_cast<int32_t>(picture.order);
  info.ViewPerspective = picture.view_perspective;
  info.Orientation = picture.orientation;
  info.Extras = picture.extras;
  info.Colors = picture.colors;
  info.XResolution = picture.has_resolution ? picture.x_resolution : 0;
  info.YResolution = picture.has_resolution ? picture.y_resolution : 0;
  info.Flags = picture.flags;
  std::strncpy(info.Compression, compression, sizeof(info.Compression) - 1);
}

SourcePicture picture_of(const BitmapHandle& source) {
  SourcePicture picture;
  picture.width = source.Width;
  picture.height = source.Height;
  picture.bits = source.BitsPerPixel;
  picture.order = source.Order;
  picture.view_perspective = source.ViewPerspective;
  picture.flags = source.Flags;
  picture.colors = source.Colors;
  picture.x_resolution = source.XResolution;
  picture.y_resolution = source.YResolution;
  picture.has_resolution = true;
  picture.x_origin = source.XOrigin;
  picture.y_origin = source.YOrigin;
  picture.has_origin = true;
  std::memcpy(picture.palette, source.Info.Palette, sizeof(picture.palette));
  return picture;
}

}  // namespace tavo::process
