#include <algorithm>
#include <span>

#include "base/vector_avx2.h"
#include "process/filters/median_columns.h"

TAVO_FOR_AVX2

namespace tavo::process {

namespace {

using namespace avx2;

#include "process/filters/median_kernel.inl"

}  // namespace

const MedianKernels kMedianKernelsAvx2 = {add, exchange, medians};

}  // namespace tavo::process

TAVO_END
