// Compression: strips, rows, bitmaps and files to CMP files and JPEG streams.
#include "base/settings.h"
#include "compress/bitmap_compressor.h"
#include "compress/coding_parameters.h"
#include "compress/stamped.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "exports/shared.h"
#include "formats/cmp_bilevel.h"
#include "io/file_table.h"
#include "pipeline/compress_files.h"
#include "pipeline/format_write.h"
#include "pipeline/load.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_StartCompressBuffer(const BitmapHandle* bitmap, T_CompressWrite write,
                                     uint32_t inputStripBytes, uint32_t outputBufferBytes, void*,
                                     int32_t outputType, int32_t quality, void* userData) {
  if (exports::missing(bitmap, write)) return exports::answer(kBadArgument);
  return exports::answer(exports::shared.buffer_compression.start(
      *bitmap, {write, userData}, inputStripBytes, outputBufferBytes, outputType, quality));
}

int32_t T_CALL T_CompressBuffer(const void* strip) {
  return exports::answer(exports::shared.buffer_compression.add_strip(strip));
}

int32_t T_CALL T_EndCompressBuffer(void) {
  return exports::answer(exports::shared.buffer_compression.end());
}

int32_t T_CALL CompressCallBack(BitmapHandle* bitmap, const void* rows, int32_t rowCount,
                                void* context) {
  if (exports::missing(bitmap, rows, context) || rowCount < 0) return exports::answer(kBadArgument);
  const auto& compression = *static_cast<const T_CompressContext*>(context);
  if (exports::missing(compression.StripBuffer)) return exports::answer(kNoMemory);
  return exports::answer(exports::shared.buffer_compression.consume(*bitmap, rows, rowCount,
                                                                    compression, FileWriteBuffer));
}

uint32_t T_CALL FileWriteBuffer(const void* bytes, uint32_t size, void* userData) {
  const auto file = static_cast<int32_t>(reinterpret_cast<intptr_t>(userData));
  return io::write_once(file, bytes, size);
}

int32_t T_CALL FileFormatWrite(BitmapHandle* source, const void* rows, int32_t rowCount,
                               void* context) {
  if (exports::missing(source, rows, context)) return exports::answer(kBadArgument);
  auto& target = *static_cast<T_FormatWriteContext*>(context);
  return exports::answer(pipeline::format_write(*source, rows, rowCount, target, false));
}

int32_t T_CALL FileNoConvertWrite(BitmapHandle* source, const void* rows, int32_t rowCount,
                                  void* context) {
  if (exports::missing(source, rows, context)) return exports::answer(kBadArgument);
  auto& target = *static_cast<T_FormatWriteContext*>(context);
  return exports::answer(pipeline::format_write(*source, rows, rowCount, target, true));
}

int32_t T_CALL T_CompressBitmap(BitmapHandle* bitmap, const char* name, int32_t outputType,
                                int32_t quality, uint32_t) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(compress::compress_bitmap(*bitmap, name, outputType, quality, nullptr));
}

int32_t T_CALL T_CompressBitmapWithStamp(BitmapHandle* bitmap, const char* name, int32_t outputType,
                                         int32_t quality, int32_t stampWidth, int32_t stampHeight,
                                         int32_t stampBits, int32_t dither) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  const compress::StampRequest stamp = {stampWidth, stampHeight, stampBits, dither == 1};
  return exports::answer(compress::compress_with_stamp(*bitmap, name, outputType, quality, stamp));
}

int32_t T_CALL T_CompressALL(const char* source, const char* destination, int32_t outputType,
                             int32_t quality, uint32_t) {
  return exports::answer(pipeline::compress_any_file(source, destination, outputType, quality));
}

int32_t T_CALL T_CompressBMP(const char* source, const char* destination, int32_t outputType,
                             int32_t quality, uint32_t) {
  return exports::answer(
      pipeline::compress_file(source, destination, T_FORMAT_BMP, outputType, quality));
}

int32_t T_CALL T_CompressGIF(const char* source, const char* destination, int32_t outputType,
                             int32_t quality, uint32_t) {
  return exports::answer(
      pipeline::compress_file(source, destination, T_FORMAT_GIF, outputType, quality));
}

int32_t T_CALL T_CompressPCX(const char* source, const char* destination, int32_t outputType,
                             int32_t quality, uint32_t) {
  return exports::answer(
      pipeline::compress_file(source, destination, T_FORMAT_PCX, outputType, quality));
}

int32_t T_CALL T_CompressTGA(const char* source, const char* destination, int32_t outputType,
                             int32_t quality, uint32_t, uint32_t) {
  return exports::answer(
      pipeline::compress_file(source, destination, T_FORMAT_TGA, outputType, quality));
}

int32_t T_CALL T_CompressTIF(const char* source, const char* destination, int32_t outputType,
                             int32_t quality, uint32_t) {
  return exports::answer(
      pipeline::compress_file(source, destination, T_FORMAT_TIFF, outputType, quality));
}

int32_t T_CALL T_CompressBitmap1Bit(BitmapHandle* bitmap, const char* name, int32_t format) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(pipeline::compress_bilevel(*bitmap, name, format));
}

int32_t T_CALL T_DecompressBitmap1Bit(const char* name, BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(pipeline::load_picture(name, *bitmap, bilevel::read));
}

int32_t T_CALL T_SetJFIFUnit(int32_t unit) {
  if (unit != 0 && unit != 1) return exports::answer(kBadArgument);
  settings.jfif_dots_per_inch = unit == 1;
  return T_OK;
}

int32_t T_CALL T_LoadCustomQTable(const uint32_t* table) {
  return exports::answer(compress::load_custom_table(table));
}

int32_t T_CALL T_StartCompressData(int32_t width, int32_t height, int32_t bitsPerPixel,
                                   T_CompressWrite write, int32_t outputType, int32_t quality,
                                   void* userData) {
  if (exports::missing(write)) return exports::answer(kBadArgument);
  return exports::answer(exports::shared.data_compression.start(
      width, height, bitsPerPixel, {write, userData}, outputType, quality));
}

int32_t T_CALL T_CompressData(const void* rows, int32_t rowCount) {
  return exports::answer(exports::shared.data_compression.add(rows, rowCount));
}

int32_t T_CALL T_EndCompressData(void) {
  return exports::answer(exports::shared.data_compression.end());
}
