// Letters for the names on contact sheets: printable Latin-1 in cells of 6 x 12 pixels.
#pragma once

#include <array>
#include <cstdint>

namespace tavo::tools {

inline constexpr int kGlyphWidth = 6;
inline constexpr int kGlyphHeight = 12;

// The rows of a cell from the top: five pixels, the leftmost in bit 4, beside a column that parts
// letters. A question mark for what the font does not have.
std::array<uint8_t, kGlyphHeight> glyph_of(char32_t letter);

}  // namespace tavo::tools
