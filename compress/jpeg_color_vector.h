// Colour conversion in vectors, compiled once for each instruction set.
//
// The including file defines TAVO_TARGET, a vector type V, kPixels (its bytes), and inline
// functions of that set: load, low_bytes, high_bytes (interleaved within lanes of 128 bits),
// low_words, high_words, add, sub, madd, add_dwords, shift_dwords, pack_words, pack_bytes, zero,
// constants, red_part (91881 - 65536 times its operand >> 16, rounded), blue_part (116130 - 131072
// times), and write_pixels, which interleaves three vectors and may write 4 bytes too many.

namespace tavo::jpeg {
namespace {

// Vectors of kPixels bytes.
struct Pixels {
  V red;
  V green;
  V blue;
};

// Half of the pixels, in words.
TAVO_TARGET inline Pixels convert_words(V y, V cb, V cr) {
  // -46802 does not fit 16 bits: one more Cr goes into the product and off the sum.
  const V factors = word_pairs(-22554, 65536 - 46802);
  const V round = all_dwords(32768);
  const V low = shift_dwords(add_dwords(madd(low_words(cb, cr), factors), round));
  const V high = shift_dwords(add_dwords(madd(high_words(cb, cr), factors), round));
  return {add(add(y, cr), red_part(cr)), add(y, sub(pack_words(low, high), cr)),
          add(add(y, add(cb, cb)), blue_part(cb))};
}

TAVO_TARGET inline Pixels convert(const uint8_t* y, const uint8_t* cb, const uint8_t* cr) {
  const V luma = load(y);
  const V blue = load(cb);
  const V red = load(cr);
  const V middle = all_words(128);
  const Pixels low = convert_words(low_bytes(luma, zero()), sub(low_bytes(blue, zero()), middle),
                                   sub(low_bytes(red, zero()), middle));
  const Pixels high = convert_words(high_bytes(luma, zero()), sub(high_bytes(blue, zero()), middle),
                                    sub(high_bytes(red, zero()), middle));
  return {pack_bytes(low.red, high.red), pack_bytes(low.green, high.green),
          pack_bytes(low.blue, high.blue)};
}

enum class Kind { kRgb, kBgr, kInterleave };

template <Kind kKind>
TAVO_TARGET inline void write_group(const uint8_t* a, const uint8_t* b, const uint8_t* c,
                                    uint8_t* out) {
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

template <Kind kKind>
TAVO_TARGET void convert_row(const uint8_t* a, const uint8_t* b, const uint8_t* c, size_t width,
                             uint8_t* out) {
  size_t x = 0;
  for (; x + kPixels + 2 <= width; x += kPixels) {  // two more pixels hold what spills
    write_group<kKind>(a + x, b + x, c + x, out + 3 * x);
  }
  for (; x < width; x += kPixels) {
    uint8_t rest[3 * kPixels + 4];
    write_group<kKind>(a + x, b + x, c + x, rest);
    std::memcpy(out + 3 * x, rest, 3 * std::min(kPixels, width - x));
  }
}

}  // namespace
}  // namespace tavo::jpeg
