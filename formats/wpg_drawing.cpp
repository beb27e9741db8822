#include "formats/wpg_drawing.h"

#include <algorithm>
#include <array>

#include "base/byte_source.h"
#include "base/endian.h"
#include "base/list.h"
#include "base/trigonometry.h"
#include "color/palettes.h"
#include "formats/wpg_sheet.h"
#include "formats/wpg_walk.h"

namespace tavo::wpg {

namespace {

constexpr uint8_t kNothing = 0, kSolid = 1;  // styles of lines and fills; others are patterns

class Drawing {
 public:
  Drawing(Walk& walk, const Contents& contents, draw::Painter& painter, int32_t scale)
      : walk_(walk), sheet_(contents.frame, painter, scale) {
    default_palette(palette_);
    text_.height = kUnitsPerInch / 6;  // twelve points
  }

  Status run() {
    while (walk_.next(false)) {
      if (walk_.type() == kEnd) return kOk;
      TRY(take());
    }
    return kReadError;
  }

 private:
  Status take() {
    switch (walk_.type()) {
      case kColorMap:
        take_colors();
        return kOk;
      case kFillStyle:
      case kLineStyle:
      case kTextStyle:
        take_style();
        return kOk;
      case kText:
        return take_text();
      case kLine:
      case kPolyline:
      case kPolygon:
      case kCurve:
        return take_points();
      case kRectangle:
      case kEllipse:
        return take_box();
      default:
        return kOk;
    }
  }

  // Counts for what is drawn from here on.
  void take_colors() {
    std::array<uint8_t, 4> head;  // first entry, count
    if (!walk_.take(head)) return;
    const uint32_t first = load_le16(&head[0]);
    const uint32_t end = std::min(first + load_le16(&head[2]), 256u);
    for (uint32_t i = first; i < end; ++i) {
      std::array<uint8_t, 3> entry;
      if (!walk_.take(entry)) return;
      palette_[i] = color::rgb_entry(entry.data());
    }
  }

  void take_style() {
    // Text attributes, 22 bytes: width and height of a character, 10 bytes and a font that are not
    // looked at, a byte, where it stands across and upward, colour, degrees.
    std::array<uint8_t, 22> bytes = {};
    const auto size = static_cast<size_t>(std::min<uint64_t>(walk_.left(), bytes.size()));
    if (!walk_.take(std::span(bytes).first(size))) return;
    if (walk_.type() == kFillStyle) {
      fill_style_ = bytes[0];
      fill_color_ = bytes[1];
    } else if (walk_.type() == kLineStyle) {
      line_style_ = bytes[0];
      line_color_ = bytes[1];
      line_width_ = load_le16(&bytes[2]);
    } else {
      text_.height = load_le16(&bytes[2]);
      text_.across = static_cast<Across>(std::min<uint8_t>(bytes[17], 2));
      text_.up = static_cast<Up>(std::min<uint8_t>(bytes[18], 2));
      text_color_ = bytes[19];
      text_.angle = load_le16(&bytes[20]) % 360 * 100;
    }
  }

  // By winding: no record says, and so libwpg has it.
  Status fill() {
    if (fill_style_ == kNothing) return kOk;
    draw::Brush brush = draw::solid(palette_[fill_color_]);
    if (fill_style_ != kSolid) {
      brush.kind = draw::Brush::Kind::kBits;
      // More patterns than GDI has hatches: six of these take turns.
      brush.bits = draw::hatch_bits(fill_style_ % 6u);
      brush.is_transparent = true;
      brush.cell = sheet_.scale();
    }
    return sheet_.fill(shape_, draw::FillRule::kWinding, brush);
  }

  // Lines of other styles than solid, dashes, are drawn whole.
  Status stroke(draw::Ends ends) {
    if (line_style_ == kNothing) return kOk;
    return sheet_.stroke(shape_, ends, line_width_, palette_[line_color_]);
  }

  bool take_point(draw::Point& point) {
    std::array<uint8_t, 4> bytes;
    if (!walk_.take(bytes)) return false;
    point = sheet_.at(static_cast<int16_t>(load_le16(&bytes[0])),
                      static_cast<int16_t>(load_le16(&bytes[2])));
    return true;
  }

  // A curve has four bytes unused in front, and from its second point on two that bend it before
  // each that it goes through.
  Status take_points() {
    const uint8_t type = walk_.type();
    uint32_t count = 2;
    std::array<uint8_t, 4> unused;
    if (type == kCurve && !walk_.take(unused)) return kOk;
    if (type != kLine) {
      std::array<uint8_t, 2> bytes;
      if (!walk_.take(bytes)) return kOk;
      count = load_le16(bytes.data());
    }
    shape_.clear();
    std::array<draw::Point, 3> points;
    const uint32_t together = type == kCurve ? 3 : 1;
    if (count == 0 || !take_point(points[0])) return kOk;
    TRY(shape_.add(points[0]));
    // Points that do not make up a curve any more are left out.
    for (uint32_t i = 1; i + together <= count; i += together) {
      for (uint32_t j = 0; j < together; ++j) {
        if (!take_point(points[j])) return kOk;
      }
      TRY(type == kCurve ? shape_.add_curve(points[0], points[1], points[2])
                         : shape_.add(points[0]));
    }
    TRY(shape_.end_contour());
    if (type == kPolygon) TRY(fill());
    return stroke(type == kPolygon ? draw::Ends::kClosed : draw::Ends::kOpen);
  }

  // Rectangles: lower left corner and size. Ellipses: middle, radii, rotation, from where to where
  // in degrees, and flags that matter to parts of ellipses, which stay open.
  Status take_box() {
    std::array<uint8_t, 16> bytes = {};
    const bool is_ellipse = walk_.type() == kEllipse;
    if (!walk_.take(std::span(bytes).first(is_ellipse ? 14 : 8))) return kOk;
    const auto word = [&bytes](size_t i) { return static_cast<int16_t>(load_le16(&bytes[2 * i])); };
    shape_.clear();
    if (!is_ellipse) {
      const draw::Point low = sheet_.at(word(0), word(1));
      const draw::Point high = sheet_.at(int64_t{word(0)} + word(2), int64_t{word(1)} + word(3));
      TRY(shape_.add_box({low.x, high.y, high.x, low.y}));
      TRY(fill());
      return stroke(draw::Ends::kClosed);
    }
    const draw::Point low = sheet_.at(int64_t{word(0)} - word(2), int64_t{word(1)} - word(3));
    const draw::Point high = sheet_.at(int64_t{word(0)} + word(2), int64_t{word(1)} + word(3));
    const draw::Box box = {low.x, high.y, high.x, low.y};
    // From 0 to 0, or to 360, is all of it.
    const int32_t turn = within_turn(word(6) - word(5), 360);
    if (turn == 0) {
      TRY(shape_.add_ellipse(box));
      turn_around(box, word(4));
      TRY(fill());
      return stroke(draw::Ends::kClosed);
    }
    TRY(shape_.add_arc(box, within_turn(word(5), 360) * 100, turn * 100));
    TRY(shape_.end_contour());
    turn_around(box, word(4));
    return stroke(draw::Ends::kOpen);
  }

  // Around the middle of a box, to the left.
  void turn_around(const draw::Box& box, int32_t degrees) {
    if (degrees % 360 == 0) return;
    const auto [sine, cosine] = sine_cosine(within_turn(degrees, 360) * 100);
    const int64_t x = (int64_t{box.left} + box.right) / 2, y = (int64_t{box.top} + box.bottom) / 2;
    for (draw::Point& point : shape_.points()) {
      // At most 28 bits each (draw::kFarthest), and 32 of sine and cosine: products fit.
      const int64_t right = point.x - x, up = y - point.y;
      point = {draw::limited(x + ((right * cosine - up * sine) >> 31)),
               draw::limited(y - ((right * sine + up * cosine) >> 31))};
    }
  }

  // Length, position, characters.
  Status take_text() {
    std::array<uint8_t, 6> head;
    if (!walk_.take(head)) return kOk;
    List<uint8_t> characters;
    TRY(characters.extend(
        // A text that the record cuts is drawn as far as it goes.
        static_cast<size_t>(std::min<uint64_t>(load_le16(&head[0]), walk_.left_in_file()))));
    if (!walk_.take(characters.items())) return kOk;
    text_.color = palette_[text_color_];
    const draw::Point position = sheet_.at(static_cast<int16_t>(load_le16(&head[2])),
                                           static_cast<int16_t>(load_le16(&head[4])));
    return sheet_.put_text(text_, position, characters.items());
  }

  Walk& walk_;
  Sheet sheet_;
  T_PaletteEntry palette_[256];
  // In force until a record says otherwise: no fill, and thin solid lines, both in black.
  uint8_t fill_style_ = kNothing;
  uint8_t fill_color_ = 0;
  uint8_t line_style_ = kSolid;
  uint8_t line_color_ = 0;
  uint16_t line_width_ = 0;
  TextStyle text_;
  uint8_t text_color_ = 0;
  draw::Shape shape_;
};

}  // namespace

Status draw_records(io::InputFile& file, uint32_t file_bytes, const Contents& contents,
                    draw::Painter& painter, int32_t scale) {
  TRY(file.seek(contents.first_record));
  ByteSource bytes(file);
  TRY(bytes.start());
  Walk walk(bytes, contents.first_record, file_bytes);
  const Status status = contents.is_version2 ? draw_records2(walk, contents, painter, scale)
                                             : Drawing(walk, contents, painter, scale).run();
  TRY(bytes.failure());
  return status;
}

}  // namespace tavo::wpg
