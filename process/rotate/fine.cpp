#include "process/rotate/fine.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "base/buffer.h"
#include "base/endian.h"
#include "base/trigonometry.h"
#include "color/gray.h"
#include "color/index_rows.h"
#include "color/nearest.h"
#include "color/paint_palette.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "process/rotate/fine_pixels.h"
#include "process/rotate/turn.h"
#include "process/whole_picture.h"
#include "process/work_rows.h"

namespace tavo::process {

namespace {

constexpr uint32_t kBlockRows = 64;
constexpr int64_t kHalfPixel = int64_t{1} << 31;

struct Size {
  int64_t width;
  int64_t height;
};

// Of what a turned picture needs. A thousandth of a pixel more than whole ones does not count: a
// quarter turn's sine is not exact.
Size turned_size(Size old, SineCosine angle) {
  const int64_t sine = std::max(angle.sine, -angle.sine);
  const int64_t cosine = std::max(angle.cosine, -angle.cosine);
  constexpr int64_t kUp = (int64_t{1} << 31) - (int64_t{1} << 21);
  return {(old.width * cosine + old.height * sine + kUp) >> 31,
          (old.width * sine + old.height * cosine + kUp) >> 31};
}

// What one turned picture is made with. Places are of centres, in 2^-32 pixels of the source.
struct Turning {
  SineCosine angle;
  Size source;
  Size result;
  int32_t bits;
  bool is_smooth;

  // The place of pixel 0 of a row, and the steps along it.
  TurnedPath path(int64_t y) const {
    const int64_t u = 1 - result.width;
    const int64_t v = 2 * y + 1 - result.height;
    return {angle.cosine * u + angle.sine * v + source.width * kHalfPixel,
            angle.cosine * v - angle.sine * u + source.height * kHalfPixel, 2 * angle.cosine,
            -2 * angle.sine};
  }
};

struct Span {
  int64_t first;
  int64_t end;
};
Span both(Span a, Span b) {
  const Span common = {std::max(a.first, b.first), std::min(a.end, b.end)};
  return common.first < common.end ? common : Span{0, 0};
}

int64_t divide_up(int64_t a, int64_t b) { return a / b + (a % b > 0 ? 1 : 0); }

// The steps x after which at + x step lies from `low` to below `high`.
Span steps_within(int64_t at, int64_t step, int64_t low, int64_t high, int64_t count) {
  if (step == 0) return at >= low && at < high ? Span{0, count} : Span{0, 0};
  const Span found = step > 0
                         ? Span{divide_up(low - at, step), divide_up(high - at, step)}
                         : Span{divide_up(at - high + 1, -step), divide_up(at - low + 1, -step)};
  return both(found, {0, count});
}

// The pixels of a row of the result that come from some rows of the source, and those of them whose
// neighbours are all inside the picture. The others mix with what surrounds it.
struct Reach {
  TurnedPath path;
  Span touched;
  Span inside;
};

// Rows `first` to `end` of the source, numbered from `first` in the path. A smooth pixel belongs to
// the upper of its two rows and wants one row more.
Reach reach_of(const Turning& turning, int64_t y, int64_t first, int64_t end) {
  const int64_t margin = turning.is_smooth ? kHalfPixel : 0;
  const int64_t right = turning.source.width << 32;
  const int64_t bottom = turning.source.height << 32;
  const int64_t count = turning.result.width;
  Reach reach = {turning.path(y), {}, {}};
  const TurnedPath& path = reach.path;
  const auto across = [&](int64_t from, int64_t to) {
    return steps_within(path.x, path.step_x, from, to, count);
  };
  const auto down = [&](int64_t from, int64_t to) {
    return steps_within(path.y, path.step_y, from, to, count);
  };
  const int64_t top = first == 0 ? -margin : (first << 32) + margin;
  reach.touched = both(across(-margin, right + margin), down(top, (end << 32) + margin));
  reach.inside = both(reach.touched, both(across(margin, right - margin),  //
                                          down(margin, bottom - margin)));
  reach.path.y -= first << 32;
  return reach;
}

class FineRotation {
 public:
  FineRotation(const Turning& turning, BitmapHandle& source, BitmapHandle& made,
               const uint8_t (&fill)[4])
      : turning_(turning),
        from_(source, RowNumbers::kFromTop),
        to_(made, RowNumbers::kFromTop),
        inside_(turning.is_smooth ? smooth_pixels(turning.bits, true)
                                  : nearest_pixels(turning.bits)),
        edge_(turning.is_smooth ? smooth_pixels(turning.bits, false) : inside_) {
    std::ranges::copy(fill, rows_.fill);
  }

  Status run(core::Progress& progress) {
    TRY(from_.start(2));
    TRY(to_.start());
    rows_.stride = from_.stride();
    rows_.width = static_cast<int32_t>(turning_.source.width);
    if (is_packed()) TRY(indices_.allocate(static_cast<uint64_t>(turning_.result.width)));
    const int64_t height = turning_.source.height;
    const int64_t more = turning_.is_smooth ? 1 : 0;
    const bool is_all = from_.capacity() >= height;
    const int64_t step = is_all ? height : from_.capacity() - more;
    for (int64_t y = 0, end = 0; y < height; y = end) {
      end = std::min(y + step, height);
      rows_.height = static_cast<int32_t>(std::min(end + more, height) - y);
      TRY(from_.read(static_cast<uint32_t>(y), static_cast<uint32_t>(rows_.height)));
      rows_.first = from_.row(static_cast<uint32_t>(y));
      TRY(run_band(y, end, progress));
    }
    return kOk;
  }

 private:
  bool is_packed() const { return turning_.bits < 8; }

  Status run_band(int64_t first, int64_t end, core::Progress& progress) {
    const auto height = static_cast<uint32_t>(turning_.result.height);
    for (uint32_t y = 0, n = 0; y < height; y += n) {
      n = std::min({kBlockRows, to_.capacity(), height - y});
      if (first == 0) {
        to_.open(y);
      } else {
        TRY(to_.read(y, n));
      }
      Reach reaches[kBlockRows];
      for (uint32_t i = 0; i < n; ++i) {
        reaches[i] = reach_of(turning_, y + i, first, end);
        if (first == 0) surround(to_.row(y + i), reaches[i].touched);
      }
      paint(y, {reaches, n});
      TRY(to_.store(y, n));
      const auto rows = static_cast<uint64_t>(turning_.source.height);
      TRY(progress.at(
          static_cast<uint64_t>(first) * height + static_cast<uint64_t>(end - first) * (y + n),
          rows * height));
    }
    return kOk;
  }

  // Fills a row but for the pixels in `span`.
  void surround(uint8_t* row, Span span) const {
    const size_t bytes = static_cast<size_t>(turning_.bits) / 8;
    const auto width = static_cast<size_t>(turning_.result.width);
    if (is_packed()) {
      const auto pixel = static_cast<uint32_t>(rows_.fill[0]);
      const uint32_t in_byte = pixel * (turning_.bits == 1   ? 0xFF
                                        : turning_.bits == 2 ? 0x55
                                                             : 0x11);
      std::memset(row, static_cast<int>(in_byte),
                  (width * static_cast<size_t>(turning_.bits) + 7) / 8);
      return;
    }
    uint8_t pixel[4];
    store_fill(pixel);
    for (const Span part : {Span{0, span.first}, Span{span.end, turning_.result.width}}) {
      for (int64_t x = part.first; x < part.end; ++x) {
        std::memcpy(row + static_cast<size_t>(x) * bytes, pixel, bytes);
      }
    }
  }

  // The fill as it is stored: what is worked on in 8-bit channels has it in them.
  void store_fill(uint8_t (&pixel)[4]) const {
    std::ranges::copy(rows_.fill, pixel);
    if (turning_.bits == 16 && turning_.is_smooth) {
      store_le16(pixel, static_cast<uint16_t>(rows_.fill[0] >> 3 | rows_.fill[1] >> 3 << 5 |
                                              rows_.fill[2] >> 3 << 10));
    }
  }

  // Tile by tile: neighbouring rows come from the same lines of the source.
  void paint(uint32_t y, std::span<const Reach> reaches) {
    constexpr int64_t kTileColumns = 512;  // of packed pixels: whole bytes
    for (int64_t x = 0; x < turning_.result.width; x += kTileColumns) {
      const Span tile = {x, std::min(x + kTileColumns, turning_.result.width)};
      for (size_t i = 0; i < reaches.size(); ++i) {
        uint8_t* const row = to_.row(y + static_cast<uint32_t>(i));
        if (is_packed()) {
          paint_packed(reaches[i], tile, row);
        } else {
          paint_tile(reaches[i], tile, row);
        }
      }
    }
  }

  void paint_packed(const Reach& reach, Span tile, uint8_t* row) {
    const Span part = both(reach.touched, tile);
    if (part.first == part.end) return;
    uint8_t* const packed =
        row + color::packed_offset(turning_.bits, static_cast<size_t>(tile.first));
    const auto indices = indices_.bytes().subspan(static_cast<size_t>(tile.first),
                                                  static_cast<size_t>(tile.end - tile.first));
    color::unpack_indices(turning_.bits, packed, indices);
    paint_tile(reach, tile, indices_.data());
    color::pack_indices(turning_.bits, indices, packed);
  }

  void paint_tile(const Reach& reach, Span tile, uint8_t* row) const {
    const Span touched = both(reach.touched, tile);
    const Span inside = both(reach.inside, touched);
    if (inside.first == inside.end) {
      paint_span(reach.path, touched, edge_, row);
      return;
    }
    paint_span(reach.path, {touched.first, inside.first}, edge_, row);
    paint_span(reach.path, inside, inside_, row);
    paint_span(reach.path, {inside.end, touched.end}, edge_, row);
  }

  void paint_span(TurnedPath path, Span span, TurnPixels pixels, uint8_t* row) const {
    if (span.first >= span.end) return;
    path.x += path.step_x * span.first;
    path.y += path.step_y * span.first;
    const size_t bytes = is_packed() ? 1 : static_cast<size_t>(turning_.bits) / 8;
    pixels(rows_, path, row + static_cast<size_t>(span.first) * bytes,
           static_cast<size_t>(span.end - span.first));
  }

  const Turning& turning_;
  RowWindow from_;
  RowWindow to_;
  TurnPixels inside_;
  TurnPixels edge_;
  TurnedRows rows_ = {};
  Buffer indices_;
};

// The fill as TurnedRows has it. `color` is 0x00RRGGBB.
void make_fill(const BitmapHandle& bitmap, bool is_smooth, uint32_t color, uint8_t (&fill)[4]) {
  const uint32_t red = color >> 16 & 255, green = color >> 8 & 255, blue = color & 255;
  if (bitmap.BitsPerPixel > 8) {
    const bool blue_first = bitmap.Order == T_ORDER_BGR;
    fill[0] = static_cast<uint8_t>(blue_first ? blue : red);
    fill[1] = static_cast<uint8_t>(green);
    fill[2] = static_cast<uint8_t>(blue_first ? red : blue);
    if (bitmap.BitsPerPixel == 16 && !is_smooth) {
      store_le16(fill,
                 static_cast<uint16_t>(fill[0] >> 3 | fill[1] >> 3 << 5 | fill[2] >> 3 << 10));
    }
  } else if (is_smooth) {
    fill[0] = color::gray_level(red, green, blue);
  } else {
    const color::PaintPalette palette(bitmap);
    const uint32_t count = std::min(bitmap.Colors, 1u << bitmap.BitsPerPixel);
    color::NearestColor nearest;
    if (count != 0) nearest.start(std::span(palette.entries).first(count));
    fill[0] = static_cast<uint8_t>(count != 0 ? nearest.find(red, green, blue) : 0);
  }
}

bool is_gray_color(uint32_t color) {
  return (color & 255) == (color >> 8 & 255) && (color & 255) == (color >> 16 & 255);
}

// The picture in the depth of its new colours.
Status widen(BitmapHandle& bitmap, Widening widening, BitmapHandle& made) {
  TRY(describe_widened(made, bitmap, widening));
  TRY(core::allocate_quietly(made));
  made.ViewPerspective = bitmap.ViewPerspective;
  const WorkLayout layout(bitmap, widening);
  WorkReader reader(bitmap, layout);
  WorkWriter writer(made, bitmap, layout);
  Buffer row;
  TRY(reader.start());
  TRY(writer.start());
  TRY(row.allocate(layout.row_bytes));
  for (uint32_t y = 0; y < layout.height; ++y) {
    TRY(reader.read(y, row.data()));
    TRY(writer.write(y, row.data()));
  }
  return kOk;
}

Status turn_fine(BitmapHandle& bitmap, int32_t angle, uint32_t flags, uint32_t color) {
  const bool is_smooth = (flags & T_ROTATE_SMOOTH) != 0;
  const Size source = {bitmap.Width, bitmap.Height};
  const SineCosine by = sine_cosine(angle);
  const Size result = (flags & T_ROTATE_KEEP_SIZE) != 0 ? source : turned_size(source, by);
  const Widening widening = is_smooth ? widening_of(bitmap) : Widening::kNone;
  const int32_t bits = widening == Widening::kNone   ? bitmap.BitsPerPixel
                       : widening == Widening::kGray ? 8
                                                     : 24;
  if (result.width > INT32_MAX || result.height > INT32_MAX) return kBadSize;
  core::OwnedBitmap made;
  TRY(core::init_bitmap(*made, static_cast<int32_t>(result.width),
                        static_cast<int32_t>(result.height), bits));
  if (made->Size == 0) return kBadSize;

  core::Progress progress;
  TRY(progress.start());
  core::OwnedBitmap widened;
  if (widening != Widening::kNone) TRY(widen(bitmap, widening, *widened));
  BitmapHandle& from = widening != Widening::kNone ? *widened : bitmap;
  TRY(core::allocate_quietly(*made));
  TRY(core::copy_description_resized(*made, from));
  uint8_t fill[4] = {};
  make_fill(from, is_smooth, color, fill);
  const Turning turning = {by, source, result, bits, is_smooth};
  TRY(FineRotation(turning, from, *made, fill).run(progress));
  if (bits > 8 && !is_gray_color(color)) made->Flags &= ~T_FLAG_GRAY;
  TRY(progress.finish());
  core::take_place(bitmap, *made);
  return kOk;
}

}  // namespace

Status rotate_bitmap_fine(BitmapHandle& bitmap, int32_t angle, uint32_t flags, uint32_t color) {
  if ((flags & ~(T_ROTATE_KEEP_SIZE | T_ROTATE_SMOOTH)) != 0 || color > 0xFFFFFF) {
    return kBadArgument;
  }
  TRY(check_bitmap(bitmap));
  const int32_t turned = within_turn(angle, kFullTurn);
  if (turned == 0) return kOk;
  if (turned % 9000 == 0 && (flags & T_ROTATE_KEEP_SIZE) == 0) {
    return turn_bitmap(bitmap, static_cast<uint32_t>(turned / 9000));
  }
  return turn_fine(bitmap, turned, flags, color);
}

}  // namespace tavo::process
