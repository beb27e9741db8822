// Rows of pixels to the entropy-coded data of a baseline JPEG scan (ISO/IEC 10918-1, F.1), in which
// all components are interleaved. The marker segments around the data are the caller's.
#pragma once

#include <array>
#include <cstdint>

#include "base/buffer.h"
#include "base/byte_sink.h"
#include "base/status.h"
#include "codec/jpeg/encoder_kernels.h"
#include "codec/jpeg/huffman_encoder.h"

namespace tavo::jpeg {

using QuantiserTable = std::array<uint8_t, kBlockSize>;  // in zigzag order, none of them 0

struct EncoderSetup {
  uint32_t width = 0;   // 1 to 65535
  uint32_t height = 0;  // rows that will come, 1 to 65535
  bool is_gray = false;
  // Sampling factors of the luminance; 1 x 1, 2 x 1 or 2 x 2. Grey pictures have 1 x 1.
  uint32_t horizontal = 1;
  uint32_t vertical = 1;
  QuantiserTable luminance = {};
  QuantiserTable chrominance = {};
};

// Works on one tile after another: the pixels of some MCUs go through all stages while they are in
// the first-level cache. Only rows that do not make up an MCU row are copied and kept.
class Encoder {
 public:
  // `stages` and `coder` as kernels() and entropy_coder() give them; tests pass others.
  Status start(const EncoderSetup& setup, const Kernels& stages, const EntropyCoder& coder);

  // Codes the next `count` rows, `stride` bytes apart: 1 byte a pixel for grey, else blue, green,
  // red. Rows beyond the height are ignored.
  Status encode_rows(const uint8_t* rows, size_t stride, uint32_t count, ByteSink& sink);

  // Codes the rows still kept and fills up the last byte with ones. Legal before all rows came.
  Status finish(ByteSink& sink);

 private:
  static constexpr size_t kTilePixels = 128;
  static constexpr size_t kMaxRows = 16;  // of an MCU with 2 x 2 sampling
  static constexpr size_t kMaxSlots = 6;  // blocks of such an MCU

  // Work memory of one tile; a plane has kTilePixels samples a row.
  struct Workspace {
    std::array<HuffmanCodes, 2> codes;
    std::array<Divisors, 2> divisors;
    std::array<uint8_t, kMaxRows * kTilePixels> y;
    std::array<std::array<uint8_t, kMaxRows * kTilePixels>, 2> chroma;
    std::array<std::array<uint8_t, kMaxRows / 2 * kTilePixels>, 2> reduced;
    std::array<uint8_t, 3 * kTilePixels + kOverread> edge;
    std::array<std::array<BlockPair, kTilePixels / 16>, 2> y_blocks;  // by row of blocks
    std::array<std::array<BlockPair, kTilePixels / 16>, 2> chroma_blocks;
    std::array<uint8_t, kTilePixels / 8 * 4 * kMaxBlockBytes + kBitSlack> bits;
    std::array<uint8_t, 2 * kTilePixels / 8 * 4 * kMaxBlockBytes + 2 * kBitSlack> stuffed;
  };

  Status encode_mcu_row(const uint8_t* rows, size_t stride, uint32_t count, ByteSink& sink);
  void transform_gray(const uint8_t* rows, size_t stride, uint32_t count, size_t x, size_t pixels);
  void transform_color(const uint8_t* rows, size_t stride, uint32_t count, size_t x, size_t pixels);
  void reduce_chroma(size_t padded, uint32_t count);
  Status encode_tile(size_t pixels, uint32_t count, ByteSink& sink);
  const uint8_t* padded_row(const uint8_t* row, size_t x, size_t pixels);
  uint32_t mcu_rows() const { return 8 * setup_.vertical; }
  size_t pixel_bytes() const { return setup_.is_gray ? 1 : 3; }

  EncoderSetup setup_;
  const Kernels* stages_ = nullptr;
  const EntropyCoder* coder_ = nullptr;
  Buffer memory_;
  Workspace* work_ = nullptr;  // in memory_, at a multiple of a cache line
  Buffer kept_;                // rows of an MCU row that is not complete
  uint32_t kept_count_ = 0;
  uint32_t rows_left_ = 0;
  std::array<int32_t, 3> levels_ = {};
  BitState bits_;
};

}  // namespace tavo::jpeg
