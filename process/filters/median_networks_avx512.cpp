#include <algorithm>

#include "base/vector_avx512.h"
#include "process/filters/filter.h"
#include "process/filters/median_networks.h"

TAVO_FOR_AVX512

namespace tavo::process {

namespace {

using namespace avx512;

#include "process/filters/median_network.inl"

}  // namespace

const MedianNetworks kMedianNetworksAvx512 = {median<3>, median<5>, median<7>};

}  // namespace tavo::process

TAVO_END
