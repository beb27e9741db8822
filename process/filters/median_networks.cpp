#include "process/filters/median_networks.h"

#include <algorithm>

#include "base/variants.h"

namespace tavo::process {

namespace {

template <size_t kSize>
void median(const uint8_t* const* rows, size_t step, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; ++i) {
    uint8_t values[kSize * kSize];
    uint8_t* to = values;
    for (size_t y = 0; y < kSize; ++y) {
      const uint8_t* const first = rows[y] + i - kSize / 2 * step;
      for (size_t x = 0; x < kSize; ++x) *to++ = first[x * step];
    }
    std::nth_element(values, values + kSize * kSize / 2, values + kSize * kSize);
    out[i] = values[kSize * kSize / 2];
  }
}

}  // namespace

const MedianNetworks kMedianNetworksPlain = {median<3>, median<5>, median<7>};

const MedianNetworks& median_networks() {
  return *Variants<const MedianNetworks*>{.any = &kMedianNetworksPlain,
                                          .sse2 = &kMedianNetworksSse2,
                                          .avx2 = &kMedianNetworksAvx2,
                                          .avx512 = &kMedianNetworksAvx512}
              .best();
}

}  // namespace tavo::process
