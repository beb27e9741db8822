#include "pipeline/load_smoothly.h"

#include <algorithm>
#include <optional>

#include "base/settings.h"
#include "color/convert.h"
#include "color/row_blocks.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "pipeline/identify.h"
#include "pipeline/load.h"
#include "pipeline/registry.h"
#include "process/resize_bitmap.h"
#include "process/row_receiver.h"
#include "process/smooth/rows.h"
#include "reduce/reduce.h"

namespace tavo::pipeline {

namespace {

constexpr int32_t kLoadShare = 90;  // percent, when the depth changes afterwards

// Rows of a file on their way into a smaller or larger bitmap.
class SmoothSink final : public process::RowReceiver {
 public:
  SmoothSink(BitmapHandle& sized, const process::SmoothPlan& plan)
      : RowReceiver(this), sized_(sized), plan_(plan) {}

  // `picture` has been described by the load when its first rows come.
  Status take(const BitmapHandle& picture, const void* first_row, int32_t count) {
    if (!accessed_) TRY(start(picture));
    const auto* row = static_cast<const uint8_t*>(first_row);
    for (int32_t i = 0; i < count; ++i, row += picture.BytesPerLine) {
      TRY(rows_.take(row, [this](const uint8_t* result) {
        return core::put_row(sized_, next_++, {result, sized_.BytesPerLine});
      }));
    }
    return kOk;
  }
  std::span<uint8_t> place(const BitmapHandle&) { return {}; }

 private:
  Status start(const BitmapHandle& picture) {
    TRY(process::describe_smooth(sized_, picture, plan_.new_width, plan_.new_height));
    TRY(core::allocate_quietly(sized_));
    accessed_.emplace(sized_);
    return rows_.start(plan_, picture, sized_);
  }

  BitmapHandle& sized_;
  process::SmoothPlan plan_;
  std::optional<core::AccessScope> accessed_;
  process::SmoothRows rows_;
  uint32_t next_ = 0;
};

// a b / c to the nearest, at least 1.
int32_t in_proportion(int32_t a, int32_t b, int32_t c) {
  const int64_t rounded = (2 * int64_t{a} * b + c) / (2 * int64_t{c});
  return static_cast<int32_t>(std::clamp<int64_t>(rounded, 1, INT32_MAX));
}

// The least part of the picture that is still twice as large as what is wanted.
uint32_t draft_eighths(const FILEINFO& info, const process::SmoothPlan& plan) {
  const FormatRow* const format = find_format(info.Format);
  if (format == nullptr || format->read_draft == nullptr) return 8;
  for (const uint32_t eighths : {1u, 2u, 4u}) {
    const int32_t width = draft_size(info.Width, eighths);
    const int32_t height = draft_size(info.Height, eighths);
    const bool is_wide = width >= 2 * int64_t{plan.new_width};
    const bool is_high = height >= 2 * int64_t{plan.new_height};
    const bool is_there = std::min(width, height) >= format->smallest_draft;
    if (is_wide && is_high && is_there) return eighths;
  }
  return 8;
}

Status load_filtered(const char* name, BitmapHandle& bitmap, const LoadRequest& request,
                     const FILEINFO& info, const process::SmoothPlan& plan) {
  core::OwnedBitmap sized;
  SmoothSink sink(*sized, plan);
  LoadRequest rows = request;
  rows.eighths = 8 / plan.scale;
  // Interlaced rows are filtered in the order of the picture.
  rows.flags = T_LOAD_GIF_WHOLE;
  rows.callback = SmoothSink::sink;
  rows.user_data = sink.context();
  const Status status = load(name, bitmap, rows);
  // A row of a draft stands for several of the file.
  uint32_t& whole_rows = settings.last_load.whole_rows;
  whole_rows = std::min(whole_rows * plan.scale, static_cast<uint32_t>(info.Height));
  TRY(status);
  core::take_place(bitmap, *sized);
  core::set_flag(bitmap, T_FLAG_INTERLACED, (info.Flags & T_FLAG_INTERLACED) != 0);
  return kOk;
}

// Red and blue change places where another order is wanted.
Status set_order(BitmapHandle& bitmap, uint32_t order) {
  if (bitmap.Order == order) return kOk;
  color::RowConverter swap;
  TRY(swap.start(bitmap.BitsPerPixel, bitmap.BitsPerPixel, static_cast<int32_t>(bitmap.Order),
                 static_cast<int32_t>(order), nullptr, nullptr));
  color::RowBlocks rows(bitmap);
  TRY(rows.start());
  const auto height = static_cast<uint32_t>(bitmap.Height);
  for (uint32_t y = 0, n = 0; y < height; y += n) {
    n = std::min(rows.rows(), height - y);
    const uint8_t* from = nullptr;
    TRY(rows.read(y, n, from));
    uint8_t* row = rows.place(y);
    for (uint32_t i = 0; i < n; ++i, row += rows.stride()) {
      TRY(swap.convert(row, bitmap.Width));
    }
    TRY(rows.store(y, n));
  }
  bitmap.Order = order;
  return kOk;
}

Status convert(BitmapHandle& bitmap, const SmoothLoad& request) {
  if (request.bits == 0) return kOk;
  if (request.bits == 8) return color::gray_scale_bitmap(bitmap);
  if (bitmap.BitsPerPixel != request.bits) {
    TRY(color::color_resolution(bitmap, request.bits, color::PaletteType::kNone, nullptr, 0));
  }
  const bool order_asked = request.order == T_ORDER_RGB || request.order == T_ORDER_BGR;
  return order_asked ? set_order(bitmap, static_cast<uint32_t>(request.order)) : kOk;
}

Status load_sized(const char* name, BitmapHandle& bitmap, const SmoothLoad& request) {
  FILEINFO info;
  TRY(identify(name, info));
  if (info.Width < 1 || info.Height < 1) return kBadSize;
  const int32_t width =
      request.width != 0 ? request.width : in_proportion(info.Width, request.height, info.Height);
  const int32_t height =
      request.height != 0 ? request.height : in_proportion(info.Height, request.width, info.Width);
  LoadRequest whole;
  whole.order = request.order;
  const core::ProgressPart part(0, request.bits == 0 ? 100 : kLoadShare);
  const uint32_t method = request.method & ~T_SIZE_DRAFT;
  if (method != T_SIZE_NEAREST && (width != info.Width || height != info.Height)) {
    process::SmoothPlan plan = {static_cast<process::SmoothFilter>(method), info.Width, info.Height,
                                width, height};
    if (request.method != method) plan.scale = 8 / draft_eighths(info, plan);
    return load_filtered(name, bitmap, whole, info, plan);
  }
  whole.flags = T_LOAD_ALLOCATE;
  const core::ProgressPart loading(0, 50);
  TRY(load(name, bitmap, whole));
  const core::ProgressPart sizing(50, 100);
  return process::size_bitmap(bitmap, width, height);
}

}  // namespace

Status load_smoothly(const char* name, BitmapHandle& bitmap, const SmoothLoad& request) {
  // For a caller that frees it after any failure.
  TRY(core::init_bitmap(bitmap, 0, 0, 24));
  Status status = load_sized(name, bitmap, request);
  if (status.ok()) {
    const core::ProgressPart part(kLoadShare, 100);
    status = convert(bitmap, request);
  }
  if (!status.ok()) core::free_bitmap(bitmap);
  return status;
}

}  // namespace tavo::pipeline
