#include "pipeline/save_plan.h"

#include <algorithm>
#include <array>

#include "base/depths.h"
#include "io/file_table.h"
#include "io/input_file.h"
#include "pipeline/identify.h"

namespace tavo::pipeline {

namespace {

bool writes_depth(const FormatRow& format, int32_t depth) {
  if (format.takes_any_depth) return true;
  return is_bitmap_depth(depth) && (format.write_depths & depth_bit(depth)) != 0;
}

// What a save that appends does with the file `name`. It is written anew only when there is none,
// when it is empty, or when it was read without a failure and is of another format; whatever else
// keeps it from being identified is the result, as a new file in its place would cost its pages.
Status look_at_target(const FormatRow& format, const char* name, io::Target& target) {
  io::InputFile file;
  const Status opened = file.open(name);
  target = io::Target::kNew;
  if (opened == kOpenError && io::is_absent(name)) return kOk;
  TRY(opened);
  std::array<uint8_t, 4> head;
  size_t got = 0;
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  if (file_bytes == 0) return kOk;
  TRY(file.read_up_to(head, got));
  if (got < std::min<size_t>(file_bytes, head.size())) return kReadError;
  file.close();
  target = io::Target::kExtend;
  if (format.holds_pages({head.data(), got})) return kOk;
  FILEINFO info;
  TRY(identify(name, info));
  const FormatRow* const found = find_format(info.Format);
  if (found == nullptr || found->write != format.write) target = io::Target::kReplace;
  return kOk;
}

}  // namespace

SavePlan::SavePlan(const char* name, const SaveOptions& options, int32_t bits, bool is_reduced)
    : format(find_format(options.format)),
      request{.name = name,
              .format = options.format,
              .depth = options.bits == 0 ? bits : options.bits,
              .quality = options.quality} {
  if (format != nullptr && format->always_24_bits) request.depth = 24;
  // Pixels of fewer bits are all opaque, which what they are widened to would not say.
  if (format != nullptr && format->has_alpha && request.depth == 32 && bits != 32) {
    request.depth = 24;
  }
  const bool is_gray = format != nullptr && format->always_gray && !options.direct;
  if (is_gray && request.depth != 1 && is_bitmap_depth(request.depth)) request.depth = 8;
  const bool always = (options.flags & T_SAVE_REDUCE) != 0 && !is_reduced;
  if (is_gray || (format != nullptr && format->gray_at_8_bits && request.depth == 8)) {
    preparation = Preparation::kGray;
  } else if (bits != request.depth || always) {
    preparation = Preparation::kResolution;
  }
  appends = format != nullptr && format->holds_pages != nullptr &&
            ((options.flags & T_SAVE_APPEND) != 0 || settings.page_number >= 2);
}

Status SavePlan::find_target() {
  return appends ? look_at_target(*format, request.name, request.target) : kOk;
}

Status SavePlan::with_writer(io::WriterUse use) const {
  if (format == nullptr || format->write == nullptr) return kNoFormat;
  return writes_depth(*format, request.depth) ? format->write(use) : kBadDepth;
}

}  // namespace tavo::pipeline
