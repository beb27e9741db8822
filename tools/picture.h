// A picture in memory, and the figures of one in a file.
#pragma once

#include <cstdint>
#include <string>

#include "tavo45.h"

namespace tavo::tools {

// Owns a bitmap record and its storage.
class Picture {
 public:
  Picture() = default;
  ~Picture() { T_FreeBitmap(&record_); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  BitmapHandle& record() { return record_; }

 private:
  BitmapHandle record_{};  // cleared: T_FreeBitmap does nothing until there is storage
};

// Dots per inch, 0 when the file does not say.
struct Resolution {
  int32_t x = 0;
  int32_t y = 0;
};

// What a reader of `format` calls its resolution, in dots per inch: BMP counts per metre.
Resolution in_dots_per_inch(int32_t format, int32_t x, int32_t y);

// Describes the picture in the file `name`, of the page given. Failure when it cannot.
FILEINFO describe(const std::string& name, int32_t page);

// Sets the resolution that the library gives to the pictures it makes, for the length of a save,
// which works on a copy.
class DefaultResolution {
 public:
  explicit DefaultResolution(Resolution resolution) {
    T_SetTIFFXYResolution(resolution.x, resolution.y);
  }
  ~DefaultResolution() { T_SetTIFFXYResolution(0, 0); }
  DefaultResolution(const DefaultResolution&) = delete;
  DefaultResolution& operator=(const DefaultResolution&) = delete;
};

}  // namespace tavo::tools
