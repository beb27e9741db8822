// What can be done with vectors, under the same names at every width. Included by the header of a
// width, in its namespace, after V, the vector type, and TAVO_MM(operation), the intrinsic of that
// name for V.
//
// A verb ends with the width of its elements in bits. Elements are signed unless the name says
// otherwise. &, |, ^ and ~ are the compiler's own, V{} is zero. Vectors of more than 16 bytes
// consist of lanes of 16 bytes; packing, unpacking and shuffling stay inside them.

inline constexpr size_t kBytes = sizeof(V);
inline constexpr size_t kLanes = sizeof(V) / 16;

TAVO_INLINE V splat8(int v) { return TAVO_MM(set1_epi8)(static_cast<char>(v)); }
TAVO_INLINE V splat16(int v) { return TAVO_MM(set1_epi16)(static_cast<int16_t>(v)); }
TAVO_INLINE V splat32(uint32_t v) { return TAVO_MM(set1_epi32)(static_cast<int>(v)); }
TAVO_INLINE V splat_pairs16(int even, int odd) {
  return splat32(static_cast<uint32_t>(odd) << 16 | (static_cast<uint32_t>(even) & 0xFFFF));
}

TAVO_BINARY(add8, add_epi8)
TAVO_BINARY(add16, add_epi16)
TAVO_BINARY(add32, add_epi32)
TAVO_BINARY(sub16, sub_epi16)
TAVO_BINARY(sub32, sub_epi32)
TAVO_BINARY(add16_clamped, adds_epi16)
TAVO_BINARY(add8_clamped, adds_epu8)  // unsigned
TAVO_BINARY(sub8_clamped, subs_epu8)
TAVO_BINARY(sub8, sub_epi8)
TAVO_BINARY(average8_up, avg_epu8)  // unsigned, halves up
TAVO_BINARY(min8_unsigned, min_epu8)
TAVO_BINARY(max8_unsigned, max_epu8)
TAVO_BINARY(max16, max_epi16)
TAVO_BINARY(min16, min_epi16)
TAVO_BINARY(multiply16, mullo_epi16)
TAVO_BINARY(multiply_high16, mulhi_epi16)  // the upper halves of the products
TAVO_BINARY(multiply_high16_unsigned, mulhi_epu16)
TAVO_BINARY(multiply_add16, madd_epi16)  // 32-bit sums of neighbours' products
TAVO_BINARY(multiply_even32_unsigned, mul_epu32)  // 64-bit products of elements 0, 2, ...
TAVO_BINARY(equal8, cmpeq_epi8)          // all bits are set where it is so
TAVO_BINARY(equal16, cmpeq_epi16)
TAVO_BINARY(equal32, cmpeq_epi32)
TAVO_BINARY(greater8, cmpgt_epi8)
TAVO_BINARY(greater16, cmpgt_epi16)
TAVO_BINARY(greater32, cmpgt_epi32)
TAVO_BINARY(pack16, packs_epi16)  // to 8 bits, clamped
TAVO_BINARY(pack16_unsigned, packus_epi16)
TAVO_BINARY(pack32, packs_epi32)
TAVO_BINARY(unpack_low8, unpacklo_epi8)
TAVO_BINARY(unpack_low16, unpacklo_epi16)
TAVO_BINARY(unpack_low32, unpacklo_epi32)
TAVO_BINARY(unpack_low64, unpacklo_epi64)
TAVO_BINARY(unpack_high8, unpackhi_epi8)
TAVO_BINARY(unpack_high16, unpackhi_epi16)
TAVO_BINARY(unpack_high32, unpackhi_epi32)
TAVO_BINARY(unpack_high64, unpackhi_epi64)

// Right shifts bring zeros in, unless they are called signed.
TAVO_SHIFT(shift_left16, slli_epi16)
TAVO_SHIFT(shift_left32, slli_epi32)
TAVO_SHIFT(shift_right16, srli_epi16)
TAVO_SHIFT(shift_right16_signed, srai_epi16)
TAVO_SHIFT(shift_right32, srli_epi32)
TAVO_SHIFT(shift_right32_signed, srai_epi32)
TAVO_SHIFT(shift_left64, slli_epi64)
TAVO_SHIFT(shift_right64, srli_epi64)

TAVO_INLINE V shift_right16_signed(V v, int count) {
  return TAVO_MM(sra_epi16)(v, _mm_cvtsi32_si128(count));
}

TAVO_INLINE V shift_left16(V v, int count) {
  return TAVO_MM(sll_epi16)(v, _mm_cvtsi32_si128(count));
}
TAVO_INLINE V shift_right32(V v, int count) {
  return TAVO_MM(srl_epi32)(v, _mm_cvtsi32_si128(count));
}
TAVO_INLINE V shift_right16(V v, int count) {
  return TAVO_MM(srl_epi16)(v, _mm_cvtsi32_si128(count));
}
TAVO_INLINE V shift_right32_signed(V v, int count) {
  return TAVO_MM(sra_epi32)(v, _mm_cvtsi32_si128(count));
}
TAVO_INLINE V shift_right64(V v, int count) {
  return TAVO_MM(srl_epi64)(v, _mm_cvtsi32_si128(count));
}

// 64-bit sums of eight unsigned bytes each.
TAVO_INLINE V sum8_unsigned(V v) { return TAVO_MM(sad_epu8)(v, V{}); }

// Bit k is the top bit of element k.
TAVO_INLINE uint32_t top_bits8(V v) { return static_cast<uint32_t>(TAVO_MM(movemask_epi8)(v)); }

// Elements 0, 2, ... of a, then those of b.
TAVO_INLINE V even32(V a, V b) {
  return unpack_low64(TAVO_MM(shuffle_epi32)(a, 0x88), TAVO_MM(shuffle_epi32)(b, 0x88));
}

// 8 x 8 16-bit elements in each lane.
TAVO_INLINE void transpose16(V (&r)[8]) {
  const V a0 = unpack_low16(r[0], r[1]), a1 = unpack_high16(r[0], r[1]);
  const V a2 = unpack_low16(r[2], r[3]), a3 = unpack_high16(r[2], r[3]);
  const V a4 = unpack_low16(r[4], r[5]), a5 = unpack_high16(r[4], r[5]);
  const V a6 = unpack_low16(r[6], r[7]), a7 = unpack_high16(r[6], r[7]);
  const V b0 = unpack_low32(a0, a2), b1 = unpack_high32(a0, a2);
  const V b2 = unpack_low32(a1, a3), b3 = unpack_high32(a1, a3);
  const V b4 = unpack_low32(a4, a6), b5 = unpack_high32(a4, a6);
  const V b6 = unpack_low32(a5, a7), b7 = unpack_high32(a5, a7);
  r[0] = unpack_low64(b0, b4), r[1] = unpack_high64(b0, b4);
  r[2] = unpack_low64(b1, b5), r[3] = unpack_high64(b1, b5);
  r[4] = unpack_low64(b2, b6), r[5] = unpack_high64(b2, b6);
  r[6] = unpack_low64(b3, b7), r[7] = unpack_high64(b3, b7);
}
