// Medians of 3 x 3, 5 x 5 and 7 x 7.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::process {

// Rows, their ends and counts as in row_kernels.h.
struct MedianNetworks {
  void (*median3)(const uint8_t* const* rows, size_t step, size_t count, uint8_t* out);
  void (*median5)(const uint8_t* const* rows, size_t step, size_t count, uint8_t* out);
  void (*median7)(const uint8_t* const* rows, size_t step, size_t count, uint8_t* out);
};

extern const MedianNetworks kMedianNetworksPlain;
extern const MedianNetworks kMedianNetworksSse2;
extern const MedianNetworks kMedianNetworksAvx2;
extern const MedianNetworks kMedianNetworksAvx512;

const MedianNetworks& median_networks();

}  // namespace tavo::process
