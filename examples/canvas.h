// A picture in memory to draw on, top row first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace examples {

struct Color {
  int red = 0;  // 0 to 255 each
  int green = 0;
  int blue = 0;
};

class Canvas {
 public:
  Canvas(int width, int height)
      : width_(width),
        height_(height),
        bytes_(static_cast<size_t>(width) * static_cast<size_t>(height) * 3) {}

  int width() const { return width_; }
  int height() const { return height_; }

  // Pixels outside are not drawn.
  void set(int x, int y, Color color) {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
    uint8_t* pixel = bytes_.data() + offset(x, y);
    pixel[0] = static_cast<uint8_t>(color.blue);
    pixel[1] = static_cast<uint8_t>(color.green);
    pixel[2] = static_cast<uint8_t>(color.red);
  }

  void fill(int x, int y, int width, int height, Color color) {
    for (int row = y; row < y + height; ++row)
      for (int column = x; column < x + width; ++column) set(column, row, color);
  }

  // Blue, green, red of each pixel.
  const uint8_t* row(int y) const { return bytes_.data() + offset(0, y); }

 private:
  size_t offset(int x, int y) const {
    return (static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)) * 3;
  }

  int width_;
  int height_;
  std::vector<uint8_t> bytes_;
};

}  // namespace examples
