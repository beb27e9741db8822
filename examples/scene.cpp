#include <algorithm>
#include <bit>
#include <cstdlib>

#include "font.h"
#include "noise.h"
#include "pictures.h"

namespace examples {
namespace {

// Scene coordinates: 65,536 units from top to bottom whatever the picture's size, y downwards, and
// x from the middle, so that a wider picture shows more to both sides.
constexpr int kUnits = 1 << 16;
constexpr int kHorizon = 36000;
constexpr int kShore = 52000;
constexpr int64_t kWidest = 1 << 28;  // to either side; keeps arithmetic in range for any shape
constexpr int kSunX = -22000;
constexpr int kSunY = 17000;

struct Point {
  int x = 0;
  int y = 0;
};

// a at weight 0, b at weight 256.
Color mix(Color a, Color b, int weight) {
  const int w = std::clamp(weight, 0, 256);
  const auto blend = [w](int from, int to) { return from + (to - from) * w / 256; };
  return {blend(a.red, b.red), blend(a.green, b.green), blend(a.blue, b.blue)};
}

// Scales the brightness: 256 leaves it.
Color shade(Color color, int light) {
  const auto scale = [light](int value) { return std::clamp(value * light / 256, 0, 255); };
  return {scale(color.red), scale(color.green), scale(color.blue)};
}

int square_root(int64_t value) {
  int64_t root = 0;
  for (int64_t bit = int64_t{1} << (std::bit_width(static_cast<uint64_t>(value)) / 2); bit > 0;
       bit >>= 1)
    if ((root + bit) * (root + bit) <= value) root += bit;
  return static_cast<int>(root);
}

int distance(Point a, Point b) {
  const int64_t dx = a.x - b.x;
  const int64_t dy = a.y - b.y;
  return square_root(dx * dx + dy * dy);
}

Color sky(Point p) {
  const Color height = mix({34, 74, 142}, {250, 206, 160}, p.y * 256 / kHorizon);
  const int away = distance(p, {kSunX, kSunY});
  Color color = mix({255, 246, 214}, height, away / 90);
  if (away < 2600) color = {255, 252, 236};
  // Clouds lie flatter the nearer they are to the horizon.
  const int cover = layered_noise(p.x + 900000, p.y * 3, 14, 6, 11);
  return mix(color, {255, 244, 236}, (cover - 120) * 3);
}

// How high a ridge stands above the horizon at x.
int ridge(int x, int base, int height, uint32_t seed) {
  return base + layered_noise(x + 900000, 0, 14, 8, seed) * height / 256;
}

// The land above the horizon, seen directly or in the water.
Color far_view(Point p) {
  const int above = kHorizon - p.y;
  const int far_top = ridge(p.x, 1500, 19000, 31);
  const int near_top = ridge(p.x, -3000, 14000, 53);
  if (above < near_top) {
    const int trees = layered_noise(p.x + 900000, p.y, 9, 4, 71);
    return mix(shade({52, 78, 60}, 130 + trees), {170, 176, 182}, 40);
  }
  if (above < far_top) {
    const int slope = layered_noise(p.x + 900000, p.y * 2, 11, 6, 91);
    const Color rock = shade({118, 112, 124}, 110 + slope);
    const bool has_snow = above > 9500 + slope * 12;
    return mix(has_snow ? shade({236, 240, 248}, 200 + slope / 4) : rock, {196, 190, 200}, 90);
  }
  return sky(p);
}

// The lake mirrors the far view; ripples shift what is seen sideways, more so near the shore.
Color water(Point p) {
  const int depth = p.y - kHorizon;
  const int ripple = layered_noise(p.x / 4 + 900000, p.y * 6, 11, 4, 101) - 128;
  const Point seen = {p.x + ripple * depth / 600, kHorizon - depth - ripple * depth / 2400};
  const Color mirrored = far_view({seen.x, std::clamp(seen.y, 0, kHorizon - 1)});
  return mix(shade(mirrored, 190 + ripple / 4), {20, 52, 66}, 60 + depth / 160);
}

Color meadow(Point p) {
  const int blades = layered_noise(p.x * 3 + 900000, p.y, 9, 6, 131);
  const int patches = smooth_noise(p.x + 900000, p.y * 2, 13, 151);
  const Color grass = mix({86, 118, 44}, {150, 140, 62}, patches);
  return shade(grass, 90 + blades + (p.y - kShore) / 200);
}

Color house_wall(Point p) {
  constexpr int kBrickWidth = 1500;
  constexpr int kBrickHeight = 620;
  constexpr int kJoint = 110;
  const int course = p.y / kBrickHeight;
  const int along = p.x + 900000 + (course % 2) * kBrickWidth / 2;
  if (p.y % kBrickHeight < kJoint || along % kBrickWidth < kJoint) return {206, 196, 182};
  const int burnt = hash8(along / kBrickWidth, course, 171);
  return shade({168, 78, 56}, 205 + burnt / 3);
}

// A house with hard edges: walls of brick, a roof of stripes, windows, a door.
bool house(Point p, Color& color) {
  constexpr Point kMiddle = {20000, 45000};
  const int dx = std::abs(p.x - kMiddle.x);
  const int dy = p.y - kMiddle.y;
  if (dy < 0 && dy >= -9000 && dx < 13500 + dy * 3 / 2) {
    color = (dy + 9000) / 450 % 2 == 0 ? Color{72, 70, 84} : Color{92, 88, 100};
    return true;
  }
  if (dy < 0 || dy > 12000 || dx > 11000) return false;
  color = house_wall(p);
  if (dx < 1900 && dy > 4200) color = {70, 44, 30};  // door
  const bool is_window = dx > 4000 && dx < 8600 && dy > 3000 && dy < 8200;
  if (is_window) {
    const bool is_frame = (dx - 4000) % 2300 < 260 || dx > 8340 || (dy - 3000) % 2600 < 260;
    color = is_frame ? Color{244, 244, 238} : mix({40, 56, 78}, {228, 214, 170}, dy / 40);
  }
  return true;
}

struct Ball {
  Point center;
  int radius;
  Color color;
};
constexpr Ball kBalls[] = {{{-30000, 57000}, 5200, {214, 44, 40}},
                           {{-18600, 58800}, 4400, {44, 132, 206}},
                           {{-8800, 60000}, 3600, {232, 186, 48}}};

// A ball lit from the upper left, with a highlight, and its shadow on the meadow.
bool ball(Point p, const Ball& b, Color& color) {
  const int dx = p.x - b.center.x;
  const int dy = p.y - b.center.y;
  const int64_t inside = static_cast<int64_t>(b.radius) * b.radius - static_cast<int64_t>(dx) * dx -
                         static_cast<int64_t>(dy) * dy;
  if (inside < 0) {
    const Point foot = {b.center.x + b.radius / 2, b.center.y + b.radius};
    const int away = distance({p.x, foot.y + (p.y - foot.y) * 4}, foot);
    if (p.y > kShore) color = shade(color, std::min(256, 110 + away * 146 / (b.radius * 3 / 2)));
    return false;
  }
  const int dz = square_root(inside);
  const int light = (dx * -140 + dy * -150 + dz * 160) / b.radius;  // up to about 260
  color = shade(b.color, 60 + std::max(light, 0));
  const int glance = light - 225;
  if (glance > 0) color = mix(color, {255, 255, 255}, glance * 7);
  return true;
}

Color scene_color(Point p) {
  Color color;
  if (p.y < kHorizon) {
    color = far_view(p);
  } else {
    const int edge = kShore + smooth_noise(p.x + 900000, 0, 12, 191) * 8 - 1000;
    color = p.y < edge ? water(p) : meadow(p);
  }
  house(p, color);
  for (const Ball& b : kBalls)
    if (ball(p, b, color)) break;
  return color;
}

void draw_sign(Canvas& canvas) {
  const int height = canvas.height();
  const int scale = std::max(1, height / 240);
  const char* const lines[] = {"TAVO45", "Raster imaging", "0123456789 (100%)"};
  const int width = (17 * kCellWidth + 8) * scale;
  const int left = canvas.width() - width - height / 40;
  const int top = height / 40;
  canvas.fill(left, top, width, 4 * kLineHeight * scale + 8 * scale, {24, 26, 30});
  canvas.fill(left + scale, top + scale, width - 2 * scale, 4 * kLineHeight * scale + 6 * scale,
              {250, 248, 240});
  draw_text(canvas, left + 4 * scale, top + 4 * scale, scale * 2, {176, 24, 32}, lines[0]);
  draw_text(canvas, left + 4 * scale, top + (4 + 2 * kLineHeight) * scale, scale, {16, 16, 16},
            lines[1]);
  draw_text(canvas, left + 4 * scale, top + (6 + 3 * kLineHeight) * scale, scale, {28, 60, 140},
            lines[2]);
}

// Grain such as a sensor adds: -3 to 3.
Color with_grain(Color color, int x, int y) {
  const auto add = [x, y](int value, uint32_t seed) {
    return std::clamp(value + hash8(x, y, seed) * 7 / 256 - 3, 0, 255);
  };
  return {add(color.red, 211), add(color.green, 212), add(color.blue, 213)};
}

}  // namespace

void draw_scene(Canvas& canvas) {
  const int64_t width = canvas.width();
  const int64_t height = canvas.height();
  for (int y = 0; y < canvas.height(); ++y) {
    for (int x = 0; x < canvas.width(); ++x) {
      const int64_t across = (2 * int64_t{x} + 1 - width) * kUnits / (2 * height);
      const int64_t down = (2 * int64_t{y} + 1) * kUnits / (2 * height);
      const Point p = {static_cast<int>(std::clamp(across, -kWidest, kWidest)),
                       static_cast<int>(down)};
      canvas.set(x, y, with_grain(scene_color(p), x, y));
    }
  }
  draw_sign(canvas);
}

}  // namespace examples
