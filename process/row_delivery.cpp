#include "process/row_delivery.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "base/limits.h"
#include "base/settings.h"
#include "core/rows.h"
#include "process/callback_lines.h"

namespace tavo::process {

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
  stage_ = choose_stage(picture_.bits, bitmap_.BitsPerPixel, picture_.order == bitmap_.Order,
                        /*to_fixed=*/false);
  bitmap_.StorageKind = picture_.storage_kind;
  describe_target(picture_, stage_, bitmap_);
  if (reorders_) core::set_flag(bitmap_, T_FLAG_INTERLACED, false);
  return kOk;
}

Status RowDelivery::start_resampling() {
  TRY(resizer_.start(picture_.width, picture_.height, bitmap_.Width, bitmap_.Height));
  if (!reorders_) return kOk;
  TRY(core::init_bitmap(*kept_, picture_.width, picture_.height, picture_.bits));
  TRY(core::allocate_quietly(*kept_));
  core::access_bitmap(*kept_);
  return kOk;
}

Status RowDelivery::allocate_rows() {
  const uint32_t line = bitmap_.BytesPerLine;
  const int32_t lines =
      settings.callback_lines > 0 ? settings.callback_lines : callback_lines(picture_.height);
  // Absurdly wide rows come in smaller batches.
  constexpr uint32_t kLargestBatch = 64u << 20;
  const auto most = static_cast<int32_t>(std::max(1u, kLargestBatch / line));
  batch_.use_place();
  TRY(batch_.allocate(static_cast<uint32_t>(std::clamp(std::min(lines, most), 1, bitmap_.Height))));
  is_direct_ = !resizes_ && (stage_ == Stage::kPass || stage_ == Stage::kSwap);
  if (is_direct_) return kOk;
  work_line_ =
      std::max({line, source_line_,
                core::bytes_per_line(std::max(picture_.width, bitmap_.Width), picture_.bits)});
  constexpr uint32_t kWaitingRows = 32;
  const uint32_t rows = stages_.dithers() && !resizes_ ? kWaitingRows : 1;
  TRY(work_.allocate_shrinking(uint64_t{work_line_} * rows + kSlack, work_line_,
                               uint64_t{work_line_} + kSlack));
  work_rows_ = static_cast<uint32_t>((work_.size() - kSlack) / work_line_);
  return kOk;
}

Status RowDelivery::start() {
  source_line_ = core::bytes_per_line(picture_.width, picture_.bits);
  TRY(limits::check_picture(picture_.width, picture_.height));
  if (source_line_ == 0 || picture_.height <= 0) return kBadSize;
  TRY(set_up_record());
  if (bitmap_.BytesPerLine == 0 || bitmap_.Height <= 0) return kBadSize;
  TRY(stages_.start(stage_, picture_, bitmap_));
  if (resizes_) TRY(start_resampling());
  TRY(allocate_rows());
  return progress_.start();
}

uint8_t* RowDelivery::lent_row() {
  return is_direct_ ? batch_.next() : work_.data() + size_t{waiting_} * work_line_;
}

std::span<uint8_t> RowDelivery::next_rows(uint32_t wanted, uint32_t& count) {
  count = is_direct_ ? std::min(wanted, batch_.room()) : 1;
  uint8_t* const first = lent_row();
  // Padding is shorter than four bytes, and a row at least as long.
  for (uint32_t i = 1; i <= count; ++i) store_le32(first + size_t{i} * source_line_ - 4, 0);
  return {first, size_t{count} * source_line_};
}

Status RowDelivery::commit(uint32_t count, uint32_t whole) {
  LastLoad& load = settings.last_load;
  if (load.whole_rows == committed_) load.whole_rows += whole;
  committed_ += count;
  TRY(limits::add_work(uint64_t{count} * source_line_));
  uint8_t* const rows = lent_row();
  if (is_direct_) {
    TRY(stages_.make(rows, source_line_, rows, source_line_, count));
    TRY(batch_.add(count));
  } else if (count > 0) {
    TRY(process(rows));
  }
  return progress_.at(committed_, static_cast<uint32_t>(picture_.height));
}

// Rows in work memory come one by one.
Status RowDelivery::process(uint8_t* row) {
  if (reorders_) return keep(row);
  if (resizes_) return resample(row, committed_ - 1);
  ++waiting_;
  return waiting_ == work_rows_ ? run_waiting() : kOk;
}

Status RowDelivery::run_waiting() {
  const uint32_t count = waiting_;
  waiting_ = 0;
  return stages_.run(work_.data(), work_line_, count, batch_);
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
    TRY(resample(work_.data(), y));
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
Status RowDelivery::resample(uint8_t* row, uint32_t number) {
  const uint32_t left = static_cast<uint32_t>(bitmap_.Height) - emitted_;
  const uint32_t repeats = std::min(resizer_.row_count(number), left);
  if (repeats == 0) return kOk;
  core::clear_padding({row, work_line_}, picture_.width, picture_.bits);
  resizer_.resize_row(row, picture_.bits);
  return emit(row, repeats);
}

// Puts what becomes of a row into the batch. To the dithering, each repetition is another row.
Status RowDelivery::emit(uint8_t* row, uint32_t repeats) {
  emitted_ += repeats;
  if (stages_.dithers()) {
    for (; repeats > 0; --repeats) TRY(stages_.run(row, work_line_, 1, batch_));
    return kOk;
  }
  const uint32_t line = bitmap_.BytesPerLine;
  TRY(stages_.make(row, work_line_, row, work_line_, 1));
  core::clear_padding({row, line}, bitmap_.Width, bitmap_.BitsPerPixel);
  for (; repeats > 0; --repeats) {
    std::memcpy(batch_.next(), row, line);
    TRY(batch_.add(1));
  }
  return kOk;
}

// A result of another size has rows that no row of the file reaches: they are blank.
Status RowDelivery::emit_blank_rows() {
  while (emitted_ < static_cast<uint32_t>(bitmap_.Height)) {
    std::fill_n(work_.data(), work_line_, uint8_t{0});
    TRY(emit(work_.data(), 1));
  }
  return kOk;
}

Status RowDelivery::finish() {
  if (reorders_) TRY(deliver_kept(static_cast<uint32_t>(picture_.height)));
  TRY(run_waiting());
  if (resizes_) TRY(emit_blank_rows());
  TRY(batch_.flush());
  return progress_.finish();
}

Status RowDelivery::finish_early(Status why) {
  settings.note.row = static_cast<int32_t>(committed_);
  settings.note.page = settings.page_number;
  if (reorders_) TRY(deliver_partly_kept());
  TRY(run_waiting());
  TRY(batch_.flush());
  return why;
}

}  // namespace tavo::process
