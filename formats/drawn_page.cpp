#include "formats/drawn_page.h"

#include <algorithm>

#include "base/limits.h"
#include "base/settings.h"

namespace tavo::formats {

namespace {

constexpr int32_t kSmoothFactor = 4;

// Whole rows of about so many bytes are drawn at once, so that a page takes little more memory than
// the bitmap that it goes to.
constexpr int64_t kBandBytes = 3 << 20;

int32_t band_rows(int32_t width, int32_t height, int32_t factor) {
  const int64_t rows = kBandBytes / (3 * int64_t{width} * factor) / factor;
  return std::clamp(static_cast<int32_t>(rows), 1, height) * factor;
}

// A row of the averages of blocks of `kSmoothFactor` rows and columns.
void average(const draw::Canvas& canvas, int32_t y, std::span<uint8_t> row) {
  constexpr uint32_t kPixels = kSmoothFactor * kSmoothFactor;
  for (size_t at = 0; at < row.size(); ++at) {
    const size_t first = at / 3 * 3 * kSmoothFactor + at % 3;
    uint32_t sum = kPixels / 2;
    for (int32_t i = 0; i < kSmoothFactor; ++i) {
      const uint8_t* const from = canvas.row(y + i).data() + first;
      for (size_t j = 0; j < kSmoothFactor; ++j) sum += from[3 * j];
    }
    row[at] = static_cast<uint8_t>(sum / kPixels);
  }
}

}  // namespace

PageSize page_size(int64_t width, int64_t height) {
  const int64_t longest = std::max<int64_t>({width, height, draw::kLargestSide});
  const auto side = [longest](int64_t length) {
    return static_cast<int32_t>(std::max<int64_t>(length * draw::kLargestSide / longest, 1));
  };
  return {side(width), side(height)};
}

Status check_page(int32_t width, int32_t height, uint64_t file_bytes) {
  TRY(limits::check_picture(width, height));
  constexpr uint64_t kOfAnyFile = 1 << 24, kOfEachByte = 1 << 16;
  const uint64_t pixels = static_cast<uint64_t>(int64_t{width} * height);
  return pixels <= kOfAnyFile + kOfEachByte * file_bytes ? kOk : kBadData;
}

int32_t draw_scale(int32_t width, int32_t height) {
  const int32_t longest = std::max({width, height, 1});
  return std::clamp(draw::kLargestSide / longest, 1, settings.draw_scale);
}

Status deliver_page(const process::SourcePicture& picture, process::RowDelivery& rows,
                    DrawPage draw) {
  const int32_t factor = settings.draw_smooth ? kSmoothFactor : 1;
  draw::Canvas canvas;
  TRY(canvas.start(picture.width * factor, picture.height * factor,
                   band_rows(picture.width, picture.height, factor), picture.order));
  TRY(rows.start());
  draw::Painter painter(canvas);
  Status result = kOk;
  const size_t row_bytes = 3 * static_cast<size_t>(picture.width);
  for (int32_t top = 0; top < canvas.height(); top = canvas.bottom()) {
    canvas.begin_band(top);
    result = draw(painter, factor);
    if (!result.ok() && result != kReadError) return result;
    for (int32_t y = top; y < canvas.bottom(); y += factor) {
      const auto row = rows.next_row().first(row_bytes);
      if (factor == 1) {
        std::ranges::copy(canvas.row(y), row.begin());
      } else {
        average(canvas, y, row);
      }
      TRY(rows.commit(1, result.ok() ? 1 : 0));
    }
  }
  return result.ok() ? rows.finish() : rows.finish_early(result);
}

}  // namespace tavo::formats
