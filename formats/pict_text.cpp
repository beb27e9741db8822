// Texts of a PICT file.
#include <algorithm>

#include "formats/pict_player.h"

namespace tavo::pict {

namespace {

constexpr uint32_t kLongText = 0x28, kTextRight = 0x29, kTextDown = 0x2A;
constexpr int32_t kUsualSize = 12;
constexpr int32_t kMonaco = 4, kCourier = 22;  // fonts whose characters are all as wide:
constexpr int32_t kEvenWidth = 36;             // so many units of the built-in one

// Of the Macintosh's character set from 80 on: the same or what comes near in ISO 8859-1 and the
// code page 1252.
constexpr uint8_t kRoman[] = {
    0xC4, 0xC5, 0xC7, 0xC9, 0xD1, 0xD6, 0xDC, 0xE1, 0xE0, 0xE2, 0xE4, 0xE3, 0xE5, 0xE7, 0xE9, 0xE8,
    0xEA, 0xEB, 0xED, 0xEC, 0xEE, 0xEF, 0xF1, 0xF3, 0xF2, 0xF4, 0xF6, 0xF5, 0xFA, 0xF9, 0xFB, 0xFC,
    0x86, 0xB0, 0xA2, 0xA3, 0xA7, 0x95, 0xB6, 0xDF, 0xAE, 0xA9, 0x99, 0xB4, 0xA8, '=',  0xC6, 0xD8,
    ' ',  0xB1, '<',  '>',  0xA5, 0xB5, 'd',  ' ',  ' ',  ' ',  ' ',  0xAA, 0xBA, ' ',  0xE6, 0xF8,
    0xBF, 0xA1, 0xAC, ' ',  'f',  '~',  ' ',  0xAB, 0xBB, 0x85, 0xA0, 0xC0, 0xC3, 0xD5, 0x8C, 0x9C,
    0x96, 0x97, 0x93, 0x94, 0x91, 0x92, 0xF7, ' ',  0xFF, 'Y',  '/',  0xA4, '<',  '>',  'f',  'f',
    0x87, 0xB7, 0x82, 0x84, '%',  0xC2, 0xCA, 0xC1, 0xCB, 0xC8, 0xCD, 0xCE, 0xCF, 0xCC, 0xD3, 0xD4,
    ' ',  0xD2, 0xDA, 0xDB, 0xD9, 'i',  '^',  '~',  0xAF, ' ',  ' ',  0xB0, 0xB8, '"',  ' ',  ' '};
static_assert(std::size(kRoman) == 0x80);

constexpr uint8_t from_roman(uint8_t code) { return code < 0x80 ? code : kRoman[code - 0x80]; }

// Kept: nothing stretches by a ratio whose parts are not both above 0.
int64_t stretched(int64_t length, int32_t numerator, int32_t denominator) {
  return numerator > 0 && denominator > 0 ? length * numerator / denominator : length;
}

}  // namespace

// LongText: txLoc, a count and so many characters; DHText: dh, DVText: dv, DHDVText: dh, dv (bytes,
// 0 to 255, from where the last text began), then the same. The place is the base line's left end.
Status Player::take_text() {
  auto data = records_.data();
  const uint32_t opcode = records_.opcode();
  Place& at = state_.text_at;
  size_t head = 2;
  if (opcode == kLongText) {
    at = load_place(data.data());
    head = 5;
  } else if (opcode == kTextRight) {
    at.x = draw::limited(int64_t{at.x} + data[0]);
  } else if (opcode == kTextDown) {
    at.y = draw::limited(int64_t{at.y} + data[0]);
  } else {
    at = {draw::limited(int64_t{at.y} + data[1]), draw::limited(int64_t{at.x} + data[0])};
    head = 3;
  }
  return draw_text(data.subspan(head));
}

draw::TextFace Player::face() const {
  const Font& font = state_.font;
  const int64_t size = font.size > 0 ? font.size : kUsualSize;
  draw::TextFace face;
  face.height = grid_.length(stretched(size << 8, font.numerator.y, font.denominator.y)) >> 8;
  face.width = grid_.length(stretched(size << 8, font.numerator.x, font.denominator.x)) >> 8;
  face.thinnest = pen_length(1);
  face.is_bold = (font.face & kBold) != 0;
  face.is_italic = (font.face & kItalic) != 0;
  face.is_underlined = (font.face & kUnderline) != 0;
  return face;
}

Status Player::draw_text(std::span<const uint8_t> text) {
  const Font& font = state_.font;
  const Place at = state_.text_at;
  draw::TextLine line;
  line.face = face();
  line.origin = grid_.point(at.x, at.y);
  const bool is_even = font.number == kMonaco || font.number == kCourier;
  const int32_t even = draw::TextFace::part(line.face.width, kEvenWidth);
  const int64_t unit = grid_.length(1);
  int64_t extra = int64_t{line.face.width} * font.extra >> 12;
  if ((font.face & kCondensed) != 0) extra -= unit;
  if ((font.face & kExtended) != 0) extra += unit;
  const int64_t space_extra = unit * font.space_extra >> 16;

  // A byte counts the characters of a record, so there is room for all.
  uint8_t characters[UINT8_MAX];
  int32_t places[UINT8_MAX];
  for (size_t i = 0; i < text.size(); ++i) {
    characters[i] = from_roman(text[i]);
    const int32_t own = line.face.advance(characters[i]);
    places[i] = draw::limited(int64_t{line.length} + (is_even ? (even - own) / 2 : 0));
    const int64_t more = text[i] == ' ' ? space_extra : extra;
    line.length = draw::limited(int64_t{line.length} + (is_even ? even : own) + more);
  }
  line.characters = std::span(characters).first(text.size());
  line.places = std::span(places).first(text.size());

  constexpr uint32_t kArithmetic = 32, kOr = 1;
  const uint32_t mode = font.mode < kArithmetic ? font.mode : kOr;  // these leave no box behind
  if (transfer_of(mode).mode == Mode::kCopy && line.length > 0) {
    TRY(draw::fill_behind_text(painter_, line, draw::solid(state_.background)));
  }
  Pattern letters;
  letters.bits.fill(0xFF);
  const Ink with = ink(letters, mode);
  return draw::draw_text(painter_, line, with.brush, with.operation);
}

}  // namespace tavo::pict
