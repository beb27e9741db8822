// The entropy coder for processors with AVX2, all of which have BMI: shifts by any register.
#include <bit>

#include "base/endian.h"
#include "base/vector_avx2.h"
#include "codec/jpeg/huffman_encoder.h"

TAVO_FOR_AVX2

namespace tavo::jpeg {

namespace {

#include "codec/jpeg/huffman_encoder_kernel.inl"

}  // namespace

const EntropyCoder kAvx2EntropyCoder = {encode, stuff};

}  // namespace tavo::jpeg

TAVO_END
