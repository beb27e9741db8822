// Arithmetic decoding of 8x8 blocks: the adaptive binary decoder, and the decisions that make up
// coefficients in sequential and progressive scans.
// Facts: ISO/IEC 10918-1, annex D, F.1.4, F.2.4 and G.1.3.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "codec/jpeg/bits.h"
#include "codec/jpeg/blocks.h"
#include "codec/jpeg/markers.h"

namespace tavo::jpeg {

// What has been learned about one decision: an index into table D.3 and the symbol that is more
// probable at present.
struct Estimate {
  uint8_t index = 0;
  uint8_t likely = 0;
};

// Blocks are in zigzag order, as in blocks.h. Each function returns false for a magnitude or a run
// that no block has; what it stored until then stays.
class ArithmeticDecoder {
 public:
  // Begins a segment (D.2.7, Initdec): nothing has been learned.
  void begin(EntropyReader& bytes);

  // `dc` is the DC value of the component, an index in the frame, and moves on.
  bool decode_sequential(const Conditioning& conditioning, const ScanComponent& tables,
                         size_t component, int& dc, int16_t* block);
  bool decode_dc_first(const Conditioning& conditioning, const ScanComponent& tables,
                       size_t component, int low, int& dc, int16_t* block);
  void refine_dc(int low, int16_t* block);
  bool decode_ac_first(const Conditioning& conditioning, const ScanComponent& tables,
                       const Band& band, int16_t* block);
  bool refine_ac(const ScanComponent& tables, const Band& band, int16_t* block);

 private:
  // The bins of a DC table: five contexts of S0, SS, SP and SN, then the magnitude categories and
  // their bits (table F.4). Those of an AC table: SE, S0 and SP for each coefficient, then both
  // sets of magnitude categories with their bits (table F.5).
  static constexpr size_t kDcBins = 49;
  static constexpr size_t kAcBins = 245;

  bool decide(Estimate& estimate);
  bool decide_evenly();
  void renormalise();
  int decode_bits(Estimate* bin, int magnitude);
  bool decode_difference(const Conditioning& conditioning, size_t table, size_t component,
                         int& difference);
  bool decode_value(const Conditioning& conditioning, size_t table, int k, int& value);

  EntropyReader* bytes_ = nullptr;
  uint32_t code_ = 0;      // C: the code register, compared in its upper half
  uint32_t interval_ = 0;  // A
  int shifts_left_ = 0;    // CT: before the next byte is needed
  std::array<size_t, kMaxComponents> context_ = {};  // by the last difference of the component
  std::array<std::array<Estimate, kDcBins>, kMaxTables> dc_ = {};
  std::array<std::array<Estimate, kAcBins>, kMaxTables> ac_ = {};
};

}  // namespace tavo::jpeg
