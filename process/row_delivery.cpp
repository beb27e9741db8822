#include "process/row_delivery.h"

#include <algorithm>
#include <cstring>

#include "base/settings.h"
#include "core/bitmap.h"

namespace tavo::process {

namespace {

constexpr uint32_t kDescriptionFlags = T_FLAG_GRAY | T_FLAG_PALETTE | T_FLAG_INTERLACED;

}  // namespace

int32_t callback_lines(int32_t height) {
  if (height <= 32) return 16;
  // The quotient is a 16-bit number.
  const int32_t lines = ((height / 64 & 0xFFFF) + 15) / 16 * 16;
  return std::max(lines, 32);
}

Status RowDelivery::set_up_record() {
  const bool allocated = core::has_flag(bitmap_, T_FLAG_ALLOCATED);
  if (!allocated) {
    const bool widened = picture_.widens && picture_.bits == 1 && request_ == 24;
    TRY(core::init_bitmap(bitmap_, picture_.width, picture_.height, widened ? 24 : picture_.bits));
    if (bitmap_.BitsPerPixel > 8 && !widened) bitmap_.Order = picture_.order;
  }
  bitmap_.StorageKind = picture_.storage_kind;
  bitmap_.ViewPerspective = picture_.view_perspective;
  bitmap_.Flags = (bitmap_.Flags & ~kDescriptionFlags) | (picture_.flags & kDescriptionFlags);
  if (picture_.has_resolution) {
    bitmap_.XResolution = picture_.x_resolution;
    bitmap_.YResolution = picture_.y_resolution;
  }
  if (picture_.has_origin) {
    bitmap_.XOrigin = picture_.x_origin;
    bitmap_.YOrigin = picture_.y_origin;
  }
  if (bitmap_.BitsPerPixel <= 8 && picture_.bits <= 8) {
    std::memcpy(bitmap_.Info.Palette, picture_.palette, sizeof(bitmap_.Info.Palette));
    bitmap_.Colors = picture_.colors;
  }
  return kOk;
}

Status RowDelivery::allocate_rows() {
  const int32_t lines =
      settings.callback_lines > 0 ? settings.callback_lines : callback_lines(picture_.height);
  batch_rows_ = static_cast<uint32_t>(std::clamp(lines, 1, bitmap_.Height));
  TRY(batch_.allocate_shrinking(uint64_t{line_} * batch_rows_ + kSlack, line_,
                                uint64_t{line_} + kSlack));
  batch_rows_ = static_cast<uint32_t>((batch_.size() - kSlack) / line_);
  if (!converts_) return kOk;
  return work_.allocate(uint64_t{std::max(line_, source_line_)} + kSlack);
}

Status RowDelivery::start() {
  source_line_ = core::bytes_per_line(picture_.width, picture_.bits);
  if (source_line_ == 0 || picture_.height <= 0) return kBadSize;
  TRY(set_up_record());
  line_ = bitmap_.BytesPerLine;
  if (line_ == 0 || bitmap_.Height <= 0) return kBadSize;

  const auto own_order = static_cast<int32_t>(picture_.order);
  const auto wanted_order = static_cast<int32_t>(bitmap_.Order);
  converts_ = bitmap_.BitsPerPixel != picture_.bits;
  swaps_ = !converts_ && picture_.bits > 8 && own_order != wanted_order;
  if (swaps_) {
    TRY(swap_.start(picture_.bits, picture_.bits, own_order, wanted_order, nullptr, nullptr));
  }
  if (converts_) {
    TRY(convert_.start(picture_.bits, bitmap_.BitsPerPixel, own_order, wanted_order,
                       picture_.palette, bitmap_.Info.Palette));
  }
  TRY(allocate_rows());
  return progress_.start();
}

uint8_t* RowDelivery::lent_row() {
  return converts_ ? work_.data() : batch_.data() + size_t{gathered_} * line_;
}

std::span<uint8_t> RowDelivery::next_rows(uint32_t wanted, uint32_t& count) {
  count = converts_ ? 1 : std::min(wanted, batch_rows_ - gathered_);
  return {lent_row(), size_t{count} * source_line_};
}

Status RowDelivery::process(uint8_t* row) {
  if (swaps_) return swap_.convert(row, picture_.width);
  if (!converts_) return kOk;
  TRY(convert_.convert(row, picture_.width));
  std::memcpy(batch_.data() + size_t{gathered_} * line_, row, line_);
  return kOk;
}

Status RowDelivery::commit(uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    TRY(process(lent_row()));
    ++gathered_;
  }
  committed_ += count;
  if (gathered_ == batch_rows_) TRY(flush());
  return progress_.at(committed_, static_cast<uint32_t>(picture_.height));
}

Status RowDelivery::flush() {
  const uint32_t count = gathered_;
  gathered_ = 0;
  if (count == 0) return kOk;
  const Status answer{sink_(&bitmap_, batch_.data(), static_cast<int32_t>(count), context_)};
  // Sinks of interlaced pictures may say 2 as well.
  const bool says_two = answer.code() == 2 && (picture_.flags & T_FLAG_INTERLACED) != 0;
  return says_two ? kOk : answer;
}

Status RowDelivery::finish() {
  TRY(flush());
  return progress_.finish();
}

Status RowDelivery::finish_early(Status why) {
  TRY(flush());
  return why;
}

}  // namespace tavo::process
