#include "process/dib_fields.h"

#include "base/endian.h"

namespace tavo::dib {

// Up to 8 bits there is a table; fields of more, as of 10-10-10-2 pixels, are computed.
FieldConverter::Field::Field(Channel channel)
    : shift(channel.shift),
      bits(channel.width),
      max(static_cast<uint32_t>((uint64_t{1} << channel.width) - 1)) {
  if (bits == 0 || bits > 8) return;
  for (uint32_t v = 0; v <= max; ++v) levels[v] = static_cast<uint8_t>((v * 255 + max / 2) / max);
}

// Both ways value * 255 / max, rounded. The second divides by 2^n - 1 as one divides by 2^n, with
// the n-th part once more added before; exact because the quotient, 255 at most, is below 2^n.
uint8_t FieldConverter::Field::read(uint32_t pixel) const {
  const uint32_t value = (pixel >> shift) & max;
  if (bits <= 8) return levels[value];
  const uint64_t sum = uint64_t{value} * 255 + max / 2 + 1;
  return static_cast<uint8_t>((sum + (sum >> bits)) >> bits);
}

FieldConverter::FieldConverter(const Header& header)
    : pixel_bits_(header.bits),
      blue_(header.blue),
      green_(header.green),
      red_(header.red),
      alpha_(header.alpha) {}

// Pixels are little-endian words, whatever the masks.
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

}  // namespace tavo::dib
