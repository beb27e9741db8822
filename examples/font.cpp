#include "font.h"

#include <algorithm>

namespace examples {
namespace {

constexpr int kDotsWide = 5;
constexpr int kDotsHigh = 9;  // seven above the base line, two below

struct Glyph {
  char character;
  std::string_view rows;  // seven rows of five dots, nine where it goes below the base line
};

constexpr Glyph kGlyphs[] = {
    {'A', " ### |#   #|#   #|#####|#   #|#   #|#   #"},
    {'B', "#### |#   #|#   #|#### |#   #|#   #|#### "},
    {'C', " ### |#   #|#    |#    |#    |#   #| ### "},
    {'D', "#### |#   #|#   #|#   #|#   #|#   #|#### "},
    {'E', "#####|#    |#    |#### |#    |#    |#####"},
    {'F', "#####|#    |#    |#### |#    |#    |#    "},
    {'G', " ### |#   #|#    |# ###|#   #|#   #| ####"},
    {'H', "#   #|#   #|#   #|#####|#   #|#   #|#   #"},
    {'I', " ### |  #  |  #  |  #  |  #  |  #  | ### "},
    {'J', "  ###|   # |   # |   # |   # |#  # | ##  "},
    {'K', "#   #|#  # |# #  |##   |# #  |#  # |#   #"},
    {'L', "#    |#    |#    |#    |#    |#    |#####"},
    {'M', "#   #|## ##|# # #|# # #|#   #|#   #|#   #"},
    {'N', "#   #|##  #|##  #|# # #|#  ##|#  ##|#   #"},
    {'O', " ### |#   #|#   #|#   #|#   #|#   #| ### "},
    {'P', "#### |#   #|#   #|#### |#    |#    |#    "},
    {'Q', " ### |#   #|#   #|#   #|# # #|#  # | ## #"},
    {'R', "#### |#   #|#   #|#### |# #  |#  # |#   #"},
    {'S', " ####|#    |#    | ### |    #|    #|#### "},
    {'T', "#####|  #  |  #  |  #  |  #  |  #  |  #  "},
    {'U', "#   #|#   #|#   #|#   #|#   #|#   #| ### "},
    {'V', "#   #|#   #|#   #|#   #|#   #| # # |  #  "},
    {'W', "#   #|#   #|#   #|# # #|# # #|## ##|#   #"},
    {'X', "#   #|#   #| # # |  #  | # # |#   #|#   #"},
    {'Y', "#   #|#   #| # # |  #  |  #  |  #  |  #  "},
    {'Z', "#####|    #|   # |  #  | #   |#    |#####"},
    {'a', "     |     | ### |    #| ####|#   #| ####"},
    {'b', "#    |#    |#### |#   #|#   #|#   #|#### "},
    {'c', "     |     | ### |#    |#    |#    | ### "},
    {'d', "    #|    #| ####|#   #|#   #|#   #| ####"},
    {'e', "     |     | ### |#   #|#####|#    | ### "},
    {'f', "  ## | #   |###  | #   | #   | #   | #   "},
    {'g', "     |     | ####|#   #|#   #|#   #| ####|    #| ### "},
    {'h', "#    |#    |#### |#   #|#   #|#   #|#   #"},
    {'i', "  #  |     | ##  |  #  |  #  |  #  | ### "},
    {'j', "     |   # |     |  ## |   # |   # |   # |#  # | ##  "},
    {'k', "#    |#    |#  # |# #  |##   |# #  |#  # "},
    {'l', " ##  |  #  |  #  |  #  |  #  |  #  | ### "},
    {'m', "     |     |## # |# # #|# # #|# # #|# # #"},
    {'n', "     |     |#### |#   #|#   #|#   #|#   #"},
    {'o', "     |     | ### |#   #|#   #|#   #| ### "},
    {'p', "     |     |#### |#   #|#   #|#   #|#### |#    |#    "},
    {'q', "     |     | ####|#   #|#   #|#   #| ####|    #|    #"},
    {'r', "     |     |# ## |##   |#    |#    |#    "},
    {'s', "     |     | ####|#    | ### |    #|#### "},
    {'t', " #   | #   |###  | #   | #   | #   |  ## "},
    {'u', "     |     |#   #|#   #|#   #|#   #| ####"},
    {'v', "     |     |#   #|#   #|#   #| # # |  #  "},
    {'w', "     |     |#   #|#   #|# # #|# # #| # # "},
    {'x', "     |     |#   #| # # |  #  | # # |#   #"},
    {'y', "     |     |#   #|#   #|#   #|#   #| ####|    #| ### "},
    {'z', "     |     |#####|   # |  #  | #   |#####"},
    {'0', " ### |#   #|#  ##|# # #|##  #|#   #| ### "},
    {'1', "  #  | ##  |  #  |  #  |  #  |  #  | ### "},
    {'2', " ### |#   #|    #|   # |  #  | #   |#####"},
    {'3', "#####|   # |  #  |   # |    #|#   #| ### "},
    {'4', "   # |  ## | # # |#  # |#####|   # |   # "},
    {'5', "#####|#    |#### |    #|    #|#   #| ### "},
    {'6', "  ## | #   |#    |#### |#   #|#   #| ### "},
    {'7', "#####|    #|   # |  #  |  #  | #   | #   "},
    {'8', " ### |#   #|#   #| ### |#   #|#   #| ### "},
    {'9', " ### |#   #|#   #| ####|    #|   # | ##  "},
    {'.', "     |     |     |     |     | ##  | ##  "},
    {',', "     |     |     |     |     | ##  | ##  |  #  | #   "},
    {':', "     | ##  | ##  |     | ##  | ##  |     "},
    {'-', "     |     |     | ### |     |     |     "},
    {'+', "     |  #  |  #  |#####|  #  |  #  |     "},
    {'/', "    #|    #|   # |  #  | #   |#    |#    "},
    {'!', "  #  |  #  |  #  |  #  |  #  |     |  #  "},
    {'?', " ### |#   #|    #|   # |  #  |     |  #  "},
    {'(', "   # |  #  | #   | #   | #   |  #  |   # "},
    {')', " #   |  #  |   # |   # |   # |  #  | #   "},
    {'&', " ##  |#  # |# #  | #   |# # #|#  # | ## #"},
    {'%', "##   |##  #|   # |  #  | #   |#  ##|   ##"},
};

const Glyph* find_glyph(char character) {
  const auto* glyph = std::ranges::find(kGlyphs, character, &Glyph::character);
  return glyph == std::end(kGlyphs) ? nullptr : glyph;
}

// Whether the letter has ink at (x, y) of a grid `zoom` times as fine as its dots. Each doubling
// rounds the corner of a stair that two neighbours of equal colour form (the rule known as EPX).
bool has_ink(const Glyph& glyph, int zoom, int x, int y) {
  if (x < 0 || y < 0 || x >= kDotsWide * zoom || y >= kDotsHigh * zoom) return false;
  if (zoom == 1) {
    const auto at = static_cast<size_t>(y * (kDotsWide + 1) + x);
    return at < glyph.rows.size() && glyph.rows[at] == '#';
  }
  const int half = zoom / 2;
  const int px = x / 2;
  const int py = y / 2;
  const bool beside = has_ink(glyph, half, px + (x % 2 != 0 ? 1 : -1), py);
  const bool above = has_ink(glyph, half, px, py + (y % 2 != 0 ? 1 : -1));
  const bool beside_far = has_ink(glyph, half, px + (x % 2 != 0 ? -1 : 1), py);
  const bool above_far = has_ink(glyph, half, px, py + (y % 2 != 0 ? -1 : 1));
  const bool is_stair = beside == above && beside != beside_far && above != above_far;
  return is_stair ? beside : has_ink(glyph, half, px, py);
}

void draw_glyph(Canvas& canvas, int left, int top, int scale, Color color, const Glyph& glyph) {
  const int zoom = scale >= 4 ? 4 : scale >= 2 ? 2 : 1;
  for (int y = 0; y < kDotsHigh * scale; ++y)
    for (int x = 0; x < kDotsWide * scale; ++x)
      if (has_ink(glyph, zoom, x * zoom / scale, y * zoom / scale))
        canvas.set(left + x, top + y, color);
}

}  // namespace

void draw_text(Canvas& canvas, int x, int y, int scale, Color color, std::string_view text) {
  for (const char character : text) {
    if (const Glyph* glyph = find_glyph(character)) draw_glyph(canvas, x, y, scale, color, *glyph);
    x += kCellWidth * scale;
  }
}

}  // namespace examples
