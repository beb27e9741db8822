#include <algorithm>

#include "base/vector_avx2.h"
#include "process/filters/filter.h"
#include "process/filters/median_networks.h"

TAVO_FOR_AVX2

namespace tavo::process {

namespace {

using namespace avx2;

#include "process/filters/median_network.inl"

}  // namespace

const MedianNetworks kMedianNetworksAvx2 = {median<3>, median<5>, median<7>};

}  // namespace tavo::process

TAVO_END
