#include <array>

#include "base/vector_ssse3.h"
#include "process/smooth/means_kernels.h"

TAVO_FOR_SSSE3

namespace tavo::process {

namespace {

using namespace ssse3;

#include "process/smooth/means_kernel.inl"

}  // namespace

const MeanKernels kMeansSsse3[3] = {kMeans[0], kMeans[1], kMeans[2]};

}  // namespace tavo::process

TAVO_END
