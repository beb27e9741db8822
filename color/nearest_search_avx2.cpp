#include <bit>

#include "base/vector_avx2.h"
#include "color/nearest_search.h"

TAVO_FOR_AVX2

namespace tavo::color {

namespace {

using namespace avx2;

#include "color/nearest_search_kernel.inl"

}  // namespace

const NearestSearch kNearestSearchAvx2 = {find, gather};

}  // namespace tavo::color

TAVO_END
