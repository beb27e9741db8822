// Library-wide settings.
#include "base/settings.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "exports/answer.h"
#include "exports/arguments.h"
#include "io/file_table.h"
#include "pipeline/registry.h"
#include "platform/platform.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_SetNameEncoding(int32_t encoding) {
  if (encoding != 0 && encoding != 1) return exports::answer(kBadArgument);
  platform::take_names_as_utf8(encoding == 1);
  return T_OK;
}

int32_t T_CALL T_RedirectIO(T_FileOpen open, T_FileRead read, T_FileWrite write, T_FileSeek seek,
                            T_FileClose close) {
  io::redirect(open, read, write, seek, close);
  return T_OK;
}

int32_t T_CALL T_SetLimit(int32_t kind, uint64_t value) {
  if (kind < T_LIMIT_PIXELS || kind > T_LIMIT_WORK) return exports::answer(kBadArgument);
  settings.limits[kind] = value;
  if (kind == T_LIMIT_MEMORY) platform::limit_memory(value == 0 ? UINT64_MAX : value);
  return T_OK;
}

uint64_t T_CALL T_GetLimit(int32_t kind) {
  const bool is_kind = kind >= T_LIMIT_PIXELS && kind <= T_LIMIT_WORK;
  return is_kind ? settings.limits[kind] : 0;
}

int32_t T_CALL T_EnableFormat(int32_t format, int32_t flag) {
  if (format != 0 && pipeline::find_format(format) == nullptr) return exports::answer(kNoFormat);
  for (const pipeline::FormatRow& row : pipeline::formats()) {
    if (format == 0 || format == row.id) pipeline::enable(row.id, flag != 0);
  }
  return T_OK;
}

int32_t T_CALL T_SetStatusCallBack(T_StatusCallback callback) {
  settings.status_callback = callback;
  return T_OK;
}

int32_t T_CALL T_DefaultDithering(uint32_t method) {
  if (method > T_DITHER_ORDERED) return exports::answer(kBadArgument);
  settings.default_dithering = method;
  return T_OK;
}

int32_t T_CALL T_SetTIFFOption(const T_TIFFOption* option) {
  if (exports::missing(option)) return exports::answer(kBadArgument);
  settings.tiff = *option;
  return T_OK;
}

void T_CALL T_SetTIFFXYResolution(int32_t x, int32_t y) {
  settings.tiff.XResolution = x;
  settings.tiff.YResolution = y;
}

int32_t T_CALL T_SetUnknownResolution(int32_t flag) {
  settings.unknown_resolution = flag != 0;
  return T_OK;
}

int32_t T_CALL T_SetPageNumber(int32_t page) {
  settings.page_number = std::clamp(page, 1, T_MAX_PAGES);
  return T_OK;
}

int32_t T_CALL T_SetGIFVersion(int32_t flag) {
  settings.gif89a = flag != 0;
  return T_OK;
}

int32_t T_CALL T_SetGIFDepth(int32_t flag) {
  settings.gif_image_depth = flag != 0;
  return T_OK;
}

int32_t T_CALL T_SetGIFFrames(int32_t flag) {
  settings.gif_frames = flag != 0;
  return T_OK;
}

int32_t T_CALL T_SetDrawScale(int32_t scale) {
  if (scale < 1 || scale > T_MAX_DRAW_SCALE) return exports::answer(kBadArgument);
  settings.draw_scale = scale;
  return T_OK;
}

int32_t T_CALL T_SetDrawSmooth(int32_t flag) {
  settings.draw_smooth = flag != 0;
  return T_OK;
}

int32_t T_CALL T_SetDeflateLevel(int32_t level) {
  if (level < T_LEVEL_DEFAULT || level > T_LEVEL_SMALL) return exports::answer(kBadArgument);
  settings.deflate_level = level;
  return T_OK;
}

int32_t T_CALL T_SetSaveOrientation(int32_t orientation) {
  if (orientation < 1 || orientation > 8) return exports::answer(kBadArgument);
  settings.save_orientation = static_cast<uint32_t>(orientation);
  return T_OK;
}

int32_t T_CALL T_SetDocumentName(const char* name) {
  const std::string_view text = name == nullptr ? std::string_view() : name;
  const size_t size = text.copy(settings.document_name, std::size(settings.document_name) - 1);
  settings.document_name[size] = 0;
  return T_OK;
}

int32_t T_CALL T_SetRASVariant(int32_t variant) {
  if (variant != 0 && variant != 1) return exports::answer(kBadArgument);
  settings.ras_variant = variant;
  return T_OK;
}

int32_t T_CALL T_SetScreenSize(int32_t width, int32_t height) {
  const bool is_display = width == 0 && height == 0;
  const bool is_size = width >= 1 && width <= UINT16_MAX && height >= 1 && height <= UINT16_MAX;
  if (!is_display && !is_size) return exports::answer(kBadArgument);
  settings.screen_width = width;
  settings.screen_height = height;
  return T_OK;
}

int32_t T_CALL T_SetCallbackLine(int32_t lines) {
  if (lines < 1) return exports::answer(kBadArgument);
  settings.callback_lines = lines;
  return lines;
}
