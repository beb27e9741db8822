#include "formats/wmf_scan.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "draw/canvas.h"
#include "formats/drawn_page.h"
#include "formats/wmf_state.h"

namespace tavo::wmf {

namespace {

constexpr int64_t kScreenDotsPerInch = 96;

// While the file is looked through, the frame is this far in both directions.
// 256 and more for each unit of the widest window, of 65535, and far from draw::kFarthest.
constexpr int32_t kFrame = 1 << 24;
// Asked exactly, bitmaps that miss the window by what a program rounded would come as a page at 96
// per inch instead of their own pixels.
constexpr int32_t kMayMiss = kFrame / 100;  // of a picture that still counts as the whole one

constexpr int64_t divided(int64_t a, int64_t b) { return (a + b / 2) / b; }

// A record that leaves something on the page.
bool is_drawing(uint16_t function) {
  // Flood fills and escapes are missing: nothing draws them.
  constexpr uint16_t kDrawing[] = {
      kInvertRegion, kPaintRegion, kFillRegion, kFrameRegion, kLineTo,  kPolygon,
      kPolyline,     kEllipse,     kRectangle,  kSetPixel,    kTextOut, kPolyPolygon,
      kRoundRect,    kPatBlt,      kArc,        kPie,         kChord,   kExtTextOut};
  return std::ranges::find(kDrawing, function) != std::end(kDrawing);
}

class Scanner {
 public:
  Scanner(Records& records, Contents& contents) : records_(records), contents_(contents) {}

  Status run() {
    start_frame();
    while (records_.next()) TRY(take());
    TRY(records_.failure());
    contents_.is_cut = records_.is_cut();
    choose();
    return kOk;
  }

 private:
  void start_frame() {
    Mapping& mapping = states_.now.mapping;
    const Header& header = contents_.header;
    mapping.width = mapping.height = kFrame;
    if (!header.is_placeable) return;
    mapping.x_origin = header.left;
    mapping.y_origin = header.top;
    mapping.x_extent = header.right - header.left;
    mapping.y_extent = header.bottom - header.top;
    // Either side of the box may be the larger one; the page has the lengths alone.
    const auto pixels = [&](int32_t units) {
      return divided(std::abs(int64_t{units}) * kScreenDotsPerInch, header.units_per_inch);
    };
    set_screen(pixels(mapping.x_extent), pixels(mapping.y_extent));
  }

  void set_screen(int64_t width, int64_t height) {
    const formats::PageSize page = formats::page_size(width, height);
    Mapping& mapping = states_.now.mapping;
    mapping.pixel_width = contents_.screen_width = contents_.width = page.width;
    mapping.pixel_height = contents_.screen_height = contents_.height = page.height;
    has_screen_ = true;
  }

  Status take() {
    const uint16_t function = records_.function();
    if (is_bitmap_function(function)) return take_bitmap_record();
    if (is_drawing(function)) {
      ++drawings_;
      return kOk;
    }
    std::array<int16_t, 4> words = {};
    const auto count = static_cast<size_t>(std::min<uint64_t>(records_.left() / 2, words.size()));
    if (!records_.take(std::span(words).first(count))) return kOk;
    if (function == kSaveDc) return states_.save();
    if (function == kRestoreDc) return states_.restore(words[0]);
    states_.take(function, words);
    const bool is_extent = function == kSetWindowExt && words[0] != 0 && words[1] != 0;
    // Of several windows the first is the page; later ones stretch parts of a drawing over it.
    if (is_extent && !has_screen_) {
      set_screen(std::abs(int32_t{words[1]}), std::abs(int32_t{words[0]}));
    }
    return kOk;
  }

  Status take_bitmap_record() {
    const uint64_t record = records_.record();
    BitmapCall call;
    if (!take_call(records_, call)) return kOk;
    if (!call.has_bitmap) {
      ++drawings_;
      return kOk;
    }
    Bitmap bitmap;
    draw::Box source;
    ByteSource bytes(records_);
    TRY(bytes.start(kHeadBytesAtOnce));
    const Status status = take_bitmap(bytes, records_.left_in_file(), call.form, bitmap);
    if (status == kNoMemory) return status;
    TRY(records_.failure());
    // Passed over here as the player does, so that both agree about what the file shows.
    if (!status.ok() || !source_box(call, bitmap, source).ok()) return kOk;
    ++bitmaps_;
    drawings_before_ = drawings_;
    compare_ratio(call, source);
    if (bitmaps_ > 1) return kOk;
    contents_.record = record;
    contents_.bitmap = bitmap;
    contents_.source = source;
    // What mixes with the page, or has pixels from outside of the bitmap, must be drawn.
    is_whole_ = covers_frame(call) && call.operation == draw::kCopySource &&
                common(source, {0, 0, bitmap.header.width, bitmap.header.height}) == source;
    return kOk;
  }

  // Notes how it would have to be mirrored, too.
  bool covers_frame(const BitmapCall& call) {
    const Mapping& mapping = states_.now.mapping;
    const draw::Point from = mapping.at(call.x, call.y);
    const draw::Point to = mapping.at(int64_t{call.x} + call.width, int64_t{call.y} + call.height);
    contents_.is_mirrored = (from.x > to.x) != (call.source_width < 0);
    contents_.is_flipped = (from.y > to.y) != (call.source_height < 0);
    // Mirrored ones begin with the pixel that they name (wmf_placed.cpp).
    const auto covers = [](int32_t a, int32_t b, int32_t pixels) {
      const int32_t pixel = a > b ? kFrame / pixels : 0;
      return std::min(a, b) + pixel <= kMayMiss && std::max(a, b) + pixel >= kFrame - kMayMiss;
    };
    return has_screen_ && covers(from.x, to.x, mapping.pixel_width) &&
           covers(from.y, to.y, mapping.pixel_height);
  }

  // What size the page would have to have for a bitmap to keep its pixels; of bitmaps that do not
  // agree, none. A difference of a 64th is what rounded positions of small ones make.
  void compare_ratio(const BitmapCall& call, const draw::Box& source) {
    const Mapping& mapping = states_.now.mapping;
    const auto side = [](int32_t pixels, int32_t length) {
      return length == 0 ? 0 : divided(int64_t{pixels} * kFrame, length);
    };
    const int64_t width = side(source.right - source.left, mapping.length_x(call.width));
    const int64_t height = side(source.bottom - source.top, mapping.length_y(call.height));
    const auto agree = [](int64_t a, int64_t b) { return std::abs(a - b) * 64 <= std::max(a, b); };
    if (bitmaps_ == 1) {
      page_width_ = width;
      page_height_ = height;
    } else if (!agree(width, page_width_) || !agree(height, page_height_)) {
      page_width_ = 0;
    }
  }

  void choose() {
    if (bitmaps_ + drawings_ == 0) return;
    contents_.has_no_window = !has_screen_;
    if (!has_screen_) return;
    // What is drawn in front of a bitmap that covers the page is not seen.
    const bool nothing_behind = drawings_ == drawings_before_;
    const bool has_ratio = page_width_ > 0 && page_height_ > 0 &&
                           std::max(page_width_, page_height_) <= draw::kLargestSide;
    if (bitmaps_ == 1 && is_whole_ && nothing_behind) {
      contents_.content = Content::kBitmap;
      contents_.width = contents_.source.right - contents_.source.left;
      contents_.height = contents_.source.bottom - contents_.source.top;
    } else if (bitmaps_ > 1 && drawings_ == 0 && has_ratio) {
      contents_.content = Content::kBitmaps;
      contents_.width = static_cast<int32_t>(page_width_);
      contents_.height = static_cast<int32_t>(page_height_);
    } else {
      contents_.content = Content::kDrawing;
    }
    set_resolution();
  }

  void set_resolution() {
    const Header& header = contents_.header;
    // Windows of plain files are in units of no known length.
    if (!header.is_placeable) return;
    const auto dots = [&](int64_t pixels, int32_t units) {
      const int64_t length = std::max<int64_t>(std::abs(int64_t{units}), 1);
      return static_cast<int32_t>(divided(pixels * header.units_per_inch, length));
    };
    contents_.x_resolution = dots(contents_.width, header.right - header.left);
    contents_.y_resolution = dots(contents_.height, header.bottom - header.top);
  }

  // The largest header and 256 colours; pixels are skipped where they are.
  static constexpr size_t kHeadBytesAtOnce = 4096;

  Records& records_;
  Contents& contents_;
  States states_;
  bool has_screen_ = false;
  int32_t bitmaps_ = 0;
  int32_t drawings_ = 0;
  int32_t drawings_before_ = 0;  // the last bitmap
  bool is_whole_ = false;
  int64_t page_width_ = 0;
  int64_t page_height_ = 0;
};

}  // namespace

Status scan(io::InputFile& file, Records& records, Contents& contents) {
  std::array<uint8_t, kMostHeaderBytes> bytes;
  size_t got = 0;
  TRY(file.read_up_to(bytes, got));
  TRY(parse_header(std::span(bytes).first(got), contents.header));
  TRY(records.go_to(contents.header.first_record));
  return Scanner(records, contents).run();
}

}  // namespace tavo::wmf
