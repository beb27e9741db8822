#include <algorithm>

#include "core/progress.h"
#include "process/scans/page_cells.h"
#include "process/scans/scans.h"

namespace tavo::process {

namespace {

// Filled discs about as large as holes of 5 to 8 mm are on pages of up to A3, within the margins
// that are punched.
bool is_punch_hole(const InkGroup& group, const PageCells& page) {
  const uint32_t longest = std::max(page.width(), page.height());
  const uint32_t small = std::min(group.width(), group.height());
  const uint32_t large = std::max(group.width(), group.height());
  if (large > longest / 24 || small < longest / 120 || small * 5 < large * 4) return false;
  const uint64_t area = uint64_t{group.width()} * group.height();
  if (group.pixels * 100 < area * 65) return false;  // a disc fills 78 of 100
  const auto is_near_end = [](uint32_t first, uint32_t end, uint32_t length) {
    return end <= length / 8 || first >= length - length / 8;
  };
  return is_near_end(group.left, group.right, page.width()) ||
         is_near_end(group.top, group.bottom, page.height());
}

}  // namespace

Status find_content(BitmapHandle& bitmap, Area& area) {
  core::Progress progress;
  PageCells page(bitmap);
  TRY(page.read(progress));
  InkGroup all;
  InkGroup group;
  while (page.next_group(group)) {
    all.left = std::min(all.left, group.left);
    all.top = std::min(all.top, group.top);
    all.right = std::max(all.right, group.right);
    all.bottom = std::max(all.bottom, group.bottom);
  }
  TRY(progress.finish());
  area = {};
  if (all.right != 0) area = {all.left, all.top, all.width(), all.height()};
  return kOk;
}

Status is_blank(BitmapHandle& bitmap, int32_t share, bool& answer) {
  if (share < 0 || static_cast<uint32_t>(share) > kWholePage) return kBadArgument;
  core::Progress progress;
  PageCells page(bitmap);
  TRY(page.read(progress));
  uint64_t pixels = 0;
  InkGroup group;
  while (page.next_group(group)) {
    if (!is_punch_hole(group, page)) pixels += group.pixels;
  }
  TRY(progress.finish());
  const uint64_t all = uint64_t{page.width()} * page.height();
  answer = pixels * kWholePage <= all * static_cast<uint32_t>(share);
  return kOk;
}

}  // namespace tavo::process
