#include "process/row_delivery.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "dither/dither.h"

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

RowDelivery::~RowDelivery() { color::stop_pass(*dithered_); }

int32_t RowDelivery::wanted_depth() const {
  if (picture_.widens && picture_.bits == 1 && request_ == 24) return 24;
  if (picture_.delivered_bits != 0) return picture_.delivered_bits;
  return request_ <= 8 && request_ < picture_.bits ? request_ : picture_.bits;
}

Status RowDelivery::set_up_record() {
  if (!core::has_flag(bitmap_, T_FLAG_ALLOCATED)) {
    TRY(core::init_bitmap(bitmap_, picture_.width, picture_.height, wanted_depth()));
    bitmap_.Order = picture_.order;
  }
  resizes_ = bitmap_.Width != picture_.width || bitmap_.Height != picture_.height;
  reorders_ = resizes_ && (picture_.flags & T_FLAG_INTERLACED) != 0;
  bitmap_.StorageKind = picture_.storage_kind;
  bitmap_.ViewPerspective = picture_.view_perspective;
  bitmap_.Flags = (bitmap_.Flags & ~kDescriptionFlags) | (picture_.flags & kDescriptionFlags);
  if (reorders_) core::set_flag(bitmap_, T_FLAG_INTERLACED, false);
  if (picture_.has_resolution) {
    bitmap_.XResolution = picture_.x_resolution;
    bitmap_.YResolution = picture_.y_resolution;
  }
  if (picture_.has_origin) {
    bitmap_.XOrigin = picture_.x_origin;
    bitmap_.YOrigin = picture_.y_origin;
  }
  if (bitmap_.BitsPerPixel > 8) return kOk;
  if (bitmap_.BitsPerPixel < picture_.bits) {
    const bool gray = settings.gray_fixed_palette || core::has_flag(bitmap_, T_FLAG_GRAY);
    color::fixed_palette(bitmap_.BitsPerPixel, gray, bitmap_.Info.Palette);
    bitmap_.Colors = 1u << bitmap_.BitsPerPixel;
    core::set_flag(bitmap_, T_FLAG_GRAY, gray);
  } else {
    std::memcpy(bitmap_.Info.Palette, picture_.palette, sizeof(bitmap_.Info.Palette));
    bitmap_.Colors = picture_.colors;
  }
  return kOk;
}

Status RowDelivery::choose_stages() {
  const auto own_order = static_cast<int32_t>(picture_.order);
  const auto wanted_order = static_cast<int32_t>(bitmap_.Order);
  const int32_t wanted_bits = bitmap_.BitsPerPixel;
  dithers_ = wanted_bits <= 8 && wanted_bits < picture_.bits;
  converts_ = !dithers_ && wanted_bits != picture_.bits;
  swaps_ = !converts_ && !dithers_ && picture_.bits > 8 && own_order != wanted_order;
  if (swaps_) {
    TRY(swap_.start(picture_.bits, picture_.bits, own_order, wanted_order, nullptr, nullptr));
  }
  if (resizes_) {
    TRY(resizer_.start(picture_.width, picture_.height, bitmap_.Width, bitmap_.Height));
  }
  if (dithers_) TRY(start_dithering());
  if (converts_) {
    TRY(convert_.start(picture_.bits, wanted_bits, own_order, wanted_order, picture_.palette,
                       bitmap_.Info.Palette));
  }
  return reorders_ ? start_keeping() : kOk;
}

Status RowDelivery::start_keeping() {
  TRY(core::init_bitmap(*kept_, picture_.width, picture_.height, picture_.bits));
  TRY(core::allocate_quietly(*kept_));
  core::access_bitmap(*kept_);
  return kOk;
}

// The pass reads rows in the file's depth and order, already at the wanted size.
Status RowDelivery::start_dithering() {
  TRY(core::init_bitmap(*dithered_, bitmap_.Width, bitmap_.Height, picture_.bits));
  dithered_->Order = picture_.order;
  dithered_->DitherMethod = bitmap_.DitherMethod;
  dithered_->Colors = picture_.colors;
  std::memcpy(dithered_->Info.Palette, picture_.palette, sizeof(picture_.palette));
  return color::start_pass(*dithered_, bitmap_.Info.Palette, 1u << bitmap_.BitsPerPixel, nullptr,
                           bitmap_.BitsPerPixel);
}

Status RowDelivery::allocate_rows() {
  const int32_t lines =
      settings.callback_lines > 0 ? settings.callback_lines : callback_lines(picture_.height);
  // Absurdly wide rows come in smaller batches.
  constexpr uint32_t kLargestBatch = 64u << 20;
  const auto most = static_cast<int32_t>(std::max(1u, kLargestBatch / line_));
  largest_batch_ = static_cast<uint32_t>(std::clamp(std::min(lines, most), 1, bitmap_.Height));
  find_place();
  // At least one row, for readers that go on behind the last one.
  const uint32_t rest = std::max(static_cast<uint32_t>(bitmap_.Height) - placed_rows_, 1u);
  TRY(batch_.allocate_shrinking(uint64_t{line_} * std::min(largest_batch_, rest) + kSlack, line_,
                                uint64_t{line_} + kSlack));
  buffer_rows_ = static_cast<uint32_t>((batch_.size() - kSlack) / line_);
  begin_batch();
  if (!has_stages()) return kOk;
  work_line_ =
      std::max({line_, source_line_,
                core::bytes_per_line(std::max(picture_.width, bitmap_.Width), picture_.bits)});
  constexpr uint32_t kWaitingRows = 32;
  const uint32_t rows = dithers_ && !resizes_ ? kWaitingRows : 1;
  TRY(work_.allocate_shrinking(uint64_t{work_line_} * rows + kSlack, work_line_,
                               uint64_t{work_line_} + kSlack));
  work_rows_ = static_cast<uint32_t>((work_.size() - kSlack) / work_line_);
  return kOk;
}

Status RowDelivery::start() {
  source_line_ = core::bytes_per_line(picture_.width, picture_.bits);
  if (source_line_ == 0 || picture_.height <= 0) return kBadSize;
  TRY(set_up_record());
  line_ = bitmap_.BytesPerLine;
  if (line_ == 0 || bitmap_.Height <= 0) return kBadSize;
  TRY(choose_stages());
  TRY(allocate_rows());
  return progress_.start();
}

// Whether the sink has room for all rows. The last ones go through the buffer all the same:
// decoders overrun their rows.
void RowDelivery::find_place() {
  // Dithering leaves padding as it is.
  if (dithers_ || sink_ != RowReceiver::sink || context_ == nullptr) return;
  const std::span<uint8_t> place = static_cast<RowReceiver*>(context_)->place(bitmap_);
  if (place.size() < bitmap_.Size || place.size() < kSlack) return;
  place_ = place.data();
  placed_rows_ = static_cast<uint32_t>((place.size() - kSlack) / line_);
}

void RowDelivery::begin_batch() {
  gathered_ = 0;
  batch_start_ = placed_rows_ > 0 ? place_ : batch_.data();
  batch_rows_ = placed_rows_ > 0 ? std::min(largest_batch_, placed_rows_) : buffer_rows_;
}

uint8_t* RowDelivery::lent_row() {
  return has_stages() ? work_.data() + size_t{waiting_} * work_line_ : batch_row();
}

std::span<uint8_t> RowDelivery::next_rows(uint32_t wanted, uint32_t& count) {
  count = has_stages() ? 1 : std::min(wanted, batch_rows_ - gathered_);
  uint8_t* const first = lent_row();
  // Padding is shorter than four bytes, and a row at least as long.
  for (uint32_t i = 1; i <= count; ++i) store_le32(first + size_t{i} * source_line_ - 4, 0);
  return {first, size_t{count} * source_line_};
}

// Puts a finished row, or what the dithering makes of one, into the batch.
Status RowDelivery::emit(const uint8_t* row, uint32_t repeats) {
  for (; repeats > 0; --repeats) {
    uint8_t* const out = batch_row();
    if (dithers_) {
      TRY(color::dither_rows(*dithered_, row, work_line_, out, line_, 1));
    } else {
      std::memcpy(out, row, line_);
    }
    ++gathered_;
    ++emitted_;
    if (gathered_ == batch_rows_) TRY(flush());
  }
  return kOk;
}

// Several rows at once: the dithering engine is faster when it sees more than one.
Status RowDelivery::dither_waiting() {
  const uint8_t* row = work_.data();
  while (waiting_ > 0) {
    const uint32_t count = std::min(waiting_, batch_rows_ - gathered_);
    TRY(color::dither_rows(*dithered_, row, work_line_, batch_row(), line_, count));
    row += size_t{count} * work_line_;
    waiting_ -= count;
    gathered_ += count;
    if (gathered_ == batch_rows_) TRY(flush());
  }
  return kOk;
}

Status RowDelivery::process(uint8_t* row) {
  if (swaps_) TRY(swap_.convert(row, picture_.width));
  if (!has_stages()) {
    ++gathered_;
    return gathered_ == batch_rows_ ? flush() : kOk;
  }
  return reorders_ ? keep(row) : run_stages(row, committed_ - 1);
}

Status RowDelivery::keep(const uint8_t* row) {
  const auto height = static_cast<uint32_t>(picture_.height);
  if (next_kept_.row() >= height) return kBadData;
  TRY(core::put_row(*kept_, next_kept_.row(), {row, source_line_}));
  kept_end_ = std::max(kept_end_, next_kept_.row() + 1);
  next_kept_.advance(height);
  return kOk;
}

Status RowDelivery::deliver_kept(uint32_t rows) {
  for (uint32_t y = 0; y < rows; ++y) {
    TRY(core::get_row(*kept_, y, work_.bytes().first(source_line_)));
    TRY(run_stages(work_.data(), y));
  }
  return kOk;
}

// Down to the lowest row that came; those that did not are zero.
Status RowDelivery::deliver_partly_kept() {
  const auto height = static_cast<uint32_t>(picture_.height);
  std::fill_n(work_.data(), source_line_, uint8_t{0});
  for (; next_kept_.row() < height; next_kept_.advance(height)) {
    if (next_kept_.row() >= kept_end_) continue;
    TRY(core::put_row(*kept_, next_kept_.row(), work_.bytes().first(source_line_)));
  }
  return deliver_kept(kept_end_);
}

// Row `number` of the picture.
Status RowDelivery::run_stages(uint8_t* row, uint32_t number) {
  if (dithers_ && !resizes_) {
    ++waiting_;
    return waiting_ == work_rows_ ? dither_waiting() : kOk;
  }
  uint32_t repeats = 1;
  if (resizes_) {
    const auto left = static_cast<uint32_t>(bitmap_.Height) - emitted_;
    repeats = std::min(resizer_.row_count(number), left);
    if (repeats == 0) return kOk;
    core::clear_padding({row, work_line_}, picture_.width, picture_.bits);
    resizer_.resize_row(row, picture_.bits);
  }
  return finish_row(row, repeats);
}

Status RowDelivery::finish_row(uint8_t* row, uint32_t repeats) {
  if (converts_) TRY(convert_.convert(row, bitmap_.Width));
  if (!dithers_) core::clear_padding({row, line_}, bitmap_.Width, bitmap_.BitsPerPixel);
  return emit(row, repeats);
}

// Rows without stages lie in the batch, one behind the other; with stages they come one by one.
Status RowDelivery::commit(uint32_t count) {
  if (!has_stages() && !swaps_) {
    committed_ += count;
    gathered_ += count;
    if (gathered_ == batch_rows_) TRY(flush());
    return progress_.at(committed_, static_cast<uint32_t>(picture_.height));
  }
  for (uint32_t i = 0; i < count; ++i) {
    uint8_t* const row = lent_row();
    ++committed_;
    TRY(process(row));
  }
  return progress_.at(committed_, static_cast<uint32_t>(picture_.height));
}

Status RowDelivery::flush() {
  const uint32_t count = gathered_;
  if (count == 0) return kOk;
  const Status answer{sink_(&bitmap_, batch_start_, static_cast<int32_t>(count), context_)};
  if (placed_rows_ > 0) {
    place_ += size_t{count} * line_;
    placed_rows_ -= count;
  }
  begin_batch();
  // Sinks of interlaced pictures may say 2 as well.
  const bool says_two = answer.code() == 2 && (picture_.flags & T_FLAG_INTERLACED) != 0;
  return says_two ? kOk : answer;
}

// A result of another size has rows that no row of the file reaches: they are blank.
Status RowDelivery::emit_blank_rows() {
  while (emitted_ < static_cast<uint32_t>(bitmap_.Height)) {
    std::fill_n(work_.data(), work_line_, uint8_t{0});
    TRY(finish_row(work_.data(), 1));
  }
  return kOk;
}

Status RowDelivery::finish() {
  if (reorders_) TRY(deliver_kept(static_cast<uint32_t>(picture_.height)));
  if (dithers_) TRY(dither_waiting());
  if (resizes_) TRY(emit_blank_rows());
  TRY(flush());
  return progress_.finish();
}

Status RowDelivery::finish_early(Status why) {
  if (reorders_) TRY(deliver_partly_kept());
  if (dithers_) TRY(dither_waiting());
  TRY(flush());
  return why;
}

}  // namespace tavo::process
