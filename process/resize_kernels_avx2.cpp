#include <algorithm>

#include "base/vector_avx2.h"
#include "process/resize_kernels.h"

TAVO_FOR_AVX2

namespace tavo::process {

namespace {

using namespace avx2;

#include "process/resize_kernel.inl"

}  // namespace

constexpr ResizeKernels kResizeAvx2 = {kResizeLanes, shrink, enlarge, enlarge_forward};

}  // namespace tavo::process

TAVO_END
