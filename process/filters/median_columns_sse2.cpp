#include <algorithm>
#include <span>

#include "base/vector_sse2.h"
#include "process/filters/median_columns.h"

namespace tavo::process {

namespace {

using namespace sse2;

#include "process/filters/median_kernel.inl"

}  // namespace

const MedianKernels kMedianKernelsSse2 = {add, exchange, medians};

}  // namespace tavo::process
