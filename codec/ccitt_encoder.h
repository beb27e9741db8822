// CCITT bilevel encoder, the counterpart of ccitt_decoder.h. Packed rows in, bytes out.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/ccitt_codes.h"
#include "codec/ccitt_decoder.h"

namespace tavo::ccitt {

struct EncoderOptions {
  Coding coding = Coding::kGroup4;
  bool is_reversed = false;         // the first bit of a byte is its lowest
  bool aligns_end_of_line = false;  // Group 3: fill bits make the codes end on byte boundaries
  uint32_t rows_per_1d = 4;         // Group 3 two-dimensional: the K of T.4, 4.2.1.1
};

// Encodes one stream after the other, all of one width. Streams are fully determined: the choice
// of modes is that of T.4 and T.6. Each row of Group 3 begins with an end-of-line code; no
// return-to-control follows the last one. Group 4 streams end with an end-of-block code.
class Encoder {
 public:
  using Write = Status (*)(void* context, std::span<const uint8_t> bytes);

  // `out` is anything with Status write(std::span<const uint8_t>).
  template <class Out>
  explicit Encoder(Out& out)
      : write_([](void* context, std::span<const uint8_t> bytes) {
          return static_cast<Out*>(context)->write(bytes);
        }),
        context_(&out) {}

  // Takes work memory in proportion to the width (1 to INT32_MAX). kNoMemory, kBadSize.
  Status start(const EncoderOptions& options, uint32_t width);

  // Adds a row of (width + 7) / 8 bytes, 0 = white, leftmost pixel on top; unused bits do not
  // matter. kNoMemory or the status of the sink.
  Status encode_row(std::span<const uint8_t> row);

  // Ends the stream and gives all of it to the sink; the next row begins another one.
  Status finish();

 private:
  // Bits on their way out: the low `count` (under 8 between calls) of `held` come behind `next`.
  struct Bits {
    uint64_t held = 0;
    uint32_t count = 0;
    uint8_t* next = nullptr;

    void put(uint64_t code, uint32_t length);
    void pad(uint32_t used_bits);
  };

  Status find_changes(const uint8_t* row);
  Status encode_1d();
  Status encode_2d();
  Status put_ones(uint64_t count);
  Status put_run(uint32_t run, bool is_black);
  Status put_long_run(uint32_t& run);
  Status put_pair(Code mode, uint32_t first, uint32_t second, bool is_black);
  void put_end_of_line(bool is_1d);
  void align(uint32_t bytes);
  Status make_room();
  Status flush();
  void begin();

  Write write_;
  void* context_;
  EncoderOptions options_;
  uint32_t width_ = 0;
  size_t row_bytes_ = 0;

  ChangeList lists_[2];
  ChangeList* above_ = &lists_[0];
  ChangeList* current_ = &lists_[1];
  size_t above_count_ = 0;
  size_t count_ = 0;
  Buffer row_above_;

  Buffer out_;
  Bits bits_;
  uint64_t flushed_ = 0;  // bytes of the stream that the sink has
  uint32_t rows_to_1d_ = 0;
  Status failure_ = kOk;
};

}  // namespace tavo::ccitt
