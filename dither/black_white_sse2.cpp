#include "base/vector_sse2.h"
#include "dither/black_white.h"

namespace tavo::color {

namespace {

using namespace sse2;

// A choice is all ones in the half that is chosen.
constexpr bool kBlackIsLow = true;
const V kBlack = {-1, 0};

// That half, in both.
V take(V halves, V choice) {
  const V chosen = halves & choice;
  return chosen | swap_halves(chosen);
}

#include "dither/black_white_kernel.inl"

}  // namespace

const BlackWhiteKernels kBlackWhiteSse2 = {add_up, diffuse};

}  // namespace tavo::color
