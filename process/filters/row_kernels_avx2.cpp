#include <algorithm>

#include "base/vector_avx2.h"
#include "process/filters/filter.h"
#include "process/filters/row_kernels.h"

TAVO_FOR_AVX2
namespace tavo::process {

namespace {

using namespace avx2;

#include "process/filters/row_kernel.inl"

}  // namespace

const RowKernels kRowKernelsAvx2 = {weigh,       slide, average,  add_columns,
                                    divide_sums, least, greatest, raise};

}  // namespace tavo::process

TAVO_END
