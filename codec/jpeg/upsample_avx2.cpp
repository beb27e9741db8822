// Smooth upsampling for AVX2.
#include "base/vector_avx2.h"
#include "codec/jpeg/upsample.h"

TAVO_FOR_AVX2

namespace tavo::jpeg {

namespace {

using namespace avx2;

#include "codec/jpeg/upsample_kernel.inl"

}  // namespace

const Upsampling kUpsamplingAvx2 = {double_width, double_both, double_height};

}  // namespace tavo::jpeg

TAVO_END
