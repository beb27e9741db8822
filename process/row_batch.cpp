#include "process/row_batch.h"

#include <algorithm>
#include <span>

#include "process/row_receiver.h"

namespace tavo::process {

void RowBatch::use_place() {
  if (sink_ != RowReceiver::sink || context_ == nullptr) return;
  const std::span<uint8_t> place = static_cast<RowReceiver*>(context_)->place(bitmap_);
  if (place.size() < bitmap_.Size || place.size() < kSlack) return;
  place_ = place.data();
  placed_rows_ = static_cast<uint32_t>((place.size() - kSlack) / bitmap_.BytesPerLine);
  begin();
}

Status RowBatch::allocate(uint32_t rows) {
  largest_ = rows;
  const uint32_t line = bitmap_.BytesPerLine;
  // At least one row, for readers that go on behind the last one.
  const uint32_t rest = std::max(static_cast<uint32_t>(bitmap_.Height) - placed_rows_, 1u);
  TRY(buffer_.allocate_shrinking(uint64_t{line} * std::min(rows, rest) + kSlack, line,
                                 uint64_t{line} + kSlack));
  buffer_rows_ = static_cast<uint32_t>((buffer_.size() - kSlack) / line);
  begin();
  return kOk;
}

void RowBatch::begin() {
  gathered_ = 0;
  start_ = placed_rows_ > 0 ? place_ : buffer_.data();
  rows_ = placed_rows_ > 0 ? std::min(largest_, placed_rows_) : buffer_rows_;
}

Status RowBatch::add(uint32_t count) {
  gathered_ += count;
  return gathered_ == rows_ ? flush() : kOk;
}

Status RowBatch::flush() {
  const Status answer = hand_on(start_, gathered_);
  if (placed_rows_ > 0) {
    place_ += size_t{gathered_} * bitmap_.BytesPerLine;
    placed_rows_ -= gathered_;
  }
  begin();
  return answer;
}

Status RowBatch::hand_on(const uint8_t* rows, uint32_t count) {
  while (count > 0) {
    const uint32_t part = std::min(count, rows_per_call_);
    const Status answer{sink_(&bitmap_, rows, static_cast<int32_t>(part), context_)};
    if (answer.code() != 2 || (flags_ & T_FLAG_INTERLACED) == 0) TRY(answer);
    rows += size_t{part} * bitmap_.BytesPerLine;
    count -= part;
  }
  return kOk;
}

}  // namespace tavo::process
