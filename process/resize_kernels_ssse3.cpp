#include <algorithm>

#include "base/vector_ssse3.h"
#include "process/resize_kernels.h"

TAVO_FOR_SSSE3

namespace tavo::process {

namespace {

using namespace ssse3;

#include "process/resize_kernel.inl"

}  // namespace

constexpr ResizeKernels kResizeSsse3 = {kResizeLanes, shrink, enlarge, enlarge_forward};

}  // namespace tavo::process

TAVO_END
