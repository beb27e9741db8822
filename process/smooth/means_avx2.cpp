#include <array>

#include "base/vector_avx2.h"
#include "process/smooth/means_kernels.h"

TAVO_FOR_AVX2

namespace tavo::process {

namespace {

using namespace avx2;

#include "process/smooth/means_kernel.inl"

}  // namespace

const MeanKernels kMeansAvx2[3] = {kMeans[0], kMeans[1], kMeans[2]};

}  // namespace tavo::process

TAVO_END
