#include "process/source_picture.h"

#include <cstring>

namespace tavo::process {

void describe(const SourcePicture& picture, int32_t format, const char* compression,
              FILEINFO& info) {
  info.Format = format;
  info.Width = picture.width;
  info.Height = picture.height;
  info.BitsPerPixel = picture.bits;
  info.Order = static_cast<int32_t>(picture.order);
  info.ViewPerspective = picture.view_perspective;
  info.Orientation = picture.orientation;
  info.Colors = picture.colors;
  info.XResolution = picture.has_resolution ? picture.x_resolution : 0;
  info.YResolution = picture.has_resolution ? picture.y_resolution : 0;
  info.Flags = picture.flags;
  std::strncpy(info.Compression, compression, sizeof(info.Compression) - 1);
}

}  // namespace tavo::process
