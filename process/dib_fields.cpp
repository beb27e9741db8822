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

FieldConverter::FieldConverter(const Header& header, int32_t bits_out)
    : bits_in_(header.bits),
      bits_out_(bits_out),
      blue_(header.blue),
      green_(header.green),
      red_(header.red),
      alpha_(header.alpha) {}

// Pixels are little-endian words, whatever the masks.
template <class Pixel, size_t kBytesOut>
void FieldConverter::convert_pixels(const uint8_t* in, uint8_t* out, int32_t width) const {
  for (int32_t x = 0; x < width; ++x, in += sizeof(Pixel), out += kBytesOut) {
    const uint32_t pixel = load_native<Pixel>(in);
    out[0] = blue_.read(pixel);
    out[1] = green_.read(pixel);
    out[2] = red_.read(pixel);
    if constexpr (kBytesOut == 4) out[3] = alpha_.read(pixel);
  }
}

void FieldConverter::convert(const uint8_t* in, uint8_t* out, int32_t width) const {
  if (bits_in_ == 16) return convert_pixels<uint16_t, 3>(in, out, width);
  if (bits_out_ == 24) return convert_pixels<uint32_t, 3>(in, out, width);
  convert_pixels<uint32_t, 4>(in, out, width);
}

}  // namespace tavo::dib
