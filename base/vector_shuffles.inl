// More verbs, of instruction sets from SSSE3 on. Included as base/vector_verbs.inl is.

TAVO_BINARY(shuffle8, shuffle_epi8)        // byte i is a[b[i]] of the lane; a top bit in b makes 0
TAVO_BINARY(multiply_add8, maddubs_epi16)  // 16-bit sums of neighbours' products, a is unsigned
TAVO_BINARY(multiply_rounded16, mulhrs_epi16)  // (a b + 16384) >> 15
TAVO_BINARY(add_pairs16, hadd_epi16)           // neighbours' sums, those of a first
