// The library-wide state that exports set and later calls read.
#pragma once

#include <cstdint>

#include "platform/platform.h"
#include "tavo45.h"

namespace tavo {

// The block that stands in for a file during a memory load; one at a time.
struct MemoryFileState {
  const uint8_t* base = nullptr;
  uint32_t size = 0;
  uint32_t position = 0;
};

// The picture inside an open file that stands in for a file of its own.
struct SubFileState {
  int32_t handle = -1;
  int32_t base = 0;
  int32_t length = 0;
  FileIOTable outer = {};
};

// How the progress of the operation at work is told (core/progress.h).
struct ProgressState {
  int32_t first = 0;  // what it calls 0 percent
  int32_t last = 100;
  int32_t told = -1;  // the last percentage
  bool is_part = false;
};

// What the last load made of its file (T_GetRowsRead, T_GetDamageOffset).
struct LastLoad {
  uint32_t whole_rows = 0;  // up to the first one that is not
  int64_t damage_at = -1;   // -1: not known, or the end of the file
  uint64_t decoded = 0;     // bytes
};

// What the call at work knows about its failure beside the status; the export that ends with one
// makes the record of T_GetError from it.
struct FailureNote {
  int32_t limit = 0;  // T_LIMIT_ value, 0: no limit
  uint64_t asked = 0;
  uint64_t allowed = 0;
  int32_t system_error = 0;  // the system's own number
  int32_t row = -1;
  int32_t page = 0;
  bool is_not_allowed = false;  // formats were left out, and no other is this one
};

// How pictures are shown and printed: T_Enable... of the same names.
struct PaintSettings {
  bool fast = false;
  bool indexed = false;
  bool dithered = true;
  bool ordered = false;
  bool scale_to_gray = false;
};

struct Settings {
  // Every reader and writer reaches files through these (io/file_table.h installs and restores).
  FileIOTable files = {platform::open_file, platform::read_file, platform::write_file,
                       platform::seek_file, platform::close_file};
  MemoryFileState memory_file;
  SubFileState sub_file;
  T_StatusCallback status_callback = nullptr;
  ProgressState progress;
  LastLoad last_load;
  FailureNote note;
  T_ERRORINFO last_failure = {};
  uint64_t limits[T_LIMIT_WORK + 1] = {};  // by T_LIMIT_ value; 0: none
  uint64_t temporary_bytes = 0;            // that files behind bitmaps have
  uint8_t formats_off[32] = {};            // a bit for each identifier (T_EnableFormat)
  uint32_t default_dithering = T_DITHER_ORDERED;
  T_TIFFOption tiff = {};
  bool unknown_resolution = false;  // bitmaps begin with none, not with 150 dots per inch
  int32_t page_number = 1;
  // Rows that a reader gathers before it calls the sink; 0 while nobody has set it.
  int32_t callback_lines = 0;
  bool gif89a = true;
  bool gray_fixed_palette = false;
  // Logical screen that GIF files declare; 0 by 0 means the display's.
  int32_t screen_width = 0;
  int32_t screen_height = 0;
  // GIF: the depth follows the table in force, the image's own before the global one.
  bool gif_image_depth = false;
  // GIF: the page number chooses a frame.
  bool gif_frames = false;
  int32_t ras_variant = 0;
  int32_t photocd_level = 0;   // Photo CD: 1 Base/16 to 5 16Base, 0 the largest
  bool photocd_module = true;  // Photo CD: files are decoded by a module, if there is one
  // JFIF streams give their densities the unit dots per inch.
  bool jfif_dots_per_inch = false;
  // What TIFF and JPEG files that are saved tell of how to turn them: 1 to 8, 1 not at all.
  uint32_t save_orientation = 1;
  char document_name[64] = {};  // T_SetDocumentName; empty: the file's
  // Drawings: pages so many times as large as at 96 pixels per inch; and averaged from larger ones.
  int32_t draw_scale = 1;
  bool draw_smooth = false;
  // T_SetDeflateLevel.
  int32_t deflate_level = T_LEVEL_DEFAULT;
  // JPEG quantisation table in zigzag order that replaces the scaled standard ones.
  bool has_custom_quantisers = false;
  uint8_t custom_quantisers[64] = {};
  PaintSettings paint;
};

// The one instance; ready before any constructor of a static object can call the library.
extern constinit Settings settings;

}  // namespace tavo
