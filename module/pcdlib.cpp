// Photo CD pictures through the ten functions that formats/pcd_module.h tells of. Image packs only;
// blocks are red, green and blue, rows of the picture as the transform shows it.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>

#include "formats/pcd_module.h"
#include "formats/pcd_picture.h"
#include "platform/platform.h"

using namespace tavo;
using pcd::Contents;
using pcd::ModuleRect;

namespace {

constexpr int16_t kSuccess = 0;
constexpr int16_t kReadFailed = 1;  // any number that has no meaning

// What brings a picture upright that has to be turned by so many quarters.
constexpr std::array<int32_t, 4> kTransforms = {
    0, pcd::kModuleTurn, pcd::kModuleFlip | pcd::kModuleMirror,
    pcd::kModuleFlip | pcd::kModuleMirror | pcd::kModuleTurn};

int16_t answer(Status status) {
  if (status.ok()) return kSuccess;
  if (status == kNoMemory) return pcd::kModuleNoMemory;
  return status == kBadData ? pcd::kModuleBadFormat : kReadFailed;
}

class Photo {
 public:
  Status open(const char* path) {
    TRY(input_.open(path));
    TRY(file_.start());
    TRY(file_.parse(0, 1, contents_));
    if (contents_.is_overview) return kBadData;
    largest_ = contents_.layout.level;
    quarters_ = contents_.quarters;
    return kOk;
  }

  uint32_t largest() const { return largest_; }
  int32_t upright() const { return kTransforms[quarters_]; }

  Status choose(uint32_t level) {
    picture_.reset();
    const uint32_t quarters = contents_.quarters;
    TRY(file_.parse(level, 1, contents_));
    contents_.quarters = quarters;
    return kOk;
  }
  void turn(uint32_t quarters) {
    picture_.reset();
    contents_.quarters = quarters;
  }

  // Rows of a part of the picture; false: there is no such part.
  bool is_inside(const ModuleRect& area) const {
    const uint32_t level = contents_.layout.level;
    auto width = static_cast<int32_t>(photocd::width_of(level));
    auto height = static_cast<int32_t>(photocd::height_of(level));
    if (contents_.quarters % 2 != 0) std::swap(width, height);
    return area.left >= 0 && area.left < area.right && area.right <= width && area.top >= 0 &&
           area.top < area.bottom && area.bottom <= height;
  }

  Status read(const ModuleRect& area, uint8_t* rgb, ptrdiff_t row_bytes) {
    if (!picture_) {
      picture_.emplace();
      const Status status = start();
      if (!status.ok()) picture_.reset();
      TRY(status);
    }
    const auto bytes = static_cast<size_t>(area.right - area.left) * 3;
    for (int32_t y = area.top; y < area.bottom; ++y, rgb += row_bytes) {
      TRY(picture_->row(static_cast<uint32_t>(y), row_.data()));
      std::memcpy(rgb, row_.data() + area.left * 3, bytes);
    }
    const bool is_end = static_cast<uint32_t>(area.bottom) == picture_->height();
    return is_end && picture_->planes().is_short() ? kReadError : kOk;
  }

 private:
  Status start() {
    TRY(picture_->start(file_.bytes(), contents_));
    return row_.allocate(3 * uint64_t{picture_->width()});
  }

  io::InputFile input_;
  pcd::PictureFile file_{input_};
  Contents contents_;
  uint32_t largest_ = 0;
  uint32_t quarters_ = 0;
  std::optional<pcd::Picture> picture_;
  Buffer row_;
};

Photo* of(void* photo) { return static_cast<Photo*>(photo); }

// A packed bitmap of 24 bits: header, rows from the bottom up, blue first.
Status make_dib(Photo& photo, const ModuleRect& area, uintptr_t& block) {
  const int32_t width = area.right - area.left, height = area.bottom - area.top;
  const uint32_t line = (static_cast<uint32_t>(width) * 3 + 3) / 4 * 4;
  T_BitmapInfoHeader header = {};
  header.biSize = sizeof header;
  header.biWidth = width;
  header.biHeight = height;
  header.biPlanes = 1;
  header.biBitCount = 24;
  header.biSizeImage = line * static_cast<uint32_t>(height);
  block = platform::allocate_movable(sizeof header + header.biSizeImage);
  if (block == 0) return kNoMemory;
  auto* const rows = static_cast<uint8_t*>(platform::lock_block(block)) + sizeof header;
  std::memset(rows, 0, header.biSizeImage);
  std::memcpy(rows - sizeof header, &header, sizeof header);
  uint8_t* const last = rows + header.biSizeImage - line;
  const Status status = photo.read(area, last, -static_cast<ptrdiff_t>(line));
  for (uint8_t* row = rows; row <= last; row += line) {
    for (int32_t x = 0; x < width; ++x) std::swap(row[3 * x], row[3 * x + 2]);
  }
  platform::unlock_block(block);
  if (!status.ok()) platform::free_block(block);
  return status;
}

}  // namespace

#define PCD_API(name) extern "C" T_API int16_t T_CALL name

PCD_API(PCDopen)(const char* path, void** photo) {
  void* const room = platform::allocate_fixed(sizeof(Photo));
  if (room == nullptr) return pcd::kModuleNoMemory;
  Photo* const opened = std::construct_at(static_cast<Photo*>(room));
  const Status status = opened->open(path);
  *photo = opened;
  if (status.ok()) return kSuccess;
  std::destroy_at(opened);
  platform::free_fixed(room);
  *photo = nullptr;
  return status == kNoMemory ? pcd::kModuleNoMemory : pcd::kModuleBadFormat;
}

PCD_API(PCDclose)(void* photo) {
  std::destroy_at(of(photo));
  platform::free_fixed(photo);
  return kSuccess;
}

PCD_API(PCDgetFormat)(void* /*photo*/, int32_t* format) {
  *format = static_cast<int32_t>(pcd::ModuleFormat::kRgb);
  return kSuccess;
}

PCD_API(PCDgetResolution)(void* photo, int32_t* resolution) {
  *resolution = static_cast<int32_t>(of(photo)->largest());
  return kSuccess;
}

PCD_API(PCDsetResolution)(void* photo, int32_t resolution) {
  if (resolution < 1 || resolution > static_cast<int32_t>(of(photo)->largest())) {
    return pcd::kModuleBadParameter;
  }
  return answer(of(photo)->choose(static_cast<uint32_t>(resolution)));
}

PCD_API(PCDgetRotation)(void* photo, int32_t* transform) {
  *transform = of(photo)->upright();
  return kSuccess;
}

PCD_API(PCDsetTransform)(void* photo, int32_t transform) {
  const auto* const found = std::ranges::find(kTransforms, transform);
  if (found == kTransforms.end()) return pcd::kModuleBadParameter;
  of(photo)->turn(static_cast<uint32_t>(found - kTransforms.begin()));
  return kSuccess;
}

PCD_API(PCDgetBlock)(void* photo, const ModuleRect* area, uint8_t* pixels, int32_t rowBytes) {
  if (!of(photo)->is_inside(*area) || rowBytes < 3 * (area->right - area->left)) {
    return pcd::kModuleBadParameter;
  }
  return answer(of(photo)->read(*area, pixels, rowBytes));
}

PCD_API(PCDloadImage)(void* photo, const ModuleRect* area, void** dib, void** palette) {
  if (!of(photo)->is_inside(*area)) return pcd::kModuleBadParameter;
  uintptr_t block = 0;
  const Status status = make_dib(*of(photo), *area, block);
  *dib = status.ok() ? reinterpret_cast<void*>(block) : nullptr;
  *palette = nullptr;
  return answer(status);
}

PCD_API(PCDfreeBitmap)(void* dib) {
  platform::free_block(reinterpret_cast<uintptr_t>(dib));
  return kSuccess;
}
