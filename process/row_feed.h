// Rows on their way into a writer, from a bitmap or from a reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "color/convert.h"
#include "io/row_writer.h"
#include "tavo45.h"

namespace tavo::process {

// Brings rows to the layout that the writer wants. A picture of another depth (the save pipeline
// converts beforehand, direct saves do not) goes through the row conversion: nearest colours of
// the layout's palette, without dithering.
class RowFeed {
 public:
  // `request` is looked at until begin() has returned.
  RowFeed(io::RowWriter& writer, const io::SaveRequest& request)
      : writer_(writer), request_(request) {}
  RowFeed(const RowFeed&) = delete;
  RowFeed& operator=(const RowFeed&) = delete;

  // Asks the writer, and takes the memory. `picture` describes the rows that will come, the top one
  // first or the bottom one, as the writer's order allows. The writer's refusal, kBadSize,
  // kNoMemory.
  Status prepare(const BitmapHandle& picture, bool is_top_first);

  // Lets the writer create its file.
  Status begin(const BitmapHandle& picture) { return writer_.begin(request_, picture); }

  // The next `count` rows, `stride` bytes apart. kBadData for more than the picture has.
  Status put(const uint8_t* rows, ptrdiff_t stride, uint32_t count);

  // kIncomplete when rows are missing.
  Status finish() { return rows_left_ == 0 ? writer_.finish() : kIncomplete; }

 private:
  Status make(const uint8_t* from, std::span<uint8_t> row);

  io::RowWriter& writer_;
  const io::SaveRequest& request_;
  io::RowLayout layout_;
  int32_t width_ = 0;
  uint32_t rows_left_ = 0;
  size_t source_bytes_ = 0;  // of a row's pixels as they come
  size_t row_bytes_ = 0;     // of a row as the writer gets it
  bool converts_ = false;
  bool changes_ = false;  // the pixels or their padding
  color::RowConverter convert_;
  Buffer piece_;  // rows on their way
  uint32_t piece_rows_ = 0;
};

// Writes a bitmap, which is accessed, and tells the progress. Besides what the writer says:
// kNoStorage, kBadSize, kNoMemory, row statuses, the status callback's answer.
Status write_bitmap(io::RowWriter& writer, const io::SaveRequest& request, BitmapHandle& bitmap);

}  // namespace tavo::process
