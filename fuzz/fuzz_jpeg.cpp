// JPEG and CMP files: decoding at the depth that the last byte chooses, the same stream in pieces,
// which must give the same rows when nothing is wrong with it, how it is coded, and the stamp.
#include <cstdlib>

#include "core/bitmap.h"
#include "format_fuzzer.h"
#include "io/file_table.h"
#include "tavo45.h"

namespace {

struct Rows {
  uint64_t pixels = 0;
  uint32_t hash = 1;
  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context) {
    auto* self = static_cast<Rows*>(context);
    const auto* bytes = static_cast<const uint8_t*>(rows);
    self->pixels += uint64_t{static_cast<uint32_t>(source->Width)} * static_cast<uint32_t>(count);
    if (self->pixels > 1 << 20) return -77;
    const size_t size = size_t{source->BytesPerLine} * static_cast<uint32_t>(count);
    for (size_t i = 0; i < size; ++i) self->hash = self->hash * 31 + bytes[i];
    return T_OK;
  }
};

// What is said of a stamp must be what is read.
void check_stamp(const uint8_t* data, uint32_t bytes) {
  const tavo::io::MemoryFileScope memory(data, bytes);
  const char* name = reinterpret_cast<const char*>(data);
  T_JPEGINFO coding;
  const int32_t status = T_GetJPEGInfo(name, &coding);
  BitmapHandle stamp = {};
  if (T_GetCompressFileStamp(name, &stamp) == T_OK) {
    if (status == T_OK && (stamp.Width != coding.StampWidth || stamp.Height != coding.StampHeight ||
                           stamp.BitsPerPixel != coding.StampBits)) {
      std::abort();
    }
    T_FreeBitmap(&stamp);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  static constexpr int32_t kDepths[] = {8, 16, 24, 32};
  const uint8_t choice = data[size - 1];
  const int32_t depth = kDepths[choice & 3];
  const int32_t order = choice >> 2 & 1;
  const auto bytes = static_cast<uint32_t>(size);

  Rows whole;
  BitmapHandle record = {};
  const int32_t status = T_DecompressMemory(data, &record, Rows::sink, depth, &whole, order, bytes);

  Rows pieces;
  const uint32_t step = (choice >> 3) * 16 + 1;
  T_StartDecompressData(Rows::sink, depth, order, &pieces);
  for (uint32_t at = 0; at < bytes; at += step) {
    if (T_DecompressData(data + at, bytes - at < step ? bytes - at : step) != T_OK) break;
  }
  const int32_t pushed = T_EndDecompressData();
  if (status == T_OK && (pushed != T_OK || pieces.hash != whole.hash)) std::abort();

  FILEINFO info;
  const bool is_known = T_FileInfoMemory(data, &info, bytes) == T_OK;
  if (status == T_OK && (!is_known || int64_t{info.Width} * info.Height != int64_t(whole.pixels))) {
    std::abort();
  }
  check_stamp(data, bytes);
  return 0;
}
