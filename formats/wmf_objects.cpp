#include "formats/wmf_objects.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "base/endian.h"

namespace tavo::wmf {

namespace {

// Pen ([MS-WMF] 2.2.1.4): style, width and an unused height, colour.
Object take_pen(Records& records) {
  std::array<uint8_t, 10> bytes;
  if (!records.take(bytes)) return OtherObject{};
  PenObject pen;
  // PenStyle (2.1.1.23): the line in the low four bits, above them ends and joins, which are round
  // here whatever they say.
  pen.style = load_le16(&bytes[0]) & 0x0F;
  pen.width = std::abs(int32_t{static_cast<int16_t>(load_le16(&bytes[2]))});
  pen.color = color_of(load_le32(&bytes[6]));
  return pen;
}

// LogBrush (2.2.2.10): style, colour, hatch.
Object take_brush(Records& records) {
  std::array<uint8_t, 8> bytes;
  if (!records.take(bytes)) return OtherObject{};
  BrushObject brush;
  brush.style = load_le16(&bytes[0]);
  brush.color = color_of(load_le32(&bytes[2]));
  brush.hatch = load_le16(&bytes[6]);
  return brush;
}

// LogFont (2.2.1.2). There is one font, and one of symbols, which is known by its name.
Object take_font(Records& records) {
  std::array<int16_t, 5> words;  // height, width, escapement, orientation, weight
  std::array<uint8_t, 8> flags;  // italic, underlined, struck out, others
  std::array<uint8_t, 6> name;
  if (!records.take(words) || !records.take(std::span(flags).first(3))) return OtherObject{};
  FontObject font;
  font.height = words[0];
  font.width = std::abs(int32_t{words[1]});
  // The orientation of single letters counts as this, as in GDI's compatible mode.
  font.escapement = words[2];
  font.weight = words[4];
  font.is_italic = flags[0] != 0;
  font.is_underlined = flags[1] != 0;
  font.is_struck_out = flags[2] != 0;
  // CharSet, the first of the other flags, would not do: Wingdings is SYMBOL_CHARSET (2.1.1.5),
  // too. Facename has up to 32 bytes; all that begin so count.
  font.is_symbol = records.take(std::span(flags).subspan(3)) && records.take(name) &&
                   std::memcmp(name.data(), "Symbol", name.size()) == 0;
  return font;
}

// A brush of a bitmap, which stays in the file: behind a style and a usage word for device
// independent ones (2.3.4.8); Bitmap16 with a pointer and 18 reserved bytes behind it else
// (2.3.4.4).
Object take_pattern(Records& records, bool is_dib) {
  BrushObject brush;
  constexpr uint16_t kPatternStyle = 3;  // BS_PATTERN
  brush.style = kPatternStyle;
  brush.form.is_dib = is_dib;
  std::array<int16_t, 2> words = {kPatternStyle, 0};  // style, usage
  if (is_dib && !records.take(words)) return OtherObject{};
  // BS_PATTERN has colours whatever the usage says, all other styles count as BS_DIBPATTERNPT.
  if (words[0] != kPatternStyle) brush.form.usage = color_usage(words[1]);
  brush.pattern = records.position();
  brush.pattern_bytes = records.left_in_file();
  return brush;
}

}  // namespace

bool Objects::take(Records& records, Status& status) {
  Object made = OtherObject{};
  switch (records.function()) {
    case kCreatePen:
      made = take_pen(records);
      break;
    case kCreateBrush:
      made = take_brush(records);
      break;
    case kCreateFont:
      made = take_font(records);
      break;
    case kDibCreatePatternBrush:
      made = take_pattern(records, true);
      break;
    case kCreatePatternBrush:
      made = take_pattern(records, false);
      break;
    case kCreateRegion:
      // Read when it is used: it lies in units of the window in force then.
      made = RegionObject{records.position()};
      break;
    case kCreatePalette:
      break;
    default:
      return false;
  }
  status = add(made);
  return true;
}

Status Objects::add(const Object& object) {
  while (first_free_ < slots_.size() && slots_[first_free_].index() != 0) ++first_free_;
  if (first_free_ == kMost) return kOk;
  if (first_free_ == slots_.size()) return slots_.push(object);
  slots_[first_free_] = object;
  return kOk;
}

const Object* Objects::find(int32_t number) const {
  const auto at = static_cast<size_t>(static_cast<uint16_t>(number));
  return at < slots_.size() && slots_[at].index() != 0 ? &slots_[at] : nullptr;
}

void Objects::remove(int32_t number) {
  const auto at = static_cast<size_t>(static_cast<uint16_t>(number));
  if (at >= slots_.size()) return;
  slots_[at] = {};
  first_free_ = std::min(first_free_, at);
}

}  // namespace tavo::wmf
