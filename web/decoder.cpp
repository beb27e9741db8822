// What the worker calls: shows a page of a file in memory, and saves it as another file.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <span>

#include "memory_files.h"
#include "tavo45.h"

namespace {

constexpr uint64_t kMostMemory = uint64_t{512} << 20;
constexpr uint64_t kMostPixels = uint64_t{1} << 30;
// What is shown as it is; larger pictures are shown smaller. Canvases have limits of their own.
constexpr int64_t kMostShown = int64_t{48} << 20;
constexpr int32_t kMostSide = 16384;

// What a call found. 32-bit fields and text alone: worker.js reads them by their places.
struct Report {
  int32_t status = T_OK;  // of the pixels, where there are any
  int32_t width = 0;      // of the pixels, upright; 0: there are none
  int32_t height = 0;
  int32_t rows = 0;  // that came whole from the file
  int32_t x_dpi = 0;
  int32_t y_dpi = 0;
  int32_t has_alpha = 0;
  const uint8_t* bytes = nullptr;  // pixels as a canvas takes them, or the saved file
  uint32_t size = 0;
  FILEINFO info = {};
  char format[32] = "";
  char description[64] = "";
  char problem[160] = "";
} report;

static_assert(offsetof(Report, info) == 36 && offsetof(Report, format) == 164 &&
              offsetof(Report, description) == 196 && offsetof(Report, problem) == 260);

BitmapHandle bitmap = T_EMPTY;

constexpr char kShown[] = "shown", kSaved[] = "saved";  // names that nobody reads

bool is_ready = false;

void prepare() {
  if (is_ready) return;
  is_ready = true;
  web::use_memory_files();
  T_SetLimit(T_LIMIT_MEMORY, kMostMemory);
  T_SetLimit(T_LIMIT_PIXELS, kMostPixels);
  T_SetGIFFrames(1);
  // As everybody reads and writes such files today.
  T_SetGIFDepth(1);
  T_SetRASVariant(1);
  T_SetUnknownResolution(1);
}

// A JPEG file is one format, whose rows in the table tell how it is written.
void name_format() {
  T_Format format;
  for (uint32_t i = 0; T_GetFormat(i, &format) == T_OK; ++i) {
    if (format.Id != report.info.Format) continue;
    const bool is_jpeg = format.Id == T_FORMAT_JPEG || format.Id == T_FORMAT_JPEG_24;
    std::strcpy(report.format, is_jpeg ? "JPEG" : format.Name);
    std::strcpy(report.description, is_jpeg ? "" : format.Description);
    return;
  }
}

int32_t per_inch(int32_t resolution) {
  const bool is_metric =
      report.info.Format == T_FORMAT_BMP || report.info.Format == T_FORMAT_BMP_OS2;
  if (resolution <= 0) return 0;
  return is_metric ? static_cast<int32_t>((int64_t{resolution} * 254 + 5000) / 10000) : resolution;
}

int32_t describe(int32_t page) {
  T_SetPageNumber(page);
  const int32_t status = T_FileInfo(kShown, &report.info);
  if (status != T_OK) return status;
  name_format();
  report.x_dpi = per_inch(report.info.XResolution);
  report.y_dpi = per_inch(report.info.YResolution);
  return T_OK;
}

// How to turn for each number of TIFF's Orientation tag (TIFF 6.0, section 8).
int32_t turn_upright() {
  constexpr int32_t kDegrees[] = {0, 0, 180, 180, 270, 90, 90, 270};
  constexpr bool kMirrored[] = {false, true, false, true, true, false, true, false};
  const uint32_t orientation = report.info.Orientation;
  if (orientation < 2 || orientation > 8) return T_OK;
  const int32_t status = kMirrored[orientation - 1] ? T_ReverseBitmap(&bitmap) : T_OK;
  return status == T_OK ? T_RotateBitmap(&bitmap, kDegrees[orientation - 1]) : status;
}

// Whether damage left something to show.
bool is_partial(int32_t status) {
  return (status == T_ERR_READ || status == T_ERR_BAD_DATA) && report.rows > 0 &&
         (bitmap.Flags & T_FLAG_ALLOCATED) != 0;
}

// The page upright in `bitmap`, as much of it as there is.
int32_t conclude_load(int32_t status) {
  report.rows = T_GetRowsRead();
  report.status = status;
  T_SetPageNumber(1);  // of a save a higher number would make an addition to a file
  return status == T_OK || is_partial(status) ? turn_upright() : status;
}

int32_t load(int32_t bits, int32_t order) {
  return conclude_load(
      T_LoadFile(kShown, &bitmap, bits, order, T_LOAD_ALLOCATE | T_LOAD_ACCESS, nullptr, nullptr));
}

// How many times smaller a picture is shown.
int32_t reduction() {
  const int64_t width = report.info.Width, height = report.info.Height;
  int32_t times = 1;
  while (width / times * (height / times) > kMostShown ||
         std::max(width, height) / times > kMostSide)
    ++times;
  return times;
}

int32_t load_to_show() {
  const int32_t times = reduction();
  if (times == 1) return load(32, T_ORDER_RGB);
  return conclude_load(T_LoadBitmapFine(kShown, &bitmap, 32, T_ORDER_RGB,
                                        std::max(report.info.Width / times, 1),
                                        std::max(report.info.Height / times, 1), T_SIZE_BOX));
}

// Opacity is believed where some pixel has any: many files leave the byte 0 throughout.
void settle_opacity() {
  auto* const pixels = static_cast<uint8_t*>(bitmap.Data);
  report.has_alpha = 0;
  const bool may_have = (report.info.Extras & T_EXTRA_ALPHA) != 0;
  for (uint32_t i = 3; may_have && i < bitmap.Size && report.has_alpha == 0; i += 4)
    report.has_alpha = pixels[i] != 0;
  for (uint32_t i = 3; report.has_alpha == 0 && i < bitmap.Size; i += 4) pixels[i] = 255;
}

// For a canvas: red first, the top row first.
int32_t show() {
  if (bitmap.ViewPerspective >= 2) {
    const int32_t status = T_FlipBitmap(&bitmap);
    if (status != T_OK) return status;
  }
  T_AccessBitmap(&bitmap);
  settle_opacity();
  report.bytes = static_cast<const uint8_t*>(bitmap.Data);
  report.size = bitmap.Size;
  report.width = bitmap.Width;
  report.height = bitmap.Height;
  return T_OK;
}

const T_Format* writer(int32_t id) {
  static T_Format format;
  for (uint32_t i = 0; T_GetFormat(i, &format) == T_OK; ++i)
    if (format.Id == id) return &format;
  return nullptr;
}

// The depth of the file, or the next one that the format holds.
int32_t depth_for(const T_Format& format) {
  for (const int32_t depth : {1, 4, 8, 24})
    if (depth >= report.info.BitsPerPixel && (format.WriteDepths & 1u << depth) != 0) return depth;
  return 24;
}

int32_t save(const T_Format& format, int32_t bits) {
  bitmap.XResolution = report.x_dpi;
  bitmap.YResolution = report.y_dpi;
  T_AccessBitmap(&bitmap);
  const int32_t status = T_SaveFile(kSaved, &bitmap, format.Id, bits, 0, 0, 1, 0);
  report.bytes = web::saved_file().data();
  report.size = static_cast<uint32_t>(web::saved_file().size());
  return status;
}

void conclude(int32_t status) {
  if (status == T_OK) return;
  report.status = status;
  T_GetErrorText(report.problem, sizeof report.problem);
}

void begin(std::span<const uint8_t> file) {
  prepare();
  web::show_file(file);
  report = {};
}

}  // namespace

extern "C" {

// Gives back what the last call found.
void close_page() {
  T_FreeBitmap(&bitmap);
  bitmap = T_EMPTY;
  web::drop_saved_file();
}

// The pixels of a page of the file at `bytes`, with what is known of it.
const Report* open_page(const uint8_t* bytes, uint32_t size, int32_t page) {
  begin({bytes, size});
  int32_t status = describe(page);
  if (status == T_OK) status = load_to_show();
  if (status == T_OK) status = show();
  conclude(status == T_OK ? report.status : status);
  return &report;
}

// The page as a file. Format: T_FORMAT_PNG, T_FORMAT_BMP or T_FORMAT_TIFF_LZW, for which pictures
// of one bit are coded as faxes are.
const Report* save_page(const uint8_t* bytes, uint32_t size, int32_t page, int32_t format_id,
                        int32_t with_alpha) {
  begin({bytes, size});
  int32_t status = describe(page);
  if (status == T_OK) {
    const bool is_fax = format_id == T_FORMAT_TIFF_LZW && report.info.BitsPerPixel == 1;
    const T_Format& format = *writer(is_fax ? T_FORMAT_TIFF_GROUP4 : format_id);
    const int32_t bits = with_alpha != 0 ? 32 : depth_for(format);
    status = load(bits == 32 || report.info.BitsPerPixel == 2 ? bits : 0, -1);
    if (status == T_OK) status = save(format, bits);
  }
  conclude(status);
  return &report;
}

}  // extern "C"
