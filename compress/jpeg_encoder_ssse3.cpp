// The encoder's per-sample stages for SSSE3, where its byte shuffle helps.
#if defined(__i386__) || defined(__x86_64__)

#include <tmmintrin.h>

#include "compress/jpeg_encoder_shuffle.h"
#include "compress/jpeg_encoder_sse.h"

#define TAVO_TARGET __attribute__((target("ssse3")))
#define TAVO_KERNEL inline __attribute__((always_inline, target("ssse3")))

namespace tavo::jpeg {
namespace {
namespace ssse3 {

using namespace sse;

#include "compress/jpeg_encoder_vector.inc"

// Reads 28 bytes.
TAVO_KERNEL Planes convert_eight(const uint8_t* bgr) {
  const V blue_green = load(kSpreadBlueGreen.data());
  const V first = load(bgr), second = load(bgr + 12);
  const V bg0 = _mm_shuffle_epi8(first, blue_green);
  const V bg1 = _mm_shuffle_epi8(second, blue_green);
  const V red = _mm_or_si128(_mm_shuffle_epi8(first, load(kSpreadRedLow.data())),
                             _mm_shuffle_epi8(second, load(kSpreadRedHigh.data())));
  return convert_lanes(unpack_low64(bg0, bg1), unpack_high64(bg0, bg1), red);
}

TAVO_TARGET void convert(const uint8_t* bgr, size_t pixels, uint8_t* y, uint8_t* cb, uint8_t* cr) {
  for (size_t i = 0; i < pixels; i += 16) {
    store_planes(convert_eight(bgr + 3 * i), convert_eight(bgr + 3 * i + 24), y + i, cb + i,
                 cr + i);
  }
}

template <int kOut, int kSource>
TAVO_KERNEL V take(V part, V source) {
  if constexpr (!kZigzagShuffle.is_used[kOut][kSource]) return part;
  const V mask = load(kZigzagShuffle.place[kOut][kSource].data());
  return _mm_or_si128(part, _mm_shuffle_epi8(source, mask));
}

template <int kOut>
TAVO_KERNEL V stream_part(const V (&columns)[4]) {
  V part = _mm_setzero_si128();
  part = take<kOut, 0>(part, columns[0]);
  part = take<kOut, 1>(part, columns[1]);
  part = take<kOut, 2>(part, columns[2]);
  return take<kOut, 3>(part, columns[3]);
}

TAVO_KERNEL void finish_block(const V (&r)[8], int lane, BlockPair& out) {
  V columns[4];
  for (size_t u = 0; u < 8; ++u) store(out.coefficients[u][lane], r[u]);
  for (size_t u = 0; u < 4; ++u) columns[u] = _mm_packs_epi16(r[2 * u], r[2 * u + 1]);
  const V z0 = stream_part<0>(columns), z1 = stream_part<1>(columns);
  const V z2 = stream_part<2>(columns), z3 = stream_part<3>(columns);
  store(out.zigzag[lane], z0);
  store(out.zigzag[lane] + 16, z1);
  store(out.zigzag[lane] + 32, z2);
  store(out.zigzag[lane] + 48, z3);
  out.nonzero[lane] = nonzero_mask(z0, z1, z2, z3);
}

TAVO_TARGET void transform(const uint8_t* samples, size_t stride, size_t pairs,
                           const Divisors& divisors, BlockPair* out) {
  for (size_t i = 0; i < 2 * pairs; ++i) {
    V r[8];
    for (size_t row = 0; row < 8; ++row) r[row] = load_samples(samples + 8 * i + row * stride);
    transform_block(r);
    quantise(r, divisors);
    finish_block(r, static_cast<int>(i & 1), out[i / 2]);
  }
}

}  // namespace ssse3
}  // namespace

const Kernels kSsse3Kernels = {ssse3::convert, sse::halve, sse::quarter, ssse3::transform};

}  // namespace tavo::jpeg

#endif
