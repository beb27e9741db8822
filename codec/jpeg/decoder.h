// JPEG decoder: bytes in, pixel rows out.
//
// Reads baseline, extended, progressive and arithmetic streams of 8-bit samples with 1 to 4
// components at any sampling factors. Sequential Huffman streams of one scan are decoded band by
// band in memory that does not depend on the height; others keep their coefficients, 2 bytes a
// sample.
//
//   Decoder decoder;
//   TRY(decoder.read_header(source, {}));
//   TRY(decoder.start(PixelLayout::kRgb24));
//   while (decoder.next_rows(rows, row_bytes, count, got).ok() && got > 0) { ... }
//   return decoder.outcome();
//
// Facts: ISO/IEC 10918-1; JFIF 1.02; Adobe Technical Note 5116.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"
#include "codec/jpeg/coefficients.h"
#include "codec/jpeg/draft.h"
#include "codec/jpeg/idct.h"
#include "codec/jpeg/markers.h"
#include "codec/jpeg/rows.h"
#include "codec/jpeg/scan.h"

namespace tavo::jpeg {

struct ReadOptions {
  // What the components mean, when the container knows better than the stream. It must fit the
  // number of components, or the stream's own reading is taken.
  std::optional<ColorSpace> color;
  // The height when the frame header leaves it to a DNL segment behind the first scan: see
  // find_line_count.
  uint32_t lines = 0;
  // Whether components of fewer samples go smoothly from one to the next, or are repeated.
  bool is_smooth = true;
};

class Decoder {
 public:
  // Takes the tables of an abbreviated stream (SOI, tables, EOI) for the streams to come.
  Status feed_tables(ByteSource& source);

  // Reads up to the first scan. `source` must stay alive and unmoved until the last row. Tables of
  // an earlier stream stay in force. kReadError (cut short), kBadData, kSubtype
  // (lossless, hierarchical, 12 bits), kNoMemory.
  Status read_header(ByteSource& source, const ReadOptions& options);

  // Instead of another read_header(): goes on with a stream that has entropy-coded data alone,
  // `lines` rows of `columns` pixels that everything else of the header read last applies to. Its
  // restart markers may begin with any number. Of headers with is_single_scan() only.
  void continue_with(ByteSource& source, uint32_t columns, uint32_t lines);

  // After read_header:
  const Frame& frame() const { return frame_; }
  const Extras& extras() const { return extras_; }
  ColorSpace color() const { return color_; }
  // The quantisers of a component; what a quality can be estimated from.
  std::span<const uint16_t, kBlockSize> quantisers(size_t component) const {
    return is_latched_[component]
               ? quantisers_[component]
               : tables_[0].quantisers[frame_.components[component].quantiser].values;
  }

  bool is_single_scan() const {
    return !frame_.is_progressive && !frame_.is_arithmetic && scan_.count == frame_.count;
  }
  // MCUs between restarts, as the header says; 0: none.
  uint32_t restart_interval() const { return tables_[0].restart_interval; }
  void set_restart_interval(uint32_t mcus) { tables_[0].restart_interval = mcus; }

  // Prepares for rows of this layout; decodes all scans of a stream that has several. At fewer
  // `eighths` of its size (1, 2 or 4) the picture has that part of its columns and rows, rounded
  // up.
  Status start(PixelLayout layout, uint32_t eighths = 8);

  // After start: the picture that the rows make.
  uint32_t width() const { return samples_.frame.width; }
  uint32_t height() const { return samples_.frame.height; }

  // Makes up to `count` rows, `row_bytes` apart; `got` says how many, 0 at the end. Rows that are
  // lost are mid grey. kNoMemory.
  Status next_rows(std::span<uint8_t> rows, size_t row_bytes, uint32_t count, uint32_t& got);

  // Whether the next row takes more of the stream; false at the end. What a row, or start(), takes
  // at most is most_bytes(), the read-ahead included.
  bool needs_data() const {
    return !store_ && next_row_ < height() && next_row_ >= rows_->ready_rows(bands_);
  }
  uint64_t most_bytes() const;

  // Rows from the top that are whole, as far as the stream has been decoded.
  uint32_t whole_rows() const { return outcome_.ok() ? height() : rows_->ready_rows(whole_bands_); }

  // After the last row: kOk, kReadError when the data ended too early, kBadData when they were
  // damaged or have more scans than any picture needs. When nearly all of a huge picture is lost,
  // the rows end at the loss.
  Status outcome() const { return outcome_; }

 private:
  // Four components of 4 x 4 blocks, though B.2.3 allows 10 in all.
  static constexpr size_t kMaxMcuBlocks = 64;

  // A block of an MCU, for streams of one scan.
  struct McuBlock {
    size_t component = 0;
    const HuffmanTable* dc_table = nullptr;
    const HuffmanTable* ac_table = nullptr;
    size_t offset = 0;    // of its samples from the MCU's first
    size_t mcu_step = 0;  // from one MCU to the next
  };

  Status take_tables();
  void forget_rows(ByteSource& source);
  Status install_standard_tables();
  Status latch_quantisers(const Scan& scan);
  ColorSpace guess_color() const;
  Status start_direct();
  Status read_all_scans();
  Status continue_scans(bool& has_more);
  void note_exact(const Scan& scan);
  bool is_exact() const;
  // Of several things that are wrong the first is told.
  void note(Status status) {
    if (outcome_.ok()) outcome_ = status;
  }

  void decode_band();
  void decode_pair(uint32_t x, uint32_t mcus);
  bool decode_mcu(size_t which);
  void transform_pair(uint32_t x, std::span<const bool, 2> is_good);
  void fill_lost(uint32_t x);
  void transform_stored_band();
  void transform_stored_row(size_t component, uint32_t row, uint8_t* out);
  bool is_filler(uint32_t y) const;

  Array<Tables> tables_;
  Frame frame_;
  Scan scan_;
  Extras extras_;
  ColorSpace color_ = ColorSpace::kYcc;
  bool is_smooth_ = true;
  ByteSource* source_ = nullptr;
  bool is_part_ = false;  // of a stream: without a header of its own
  // Of each component since its first scan, and whether that has come.
  std::array<std::array<uint16_t, kBlockSize>, kMaxComponents> quantisers_;
  std::array<bool, kMaxComponents> is_latched_ = {};
  // Of streams of several scans: the coefficients of each component, a bit for one, that have come
  // with all their bits.
  std::array<uint64_t, kMaxComponents> exact_ = {};

  ScanReader reader_;
  std::optional<CoefficientStore> store_;
  uint64_t extra_visits_ = 0;  // of earlier streams
  SampleFrame samples_;
  std::optional<RowMaker> rows_;
  std::array<InverseTransform, kMaxComponents> transforms_ = {};
  std::array<McuBlock, kMaxMcuBlocks> mcu_blocks_;
  size_t mcu_block_count_ = 0;
  Array<int16_t> pair_;                                     // coefficients of two MCUs
  std::array<std::array<uint8_t, kMaxMcuBlocks>, 2> last_;  // last coefficient of each block
  std::array<uint8_t*, kMaxComponents> band_ = {};          // where samples of this band go
  uint32_t bands_ = 0;                                      // MCU rows decoded
  uint32_t sound_bands_ = 0;                                // before the part that is lost for good
  uint32_t whole_bands_ = 0;                                // before anything that is lost
  uint32_t next_row_ = 0;
  PixelLayout layout_ = PixelLayout::kRgb24;
  Status outcome_ = kOk;
};

// The line count of the DNL segment in `source`, which stands at the beginning of a stream, or 0.
uint32_t find_line_count(ByteSource& source);

}  // namespace tavo::jpeg
