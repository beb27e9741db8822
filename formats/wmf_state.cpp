#include "formats/wmf_state.h"

#include <algorithm>
#include <cstdlib>

namespace tavo::wmf {

namespace {

constexpr int32_t kText = 1;  // map mode: units are pixels
constexpr int32_t kPixelsPerInch = 96;

// Units per inch of map modes 2 to 6, whose y grows upward; tenths to avoid fractions.
// MM_LOMETRIC (0.1 mm), MM_HIMETRIC (0.01 mm), MM_LOENGLISH (0.01 inch), MM_HIENGLISH (0.001 inch),
// MM_TWIPS (1/1440 inch): [MS-WMF] 2.1.1.16.
constexpr int32_t kTenthsPerInch[] = {2540, 25400, 1000, 10000, 14400};

constexpr uint32_t color_word(std::span<const int16_t> words) {
  return static_cast<uint16_t>(words[0]) | static_cast<uint32_t>(static_cast<uint16_t>(words[1]))
                                               << 16;
}

// An extent that a metafile may set; 0 says nothing.
void set_extent(int32_t& extent, int64_t value) {
  if (value != 0) extent = draw::limited(value);
}

}  // namespace

Mapping::Ratio Mapping::ratio(int32_t to, int32_t pixels, int32_t extent, bool is_vertical) const {
  if (mode == kText) return {to, pixels};
  if (mode >= 2 && mode <= 6) {
    const int64_t units = int64_t{kTenthsPerInch[mode - 2]} * pixels;
    const int64_t length = int64_t{to} * kPixelsPerInch * 10;
    return {is_vertical ? -length : length, units};
  }
  // MM_ISOTROPIC (7) counts as MM_ANISOTROPIC (8): the window is stretched to the page, which has
  // its proportions as a rule.
  return {extent < 0 ? -int64_t{to} : int64_t{to}, std::abs(int64_t{extent})};
}

// Rounded to the nearest, halves upward. A length that a page has times 2^17 fits 64 bits.
int32_t Mapping::limited_ratio(int64_t value, const Ratio& by) {
  const int64_t twice =
      2 * std::clamp<int64_t>(value, -(1 << 17), 1 << 17) * by.numerator + by.denominator;
  const int64_t unit = 2 * by.denominator;
  const int64_t quotient = twice / unit;
  return draw::limited(twice % unit < 0 ? quotient - 1 : quotient);
}

int32_t Mapping::length_x(int64_t length) const {
  return std::abs(limited_ratio(length, x_ratio()));
}
int32_t Mapping::length_y(int64_t length) const {
  return std::abs(limited_ratio(length, y_ratio()));
}

Status States::save() {
  if (count_ >= kMostSaved) return kOk;
  Saved& saved = saved_[static_cast<size_t>(count_++)];
  saved.state = now;
  return now.has_clip ? saved.clip.assign(clip) : kOk;
}

Status States::restore(int32_t level) {
  const int32_t at = level < 0 ? count_ + level : level - 1;
  if (at < 0 || at >= count_) return kOk;
  // States saved above the one restored are gone ([MS-WMF] 2.3.5.10).
  count_ = at;
  const Saved& saved = saved_[static_cast<size_t>(at)];
  now = saved.state;
  return now.has_clip ? clip.assign(saved.clip) : kOk;
}

bool States::take(uint16_t function, std::span<const int16_t> words) {
  Mapping& mapping = now.mapping;
  switch (function) {
    case kSetMapMode:
      mapping.mode = words[0];
      return true;
    case kSetWindowOrg:
      mapping.x_origin = words[1];
      mapping.y_origin = words[0];
      return true;
    case kSetWindowExt:
      set_extent(mapping.x_extent, words[1]);
      set_extent(mapping.y_extent, words[0]);
      return true;
    case kOffsetWindowOrg:
      mapping.x_origin = draw::limited(int64_t{mapping.x_origin} + words[1]);
      mapping.y_origin = draw::limited(int64_t{mapping.y_origin} + words[0]);
      return true;
    case kScaleWindowExt:  // by fractions, the denominators first
      if (words[0] == 0 || words[2] == 0) return true;
      set_extent(mapping.x_extent, int64_t{mapping.x_extent} * words[3] / words[2]);
      set_extent(mapping.y_extent, int64_t{mapping.y_extent} * words[1] / words[0]);
      return true;
    case kSetBkMode:
      now.is_opaque = words[0] == 2;  // OPAQUE
      return true;
    case kSetBkColor:
      now.background = color_of(color_word(words));
      return true;
    case kSetTextColor:
      now.text = color_of(color_word(words));
      return true;
    case kSetRop2:
      now.rop2 = static_cast<uint16_t>(words[0]);
      return true;
    case kSetPolyFillMode:
      now.is_winding = words[0] == 2;  // WINDING
      return true;
    case kSetTextAlign:
      now.text_align = static_cast<uint16_t>(words[0]);
      return true;
    case kMoveTo:
      now.x = words[1];
      now.y = words[0];
      return true;
    // Viewports (2.3.5.28, 2.3.5.29 and their like) are among these: the page is the viewport.
    default:
      return false;
  }
}

}  // namespace tavo::wmf
