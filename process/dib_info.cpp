#include "process/dib_info.h"

#include "base/endian.h"
#include "process/dib_header.h"

namespace tavo::dib {

namespace {

// biXPelsPerMeter from dots per inch, rounded to nearest; 0 says nothing.
uint32_t per_meter(int32_t per_inch) {
  if (per_inch <= 0) return 0;
  return static_cast<uint32_t>((int64_t{per_inch} * 10000 + 127) / 254);
}

}  // namespace

uint32_t colors_used(const BitmapHandle& picture, int32_t depth) {
  return picture.Colors < table_entries(depth) ? picture.Colors : 0;
}

uint32_t entries_used(const BitmapHandle& picture, int32_t depth) {
  const uint32_t used = colors_used(picture, depth);
  return used != 0 ? used : table_entries(depth);
}

void store_info_header(const BitmapHandle& picture, int32_t depth, uint32_t image_bytes,
                       uint32_t used, uint8_t* to) {
  store_le32(to, kInfoHeaderSize);                            // biSize
  store_le32(to + 4, static_cast<uint32_t>(picture.Width));   // biWidth
  store_le32(to + 8, static_cast<uint32_t>(picture.Height));  // biHeight
  store_le16(to + 12, 1);                                     // biPlanes
  store_le16(to + 14, static_cast<uint16_t>(depth));          // biBitCount
  store_le32(to + 16, 0);                                     // biCompression: BI_RGB
  store_le32(to + 20, image_bytes);                           // biSizeImage
  store_le32(to + 24, per_meter(picture.XResolution));        // biXPelsPerMeter
  store_le32(to + 28, per_meter(picture.YResolution));        // biYPelsPerMeter
  store_le32(to + 32, used);                                  // biClrUsed
  store_le32(to + 36, 0);                                     // biClrImportant: all
}

int32_t dots_per_inch(int32_t per_meter) {
  return per_meter <= 0 ? 0 : static_cast<int32_t>((int64_t{per_meter} * 254 + 5000) / 10000);
}

}  // namespace tavo::dib
