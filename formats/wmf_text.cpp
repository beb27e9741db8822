// Texts of a metafile.
#include <algorithm>
#include <array>
#include <cstdlib>

#include "draw/text.h"
#include "formats/wmf_player.h"

namespace tavo::wmf {

namespace {

// Bits of EXTTEXTOUT's options ([MS-WMF] 2.1.2.2) and of the alignment (2.1.2.3).
// ETO_OPAQUE and ETO_CLIPPED; TA_UPDATECP, then two fields: TA_CENTER has the bits of TA_RIGHT,
// TA_BASELINE those of TA_BOTTOM, so that they are compared whole. 0 is left and top.
constexpr uint32_t kOpaqueBox = 2, kClipped = 4;
constexpr uint32_t kUpdatePosition = 1, kCenter = 6, kRight = 2, kBaseline = 24, kBottom = 8;

constexpr int32_t kBoldWeight = 600;  // FW_SEMIBOLD
constexpr int32_t kUsualPixels = 16;  // of a font that has no height

}  // namespace

struct Player::Text {
  int32_t x = 0, y = 0;
  uint32_t options = 0;
  draw::Box box;  // in subpixels
  List<uint8_t> characters;
  List<int16_t> advances;  // empty: those of the font
  List<int32_t> places;
};

Status Player::read_text(Text& text, bool& is_there) {
  is_there = false;
  const bool is_extended = records_.function() == kExtTextOut;
  std::array<int16_t, 4> head = {};  // y, x, length, options; or the length alone
  if (!records_.take(std::span(head).first(is_extended ? 4 : 1))) return kOk;
  const auto length = static_cast<uint16_t>(is_extended ? head[2] : head[0]);
  text.options = is_extended ? static_cast<uint16_t>(head[3]) : 0;
  if ((text.options & (kOpaqueBox | kClipped)) != 0) {
    std::array<int16_t, 4> box;  // left, top, right, bottom
    if (!records_.take(box)) return kOk;
    text.box = box_at(box[0], box[1], box[2], box[3]);
  }
  if (records_.left_in_file() < length) return kOk;
  TRY(text.characters.extend(length));
  std::array<uint8_t, 1> padding;
  if (!records_.take(text.characters.items())) return kOk;
  // Both records pad their characters to words.
  if (length % 2 != 0 && !records_.take(padding)) return kOk;
  std::array<int16_t, 2> place = {};
  if (!is_extended && !records_.take(place)) return kOk;
  text.y = is_extended ? head[0] : place[0];
  text.x = is_extended ? head[1] : place[1];
  is_there = true;
  if (!is_extended || records_.left_in_file() < size_t{2} * length || length == 0) return kOk;
  // Dx is optional: a record without it, or with less, is set by the font.
  TRY(text.advances.extend(length));
  if (!records_.take(text.advances.items())) text.advances.clear();
  return kOk;
}

draw::TextFace Player::face() const {
  const FontObject& font = states_.now.font;
  const Mapping& mapping = states_.now.mapping;
  draw::TextFace face;
  face.height = mapping.length_y(font.height);
  if (font.height == 0) face.height = kUsualPixels * pixel();
  if (font.height > 0) {  // with the room that lines have above and below letters
    constexpr int64_t kCell = draw::kFontAscent + draw::kFontDescent;
    face.height = static_cast<int32_t>(int64_t{face.height} * draw::kFontUnits / kCell);
  }
  face.width = face.height;
  if (font.width != 0) {
    const int64_t average = mapping.length_x(font.width);
    face.width = draw::limited(average * draw::kFontUnits / draw::kFontAverage);
  }
  face.angle = font.escapement % 3600 * 10;
  face.thinnest = pixel();
  face.is_bold = font.weight >= kBoldWeight;
  face.is_italic = font.is_italic;
  face.is_underlined = font.is_underlined;
  face.is_struck_out = font.is_struck_out;
  face.is_symbol = font.is_symbol;
  return face;
}

// Where the characters stand, by the record's widths or those of the font.
Status Player::set_text(Text& text, draw::TextLine& line) {
  const Mapping& mapping = states_.now.mapping;
  const size_t count = text.characters.size();
  TRY(text.places.extend(count));
  int64_t units = 0;
  for (size_t i = 0; i < count; ++i) {
    text.places[i] = line.length;
    if (text.advances.empty()) {
      line.length = draw::limited(int64_t{line.length} + line.face.advance(text.characters[i]));
    } else {
      // Added up before they are mapped, so that what is rounded does not add up.
      units += text.advances[i];
      line.length = mapping.length_x(units);
    }
  }
  line.characters = text.characters.items();
  line.places = text.places.items();
  return kOk;
}

// Moves the line from the point that the record names to its base line.
void Player::align_text(draw::TextLine& line) {
  const uint32_t align = states_.now.text_align;
  const uint32_t across = align & kCenter;
  const int32_t back = across == kCenter ? line.length / 2 : across == kRight ? line.length : 0;
  const uint32_t up = align & kBaseline;
  const int32_t down = up == kBaseline ? 0
                       : up == kBottom ? -line.face.descent()
                                       : line.face.ascent();
  line.origin = draw::point_of_text(line, -back, -down);
}

Status Player::take_text() {
  Text text;
  bool is_there = false;
  TRY(read_text(text, is_there));
  if (!is_there) return kOk;
  State& now = states_.now;
  const bool has_position = (now.text_align & kUpdatePosition) != 0;
  draw::TextLine line;
  line.face = face();
  line.origin = has_position ? now.mapping.at(now.x, now.y) : now.mapping.at(text.x, text.y);
  TRY(set_text(text, line));
  align_text(line);

  const draw::Brush background = draw::solid(now.background);
  const draw::Box box = draw::pixels_of(text.box);
  if ((text.options & kOpaqueBox) != 0) {
    TRY(painter_.fill_box(box, background, draw::kCopyBrush));
  }
  const bool is_clipped = (text.options & kClipped) != 0;
  if (is_clipped) TRY(narrow_clip(box));
  if (now.is_opaque && line.length > 0) {
    TRY(draw::fill_behind_text(painter_, line, background));
  }
  // ROP2 does not count for texts, as in GDI.
  TRY(draw::draw_text(painter_, line, draw::solid(now.text), draw::kCopyBrush));
  if (has_position) move_behind(line);
  return is_clipped ? apply_clip() : kOk;
}

// Along lines of text without an angle, as nearly all are.
void Player::move_behind(const draw::TextLine& line) {
  State& now = states_.now;
  const draw::Point zero = now.mapping.at(0, 0);
  const int64_t thousand =
      std::max(std::abs(int64_t{now.mapping.at(1000, 0).x} - zero.x), int64_t{1});
  now.x = draw::limited(now.x + int64_t{line.length} * 1000 / thousand);
}

}  // namespace tavo::wmf
