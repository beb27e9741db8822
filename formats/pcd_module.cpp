#include "formats/pcd_module.h"

#include <algorithm>
#include <cstring>

#include "codec/photocd_planes.h"
#include "codec/photocd_samples.h"
#include "platform/platform.h"

namespace tavo::pcd {

namespace {

// load() copies what it finds over ModuleEntries: the order is that of its members.
constexpr const char* kNames[] = {
    "PCDopen",        "PCDclose",        "PCDgetFormat", "PCDgetResolution", "PCDsetResolution",
    "PCDgetRotation", "PCDsetTransform", "PCDloadImage", "PCDgetBlock",      "PCDfreeBitmap",
};
static_assert(sizeof(ModuleEntries) == std::size(kNames) * sizeof(void*));

Status status_of(int16_t answer) {
  switch (answer) {
    case 0:
      return kOk;
    case kModuleBadFormat:
      return kBadData;
    case kModuleBadParameter:
    case kModuleBadVersion:
      return kSubtype;
    case kModuleNoMemory:
      return kNoMemory;
    default:
      return kReadError;
  }
}

// Pixels of one byte to three, in place.
void widen_gray(uint8_t* row, uint32_t width) {
  // From the last one on, as three bytes go over those that are still to come.
  for (uint32_t x = width; x-- > 0;) std::memset(row + 3 * size_t{x}, row[x], 3);
}

// Pixels of luma and two of chroma to red, green and blue, in place.
void convert_ycc(uint8_t* row, uint32_t width) {
  for (uint32_t x = 0; x < width; ++x, row += 3) {
    // to_rgb() may read so many bytes behind its rows.
    const uint8_t ycc[3 + photocd::kRowSlack] = {row[0], row[1], row[2]};
    photocd::to_rgb(ycc, ycc + 1, ycc + 2, 1, row);
  }
}

}  // namespace

ModulePhoto::~ModulePhoto() {
  if (is_open_) entries_.close(photo_);
  platform::unload_module(module_);
}

bool ModulePhoto::load() {
  module_ = platform::load_module(platform::kPhotoCdModule);
  if (module_ == 0) return false;
  void* found[std::size(kNames)] = {};
  std::ranges::transform(
      kNames, found, [this](const char* name) { return platform::module_entry(module_, name); });
  std::memcpy(&entries_, found, sizeof entries_);
  // One of the ten missing, it is another library of this name: those of 16 bits, as Windows had
  // them in 1993, do not load at all.
  return std::ranges::find(found, nullptr) == std::end(found);
}

bool ModulePhoto::open(const char* name) {
  if (!load() || entries_.open(name, &photo_) != 0) return false;
  is_open_ = true;
  int32_t format = 0;
  if (entries_.get_format(photo_, &format) != 0) return false;
  format_ = static_cast<ModuleFormat>(format);
  return format_ == ModuleFormat::kGray || format_ == ModuleFormat::kRgb ||
         format_ == ModuleFormat::kYcc;
}

Status ModulePhoto::choose(uint32_t level) {
  int32_t largest = 0;
  TRY(status_of(entries_.get_resolution(photo_, &largest)));
  TRY(status_of(entries_.get_rotation(photo_, &transform_)));
  // Base/64 alone: no level here has its size.
  if (largest < static_cast<int32_t>(photocd::kBase16)) return kSubtype;
  const auto wanted = static_cast<int32_t>(level == 0 ? photocd::k16Base : level);
  level_ = std::min({largest, wanted, static_cast<int32_t>(photocd::k16Base)});
  width_ = photocd::width_of(static_cast<uint32_t>(level_));
  height_ = photocd::height_of(static_cast<uint32_t>(level_));
  if ((transform_ & kModuleTurn) != 0) std::swap(width_, height_);
  return kOk;
}

Status ModulePhoto::start() {
  TRY(status_of(entries_.set_transform(photo_, transform_)));
  return status_of(entries_.set_resolution(photo_, level_));
}

Status ModulePhoto::rows(uint32_t first, uint32_t count, uint8_t* rgb, uint32_t row_bytes) {
  // Sides of 16Base, 3072 at most, fit its fields.
  const ModuleRect area = {static_cast<int16_t>(first), 0, static_cast<int16_t>(first + count),
                           static_cast<int16_t>(width_)};
  TRY(status_of(entries_.get_block(photo_, &area, rgb, static_cast<int32_t>(row_bytes))));
  for (; count > 0; --count, rgb += row_bytes) {
    if (format_ == ModuleFormat::kGray) widen_gray(rgb, width_);
    if (format_ == ModuleFormat::kYcc) convert_ycc(rgb, width_);
  }
  return kOk;
}

}  // namespace tavo::pcd
