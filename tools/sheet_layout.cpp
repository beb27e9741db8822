#include "sheet_layout.h"

#include <algorithm>
#include <utility>

#include "failure.h"
#include "font.h"

namespace tavo::tools {
namespace {

// Tenths of a millimetre: ISO 216, ANSI Y14.1.
constexpr Extent kA4 = {2100, 2970};
constexpr Extent kLetter = {2159, 2794};
constexpr int32_t kInch = 254;
constexpr int32_t kMargin = 120;
constexpr int32_t kGap = 40;        // between cells
constexpr int32_t kTextGap = 10;    // between a picture and its name
constexpr int32_t kFontPitch = 14;  // of a letter, about
constexpr int32_t kLeastBox = 16;   // pixels

}  // namespace

SheetLayout lay_out(const SheetOptions& options) {
  const auto pixels = [&options](int32_t tenths) {
    return (tenths * options.dots_per_inch + kInch / 2) / kInch;
  };
  Extent paper = options.paper == "letter" ? kLetter : kA4;
  if (options.is_landscape) paper = paper.turned();
  SheetLayout layout{};
  layout.page = {pixels(paper.width), pixels(paper.height)};
  layout.margin = pixels(kMargin);
  layout.columns = options.columns;
  const int32_t gap = pixels(kGap);
  const int32_t width = layout.page.width - 2 * layout.margin;
  const int32_t height = layout.page.height - 2 * layout.margin;
  layout.step_x = (width + gap) / layout.columns;
  const int32_t side = std::min(layout.step_x - gap, height / 2);
  if (side < kLeastBox)
    throw UsageError{"--columns: " + std::to_string(options.columns) +
                     " leave no room for pictures on a page of " + std::to_string(width) +
                     " pixels"};
  layout.box = {layout.step_x - gap, side};
  layout.scale = std::max(pixels(kFontPitch) / kGlyphWidth, 1);
  layout.text_at = side + pixels(kTextGap);
  layout.step_y = layout.text_at + kGlyphHeight * layout.scale + gap;
  layout.rows = std::max((height + gap) / layout.step_y, 1);
  return layout;
}

}  // namespace tavo::tools
