// Entropy decoding of single 8x8 blocks: sequential and the four kinds of progressive scans.
// Facts: ISO/IEC 10918-1, F.2.2 and G.1.2.
//
// Coefficients are stored not yet dequantised, in zigzag order, so that progressive scans find the
// non-zero ones of their band at once; only decode_sequential has natural order. Each function
// returns kBadBlock for a code that the table does not have or a run that leaves the block; what it
// stored until then stays. The reader must have ensured kMaxCodedBlock bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/jpeg/bits.h"
#include "codec/jpeg/huffman.h"

namespace tavo::jpeg {

// 64 symbols of at most 16 code and 15 magnitude bits; a refinement adds at most 63 bits.
inline constexpr size_t kMaxCodedBlock = 264;

inline constexpr int kBadBlock = -1;

// Sequential: `block` must be zero. Returns the zigzag index of the last coefficient, or a higher
// one. `dc` is the component's DC value and moves on.
int decode_sequential(BitPosition& at, const HuffmanTable& dc_table, const HuffmanTable& ac_table,
                      int& dc, int16_t* block);

int decode_sequential_zigzag(BitPosition& at, const HuffmanTable& dc_table,
                             const HuffmanTable& ac_table, int& dc, int16_t* block);

// Bit k says whether coefficient k of a block is not zero.
uint64_t find_nonzero(const int16_t* block);

// The part of the coefficients that a progressive scan carries (G.1.1.1): by spectral selection a
// band of them in zigzag order, by successive approximation their upper bits first, then one bit a
// scan.
struct Band {
  int first = 0;  // Ss
  int last = 0;   // Se
  int low = 0;    // Al: values are multiples of 1 << low
  bool is_refining = false;
};

// DC values: all bits down to Al, then a bit at a time (G.1.2.1).
int decode_dc_first(BitPosition& at, const HuffmanTable& dc_table, int low, int& dc,
                    int16_t* block);
void refine_dc(BitPosition& at, int low, int16_t* block);

// Bands of AC coefficients (G.1.2.2, G.1.2.3).
// `end_of_band_run` counts the blocks, after the one being decoded, that carry nothing new. The
// caller skips such blocks in a first scan; a refining scan visits them, with a run above 0.
int decode_ac_first(BitPosition& at, const HuffmanTable& ac_table, const Band& band,
                    uint32_t& end_of_band_run, int16_t* block);
int refine_ac(BitPosition& at, const HuffmanTable& ac_table, const Band& band,
              uint32_t& end_of_band_run, int16_t* block);

}  // namespace tavo::jpeg
