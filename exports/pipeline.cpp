// Identification, loading and saving of files of any format.
#include <cstring>

#include "base/depths.h"
#include "base/settings.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "io/file_table.h"
#include "pipeline/convert_file.h"
#include "pipeline/identify.h"
#include "pipeline/load.h"
#include "pipeline/load_smoothly.h"
#include "pipeline/registry.h"
#include "pipeline/save.h"
#include "process/row_receiver.h"
#include "tavo45.h"

using namespace tavo;

namespace {

// Names of memory loads are addresses.
const char* as_name(const void* address) { return static_cast<const char*>(address); }

template <size_t kSize>
void copy_text(char (&to)[kSize], const char* from) {
  std::strncpy(to, from, kSize - 1);
  to[kSize - 1] = 0;
}

}  // namespace

int32_t T_CALL T_FileInfo(const char* name, FILEINFO* info) {
  if (exports::missing(info)) return exports::answer(kBadArgument);
  return exports::answer(pipeline::describe_file(name, *info));
}

int32_t T_CALL T_FileInfoMemory(const void* address, FILEINFO* info, uint32_t size) {
  const io::MemoryFileScope memory(address, size);
  return T_FileInfo(as_name(address), info);
}

int32_t T_CALL T_LoadFile(const char* name, BitmapHandle* target, int32_t bitsPerPixel,
                          int32_t order, uint32_t flags, T_RowSink callback, void* userData) {
  if (exports::missing(target)) return exports::answer(exports::refused_load(name));
  const pipeline::LoadRequest request{bitsPerPixel, order, flags, callback, userData};
  return exports::answer(pipeline::load(name, *target, request));
}

int32_t T_CALL T_LoadMemory(const void* address, BitmapHandle* target, int32_t bitsPerPixel,
                            int32_t order, uint32_t flags, T_RowSink callback, void* userData,
                            uint32_t size) {
  const io::MemoryFileScope memory(address, size);
  return T_LoadFile(as_name(address), target, bitsPerPixel, order, flags, callback, userData);
}

int32_t T_CALL T_LoadBitmap(const char* name, BitmapHandle* target, int32_t bitsPerPixel,
                            int32_t order) {
  return T_LoadFile(name, target, bitsPerPixel, order, T_LOAD_ALLOCATE | T_LOAD_ACCESS, nullptr,
                    nullptr);
}

int32_t T_CALL T_LoadBitmapMemory(const void* address, BitmapHandle* target, int32_t bitsPerPixel,
                                  int32_t order, uint32_t size) {
  const io::MemoryFileScope memory(address, size);
  return T_LoadBitmap(as_name(address), target, bitsPerPixel, order);
}

int32_t T_CALL T_LoadBitmapFine(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel,
                                int32_t order, int32_t width, int32_t height, uint32_t method) {
  if (exports::missing(bitmap)) return exports::answer(exports::refused_load(name));
  const bool is_depth = bitsPerPixel == 0 || (bitsPerPixel >= 8 && is_request_depth(bitsPerPixel));
  if (!is_depth || order > T_ORDER_BGR) return exports::answer(kBadArgument);
  if (width < 0 || height < 0 || (width == 0 && height == 0)) return exports::answer(kBadArgument);
  if ((method & ~T_SIZE_DRAFT) > T_SIZE_LANCZOS) return exports::answer(kBadArgument);
  return exports::answer(
      pipeline::load_smoothly(name, *bitmap, {bitsPerPixel, order, width, height, method}));
}

int32_t T_CALL T_LoadFileCB(BitmapHandle* source, const void* rows, int32_t rowCount,
                            void* context) {
  return process::RowReceiver::sink(source, rows, rowCount, context);
}

int32_t T_CALL T_GetRowsRead(void) { return static_cast<int32_t>(settings.last_load.whole_rows); }

int64_t T_CALL T_GetDamageOffset(void) { return settings.last_load.damage_at; }

int32_t T_CALL T_SaveFile(const char* name, BitmapHandle* bitmap, int32_t format,
                          int32_t bitsPerPixel, int32_t quality, uint32_t flags, uint32_t direct,
                          uint32_t) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  const pipeline::SaveOptions options{format, bitsPerPixel, quality, flags, direct != 0};
  return exports::answer(pipeline::save(name, *bitmap, options));
}

int32_t T_CALL T_SaveBitmap(const char* name, BitmapHandle* bitmap, int32_t format,
                            int32_t bitsPerPixel, int32_t quality) {
  return T_SaveFile(name, bitmap, format, bitsPerPixel, quality, 0, 0, 0);
}

int32_t T_CALL T_ConvertFile(const char* source, const char* destination, int32_t format,
                             int32_t bitsPerPixel, int32_t quality) {
  return exports::answer(
      pipeline::convert_file(source, destination, format, bitsPerPixel, quality));
}

int32_t T_CALL T_StreamFile(const char* source, const char* destination, int32_t format,
                            int32_t bitsPerPixel, int32_t quality) {
  return exports::answer(pipeline::stream_file(source, destination, format, bitsPerPixel, quality));
}

int32_t T_CALL T_GetFormat(uint32_t index, T_Format* format) {
  if (exports::missing(format)) return exports::answer(kBadArgument);
  if (index >= pipeline::formats().size()) return exports::answer(kNoFormat);
  const pipeline::FormatRow& row = pipeline::formats()[index];
  *format = {};
  format->Id = row.id;
  format->CanRead = row.read != nullptr;
  format->CanWrite = row.write != nullptr;
  format->WriteDepths = row.write_depths;
  copy_text(format->Name, row.name);
  copy_text(format->Description, row.description);
  copy_text(format->Extensions, row.extensions);
  return T_OK;
}
