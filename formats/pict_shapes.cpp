// Lines, shapes and regions of a PICT file.
#include <algorithm>
#include <cstdlib>

#include "base/endian.h"
#include "base/trigonometry.h"
#include "formats/pict_player.h"

namespace tavo::pict {

namespace {

// Line has pnLoc and newPt, LineFrom newPt, ShortLine pnLoc, dh and dv (signed bytes),
// ShortLineFrom dh and dv.
constexpr uint32_t kLine = 0x20, kLineFrom = 0x21, kShortLine = 0x22, kLastLine = 0x23,
                   kLastText = 0x2B;

// The higher digit of opcodes that draw shapes; the lower one is the verb, and 8 for a shape as the
// last one was.
enum Kind : uint32_t { kRect = 3, kRoundRect, kOval, kArc, kPolygon, kRegion };

}  // namespace

Status Player::take_drawing() {
  const uint32_t opcode = records_.opcode();
  if (opcode <= kLastLine) return take_line();
  return opcode <= kLastText ? take_text() : take_shape();
}

Status Player::take_line() {
  const uint8_t* bytes = records_.data().data();
  const uint32_t opcode = records_.opcode();
  Place from = state_.pen_at;
  if (opcode == kLine || opcode == kShortLine) {
    from = load_place(bytes);
    bytes += 4;
  }
  Place to;
  if (opcode == kLine || opcode == kLineFrom) {
    to = load_place(bytes);
  } else {  // steps, the column first
    to = {from.y + static_cast<int8_t>(bytes[1]), from.x + static_cast<int8_t>(bytes[0])};
  }
  state_.pen_at = {draw::limited(to.y), draw::limited(to.x)};
  shape_.clear();
  TRY(shape_.add(grid_.point(from.x, from.y)));
  TRY(shape_.add(grid_.point(to.x, to.y)));
  TRY(shape_.end_contour());
  const Ink with = ink(Verb::kFrame);
  return painter_.stroke(shape_, draw::Ends::kOpen, pen(), with.brush, with.operation);
}

// Kept: rectangles, ovals and arcs remember their box together, as QuickDraw does.
Status Player::take_shape() {
  const uint32_t opcode = records_.opcode(), kind = opcode >> 4;
  const auto verb = static_cast<Verb>(opcode & 7);
  const bool is_same = (opcode & 8) != 0;
  const auto data = records_.data();
  if (kind == kPolygon) {
    if (!is_same) TRY(polygon_.assign(data));
    return draw_polygon(verb);
  }
  if (kind == kRegion) {
    constexpr size_t kLeast = 2 + kRectBytes;
    if (!is_same && data.size() >= kLeast) TRY(region_.take(data));
    return draw_region(verb);
  }
  if (!is_same) box_ = load_rect(data.data());
  if (box_.is_empty()) return kOk;
  return kind == kArc ? draw_arc(verb, load_place(data.data() + (is_same ? 0 : kRectBytes)))
                      : draw_boxed(verb, kind);
}

Status Player::fill_shape(Verb verb) {
  const Ink with = ink(verb);
  return painter_.fill(shape_, draw::FillRule::kAlternate, with.brush, with.operation);
}

Status Player::add_boxed(uint32_t kind, const draw::Box& box, draw::Point corners) {
  if (kind == kRect) return shape_.add_box(box);
  return kind == kOval ? shape_.add_ellipse(box) : shape_.add_round_box(box, corners.x, corners.y);
}

// What a frame of the pen's width leaves.
draw::Box Player::inside_pen(const draw::Box& box) const {
  const int32_t x = pen_length(state_.pen_size.x), y = pen_length(state_.pen_size.y);
  return {draw::limited(int64_t{box.left} + x), draw::limited(int64_t{box.top} + y),
          draw::limited(int64_t{box.right} - x), draw::limited(int64_t{box.bottom} - y)};
}

Status Player::draw_boxed(Verb verb, uint32_t kind) {
  const draw::Box box = grid_.box(box_), inside = inside_pen(box);
  const Place oval = state_.oval_size;
  const draw::Point corners = {grid_.length(std::max(oval.x, 0)),
                               grid_.length(std::max(oval.y, 0))};
  shape_.clear();
  TRY(add_boxed(kind, box, corners));
  if (verb == Verb::kFrame && !inside.is_empty()) {
    const auto less = [](int32_t length, int32_t outside) { return std::max(length - outside, 0); };
    TRY(add_boxed(kind, inside,
                  {less(corners.x, (box.right - box.left) - (inside.right - inside.left)),
                   less(corners.y, (box.bottom - box.top) - (inside.bottom - inside.top))}));
  }
  return fill_shape(verb);
}

// Angles go to the right around, from the top, in degrees of a box that is square: 45 always points
// to the corner. draw/ counts to the left, from the right. The angles are startAngle, arcAngle.
Status Player::draw_arc(Verb verb, Place angles) {
  constexpr int32_t kDegree = kFullTurn / 360;
  const int32_t begin = angles.y % 360, turn = std::clamp(angles.x, -360, 360);
  if (turn == 0) return kOk;
  const int32_t from = (90 - begin - std::max(turn, 0)) * kDegree;
  const int32_t around = std::abs(turn) * kDegree;
  const draw::Box box = grid_.box(box_), inside = inside_pen(box);
  shape_.clear();
  TRY(shape_.add_arc(box, from, around));
  if (verb == Verb::kFrame && !inside.is_empty()) {
    inner_.clear();
    TRY(inner_.add_arc(inside, from, around));
    const auto points = inner_.points();
    for (size_t i = points.size(); i > 0; --i) TRY(shape_.add(points[i - 1]));
  } else {
    TRY(shape_.add({(box.left + box.right) / 2, (box.top + box.bottom) / 2}));
  }
  TRY(shape_.end_contour());
  return fill_shape(verb);
}

// Frames are lines from point to point. The record: polySize, polyBBox, points, row first.
Status Player::draw_polygon(Verb verb) {
  constexpr size_t kPointsAt = 2 + kRectBytes, kPointBytes = 4;
  const auto data = polygon_.items();
  shape_.clear();
  for (size_t at = kPointsAt; at + kPointBytes <= data.size(); at += kPointBytes) {
    const Place place = load_place(&data[at]);
    TRY(shape_.add(grid_.point(place.x, place.y)));
  }
  TRY(shape_.end_contour());
  if (verb != Verb::kFrame) return fill_shape(verb);
  const Ink with = ink(verb);
  return painter_.stroke(shape_, draw::Ends::kOpen, pen(), with.brush, with.operation);
}

// Of frames, rows above and below the band count, too.
Status Player::draw_region(Verb verb) {
  const Ink with = ink(verb);
  const auto pixels = [](int32_t length) { return std::min(draw::edge_of(length), 1 << 14); };
  const draw::Point pen = {pixels(pen_length(state_.pen_size.x)),
                           pixels(pen_length(state_.pen_size.y))};
  const int32_t around = verb == Verb::kFrame ? pen.y : 0;
  const int32_t first = canvas_.top() - around, end = canvas_.bottom() + around;
  TRY(grid_.region(region_, first, end, canvas_, pixels_));
  if (verb != Verb::kFrame) return painter_.fill_region(pixels_, with.brush, with.operation);
  if (pen.x <= 0 || pen.y <= 0) return kOk;
  TRY(canvas_.spend(8 * static_cast<int64_t>(pixels_.boxes().size())));
  TRY(narrowed_.frame(pixels_, pen.x, pen.y));
  return painter_.fill_region(narrowed_, with.brush, with.operation);
}

}  // namespace tavo::pict
