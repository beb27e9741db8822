// The plain loops, the judge of the vector code.
#include "process/filters/row_kernels.h"

#include <algorithm>
#include <cstdlib>

#include "base/variants.h"

namespace tavo::process {

namespace {

void weigh(const Tap* taps, size_t tap_count, const Division& division, bool is_absolute,
           size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; ++i) {
    int32_t sum = 0;
    for (size_t k = 0; k < tap_count; ++k) sum += taps[k].coefficient * taps[k].at[i];
    if (is_absolute) sum = std::abs(sum);
    sum += division.add;
    if (division.multiplier == 0) {
      out[i] = static_cast<uint8_t>(std::clamp(sum >> division.shift, 0, 255));
    } else {
      const auto cut = static_cast<uint64_t>(std::clamp(sum, 0, division.most));
      out[i] = static_cast<uint8_t>(cut * division.multiplier >> division.shift);
    }
  }
}

void slide(uint16_t* sums, const uint8_t* added, const uint8_t* removed, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    sums[i] = static_cast<uint16_t>(sums[i] + added[i] - (removed != nullptr ? removed[i] : 0));
  }
}

void average(const uint16_t* sums, size_t step, uint32_t size, size_t count, uint8_t* out) {
  const uint32_t area = size * size;
  for (size_t i = 0; i < count; ++i) {
    uint32_t sum = area / 2;
    for (uint32_t k = 0; k < size; ++k) sum += sums[i + k * step];
    out[i] = static_cast<uint8_t>(sum / area);
  }
}

void add_columns(const uint16_t* columns, size_t step, uint32_t size, size_t count,
                 uint32_t* sums) {
  for (size_t channel = 0; channel < step; ++channel) {
    uint32_t sum = 0;
    for (uint32_t k = 0; k < size; ++k) sum += columns[channel + k * step];
    for (size_t i = channel; i < count; i += step) {
      sums[i] = sum;
      sum += static_cast<uint32_t>(columns[i + size * step] - columns[i]);
    }
  }
}

void divide_sums(const uint32_t* sums, uint32_t size, size_t count, uint8_t* out) {
  const WideDivision division = wide_division(size);
  for (size_t i = 0; i < count; ++i) {
    const uint64_t sum = sums[i] + size * size / 2;
    out[i] = static_cast<uint8_t>(sum * division.multiplier >> division.shift);
  }
}

void least(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count) {
  for (size_t i = 0; i < count; ++i) out[i] = std::min(a[i], b[i]);
}

void greatest(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count) {
  for (size_t i = 0; i < count; ++i) out[i] = std::max(a[i], b[i]);
}

void raise(uint32_t rule, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out,
           size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const bool raises = rule == 0   ? a[i] >= b[i] + 2
                        : rule == 1 ? a[i] > b[i] && b[i] <= c[i]
                        : rule == 2 ? c[i] > b[i] && b[i] <= a[i]
                                    : c[i] >= b[i] + 2;
    out[i] = static_cast<uint8_t>(b[i] + (raises ? 1 : 0));
  }
}

}  // namespace

const RowKernels kRowKernelsPlain = {weigh,       slide, average,  add_columns,
                                     divide_sums, least, greatest, raise};

const RowKernels& row_kernels() {
  return *Variants<const RowKernels*>{
      .any = &kRowKernelsPlain, .sse2 = &kRowKernelsSse2, .avx2 = &kRowKernelsAvx2}
              .best();
}

}  // namespace tavo::process
