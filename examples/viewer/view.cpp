#include "view.h"

#include <algorithm>
#include <cmath>

namespace viewer {
namespace {

constexpr double kLargest = 32;
constexpr double kMostPixels = 1 << 22;  // GDI counts with 27 bits

// Centred when there is room, else without a gap at either side.
double placed(double at, int extent, int room) {
  return extent <= room ? (room - extent) / 2 : std::clamp(at, double(room - extent), 0.0);
}

}  // namespace

void View::set_client(int width, int height) {
  client_ = {std::max(width, 1), std::max(height, 1)};
  fit();
}

void View::set_picture(int width, int height) {
  width_ = std::max(width, 1);
  height_ = std::max(height, 1);
  left_ = top_ = 0;
  fit();
}

void View::fit() {
  if (is_fitted_)
    scale_ = std::min({1.0, client_.cx / double(width_), client_.cy / double(height_)});
  keep_in_window();
}

void View::show_actual() {
  const POINT middle = {client_.cx / 2, client_.cy / 2};
  zoom(1 / scale_, middle);
  scale_ = 1;
}

void View::show_whole() {
  is_fitted_ = true;
  fit();
}

void View::zoom(double factor, POINT about) {
  is_fitted_ = false;
  const double most = std::min(kLargest, kMostPixels / std::max(width_, height_));
  const double least = 1.0 / std::max(width_, height_);
  const double scale = std::clamp(scale_ * factor, std::min(least, most), most);
  left_ = about.x - (about.x - left_) * scale / scale_;
  top_ = about.y - (about.y - top_) * scale / scale_;
  scale_ = scale;
  keep_in_window();
}

void View::pan(int x, int y) {
  left_ += x;
  top_ += y;
  keep_in_window();
}

int View::extent(int pixels) const {
  return std::max(1, static_cast<int>(std::lround(pixels * scale_)));
}

void View::keep_in_window() {
  left_ = placed(left_, extent(width_), client_.cx);
  top_ = placed(top_, extent(height_), client_.cy);
}

RECT View::destination() const {
  const int left = static_cast<int>(std::floor(left_));
  const int top = static_cast<int>(std::floor(top_));
  return {left, top, left + extent(width_), top + extent(height_)};
}

}  // namespace viewer
