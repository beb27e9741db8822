#include "display/print.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "base/buffer.h"
#include "base/settings.h"
#include "color/paint_palette.h"
#include "core/progress.h"
#include "display/canvas.h"
#include "display/painting.h"
#include "display/status.h"
#include "process/paint/painted_rows.h"
#include "process/paint/placement.h"
#include "process/whole_picture.h"

namespace tavo::display {

using process::PixelRect;

namespace {

constexpr size_t kBandBytes = 1024 * 1024;  // that go to the printer in one call
constexpr int32_t kUnknownResolution = 150;

// A picture and the pixels of the page that it takes.
struct PrintedPart {
  PixelRect source;
  PixelRect place;
  DWORD rop = SRCCOPY;
};

// Resolutions that nobody knows are those of the other direction, or the library's own.
int32_t known_resolution(int32_t resolution, int32_t other) {
  if (resolution > 0) return resolution;
  return other > 0 ? other : kUnknownResolution;
}

Status find_area(HDC dc, const RECT* destination, PixelRect& area) {
  if (destination == nullptr) {
    area = {0, 0, GetDeviceCaps(dc, HORZRES), GetDeviceCaps(dc, VERTRES)};
    return area.is_empty() ? kDevice : kOk;
  }
  RECT to = *destination;
  if (to.right <= to.left || to.bottom <= to.top) return kBadArgument;
  TRY(map_to_device(dc, to));
  const auto length = [](int64_t a, int64_t b) { return std::abs(a - b); };
  if (std::max(length(to.left, to.right), length(to.top, to.bottom)) > INT32_MAX) {
    return kBadArgument;
  }
  area = {std::min(to.left, to.right), std::min(to.top, to.bottom), std::max(to.left, to.right),
          std::max(to.top, to.bottom)};
  // Something of every picture is printed, however small the area.
  area.right = std::max(area.right, area.left + 1);
  area.bottom = std::max(area.bottom, area.top + 1);
  return kOk;
}

Status place(const BitmapHandle& bitmap, HDC dc, const PrintOrder& order, PrintedPart& part) {
  const uint32_t placement = order.placement & ~uint32_t{T_PRINT_CENTER};
  if (placement > T_PRINT_ACTUAL) return kBadArgument;
  TRY(read_source(bitmap, order.source, part.source));
  if (order.rop != 0) part.rop = order.rop;
  process::PagePlan plan;
  TRY(find_area(dc, order.destination, plan.area));
  const int32_t x = bitmap.XResolution, y = bitmap.YResolution;
  plan.across = {part.source.right - part.source.left, known_resolution(x, y)};
  plan.down = {part.source.bottom - part.source.top, known_resolution(y, x)};
  plan.page_resolution_x = GetDeviceCaps(dc, LOGPIXELSX);
  plan.page_resolution_y = GetDeviceCaps(dc, LOGPIXELSY);
  plan.placement = static_cast<process::Placement>(placement);
  plan.is_centered = (order.placement & T_PRINT_CENTER) != 0;
  part.place = place_on_page(plan);
  return kOk;
}

// Rows on their way to a printer: as many pixels as the picture or the page has, whichever are
// fewer.
class PrintedRows {
 public:
  PrintedRows(BitmapHandle& bitmap, HDC dc, const PrintedPart& part)
      : bitmap_(bitmap), part_(part), canvas_(dc), rows_(bitmap), painted_(rows_) {}

  Status print();

 private:
  Status start();
  Status print_band(int32_t first, int32_t end);
  int32_t edge(int32_t row) const;

  BitmapHandle& bitmap_;
  const PrintedPart& part_;
  Canvas canvas_;
  process::ScaledView view_;
  process::PictureRows rows_;
  process::PaintedRows painted_;
  Buffer band_;
};

Status PrintedRows::start() {
  TRY(canvas_.start());
  const bool averages = process::averages(bitmap_.BitsPerPixel, false, settings.paint);
  const auto axis = [averages](int32_t first, int32_t end, int32_t most) {
    const int32_t samples = end - first, results = std::min(samples, most);
    return process::Axis{first, samples, results, false, averages && results < samples};
  };
  const PixelRect& source = part_.source;
  const PixelRect& to = part_.place;
  view_ = {axis(source.left, source.right, to.right - to.left),
           axis(source.top, source.bottom, to.bottom - to.top)};
  view_.right = view_.across.results;
  TRY(rows_.start(false));
  const color::PaintPalette colors(bitmap_);
  process::PaintPlan plan = {.view = view_, .color_bits = 24};
  if (bitmap_.BitsPerPixel <= 8 && !view_.takes_means()) plan.as = process::PaintedAs::kIndices;
  TRY(painted_.start(plan, colors));
  const int32_t bits = painted_.bits();
  if (bits <= 8) {
    canvas_.take_indices(bits, {colors.entries, size_t{1} << bits});
  } else {
    canvas_.take_colors(bits);
  }
  return kOk;
}

// Of the whole, so that bands abut.
int32_t PrintedRows::edge(int32_t row) const {
  const int64_t height = part_.place.bottom - part_.place.top;
  const int64_t rows = view_.down.results;
  return part_.place.top + static_cast<int32_t>((2 * row * height + rows) / (2 * rows));
}

Status PrintedRows::print_band(int32_t first, int32_t end) {
  for (int32_t y = first; y < end; ++y) {
    TRY(painted_.row(y, band_.data() + static_cast<size_t>(y - first) * painted_.stride()));
  }
  const PixelRect to = {part_.place.left, edge(first), part_.place.right, edge(end)};
  return canvas_.stretch({band_.data(), painted_.width()}, painted_.width(), end - first, to,
                         part_.rop);
}

Status PrintedRows::print() {
  TRY(start());
  const int32_t height = view_.down.results;
  const auto lines = static_cast<int32_t>(
      std::clamp<size_t>(kBandBytes / painted_.stride(), 1, static_cast<size_t>(height)));
  TRY(band_.allocate(uint64_t{painted_.stride()} * static_cast<uint64_t>(lines)));
  core::Progress progress;
  TRY(progress.start());
  for (int32_t y = 0; y < height;) {
    const int32_t end = y + std::min(lines, height - y);
    TRY(print_band(y, end));
    y = end;
    TRY(progress.after_step(static_cast<uint64_t>(y), static_cast<uint64_t>(height)));
  }
  return kOk;
}

// A document of one page. Unless it is finished, none stays open.
class Document {
 public:
  explicit Document(HDC dc) : dc_(dc) {}
  ~Document() {
    // Some systems refuse to abort a document; its end then closes it.
    if (is_open_ && AbortDoc(dc_) <= 0) EndDoc(dc_);
  }
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  Status begin(const char* name, const char* output) {
    const DOCINFOA info = {.cbSize = sizeof(DOCINFOA),
                           .lpszDocName = name,
                           .lpszOutput = output,
                           .lpszDatatype = nullptr,
                           .fwType = 0};
    if (StartDocA(dc_, &info) <= 0) return kDevice;
    is_open_ = true;
    return StartPage(dc_) > 0 ? kOk : kDevice;
  }

  Status finish() {
    if (EndPage(dc_) <= 0) return kDevice;
    if (EndDoc(dc_) <= 0) return kDevice;
    is_open_ = false;
    return kOk;
  }

 private:
  HDC dc_;
  bool is_open_ = false;
};

}  // namespace

Status print_bitmap(BitmapHandle& bitmap, HDC dc, const PrintOrder& order) {
  TRY(process::check_bitmap(bitmap));
  PrintedPart part;
  TRY(place(bitmap, dc, order, part));
  if (order.document == nullptr) return PrintedRows(bitmap, dc, part).print();
  Document document(dc);
  TRY(document.begin(order.document, order.output));
  TRY(PrintedRows(bitmap, dc, part).print());
  return document.finish();
}

}  // namespace tavo::display
