// The module for Photo CD pictures that a user may have: a library of the system with ten functions
// in C. What it decodes takes the place of what this library would.
//
// Facts: the interface of Kodak's access toolkit, as the header of its UNIX version shows it. Kept:
// its Windows version differs for PCDloadImage, and PCDfreeBitmap is in none; neither is called.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pcd {

// Right and bottom are not in it.
struct ModuleRect {
  int16_t top;
  int16_t left;
  int16_t bottom;
  int16_t right;
};

// What a module's pixels are.
// One byte a pixel, or three side by side.
enum class ModuleFormat : int32_t { kGray = 10, kRgb = 11, kYcc = 12 };

// Numbers that its functions answer with; 0 is success.
// 3003, the user's abort, and all others count as failed reads.
inline constexpr int16_t kModuleBadFormat = 3000;
inline constexpr int16_t kModuleBadParameter = 3001;
inline constexpr int16_t kModuleBadVersion = 3002;
inline constexpr int16_t kModuleNoMemory = 5000;

// Bits of a transform, done in this order: mirrored about the horizontal axis, about the vertical
// axis, turned by a quarter against the clock.
inline constexpr int32_t kModuleFlip = 1;
inline constexpr int32_t kModuleMirror = 2;
inline constexpr int32_t kModuleTurn = 4;

// The functions, in the order of their names in pcd_module.cpp.
// Resolutions are numbers: 0 Base/64, 1 Base/16 to 5 16Base, as levels here, 6 64Base. A transform
// is the one that shows the picture upright. Areas count in pixels of the resolution and the
// transform that are set.
struct ModuleEntries {
  int16_t(T_CALL* open)(const char* path, void** photo);
  int16_t(T_CALL* close)(void* photo);
  int16_t(T_CALL* get_format)(void* photo, int32_t* format);
  int16_t(T_CALL* get_resolution)(void* photo, int32_t* resolution);
  int16_t(T_CALL* set_resolution)(void* photo, int32_t resolution);
  int16_t(T_CALL* get_rotation)(void* photo, int32_t* transform);
  int16_t(T_CALL* set_transform)(void* photo, int32_t transform);
  int16_t(T_CALL* load_image)(void* photo, const ModuleRect* area, void** dib, void** palette);
  int16_t(T_CALL* get_block)(void* photo, const ModuleRect* area, uint8_t* pixels,
                             int32_t row_bytes);
  int16_t(T_CALL* free_bitmap)(void* dib);
};

// A file that the module has open. It is loaded for as long.
// open(), then choose(), once or more, then start(), then rows in any order. When one of them fails
// nothing but the destructor may follow.
class ModulePhoto {
 public:
  ModulePhoto() = default;
  ~ModulePhoto();
  ModulePhoto(const ModulePhoto&) = delete;
  ModulePhoto& operator=(const ModulePhoto&) = delete;

  // Whether there is a module, it is whole and takes the file for its own.
  bool open(const char* name);

  // Asks for the size that the picture has upright: at `level`, or the largest below it.
  Status choose(uint32_t level);
  uint32_t level() const { return static_cast<uint32_t>(level_); }
  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }

  // Before the first rows.
  Status start();
  // Rows from `first` on as red, green and blue; each has `row_bytes`.
  Status rows(uint32_t first, uint32_t count, uint8_t* rgb, uint32_t row_bytes);

 private:
  bool load();

  uintptr_t module_ = 0;
  ModuleEntries entries_ = {};
  void* photo_ = nullptr;
  bool is_open_ = false;
  ModuleFormat format_ = ModuleFormat::kRgb;
  int32_t level_ = 0;
  int32_t transform_ = 0;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
};

}  // namespace tavo::pcd
