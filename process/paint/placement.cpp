#include "process/paint/placement.h"

#include <bit>

namespace tavo::process {

namespace {

// So that products with a number of pixels fit 64 bits.
uint64_t sane_resolution(int32_t resolution) {
  return static_cast<uint64_t>(std::clamp(resolution, 1, 65535));
}

int32_t rounded(uint64_t value, uint64_t by, int32_t most) {
  const uint64_t quotient = (value + by / 2) / by;
  return static_cast<int32_t>(std::clamp<uint64_t>(quotient, 1, static_cast<uint64_t>(most)));
}

struct Size {
  int32_t width;
  int32_t height;
};

// As large as goes in, the proportions on paper kept.
Size fitting(const PagePlan& plan, Size area) {
  const auto measure = [](const Extent& extent, int32_t page, const Extent& other) {
    return static_cast<uint64_t>(extent.pixels) * sane_resolution(page) *
           sane_resolution(other.resolution);
  };
  uint64_t width = measure(plan.across, plan.page_resolution_x, plan.down);
  uint64_t height = measure(plan.down, plan.page_resolution_y, plan.across);
  // Proportions need no more than 32 bits.
  const auto bits = static_cast<int>(std::bit_width(std::max(width, height)));
  const int spare = std::max(0, bits - 32);
  width = std::max<uint64_t>(width >> spare, 1);
  height = std::max<uint64_t>(height >> spare, 1);
  const auto area_width = static_cast<uint64_t>(area.width);
  const auto area_height = static_cast<uint64_t>(area.height);
  if (width * area_height >= height * area_width) {
    return {area.width, rounded(height * area_width, width, area.height)};
  }
  return {rounded(width * area_height, height, area.width), area.height};
}

// By the resolutions; made to fit when it is larger than the area.
Size actual(const PagePlan& plan, Size area) {
  const auto length = [](const Extent& extent, int32_t page) {
    return rounded(static_cast<uint64_t>(extent.pixels) * sane_resolution(page),
                   sane_resolution(extent.resolution), INT32_MAX);
  };
  const Size size = {length(plan.across, plan.page_resolution_x),
                     length(plan.down, plan.page_resolution_y)};
  return size.width > area.width || size.height > area.height ? fitting(plan, area) : size;
}

}  // namespace

PixelRect place_on_page(const PagePlan& plan) {
  const Size area = {plan.area.right - plan.area.left, plan.area.bottom - plan.area.top};
  Size size = area;
  if (plan.placement == Placement::kFit) size = fitting(plan, area);
  if (plan.placement == Placement::kActual) size = actual(plan, area);
  int32_t left = plan.area.left, top = plan.area.top;
  if (plan.is_centered) {
    left += (area.width - size.width) / 2;
    top += (area.height - size.height) / 2;
  }
  return {left, top, left + size.width, top + size.height};
}

}  // namespace tavo::process
