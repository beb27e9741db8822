#include "draw/text.h"

#include <algorithm>

#include "base/trigonometry.h"
#include "draw/font.h"

namespace tavo::draw {

namespace {

constexpr int32_t kStroke = 5, kBoldStroke = 8, kRule = 3;  // thickness in units of the font
constexpr int32_t kUnderline = -7, kStrike = 15;            // where lines are
constexpr int64_t kSlant = 5;  // italics lean by a fifth of their height

// From units of the font at a place along the line to the page.
class Setting {
 public:
  explicit Setting(const TextLine& line)
      : line_(line), direction_(sine_cosine(within_turn(line.face.angle, kFullTurn))) {}

  Point at(int64_t along, int64_t above) const {
    along = limited(along);
    above = limited(above);
    const auto rounded = [](int64_t value) { return (value + (int64_t{1} << 30)) >> 31; };
    return {limited(line_.origin.x + rounded(along * direction_.cosine - above * direction_.sine)),
            limited(line_.origin.y - rounded(along * direction_.sine + above * direction_.cosine))};
  }

  Point at_unit(int32_t place, int32_t x, int32_t y) const {
    const int32_t above = TextFace::part(line_.face.height, y);
    const int64_t lean = line_.face.is_italic ? above / kSlant : 0;
    return at(int64_t{place} + TextFace::part(line_.face.width, x) + lean, above);
  }

  Status add(const char* strokes, int32_t place, const GlyphMark& moved, Shape& shape) const {
    return read_strokes(
        strokes,
        [&](int32_t x, int32_t y) { return shape.add(at_unit(place, x + moved.x, y + moved.y)); },
        [&] { return shape.end_contour(); });
  }

  Status add_line(int32_t y, Shape& shape) const {
    const int32_t above = TextFace::part(line_.face.height, y);
    TRY(shape.add(at(0, above)));
    TRY(shape.add(at(line_.length, above)));
    return shape.end_contour();
  }

 private:
  const TextLine& line_;
  SineCosine direction_;
};

}  // namespace

int32_t TextFace::part(int32_t length, int32_t units) {
  return static_cast<int32_t>(int64_t{length} * units / kFontUnits);
}

int32_t TextFace::advance(uint8_t code) const {
  return part(width, character(code).glyph.advance + (is_bold ? 2 : 0));
}

Point point_of_text(const TextLine& line, int32_t along, int32_t above) {
  return Setting(line).at(along, above);
}

Status draw_text(Painter& painter, const TextLine& line, const Brush& brush, RasterOp operation) {
  const TextFace& face = line.face;
  const Setting setting(line);
  const int32_t stroke = TextFace::part(face.height, face.is_bold ? kBoldStroke : kStroke);
  const Pen pen = Pen::round(std::max(stroke, face.thinnest));
  Shape shape;
  for (size_t i = 0; i < line.characters.size(); ++i) {
    const Character drawn = face.character(line.characters[i]);
    shape.clear();
    TRY(setting.add(drawn.glyph.strokes, line.places[i], {}, shape));
    TRY(setting.add(drawn.mark.strokes, line.places[i], drawn.mark, shape));
    TRY(painter.stroke(shape, Ends::kOpen, pen, brush, operation));
  }
  shape.clear();
  if (face.is_underlined) TRY(setting.add_line(kUnderline, shape));
  if (face.is_struck_out) TRY(setting.add_line(kStrike, shape));
  const Pen rule = Pen::round(std::max(TextFace::part(face.height, kRule), face.thinnest));
  return painter.stroke(shape, Ends::kOpen, rule, brush, operation);
}

Status fill_behind_text(Painter& painter, const TextLine& line, const Brush& brush) {
  const Setting setting(line);
  const int32_t top = line.face.ascent(), bottom = -line.face.descent();
  Shape shape;
  TRY(shape.add(setting.at(0, top)));
  TRY(shape.add(setting.at(line.length, top)));
  TRY(shape.add(setting.at(line.length, bottom)));
  TRY(shape.add(setting.at(0, bottom)));
  TRY(shape.end_contour());
  return painter.fill(shape, FillRule::kAlternate, brush, kCopyBrush);
}

}  // namespace tavo::draw
