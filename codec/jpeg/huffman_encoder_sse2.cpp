// The entropy coder without BMI.
#include <bit>

#include "base/endian.h"
#include "base/vector_sse2.h"
#include "codec/jpeg/huffman_encoder.h"

namespace tavo::jpeg {

namespace {

#include "codec/jpeg/huffman_encoder_kernel.inl"

}  // namespace

const EntropyCoder kSse2EntropyCoder = {encode, stuff};

}  // namespace tavo::jpeg
