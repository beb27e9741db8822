#include "codec/jpeg/arithmetic.h"

#include <algorithm>
#include <bit>

namespace tavo::jpeg {
namespace {

// Table D.3: the probability estimation state machine.
struct State {
  uint16_t size;  // Qe: of the less probable symbol's part of the interval
  uint8_t after_likely;
  uint8_t after_unlikely;
  bool switches;  // an unlikely symbol becomes the likely one
};
// clang-format off
constexpr State kStates[] = {
    {0x5A1D, 1, 1, true}, {0x2586, 2, 14, false}, {0x1114, 3, 16, false}, {0x080B, 4, 18, false},
    {0x03D8, 5, 20, false}, {0x01DA, 6, 23, false}, {0x00E5, 7, 25, false}, {0x006F, 8, 28, false},
    {0x0036, 9, 30, false}, {0x001A, 10, 33, false}, {0x000D, 11, 35, false},
    {0x0006, 12, 9, false}, {0x0003, 13, 10, false}, {0x0001, 13, 12, false},
    {0x5A7F, 15, 15, true}, {0x3F25, 16, 36, false}, {0x2CF2, 17, 38, false},
    {0x207C, 18, 39, false}, {0x17B9, 19, 40, false}, {0x1182, 20, 42, false},
    {0x0CEF, 21, 43, false}, {0x09A1, 22, 45, false}, {0x072F, 23, 46, false},
    {0x055C, 24, 48, false}, {0x0406, 25, 49, false}, {0x0303, 26, 51, false},
    {0x0240, 27, 52, false}, {0x01B1, 28, 54, false}, {0x0144, 29, 56, false},
    {0x00F5, 30, 57, false}, {0x00B7, 31, 59, false}, {0x008A, 32, 60, false},
    {0x0068, 33, 62, false}, {0x004E, 34, 63, false}, {0x003B, 35, 32, false},
    {0x002C, 9, 33, false}, {0x5AE1, 37, 37, true}, {0x484C, 38, 64, false},
    {0x3A0D, 39, 65, false}, {0x2EF1, 40, 67, false}, {0x261F, 41, 68, false},
    {0x1F33, 42, 69, false}, {0x19A8, 43, 70, false}, {0x1518, 44, 72, false},
    {0x1177, 45, 73, false}, {0x0E74, 46, 74, false}, {0x0BFB, 47, 75, false},
    {0x09F8, 48, 77, false}, {0x0861, 49, 78, false}, {0x0706, 50, 79, false},
    {0x05CD, 51, 48, false}, {0x04DE, 52, 50, false}, {0x040F, 53, 50, false},
    {0x0363, 54, 51, false}, {0x02D4, 55, 52, false}, {0x025C, 56, 53, false},
    {0x01F8, 57, 54, false}, {0x01A4, 58, 55, false}, {0x0160, 59, 56, false},
    {0x0125, 60, 57, false}, {0x00F6, 61, 58, false}, {0x00CB, 62, 59, false},
    {0x00AB, 63, 61, false}, {0x008F, 32, 61, false}, {0x5B12, 65, 65, true},
    {0x4D04, 66, 80, false}, {0x412C, 67, 81, false}, {0x37D8, 68, 82, false},
    {0x2FE8, 69, 83, false}, {0x293C, 70, 84, false}, {0x2379, 71, 86, false},
    {0x1EDF, 72, 87, false}, {0x1AA9, 73, 87, false}, {0x174E, 74, 72, false},
    {0x1424, 75, 72, false}, {0x119C, 76, 74, false}, {0x0F6B, 77, 74, false},
    {0x0D51, 78, 75, false}, {0x0BB6, 79, 77, false}, {0x0A40, 48, 77, false},
    {0x5832, 81, 80, true}, {0x4D1C, 82, 88, false}, {0x438E, 83, 89, false},
    {0x3BDD, 84, 90, false}, {0x34EE, 85, 91, false}, {0x2EAE, 86, 92, false},
    {0x299A, 87, 93, false}, {0x2516, 71, 86, false}, {0x5570, 89, 88, true},
    {0x4CA9, 90, 95, false}, {0x44D9, 91, 96, false}, {0x3E22, 92, 97, false},
    {0x3824, 93, 99, false}, {0x32B4, 94, 99, false}, {0x2E17, 86, 93, false},
    {0x56A8, 96, 95, true}, {0x4F46, 97, 101, false}, {0x47E5, 98, 102, false},
    {0x41CF, 99, 103, false}, {0x3C3D, 100, 104, false}, {0x375E, 93, 99, false},
    {0x5231, 102, 105, false}, {0x4C0F, 103, 106, false}, {0x4639, 104, 107, false},
    {0x415E, 99, 103, false}, {0x5627, 106, 105, true}, {0x50E7, 107, 108, false},
    {0x4B85, 103, 109, false}, {0x5597, 109, 110, false}, {0x504F, 107, 111, false},
    {0x5A10, 111, 110, true}, {0x5522, 109, 112, false}, {0x59EB, 111, 112, true},};
// clang-format on
static_assert(std::size(kStates) == 113);

// D.2: the interval is kept at or above this.
constexpr uint32_t kLeastInterval = 0x8000;

// Where the bins of tables F.4 and F.5 lie.
constexpr size_t kDcMagnitudes = 20;       // X1 of a DC difference
constexpr size_t kLowAcMagnitudes = 189;   // X2 up to the coefficient Kx
constexpr size_t kHighAcMagnitudes = 217;  // X2 above
constexpr size_t kToBits = 14;             // from a magnitude category to its bits
// Magnitudes of 16 bits and more are in no picture.
constexpr int kTooLarge = 0x8000;

}  // namespace

void ArithmeticDecoder::begin(EntropyReader& bytes) {
  bytes_ = &bytes;
  context_.fill(0);
  for (auto& bins : dc_) bins.fill({});
  for (auto& bins : ac_) bins.fill({});
  const uint32_t first = bytes.next_byte();
  code_ = first << 24 | uint32_t{bytes.next_byte()} << 16;
  interval_ = 0x10000;
  shifts_left_ = 0;
}

// Figure D.19. Bytes are taken as they are needed: behind the last one there are zeros (D.1.8: an
// encoder may leave them out).
inline void ArithmeticDecoder::renormalise() {
  do {
    if (shifts_left_ == 0) {
      code_ += uint32_t{bytes_->next_byte()} << 8;
      shifts_left_ = 8;
    }
    interval_ <<= 1;
    code_ <<= 1;
    --shifts_left_;
  } while (interval_ < kLeastInterval);
}

// Figures D.16 to D.18. The likely symbol has the lower part of the interval; where that is the
// smaller one, the symbols change places.
inline bool ArithmeticDecoder::decide(Estimate& estimate) {
  const State& state = kStates[estimate.index];
  interval_ -= state.size;
  const bool is_lower = code_ >> 16 < interval_;
  if (is_lower && interval_ >= kLeastInterval) return estimate.likely != 0;
  const bool is_likely = is_lower == (interval_ >= state.size);
  if (!is_lower) {
    code_ -= interval_ << 16;
    interval_ = state.size;
  }
  const bool symbol = (estimate.likely != 0) == is_likely;
  if (is_likely) {
    estimate.index = state.after_likely;
  } else {
    estimate.index = state.after_unlikely;
    if (state.switches) estimate.likely ^= 1;
  }
  renormalise();
  return symbol;
}

// Signs and bits of refinements: always as probable as not (F.1.4.4.2, G.1.3.3).
inline bool ArithmeticDecoder::decide_evenly() {
  Estimate even;
  return decide(even);
}

// Figure F.24: the bits below the highest one of a magnitude less one; returns the magnitude.
inline int ArithmeticDecoder::decode_bits(Estimate* bin, int highest) {
  int magnitude = highest;
  for (int bit = highest >> 1; bit != 0; bit >>= 1) {
    if (decide(*bin)) magnitude |= bit;
  }
  return magnitude + 1;
}

// F.1.4.4.1 and figures F.19 to F.24.
bool ArithmeticDecoder::decode_difference(const Conditioning& conditioning, size_t table,
                                          size_t component, int& difference) {
  Estimate* const bins = dc_[table].data();
  Estimate* bin = bins + context_[component];
  context_[component] = 0;
  difference = 0;
  if (!decide(bin[0])) return true;
  const bool is_negative = decide(bin[1]);
  bin += is_negative ? 3 : 2;
  int highest = 0;
  if (decide(*bin)) {
    highest = 1;
    for (bin = bins + kDcMagnitudes; decide(*bin); ++bin) {
      highest <<= 1;
      if (highest == kTooLarge) return false;
    }
  }
  // The context of the next difference: this one's sign, and whether it is small (table F.2).
  if (highest >= 1 << conditioning.dc_low[table] >> 1) {
    const bool is_large = highest > 1 << conditioning.dc_high[table] >> 1;
    context_[component] = (is_large ? 12 : 4) + (is_negative ? 4 : 0);
  }
  const int magnitude = decode_bits(bin + kToBits, highest);
  difference = is_negative ? -magnitude : magnitude;
  return true;
}

// F.1.4.4.2: the value of coefficient k, which is not zero.
bool ArithmeticDecoder::decode_value(const Conditioning& conditioning, size_t table, int k,
                                     int& value) {
  Estimate* const bins = ac_[table].data();
  Estimate* bin = bins + 3 * (k - 1) + 2;
  const bool is_negative = decide_evenly();
  int highest = decide(*bin) ? 1 : 0;
  if (highest != 0 && decide(*bin)) {
    highest = 2;
    bin = bins + (k <= conditioning.ac_low[table] ? kLowAcMagnitudes : kHighAcMagnitudes);
    for (; decide(*bin); ++bin) {
      highest <<= 1;
      if (highest == kTooLarge) return false;
    }
  }
  // Magnitudes of 1 and 2 have no bits.
  const int magnitude = highest < 2 ? highest + 1 : decode_bits(bin + kToBits, highest);
  value = is_negative ? -magnitude : magnitude;
  return true;
}

bool ArithmeticDecoder::decode_dc_first(const Conditioning& conditioning,
                                        const ScanComponent& tables, size_t component, int low,
                                        int& dc, int16_t* block) {
  int difference = 0;
  if (!decode_difference(conditioning, tables.dc_table, component, difference)) return false;
  dc = static_cast<int16_t>(dc + difference);
  block[0] = static_cast<int16_t>(static_cast<uint32_t>(dc) << low);
  return true;
}

void ArithmeticDecoder::refine_dc(int low, int16_t* block) {
  if (decide_evenly()) block[0] = static_cast<int16_t>(block[0] | 1 << low);
}

// Figure F.20.
bool ArithmeticDecoder::decode_ac_first(const Conditioning& conditioning,
                                        const ScanComponent& tables, const Band& band,
                                        int16_t* block) {
  Estimate* const bins = ac_[tables.ac_table].data();
  for (int k = band.first; k <= band.last; ++k) {
    if (decide(bins[3 * (k - 1)])) break;  // end of block
    while (!decide(bins[3 * (k - 1) + 1])) {
      if (++k > band.last) return false;
    }
    int value = 0;
    if (!decode_value(conditioning, tables.ac_table, k, value)) return false;
    block[k] = static_cast<int16_t>(static_cast<uint32_t>(value) << band.low);
  }
  return true;
}

bool ArithmeticDecoder::decode_sequential(const Conditioning& conditioning,
                                          const ScanComponent& tables, size_t component, int& dc,
                                          int16_t* block) {
  constexpr Band kAllAc = {.first = 1, .last = 63, .low = 0, .is_refining = false};
  return decode_dc_first(conditioning, tables, component, 0, dc, block) &&
         decode_ac_first(conditioning, tables, kAllAc, block);
}

// G.1.3.3.2 and figure G.11: before the last coefficient that is known no end of block is coded.
bool ArithmeticDecoder::refine_ac(const ScanComponent& tables, const Band& band, int16_t* block) {
  Estimate* const bins = ac_[tables.ac_table].data();
  const auto step = static_cast<int16_t>(1 << band.low);
  const int last_known =
      63 - std::countl_zero((find_nonzero(block) & ~uint64_t{0} >> (63 - band.last)) | 1);
  for (int k = band.first; k <= band.last; ++k) {
    if (k > last_known && decide(bins[3 * (k - 1)])) break;
    for (;; ++k) {
      if (k > band.last) return false;
      Estimate* const bin = bins + 3 * (k - 1);
      int16_t& value = block[k];
      if (value != 0) {
        if (decide(bin[2])) value = static_cast<int16_t>(value + (value < 0 ? -step : step));
        break;
      }
      if (decide(bin[1])) {
        value = decide_evenly() ? static_cast<int16_t>(-step) : step;
        break;
      }
    }
  }
  return true;
}

}  // namespace tavo::jpeg
