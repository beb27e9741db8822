// Verbs of the room that draws, chosen by the input: any coordinates, pens, regions, operations.
#include <cstdlib>

#include "draw/painter.h"
#include "draw/placement.h"
#include "draw/text.h"
#include "input.h"

namespace {

using namespace tavo;
using namespace tavo::draw;

class Session {
 public:
  Session(const uint8_t* data, size_t size) : input_(data, size), painter_(canvas_) {}

  void run() {
    const int32_t width = 1 + byte() % 128, height = 1 + byte() % 128;
    if (!canvas_.start(width, height, 1 + byte() % height, T_ORDER_BGR).ok()) return;
    canvas_.begin_band(byte() % height);
    while (!input_.is_empty()) {
      if (!step().ok()) return;
      check_clip();
    }
  }

 private:
  int32_t byte() { return static_cast<int32_t>(input_.byte()); }
  int32_t word() { return static_cast<int16_t>(input_.word()); }
  // Small ones, and as large as there are.
  int32_t position() { return limited(int64_t{word()} << (byte() % 13)); }
  Box box() {
    Box box = {position(), position(), position(), position()};
    if (box.left > box.right) std::swap(box.left, box.right);
    if (box.top > box.bottom) std::swap(box.top, box.bottom);
    return box;
  }
  Brush brush() {
    Brush brush = solid({static_cast<uint8_t>(byte()), static_cast<uint8_t>(byte()), 9, 0});
    brush.kind = static_cast<Brush::Kind>(byte() % 4);
    brush.bits = hatch_bits(static_cast<uint32_t>(byte()) % 7);
    brush.is_transparent = byte() % 2 != 0;
    brush.tile = tile_;
    brush.tile_width = 3;
    brush.tile_height = 2;
    brush.x_origin = word();
    brush.y_origin = word();
    brush.cell = 1 + byte() % 5;
    return brush;
  }
  RasterOp operation() { return RasterOp(static_cast<uint8_t>(byte())); }
  FillRule rule() { return byte() % 2 != 0 ? FillRule::kWinding : FillRule::kAlternate; }
  Pen pen() {
    return byte() % 2 != 0 ? Pen::round(position()) : Pen::hanging_box(position(), position());
  }

  Status make_shape() {
    if (byte() % 4 != 0) shape_.clear();
    switch (byte() % 5) {
      case 0:
        return shape_.add_ellipse(box());
      case 1:
        TRY(shape_.add_arc(box(), word(), static_cast<uint16_t>(word()) % 36001));
        return shape_.end_contour();
      case 2:
        return shape_.add_round_box(box(), position(), position());
      case 3:
        TRY(shape_.add({position(), position()}));
        TRY(shape_.add_curve({position(), position()}, {position(), position()},
                             {position(), position()}));
        return shape_.end_contour();
      default:
        break;
    }
    // Many points from few bytes: a walk whose steps go on.
    const int32_t count = byte() << (byte() % 9);
    Point point = {position(), position()}, step = {word(), word()};
    for (int32_t i = 0; i < count && i < 65535; ++i) {
      TRY(shape_.add(point));
      point = {limited(int64_t{point.x} + step.x), limited(int64_t{point.y} + step.y)};
      step = {limited(int64_t{step.y} * 3 % 4099 - i), limited(7 - int64_t{step.x})};
      if (byte() == 255) TRY(shape_.end_contour());
    }
    return shape_.end_contour();
  }

  // Tens of thousands of spans, of which those of one row lie between those of the next.
  Status make_comb() {
    region_.clear();
    const int32_t rows = byte(), count = byte(), step = 2 + byte() % 4, left = word(), top = word();
    for (int32_t y = top; y < top + rows; ++y) {
      for (int32_t i = 0; i < count; ++i) {
        const int32_t x = left + step * i + (y & 1);
        TRY(region_.add(y, x, x + 1));
      }
    }
    region_.finish();
    return kOk;
  }

  Status step() {
    const Brush with = brush();
    switch (byte() % 10) {
      case 0:
        return make_shape();
      case 9:
        return make_comb();
      case 1:
        return painter_.fill(shape_, rule(), with, operation());
      case 2:
        return painter_.stroke(shape_, static_cast<Ends>(byte() % 3), pen(), with, operation());
      case 3:
        return painter_.to_region(shape_, rule(), region_);
      case 4:
        TRY(other_.combine(region_, clip_, static_cast<Region::Operation>(byte() % 4)));
        TRY(clip_.assign(other_));
        clip_.move(word() % 64, word() % 64);
        return canvas_.set_clip(clip_);
      case 5:
        TRY(other_.frame(region_, byte(), byte()));
        return painter_.fill_region(other_, with, operation());
      case 6:
        canvas_.clear_clip();
        return painter_.fill_box(box(), with, operation());
      case 7:
        return place(with);
      default:
        return write(with);
    }
  }

  Status place(const Brush& with) {
    const auto side = [this](int32_t& from, int32_t& to) {
      from = word();
      to = from + 1 + byte() * (1 << byte() % 12);
    };
    Placement placement;
    side(placement.source.left, placement.source.right);
    side(placement.source.top, placement.source.bottom);
    side(placement.target.left, placement.target.right);
    side(placement.target.top, placement.target.bottom);
    placement.is_mirrored = byte() % 2 != 0;
    placement.is_flipped = byte() % 2 != 0;
    PlacedPicture placed(canvas_, placement, operation(), with);
    if (byte() % 2 != 0) placed.hide({1, 2, 3, 0});
    TRY(placed.start(3));
    for (int32_t y = 0; y < 2; ++y) TRY(placed.put_row(y, tile_ + 9 * y));
    return kOk;
  }

  Status write(const Brush& with) {
    uint8_t characters[8];
    int32_t places[8];
    TextLine line;
    line.face = {position(),      position(),      word(),          1 + byte(),
                 byte() % 2 != 0, byte() % 2 != 0, byte() % 2 != 0, byte() % 2 != 0};
    line.origin = {position(), position()};
    for (size_t i = 0; i < 8; ++i) {
      characters[i] = static_cast<uint8_t>(byte());
      places[i] = position();
    }
    line.characters = characters;
    line.places = places;
    line.length = position();
    TRY(fill_behind_text(painter_, line, with));
    return draw_text(painter_, line, with, operation());
  }

  // What regions promise: bands in order, boxes in them apart.
  void check_clip() const {
    const auto boxes = clip_.boxes();
    for (size_t i = 1; i < boxes.size(); ++i) {
      const Box &a = boxes[i - 1], &b = boxes[i];
      const bool is_same_band = a.top == b.top && a.bottom == b.bottom && a.right < b.left;
      if (!is_same_band && a.bottom > b.top) std::abort();
    }
  }

  fuzz::Input input_;
  uint8_t tile_[18] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18};
  Canvas canvas_;
  Painter painter_;
  Shape shape_;
  Region region_, clip_, other_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Session(data, size).run();
  return 0;
}
