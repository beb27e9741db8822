// Smooth upsampling for SSE2, which every processor has.
#include "base/vector_sse2.h"
#include "codec/jpeg/upsample.h"

namespace tavo::jpeg {

namespace {

using namespace sse2;

#include "codec/jpeg/upsample_kernel.inl"

}  // namespace

const Upsampling kUpsamplingSse2 = {double_width, double_both, double_height};

}  // namespace tavo::jpeg
