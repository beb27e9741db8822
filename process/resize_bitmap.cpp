#include "process/resize_bitmap.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "base/buffer.h"
#include "base/stream_copy.h"
#include "core/bitmap.h"
#include "core/notice.h"
#include "core/progress.h"
#include "core/rows.h"
#include "process/resize_row.h"

namespace tavo::process {

namespace {

// One bitmap to another. Rows of whole bytes go straight from memory to memory.
class BitmapResize {
 public:
  BitmapResize(BitmapHandle& source, BitmapHandle& destination, Resizer& resizer)
      : source_(source), destination_(destination), resizer_(resizer) {}

  Status run() {
    const core::AccessScope accessed_source(source_);
    const core::AccessScope accessed_destination(destination_);
    direct_ = source_.BitsPerPixel >= 8 && core::has_flag(source_, T_FLAG_LOCKED) &&
              core::has_flag(destination_, T_FLAG_LOCKED);
    TRY(row_.allocate(kStreamedLine +
                      uint64_t{std::max(source_.BytesPerLine, destination_.BytesPerLine)}));
    core::Progress progress;
    TRY(progress.start());
    const auto old_height = static_cast<uint32_t>(source_.Height);
    const auto new_height = static_cast<uint32_t>(destination_.Height);
    for (uint32_t y = 0; y < old_height && out_ < new_height; ++y) {
      const uint32_t repeats = std::min(resizer_.row_count(y), new_height - out_);
      if (repeats != 0) TRY(direct_ ? move_row(y, repeats) : copy_row(y, repeats));
      TRY(progress.at(y, old_height));
    }
    // What no source row reaches is zero.
    std::fill(row_.bytes().begin(), row_.bytes().end(), uint8_t{0});
    while (out_ < new_height) TRY(core::put_row(destination_, out_++, line()));
    return progress.finish();
  }

 private:
  std::span<uint8_t> line() { return row_.bytes().first(destination_.BytesPerLine); }

  Status move_row(uint32_t y, uint32_t repeats) {
    const size_t new_line = destination_.BytesPerLine;
    uint8_t* to = static_cast<uint8_t*>(destination_.Data) + new_line * out_;
    out_ += repeats;
    const uint8_t* const from =
        static_cast<const uint8_t*>(source_.Data) + size_t{source_.BytesPerLine} * y;
    if (destination_.Size >= kStreamedBytes) {
      stream_row(from, to, repeats);
      return kOk;
    }
    uint32_t next = y + 1;
    while (next < static_cast<uint32_t>(source_.Height) && resizer_.row_count(next) == 0) ++next;
    resizer_.resize_row(from, to, source_.BitsPerPixel, size_t{source_.BytesPerLine} * (next - y));
    core::clear_padding({to, new_line}, destination_.Width, destination_.BitsPerPixel);
    for (const uint8_t* const row = to; repeats > 1; --repeats) {
      std::memcpy(to += new_line, row, new_line);
    }
    return kOk;
  }

  // Each piece goes to all rows that repeat it, whole cache lines of theirs: where one begins in
  // the piece before, that piece's end is still there.
  void stream_row(const uint8_t* from, uint8_t* to, uint32_t repeats) {
    const size_t new_line = destination_.BytesPerLine;
    uint8_t* const scratch = row_.data() + kStreamedLine;
    size_t begin = 0;
    const auto stream = [&](std::span<const uint8_t> piece) {
      const size_t end = begin + piece.size();
      for (uint32_t n = 0; n < repeats; ++n) {
        uint8_t* const row = to + n * new_line;
        const size_t first = whole_lines(row, begin);
        const size_t last = end == new_line ? end : whole_lines(row, end);
        if (last > first) stream_copy(row + first, piece.data() + first - begin, last - first);
      }
      std::memmove(scratch - kStreamedLine, piece.data() + piece.size() - kStreamedLine,
                   kStreamedLine);
      begin = end;
    };
    resizer_.resize_row(from, scratch, source_.BitsPerPixel, stream);
    std::memset(scratch, 0, new_line - begin);
    if (begin < new_line) stream({scratch, new_line - begin});
  }

  Status copy_row(uint32_t y, uint32_t repeats) {
    TRY(core::get_row(source_, y, row_.bytes().first(source_.BytesPerLine)));
    // Nothing of the row before shows where this one is not reached.
    core::clear_padding(row_.bytes(), source_.Width, source_.BitsPerPixel);
    resizer_.resize_row(row_.data(), source_.BitsPerPixel);
    core::clear_padding(line(), destination_.Width, destination_.BitsPerPixel);
    for (; repeats > 0; --repeats) TRY(core::put_row(destination_, out_++, line()));
    return kOk;
  }

  BitmapHandle& source_;
  BitmapHandle& destination_;
  Resizer& resizer_;
  bool direct_ = false;
  Buffer row_;
  uint32_t out_ = 0;  // rows of the result that are there
};

}  // namespace

Status resize_bitmap(BitmapHandle& source, BitmapHandle& destination) {
  if (source.BitsPerPixel != destination.BitsPerPixel) return kBadArgument;
  // As its rows would answer, of which a small result may need none.
  if (!core::has_storage(source) || !core::has_storage(destination)) return kNoMemory;
  Resizer resizer;
  TRY(resizer.start(source.Width, source.Height, destination.Width, destination.Height));
  const Status status = BitmapResize(source, destination, resizer).run();
  stream_fence();
  return status;
}

Status size_bitmap(BitmapHandle& bitmap, int32_t width, int32_t height) {
  TRY(core::check_notice());
  if (bitmap.Width == width && bitmap.Height == height) return kOk;
  if (width < 1 || height < 1) return kBadArgument;
  core::OwnedBitmap sized;
  TRY(core::init_bitmap(*sized, width, height, bitmap.BitsPerPixel));
  TRY(core::allocate_quietly(*sized));
  TRY(core::copy_description_resized(*sized, bitmap));
  TRY(resize_bitmap(bitmap, *sized));
  core::take_place(bitmap, *sized);
  return kOk;
}

}  // namespace tavo::process
