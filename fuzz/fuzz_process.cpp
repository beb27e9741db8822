// Chains of rotations, filters and adjustments of one picture in memory and on disk, in an order
// that the input chooses: no crash, only documented statuses, and the same pixels from both, also
// when the status callback stops one of the steps.
#include <cstdlib>
#include <cstring>

#include "core/bitmap.h"
#include "input.h"
#include "tavo45.h"

namespace {

using namespace tavo;
using fuzz::Bytes;
using fuzz::Input;

void require(bool holds) {
  if (!holds) std::abort();
}

int32_t answers_left = 0;
int32_t T_CALL tell(int32_t percent) {
  require(percent >= 0 && percent <= 100);
  return answers_left-- > 0 ? T_OK : -77;
}

// The numbers of a step are drawn once and used for both bitmaps.
struct Step {
  explicit Step(Input& input) : kind(input.byte() % 20) {
    for (int32_t& number : numbers) number = static_cast<int16_t>(input.word());
    for (int32_t i = 0; i < 49; ++i) kernel[i] = (numbers[i % 4] >> (i % 11)) % 300;
  }
  int32_t odd() const { return 3 + 2 * (std::abs(numbers[0]) % 16); }
  int32_t level() const { return numbers[0] % 1001; }
  uint32_t bits(size_t i, uint32_t limit) const {
    return static_cast<uint32_t>(numbers[i] & 0xFFFF) % limit;
  }

  uint32_t kind;
  int32_t numbers[4];
  int32_t kernel[49];
};

// What is found must be the same, too.
int32_t look_at(BitmapHandle* bitmap, int32_t share) {
  uint32_t area[4];
  const int32_t status = T_FindContent(bitmap, area, area + 1, area + 2, area + 3);
  if (status != T_OK) return status;
  bitmap->XResolution = static_cast<int32_t>(area[0] + area[1] * 3 + area[2] * 5 + area[3] * 7);
  if (share % 2 == 0) return T_FindSkew(bitmap, &bitmap->YResolution);
  return T_IsBlank(bitmap, share, &bitmap->YResolution);
}

int32_t run(const Step& s, BitmapHandle* bitmap) {
  const int32_t* const n = s.numbers;
  switch (s.kind) {
    case 0:
      return T_RotateBitmap(bitmap, n[0] * 90);
    case 1:
      return T_FlipBitmap(bitmap);
    case 2:
      return T_ReverseBitmap(bitmap);
    case 3:
      return T_RotateBitmapFine(bitmap, n[0] * 3, s.bits(1, 4), s.bits(2, 65536) * 255);
    case 4:
      return T_AverageFilterBitmap(bitmap, n[1] % 9 == 0 ? 255 : s.odd());
    case 5:
      return T_MedianFilterBitmap(bitmap, n[1] % 9 == 0 ? 255 : s.odd());
    case 6:
    case 7:
      return T_SpatialFilterBitmap(bitmap, s.kernel, 3 + 2 * static_cast<int32_t>(s.bits(0, 3)),
                                   std::abs(n[1]) * (n[2] % 300), n[3] % 256, s.bits(2, 2));
    case 8:
      return T_SharpenBitmap(bitmap, s.level());
    case 9:
    case 10:
      return T_BinaryFilterBitmap(bitmap, s.bits(1, 4), s.bits(2, 4),
                                  n[3] % 9 == 0 ? 255 : s.odd());
    case 11:
      return T_DespeckleBitmap(bitmap, 1 + static_cast<int32_t>(s.bits(0, 20)));
    case 12:
      return T_MosaicBitmap(bitmap, 2 + static_cast<int32_t>(s.bits(0, 50)));
    case 13:
      return T_ChangeBitmapIntensity(bitmap, s.level());
    case 14:
      return T_ChangeBitmapContrast(bitmap, s.level());
    case 15:
      return T_ChangeBitmapHue(bitmap, n[0] % 361);
    case 16:
      return T_ChangeBitmapSaturation(bitmap, s.level());
    case 17:
      return n[0] % 2 == 0 ? T_InvertBitmap(bitmap) : T_HistoEqualizeBitmap(bitmap);
    case 18:
      return T_PosterizeBitmap(bitmap, n[0] % 70);
    default:
      if (n[1] % 4 == 1) return look_at(bitmap, n[0]);
      return n[1] % 4 != 0 ? T_OK : T_HalfToneBitmap(bitmap, n[0] % 70, n[2] % 361);
  }
}

void draw(Input input, BitmapHandle& bitmap, uint32_t request) {
  constexpr int32_t kDepths[] = {1, 2, 4, 8, 16, 24, 32, 8};
  const auto width = static_cast<int32_t>(1 + input.byte() % 80);
  const auto height = static_cast<int32_t>(1 + input.byte() % 80);
  const uint32_t depth = input.byte() % 8;
  T_InitBitmap(&bitmap, width, height, kDepths[depth]);
  bitmap.ViewPerspective = input.byte() % 3;
  if (bitmap.BitsPerPixel > 8) bitmap.Order = input.byte() % 2;
  Bytes palette(sizeof bitmap.Info.Palette);
  input.fill(palette);
  std::memcpy(bitmap.Info.Palette, palette.data(), palette.size());
  for (uint32_t i = 0; depth == 7 && i < 256; ++i) {
    const auto level = static_cast<uint8_t>(i);
    bitmap.Info.Palette[i] = {level, level, level, 0};
  }
  require(T_AllocateBitmap(&bitmap, request) == T_OK);
  Bytes rows(bitmap.Size);
  input.fill(rows);
  const core::AccessScope accessed(bitmap);
  require(T_PutBitmapRow(&bitmap, rows.data(), 0, bitmap.Size) >= 0);
}

Bytes rows_of(BitmapHandle& bitmap) {
  const core::AccessScope accessed(bitmap);
  Bytes rows(bitmap.Size);
  require(T_GetBitmapRow(&bitmap, rows.data(), 0, bitmap.Size) >= 0);
  return rows;
}

// Step results go to new storage, which is memory if it can be had: back to disk.
void put_on_disk(BitmapHandle& bitmap) {
  if (!core::is_memory(bitmap)) return;
  BitmapHandle other = bitmap;
  const Bytes rows = rows_of(bitmap);
  other.Flags &= ~(T_FLAG_MEMORY | T_FLAG_LOCKED | T_FLAG_ALLOCATED);
  require(T_AllocateBitmap(&other, 3) == T_OK);
  require(T_PutBitmapRow(&other, rows.data(), 0, other.Size) >= 0);
  bitmap.GdiObjectA = bitmap.GdiObjectB = 0;
  T_FreeBitmap(&bitmap);
  bitmap = other;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const uint32_t stops = input.byte();
  BitmapHandle memory = {}, disk = {};
  draw(input, memory, 1);
  draw(input, disk, 3);
  for (int32_t i = 0; i < 7; ++i) input.byte();
  for (uint32_t i = 0; i < 8 && !input.is_empty(); ++i) {
    const Step step(input);
    if (stops % 8 == i) {
      const Bytes before = rows_of(memory);
      answers_left = static_cast<int32_t>(stops / 8);
      T_SetStatusCallBack(tell);
      const int32_t status = run(step, &memory);
      T_SetStatusCallBack(nullptr);
      if (status != T_OK) {
        require(rows_of(memory) == before);
        continue;
      }
      require(run(step, &disk) == T_OK);
    } else {
      const int32_t status = run(step, &memory);
      require(run(step, &disk) == status);
      require(std::strcmp(T_GetStatusText(status), "Unknown status") != 0);
    }
    require(memory.BitsPerPixel == disk.BitsPerPixel && memory.Size == disk.Size);
    require(memory.XResolution == disk.XResolution && memory.YResolution == disk.YResolution);
    require(std::memcmp(&memory.Info, &disk.Info, sizeof memory.Info) == 0);
    // Padding that nothing has written may differ: the files' is what was drawn, too.
    require(rows_of(memory) == rows_of(disk));
    put_on_disk(disk);
  }
  T_FreeBitmap(&memory);
  T_FreeBitmap(&disk);
  return 0;
}
