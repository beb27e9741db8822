#include <algorithm>

#include "base/vector_sse2.h"
#include "process/filters/filter.h"
#include "process/filters/row_kernels.h"

namespace tavo::process {

namespace {

using namespace sse2;

#include "process/filters/row_kernel.inl"

}  // namespace

const RowKernels kRowKernelsSse2 = {weigh,       slide, average,  add_columns,
                                    divide_sums, least, greatest, raise};

}  // namespace tavo::process
