// Decoding of JPEG and CMP files, from files, memory and pieces.
#include "pipeline/decompress.h"

#include "core/notice.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "exports/shared.h"
#include "formats/jpeg.h"
#include "formats/jpeg_info.h"
#include "io/file_table.h"
#include "tavo45.h"

using namespace tavo;

namespace {

const char* as_name(const void* address) { return static_cast<const char*>(address); }

}  // namespace

int32_t T_CALL T_DecompressFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                int32_t bitsPerPixel, void* context, int32_t option) {
  if (exports::missing(bitmap, sink)) return exports::answer(exports::refused_load(name));
  if (!core::check_notice().ok()) return exports::answer(kNoticeDamaged);
  return exports::answer(jpeg::decompress(name, bitmap, sink, bitsPerPixel, context, option));
}

int32_t T_CALL T_DecompressMemory(const void* address, BitmapHandle* bitmap, T_RowSink sink,
                                  int32_t bitsPerPixel, void* context, int32_t option,
                                  uint32_t size) {
  const io::MemoryFileScope memory(address, size);
  return T_DecompressFile(as_name(address), bitmap, sink, bitsPerPixel, context, option);
}

int32_t T_CALL T_DecompressBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel) {
  if (exports::missing(bitmap)) return exports::answer(exports::refused_load(name));
  return exports::answer(pipeline::decompress_bitmap(name, *bitmap, bitsPerPixel));
}

int32_t T_CALL T_DecompressBitmapMemory(const void* address, BitmapHandle* bitmap,
                                        int32_t bitsPerPixel, uint32_t size) {
  const io::MemoryFileScope memory(address, size);
  return T_DecompressBitmap(as_name(address), bitmap, bitsPerPixel);
}

int32_t T_CALL T_StartDecompressData(T_RowSink sink, int32_t bitsPerPixel, int32_t order,
                                     void* context) {
  if (exports::missing(sink)) return exports::answer(kBadArgument);
  if (!core::check_notice().ok()) return exports::answer(kNoticeDamaged);
  return exports::answer(exports::shared.push_decoder.start(sink, bitsPerPixel, order, context));
}

int32_t T_CALL T_DecompressData(const void* bytes, uint32_t size) {
  if (bytes == nullptr && size != 0) return exports::answer(kBadArgument);
  return exports::answer(
      exports::shared.push_decoder.push({static_cast<const uint8_t*>(bytes), size}));
}

int32_t T_CALL T_EndDecompressData(void) {
  return exports::answer(exports::shared.push_decoder.end());
}

int32_t T_CALL T_GetCompressFileStamp(const char* name, BitmapHandle* stamp) {
  if (exports::missing(stamp)) return exports::answer(exports::refused_load(name));
  if (!core::check_notice().ok()) return exports::answer(kNoticeDamaged);
  return exports::answer(pipeline::get_stamp(name, *stamp));
}

int32_t T_CALL T_GetJPEGInfo(const char* name, T_JPEGINFO* info) {
  if (exports::missing(info)) return exports::answer(exports::refused_load(name));
  *info = {};
  if (!core::check_notice().ok()) return exports::answer(kNoticeDamaged);
  return exports::answer(jpeg::read_info(name, *info));
}
