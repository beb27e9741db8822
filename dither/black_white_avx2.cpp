#include "base/vector_avx2.h"
#include "dither/black_white.h"

TAVO_FOR_AVX2

namespace tavo::color {

namespace {

using namespace sse2;  // in the encoding of AVX

// A choice is all ones where it is black: the high half is taken, and else the low one.
constexpr bool kBlackIsLow = false;
const V kBlack = {-1, -1};

// One instruction where SSE2 needs three, on which the next pixel waits.
TAVO_INLINE V take(V halves, V choice) { return avx2::choose64(halves, choice); }

#include "dither/black_white_kernel.inl"

}  // namespace

const BlackWhiteKernels kBlackWhiteAvx2 = {add_up, diffuse};

}  // namespace tavo::color

TAVO_END
