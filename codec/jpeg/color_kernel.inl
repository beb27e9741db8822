// Colour conversion, compiled for each instruction set. The including file defines what differs.

// 91881 - 65536 times a chroma difference >> 16, rounded, and 116130 - 131072 times.
inline V red_part(V cr);
inline V blue_part(V cb);
// Bytes in turn; may write 4 too many.
inline void write_pixels(V a, V b, V c, uint8_t* out);

// A component each.
struct Pixels {
  V red;
  V green;
  V blue;
};

// Half of the pixels, in words. R is Y + Cr + 26345 Cr / 65536, B is Y + 2 Cb - 14942 Cb / 65536:
// so the constants fit 16 bits, and each output is rounded once as color.h has it.
inline Pixels convert_words(V y, V cb, V cr) {
  // -46802 does not fit 16 bits: one more Cr goes into the product and off the sum.
  const V factors = splat_pairs16(-22554, 65536 - 46802);
  const V round = splat32(32768);
  const V low =
      shift_right32_signed<16>(add32(multiply_add16(unpack_low16(cb, cr), factors), round));
  const V high =
      shift_right32_signed<16>(add32(multiply_add16(unpack_high16(cb, cr), factors), round));
  return {add16(add16(y, cr), red_part(cr)), add16(y, sub16(pack32(low, high), cr)),
          add16(add16(y, add16(cb, cb)), blue_part(cb))};
}

inline Pixels convert(const uint8_t* y, const uint8_t* cb, const uint8_t* cr) {
  const V luma = load(y);
  const V blue = load(cb);
  const V red = load(cr);
  const V middle = splat16(128);
  const Pixels low = convert_words(unpack_low8(luma, V{}), sub16(unpack_low8(blue, V{}), middle),
                                   sub16(unpack_low8(red, V{}), middle));
  const Pixels high = convert_words(unpack_high8(luma, V{}), sub16(unpack_high8(blue, V{}), middle),
                                    sub16(unpack_high8(red, V{}), middle));
  return {pack16_unsigned(low.red, high.red), pack16_unsigned(low.green, high.green),
          pack16_unsigned(low.blue, high.blue)};
}

enum class Kind { kRgb, kBgr, kInterleave };

template <Kind kKind>
inline void write_group(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out) {
  if constexpr (kKind == Kind::kInterleave) {
    write_pixels(load(a), load(b), load(c), out);
  } else {
    const Pixels p = convert(a, b, c);
    if constexpr (kKind == Kind::kRgb) {
      write_pixels(p.red, p.green, p.blue, out);
    } else {
      write_pixels(p.blue, p.green, p.red, out);
    }
  }
}

// In bounds because whole groups are stored while two pixels more follow, and the rest goes by a
// buffer. Of the input up to kBytes are read behind the row, where slack is.
template <Kind kKind>
void convert_row(const uint8_t* a, const uint8_t* b, const uint8_t* c, size_t width, uint8_t* out) {
  size_t x = 0;
  for (; x + kBytes + 2 <= width; x += kBytes) {  // two more pixels hold what spills
    write_group<kKind>(a + x, b + x, c + x, out + 3 * x);
  }
  for (; x < width; x += kBytes) {
    uint8_t rest[3 * kBytes + 4];
    write_group<kKind>(a + x, b + x, c + x, rest);
    std::memcpy(out + 3 * x, rest, 3 * std::min(kBytes, width - x));
  }
}
