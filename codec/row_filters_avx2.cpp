#include <algorithm>
#include <numeric>

#include "base/vector_avx2.h"
#include "codec/row_filters.h"

TAVO_FOR_AVX2

namespace tavo::filters {
namespace {

using namespace avx2;

#include "codec/row_filter_kernel.inl"

}  // namespace

const Kernels kAvx2Kernels = {apply_kernel, sums_kernel};

}  // namespace tavo::filters

TAVO_END
