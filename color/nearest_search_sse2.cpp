#include <bit>

#include "base/vector_sse2.h"
#include "color/nearest_search.h"

namespace tavo::color {

namespace {

using namespace sse2;

#include "color/nearest_search_kernel.inl"

}  // namespace

const NearestSearch kNearestSearchSse2 = {find, gather};

}  // namespace tavo::color
