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

// Checks the answer of a call that moves bytes of rows: how many it did.
void check_moved(uint32_t bytes, int32_t answer, const std::string& where);

// Dots per inch, 0 when the file does not say.
struct Resolution {
  int32_t x = 0;
  int32_t y = 0;
};

// What a reader of `format` calls its resolution, in dots per inch: BMP counts per metre.
Resolution in_dots_per_inch(int32_t format, int32_t x, int32_t y);

// While one of these lives that is on, pages of GIF files are frames: what shows after so many
// images.
class GifFrames {
 public:
  explicit GifFrames(bool is_on) { T_SetGIFFrames(is_on ? 1 : 0); }
  ~GifFrames() { T_SetGIFFrames(0); }
  GifFrames(const GifFrames&) = delete;
  GifFrames& operator=(const GifFrames&) = delete;
};

// Library-wide settings that make a save of a picture of this size true, for as long as it lives: a
// save works on a copy, which carries the default resolution; a GIF states the screen's size.
// `orientation`, FILEINFO's, is how the picture is still to be turned.
class SaveSettings {
 public:
  SaveSettings(int32_t width, int32_t height, Resolution resolution, uint32_t orientation = 1) {
    T_SetTIFFXYResolution(resolution.x, resolution.y);
    T_SetScreenSize(width, height);
    T_SetJFIFUnit(1);
    T_SetSaveOrientation(static_cast<int32_t>(orientation));
  }
  ~SaveSettings() {
    T_SetTIFFXYResolution(0, 0);
    T_SetScreenSize(0, 0);
    T_SetJFIFUnit(0);
    T_SetSaveOrientation(1);
  }
  SaveSettings(const SaveSettings&) = delete;
  SaveSettings& operator=(const SaveSettings&) = delete;
};

}  // namespace tavo::tools
