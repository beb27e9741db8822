#include <algorithm>

#include "base/vector_sse2.h"
#include "process/filters/filter.h"
#include "process/filters/median_networks.h"

namespace tavo::process {

namespace {

using namespace sse2;

#include "process/filters/median_network.inl"

}  // namespace

const MedianNetworks kMedianNetworksSse2 = {median<3>, median<5>, median<7>};

}  // namespace tavo::process
