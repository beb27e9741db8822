// What the records of version 2 draw. Where the published layout leaves a choice (arcs, groups), it
// is libwpg's; docs/drawings.md tells them.
#include <algorithm>
#include <array>

#include "base/endian.h"
#include "base/list.h"
#include "base/trigonometry.h"
#include "formats/wpg_drawing.h"
#include "formats/wpg_object.h"
#include "formats/wpg_sheet.h"
#include "formats/wpg_text.h"
#include "formats/wpg_walk.h"

namespace tavo::wpg {

namespace {

// Curves are made around the origin with this radius, then stretched, turned and moved.
constexpr int32_t kRadius = 1 << 16;

class Drawing {
 public:
  Drawing(Walk& walk, const Contents& contents, draw::Painter& painter, int32_t scale)
      : walk_(walk), contents_(contents), sheet_(contents.frame, painter, scale) {}

  // kReadError where no end record comes.
  Status run() {
    while (walk_.next(true)) {
      if (walk_.type() == kEnd2) return kOk;
      TRY(take());
      // Records within may bring others of their own, which then count, too.
      if (compound_left_ == 0) continue;
      compound_left_ += int64_t{walk_.extension()} - 1;
      if (compound_left_ == 0) TRY(draw_shape(compound_));
    }
    return kReadError;
  }

 private:
  Status take() {
    switch (walk_.type()) {
      case kPenColor:
      case kLongPenColor:
        take_color(pen_);
        return kOk;
      case kBrushColor:
      case kLongBrushColor:
        take_brush();
        return kOk;
      // Width and height of a pen; the width counts for lines in all directions.
      case kPenSize:
      case kLongPenSize:
        walk_.take_position(walk_.type() == kLongPenSize, pen_width_);
        return kOk;
      case kTextLine:
        take_text_line();
        return kOk;
      case kTextData:
        return take_text_data();
      case kCompound:
        return take_compound();
      case kPolyline2:
      case kSpline2:
      case kCurve2:
      case kRectangle2:
      case kArc2:
        return take_object();
      default:
        return kOk;
    }
  }

  // A colour, as it is seen on the white page: its last part is how much of that shines through.
  struct Ink {
    T_PaletteEntry color = {};
    bool is_clear = false;
  };

  // Parts of 8 bits, or where the record has room for it, of 16.
  void take_color(Ink& ink) {
    uint32_t parts[4];
    if (take_parts(walk_.left() >= 8, parts)) ink = mixed(parts);
  }

  bool take_parts(bool is_long, std::span<uint32_t, 4> parts) {
    std::array<uint8_t, 8> bytes;
    const size_t each = is_long ? 2 : 1;
    if (!walk_.take(std::span(bytes).first(4 * each))) return false;
    // Red, green, blue, transparency. Of 16 bits the higher byte, which comes last.
    for (size_t i = 0; i < 4; ++i) parts[i] = bytes[each * i + each - 1];
    return true;
  }

  static Ink mixed(std::span<const uint32_t, 4> parts) {
    const auto seen = [&parts](uint32_t part) {
      return static_cast<uint8_t>((part * (255 - parts[3]) + 255 * parts[3] + 127) / 255);
    };
    return {{seen(parts[2]), seen(parts[1]), seen(parts[0]), 0}, parts[3] == 255};
  }

  // A kind and a colour; of gradients a count and colours, which are filled with the middle of
  // them.
  void take_brush() {
    std::array<uint8_t, 1> kind;
    std::array<uint8_t, 2> bytes = {1, 0};
    if (!walk_.take(kind) || (kind[0] != 0 && !walk_.take(bytes))) return;
    const uint32_t count = load_le16(bytes.data());
    const bool is_long = walk_.left() >= uint64_t{8} * count;
    // At most 65535 * 255 each, which 32 bits hold.
    uint32_t sums[4] = {};
    for (uint32_t i = 0; i < count; ++i) {
      uint32_t parts[4];
      if (!take_parts(is_long, parts)) return;
      for (size_t j = 0; j < 4; ++j) sums[j] += parts[j];
    }
    if (count == 0) return;
    for (uint32_t& sum : sums) sum /= count;
    brush_ = mixed(sums);
  }

  bool take_position(Position& position) {
    return walk_.take_position(contents_.is_long, position.x) &&
           walk_.take_position(contents_.is_long, position.y);
  }

  // Records that follow, so many as the extension says, are contours of one shape.
  Status take_compound() {
    if (compound_left_ != 0) return kOk;  // those of one within are its own
    ObjectHead head;
    if (!take_head(walk_, head) || walk_.extension() == 0) return kOk;
    shape_.clear();
    compound_ = head;
    compound_left_ = 1;  // the extension is added when this record is counted
    return kOk;
  }

  Status take_object() {
    object_ = {};
    if (!take_head(walk_, object_)) return kOk;
    if (compound_left_ == 0) shape_.clear();
    switch (walk_.type()) {
      case kCurve2:
        TRY(take_curve());
        break;
      case kRectangle2:
        TRY(take_rectangle());
        break;
      case kArc2:
        TRY(take_arc());
        break;
      default:
        // Splines too: their corners, as libwpg has them.
        TRY(take_polyline());
    }
    TRY(shape_.end_contour());
    return compound_left_ == 0 ? draw_shape(object_) : kOk;
  }

  Status draw_shape(const ObjectHead& head) {
    if (head.is_filled && !brush_.is_clear) {
      const auto rule = head.is_winding ? draw::FillRule::kWinding : draw::FillRule::kAlternate;
      TRY(sheet_.fill(shape_, rule, draw::solid(brush_.color)));
    }
    if (!head.is_framed || pen_.is_clear) return kOk;
    const auto ends = head.is_closed ? draw::Ends::kClosed : draw::Ends::kOpen;
    return sheet_.stroke(shape_, ends, pen_width_, pen_.color);
  }

  draw::Point place(Position position) const {
    // By its own numbers first, then by those of the shape that it is part of.
    object_.place.apply(position);
    if (compound_left_ != 0) compound_.place.apply(position);
    return sheet_.at(position.x, position.y);
  }

  uint32_t take_count() {
    std::array<uint8_t, 2> bytes = {};
    return walk_.take(bytes) ? load_le16(bytes.data()) : 0;
  }

  Status take_polyline() {
    Position position;
    for (uint32_t left = take_count(); left > 0 && take_position(position); --left) {
      TRY(shape_.add(place(position)));
    }
    return kOk;
  }

  // Each point has one in front and one behind that bend the curve. Kept: closed ones end with a
  // straight line whatever bends the first and the last have there, as libwpg has it.
  Status take_curve() {
    Position before, at, behind;
    draw::Point bend;
    const uint32_t count = take_count();
    for (uint32_t i = 0; i < count; ++i) {
      if (!take_position(before) || !take_position(at) || !take_position(behind)) break;
      TRY(i == 0 ? shape_.add(place(at)) : shape_.add_curve(bend, place(before), place(at)));
      bend = place(behind);
    }
    return kOk;
  }

  // Part of the ellipse around `middle`.
  Status add_arc(Position middle, Position radius, int32_t from, int32_t turn) {
    unit_.clear();
    TRY(unit_.add_arc({-kRadius, -kRadius, kRadius, kRadius}, from, turn));
    for (const draw::Point& point : unit_.points()) {
      TRY(shape_.add(place(
          {middle.x + radius.x * point.x / kRadius, middle.y - radius.y * point.y / kRadius})));
    }
    return kOk;
  }

  // Two corners, and the radii of the ellipses that round them.
  Status take_rectangle() {
    object_.is_closed = true;
    Position a, b, radius;
    if (!take_position(a) || !take_position(b)) return kOk;
    // Without them, or with one of 0, the corners are sharp.
    if (!take_position(radius)) radius = {};
    const Position low = {std::min(a.x, b.x), std::min(a.y, b.y)};
    const Position high = {std::max(a.x, b.x), std::max(a.y, b.y)};
    radius = {std::clamp<int64_t>(radius.x, 0, (high.x - low.x) / 2),
              std::clamp<int64_t>(radius.y, 0, (high.y - low.y) / 2)};
    if (radius.x == 0 || radius.y == 0) {
      for (const Position& corner : {low, {high.x, low.y}, high, {low.x, high.y}}) {
        TRY(shape_.add(place(corner)));
      }
      return kOk;
    }
    constexpr int32_t kQuarter = kFullTurn / 4;
    const Position within_low = {low.x + radius.x, low.y + radius.y};
    const Position within_high = {high.x - radius.x, high.y - radius.y};
    TRY(add_arc(within_high, radius, 0, kQuarter));
    TRY(add_arc({within_low.x, within_high.y}, radius, kQuarter, kQuarter));
    TRY(add_arc(within_low, radius, 2 * kQuarter, kQuarter));
    return add_arc({within_high.x, within_low.y}, radius, 3 * kQuarter, kQuarter);
  }

  // Middle, radii, and as seen from the middle where it begins and ends, to the right around. The
  // same point twice, and it is a whole ellipse.
  Status take_arc() {
    Position middle, radius, from, to;
    if (!take_position(middle) || !take_position(radius)) return kOk;
    if (!take_position(from) || !take_position(to)) from = to;
    radius = {std::max<int64_t>(std::abs(radius.x), 1), std::max<int64_t>(std::abs(radius.y), 1)};
    const auto angle = [&radius](const Position& position) {
      return draw::angle_of({-kRadius, -kRadius, kRadius, kRadius},
                            {draw::limited(position.x * kRadius / radius.x),
                             draw::limited(-position.y * kRadius / radius.y)});
    };
    if (from.x == to.x && from.y == to.y) {
      object_.is_closed = true;
      return add_arc(middle, radius, 0, kFullTurn);
    }
    return add_arc(middle, radius, angle(to), within_turn(angle(from) - angle(to), kFullTurn));
  }

  // A flag word, the position, how it stands to that, and the angle.
  void take_text_line() {
    ObjectHead head;
    Position position;
    std::array<uint8_t, 2> flags, aligned;
    int64_t degrees = 0;
    text_ = {};
    has_text_ = take_head(walk_, head) && walk_.take(flags) && take_position(position);
    if (!has_text_) return;
    object_ = head;
    text_position_ = place(position);
    text_.height = kOne * contents_.units_per_inch / 6;  // twelve points
    // In the record from the top down; one that is not known is the base line. Turns are 65536ths
    // of a degree.
    constexpr Up kUps[] = {Up::kTop, Up::kMiddle, Up::kBottom, Up::kBaseLine};
    if (!walk_.take(aligned)) return;
    text_.across = static_cast<Across>(std::min<uint8_t>(aligned[0], 2));
    text_.up = kUps[std::min<uint8_t>(aligned[1], 3)];
    if (walk_.take_position(true, degrees)) {
      text_.angle = static_cast<int32_t>(degrees % (360 * kOne) * 100 / kOne);
    }
  }

  Status take_text_data() {
    // Blocks (1D) and paths (1E) bring text data, too, which are not drawn.
    if (!has_text_) return kOk;
    has_text_ = false;
    List<uint8_t> document, characters;
    // No longer than the file, so that a length in a record takes no memory by itself.
    TRY(document.extend(static_cast<size_t>(walk_.left_in_file())));
    if (!walk_.take(document.items())) return kOk;
    const int64_t units_per_inch = kOne * contents_.units_per_inch;
    TRY(read_text(document.items(), units_per_inch, text_, characters));
    return sheet_.put_text(text_, text_position_, characters.items());
  }

  Walk& walk_;
  const Contents& contents_;
  Sheet sheet_;
  Ink pen_;
  Ink brush_;
  int64_t pen_width_ = 0;
  draw::Shape shape_;
  draw::Shape unit_;
  ObjectHead object_;
  ObjectHead compound_;
  int64_t compound_left_ = 0;  // records of it that are to come
  TextStyle text_;
  draw::Point text_position_;
  bool has_text_ = false;  // the record behind it has the characters
};

}  // namespace

Status draw_records2(Walk& walk, const Contents& contents, draw::Painter& painter, int32_t scale) {
  return Drawing(walk, contents, painter, scale).run();
}

}  // namespace tavo::wpg
