#include "formats/bmp_fields.h"

#include "base/endian.h"

namespace tavo::bmp {

FieldConverter::Field::Field(Channel from) : channel(from) {
  if (channel.width > 8) {
    // Wider channels keep their top 8 bits.
    channel.shift += channel.width - 8;
    channel.width = 8;
  }
  max = (1u << channel.width) - 1;
  for (uint32_t v = 0; v <= max; ++v) {
    level[v] = max == 0 ? uint8_t{0} : static_cast<uint8_t>((v * 255 + max / 2) / max);
  }
}

uint8_t FieldConverter::Field::read(uint32_t pixel) const {
  return level[(pixel >> channel.shift) & max];
}

FieldConverter::FieldConverter(const Header& header)
    : pixel_bits_(header.pixel_bits),
      blue_(header.blue),
      green_(header.green),
      red_(header.red),
      alpha_(header.alpha) {}

void FieldConverter::convert(const uint8_t* in, uint8_t* out, int32_t width) const {
  if (pixel_bits_ == 16) {
    for (int32_t x = 0; x < width; ++x, in += 2, out += 3) {
      const uint32_t pixel = load_le16(in);
      out[0] = blue_.read(pixel);
      out[1] = green_.read(pixel);
      out[2] = red_.read(pixel);
    }
    return;
  }
  for (int32_t x = 0; x < width; ++x, in += 4, out += 4) {
    const uint32_t pixel = load_le32(in);
    out[0] = blue_.read(pixel);
    out[1] = green_.read(pixel);
    out[2] = red_.read(pixel);
    out[3] = alpha_.read(pixel);
  }
}

}  // namespace tavo::bmp
