// Loading and saving whatever the format: modes, batches, ownership, progress.
#include <gtest/gtest.h>

#include <cstring>

#include "base/settings.h"
#include "format_cases.h"
#include "pipeline/store_sink.h"
#include "platform/platform.h"
#include "process/row_delivery.h"

namespace tavo::test {
namespace {

Bytes bmp_of(int32_t width, int32_t height, int32_t bits) {
  return saved_sample(T_FORMAT_BMP, bits, width, height);
}

TEST(Load, BatchesFollowTheHeight) {
  const struct {
    int32_t height, first;
    size_t batches;
  } cases[] = {{10, 10, 1}, {32, 16, 2}, {33, 32, 2}, {3000, 48, 63}, {10000, 160, 63}};
  for (const auto& c : cases) {
    const Bytes file = bmp_of(4, c.height, 8);
    Rows batches;
    Bitmap bitmap;
    ASSERT_EQ(T_LoadMemory(file.data(), bitmap.get(), 0, -1, 0, Rows::sink, &batches, file.size()),
              T_OK);
    EXPECT_EQ(batches.counts.front(), c.first) << c.height;
    EXPECT_EQ(batches.counts.size(), c.batches) << c.height;
    EXPECT_EQ(batches.source, bitmap.get());
  }
}

// Decoders overrun their rows, and bitmaps start with old memory: neither shows in rows that are
// decoded into place.
TEST(Load, RowsDecodedIntoPlaceAreWhole) {
  constexpr int32_t kBits[] = {1, 8, 24};
  for (int32_t i = 0; i < 60; ++i) {
    const int32_t bits = kBits[i % 3], width = i * 7 % 71 + 1, height = i * i % 211 + 1;
    Bitmap bitmap, source;
    ASSERT_EQ(T_InitBitmap(bitmap.get(), width, height, bits), T_OK);
    ASSERT_EQ(T_AllocateBitmap(bitmap.get(), 1), T_OK);
    T_AccessBitmap(bitmap.get());
    std::memset(bitmap->Data, 0xAA, bitmap->Size);
    T_ReleaseBitmap(bitmap.get());
    source->Flags = 0;
    process::SourcePicture picture;
    picture.width = width;
    picture.height = height;
    picture.bits = bits;

    Random random(i);
    Bytes want;
    size_t in_place = 0;
    {
      pipeline::StoreSink store(*bitmap.get());
      process::RowDelivery rows(picture, *source.get(), store.sink, bits, store.context());
      ASSERT_EQ(rows.start(), kOk);
      for (int32_t y = 0; y < height; ++y) {
        const auto row = rows.next_row().first((size_t{7} + width * bits) / 8);
        std::memset(row.data() + rows.source_line(), 0xEE, rows.kSlack);
        for (uint8_t& byte : row) want.push_back(byte = static_cast<uint8_t>(random.next()));
        want.resize(size_t{rows.source_line()} * (y + 1));  // padding is zero
        const auto* const base = static_cast<const uint8_t*>(bitmap->Data);
        if (row.data() >= base && row.data() < base + bitmap->Size) ++in_place;
        ASSERT_EQ(rows.commit(), kOk);
      }
      ASSERT_EQ(rows.finish(), kOk);
      rows.next_row();
      EXPECT_FALSE(rows.commit().ok() && rows.finish().ok()) << "a row beyond the last";
    }
    EXPECT_EQ(in_place, bitmap->Size < 64 ? 0 : (bitmap->Size - 64) / bitmap->BytesPerLine);
    EXPECT_FALSE(bitmap->Flags & T_FLAG_LOCKED);
    T_AccessBitmap(bitmap.get());
    const auto* const stored = static_cast<const uint8_t*>(bitmap->Data);
    EXPECT_EQ(Bytes(stored, stored + bitmap->Size), want) << bits << " bits, width " << width;
  }
}

TEST(Load, RequestsThatAreNoDepthOrOrderMeanTheFilesOwn) {
  const Bytes file = bmp_of(5, 5, 24);
  for (const int32_t bits : {0, 2, 7, -1, 64}) {
    Bitmap bitmap;
    ASSERT_EQ(T_LoadBitmapMemory(file.data(), bitmap.get(), bits, 9, file.size()), T_OK);
    EXPECT_EQ(bitmap->BitsPerPixel, 24);
    EXPECT_EQ(bitmap->Order, T_ORDER_BGR);
  }
}

TEST(Load, CallbackGetsTheRowsThatABitmapWouldHold) {
  for (const int32_t file_bits : {1, 4, 8, 24}) {
    const Bytes file = bmp_of(37, 50, file_bits);
    for (const int32_t bits : {file_bits, 16, 24, 32}) {
      for (const int32_t order : {0, 1}) {
        Bitmap stored;
        ASSERT_EQ(T_LoadBitmapMemory(file.data(), stored.get(), bits, order, file.size()), T_OK);
        Rows batches;
        Bitmap described;
        ASSERT_EQ(T_LoadMemory(file.data(), described.get(), bits, order, 0, Rows::sink, &batches,
                               file.size()),
                  T_OK);
        EXPECT_EQ(described->BitsPerPixel, bits);
        EXPECT_EQ(described->Flags & T_FLAG_ALLOCATED, 0u);
        Bitmap again;
        T_InitBitmap(again.get(), 37, 50, bits);
        batches.store(again);
        EXPECT_EQ(pixels(again.get()), pixels(stored.get()))
            << file_bits << " to " << bits << ", order " << order;
      }
    }
  }
}

TEST(Load, OwnershipOnFailure) {
  Bytes file = bmp_of(4, 100, 8);
  file.resize(file.size() - 10);
  Bitmap kept;
  EXPECT_EQ(T_LoadFile("", kept.get(), 0, -1, 0, nullptr, nullptr), T_ERR_OPEN);
  EXPECT_EQ(T_LoadBitmapMemory(file.data(), kept.get(), 0, -1, file.size()), T_ERR_READ);
  EXPECT_NE(kept->Flags & T_FLAG_ALLOCATED, 0u);
  EXPECT_EQ(kept->Flags & T_FLAG_LOCKED, 0u);

  // Without storage and without a callback there is nowhere to put rows.
  Bitmap none;
  EXPECT_EQ(T_LoadMemory(file.data(), none.get(), 0, -1, 0, nullptr, nullptr, file.size()),
            T_ERR_NO_MEMORY);
  EXPECT_EQ(none->Flags & T_FLAG_ALLOCATED, 0u);

  const Bytes unknown = {1, 2, 3, 4};
  EXPECT_EQ(T_LoadBitmapMemory(unknown.data(), none.get(), 0, -1, 4), T_ERR_BAD_DATA);
  EXPECT_EQ(T_LoadBitmapMemory(unknown.data(), none.get(), 0, -1, 0), T_ERR_BAD_DATA);
  EXPECT_EQ(T_LoadFileCB(none.get(), unknown.data(), 1, nullptr), T_ERR_ARGUMENT);
}

TEST(Load, ARefusedWorkBufferFreesTheTarget) {
  const Bytes file = bmp_of(300, 300, 24);
  const Leftovers before = leftovers();
  for (int64_t n = 0;; ++n) {
    Bitmap target;
    const uint64_t taken = platform::bytes_taken();
    platform::refuse_allocation(n, true);
    const int32_t status = load(file, target, 32);
    platform::refuse_allocation(-1, false);
    // Its own pixels are most of what is taken: the next request is the work buffer's.
    if (platform::bytes_taken() - taken < 300 * 300 * 4) continue;
    EXPECT_EQ(status, T_ERR_NO_MEMORY);
    EXPECT_EQ(target->Flags & T_FLAG_ALLOCATED, 0u);
    break;
  }
  EXPECT_EQ(leftovers(), before);
}

// Rows of `source` through the exported dithering calls, to `palette`.
Bytes dithered(BitmapHandle* source, const T_PaletteEntry* palette, int32_t bits) {
  Bitmap out;
  T_InitBitmap(out.get(), source->Width, source->Height, bits);
  T_AllocateBitmap(out.get(), 1);
  T_ClearBitmap(out.get());
  EXPECT_EQ(T_StartDithering(source, palette, 1u << bits), T_OK);
  T_AccessBitmap(source);
  T_AccessBitmap(out.get());
  Bytes in(source->BytesPerLine), line(out->BytesPerLine);
  for (int32_t y = 0; y < source->Height; ++y) {
    T_GetBitmapRow(source, in.data(), y, in.size());
    T_DitherLine(source, in.data(), line.data());
    T_PutBitmapRow(out.get(), line.data(), y, line.size());
  }
  T_StopDithering(source);
  T_ReleaseBitmap(source);
  T_ReleaseBitmap(out.get());
  return pixels(out.get());
}

TEST(Load, FewerColoursAreDitheredToTheFixedPalettes) {
  for (const int32_t file_bits : {4, 8, 24}) {
    const Bytes file = bmp_of(70, 90, file_bits);
    for (const int32_t bits : {1, 4, 8}) {
      if (bits >= file_bits) continue;
      for (const uint32_t method : {0u, 1u, 5u, 7u}) {
        SCOPED_TRACE(std::to_string(file_bits) + " to " + std::to_string(bits));
        T_DefaultDithering(method);
        Bitmap own, reduced;
        ASSERT_EQ(T_LoadBitmapMemory(file.data(), own.get(), 0, -1, file.size()), T_OK);
        ASSERT_EQ(T_LoadBitmapMemory(file.data(), reduced.get(), bits, -1, file.size()), T_OK);
        EXPECT_EQ(reduced->Colors, 1u << bits);
        EXPECT_EQ(pixels(reduced.get()), dithered(own.get(), nullptr, bits));

        // A direct call of the reader gives the same rows.
        Disk disk;
        disk.files["x"] = file;
        Rows batches;
        Bitmap described;
        T_InitBitmap(described.get(), 1, 1, 1);
        ASSERT_EQ(T_LoadBMPFile("x", described.get(), Rows::sink, bits, &batches), T_OK);
        EXPECT_EQ(described->BitsPerPixel, bits);
        Bitmap again;
        T_InitBitmap(again.get(), 70, 90, bits);
        batches.store(again);
        EXPECT_EQ(pixels(again.get()), pixels(reduced.get()));
      }
    }
  }
  T_DefaultDithering(T_DITHER_ORDERED);
}

// GIF's rows are decoded before the first is dithered, and callbacks get them one by one.
TEST(Load, RowsOfAWholePictureAreDitheredAsThoseThatAreStreamed) {
  Bitmap bitmap;
  make_picture(bitmap, 75, 150, 8);
  bitmap->ViewPerspective = 0;
  Disk disk;
  ASSERT_EQ(T_SaveFile("gif", bitmap.get(), T_FORMAT_GIF, 8, 0, 0, 0, 0), T_OK);
  ASSERT_EQ(T_SaveFile("tif", bitmap.get(), T_FORMAT_TIFF, 8, 0, 0, 0, 0), T_OK);
  for (uint32_t method = T_DITHER_NONE; method <= T_DITHER_ORDERED; ++method) {
    for (const uint32_t bits : {1, 4}) {
      T_DefaultDithering(method);
      Rows whole, streamed;
      Bitmap stored, described;
      ASSERT_EQ(T_LoadFile("gif", described.get(), bits, 0, 0, Rows::sink, &whole), T_OK);
      EXPECT_EQ(whole.counts, std::vector<int32_t>(150, 1));
      ASSERT_EQ(T_LoadFile("tif", described.get(), bits, 0, 0, Rows::sink, &streamed), T_OK);
      EXPECT_TRUE(whole.bytes == streamed.bytes) << "method " << method << " to " << bits;
      ASSERT_EQ(T_LoadBitmap("gif", stored.get(), bits, 0), T_OK);
      T_AccessBitmap(stored.get());
      const auto* const at = static_cast<const uint8_t*>(stored->Data);
      EXPECT_TRUE(Bytes(at, at + stored->Size) == whole.bytes) << method << " to " << bits;
    }
  }
  T_DefaultDithering(T_DITHER_ORDERED);
}

TEST(Load, TwoBitsAreDitheredAsTheSamePictureOfFour) {
  const Bytes palette = {10, 200, 90, 0, 250, 5, 60, 0, 0, 120, 255, 0, 130, 130, 120, 0};
  Random random(2);
  Bytes two, four;
  for (int i = 0; i < 8 * 40; ++i) {
    const uint32_t b = random.below(256);
    two.push_back(static_cast<uint8_t>(b));
    four.push_back(static_cast<uint8_t>(b >> 6 << 4 | (b >> 4 & 3)));
    four.push_back(static_cast<uint8_t>((b >> 2 & 3) << 4 | (b & 3)));
  }
  for (const uint32_t method : {0u, 1u, 7u}) {
    T_DefaultDithering(method);
    Bitmap from_two, from_four;
    ASSERT_EQ(load(bmp_file(bmp_info(32, 40, 2, 0, 4), palette, two), from_two, 1), T_OK);
    ASSERT_EQ(load(bmp_file(bmp_info(32, 40, 4, 0, 4), palette, four), from_four, 1), T_OK);
    EXPECT_EQ(pixels(from_two.get()), pixels(from_four.get())) << method;
  }
  T_DefaultDithering(T_DITHER_ORDERED);
}

TEST(Registry, TheFunctionsOfAFormatDoWhatTheCommonOnesDo) {
  const struct {
    int32_t format, bits;
    FileReader read;
    int32_t(T_CALL* load)(const char*, BitmapHandle*);
    int32_t(T_CALL* save)(const char*, BitmapHandle*, int32_t);
  } cases[] = {{T_FORMAT_BMP, 24, T_LoadBMPFile, T_LoadBMPBitmap, T_SaveBMPBitmap},
               {T_FORMAT_PCX, 24, T_LoadPCXFile, T_LoadPCXBitmap, T_SavePCXBitmap},
               {T_FORMAT_GIF, 8, T_LoadGIFFile, T_LoadGIFBitmap, T_SaveGIFBitmap},
               {T_FORMAT_CALS, 1, T_LoadCALSFile, T_LoadCALSBitmap, T_SaveCALSBitmap},
               {T_FORMAT_TGA, 24, T_LoadTGAFile, T_LoadTGABitmap, T_SaveTGABitmap},
               {T_FORMAT_RAS, 24, T_LoadRASFile, T_LoadRASBitmap, T_SaveRASBitmap},
               {T_FORMAT_MAC, 1, T_LoadMACFile, T_LoadMACBitmap, T_SaveMACBitmap},
               {T_FORMAT_IMG, 8, T_LoadIMGFile, T_LoadIMGBitmap, T_SaveIMGBitmap},
               {T_FORMAT_MSP, 1, T_LoadMSPFile, T_LoadMSPBitmap, T_SaveMSPBitmap},
               {T_FORMAT_WPG, 8, T_LoadWPGFile, T_LoadWPGBitmap, T_SaveWPGBitmap},
               {T_FORMAT_PCT, 24, T_LoadPCTFile, T_LoadPCTBitmap, T_SavePCTBitmap},
               {T_FORMAT_PNG, 24, T_LoadPNGFile, T_LoadPNGBitmap, T_SavePNGBitmap},
               {T_FORMAT_WMF, 8, T_LoadWMFFile, T_LoadWMFBitmap, T_SaveWMFBitmap},
               {T_FORMAT_EPS, 8, T_LoadEPSFile, T_LoadEPSBitmap, T_SaveEPSBitmap},
               {T_FORMAT_TIFF, 24, T_LoadTIFFile, T_LoadTIFBitmap, T_SaveTIFBitmap}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.format);
    Disk disk;
    disk.files["common"] = saved_sample(c.format, c.bits, 19, 5);
    Bitmap picture, common, own, described;
    make_picture(picture, 19, 5, c.bits);
    ASSERT_EQ(c.save("sample", picture.get(), c.bits), T_OK);
    EXPECT_EQ(disk.files["sample"], disk.files["common"]);
    ASSERT_EQ(T_LoadBitmap("common", common.get(), 0, -1), T_OK);
    T_SetCallbackLine(7);
    ASSERT_EQ(c.load("common", own.get()), T_OK);
    EXPECT_EQ(settings.callback_lines, 7);
    EXPECT_EQ(own->Order, c.bits > 8 ? T_ORDER_BGR : T_ORDER_RGB);
    EXPECT_EQ(rgb(own.get()), rgb(common.get()));
    for (const int32_t order : {T_ORDER_RGB, T_ORDER_BGR}) {
      T_InitBitmap(described.get(), 1, 1, 1);
      described->Order = order;
      Rows batches;
      ASSERT_EQ(c.read("common", described.get(), Rows::sink, c.bits, &batches), T_OK);
      batches.store(own);
      own->Order = described->Order;
      EXPECT_EQ(rgb(own.get()), rgb(common.get())) << order;
    }
  }
}

TEST(Load, DirectReadersResampleToTheSizeOfAnAllocatedBitmap) {
  for (const int32_t bits : {1, 4, 8, 24}) {
    Disk disk;
    disk.files["x"] = bmp_of(60, 40, bits);
    for (const auto& [width, height] :
         {std::pair{30, 20}, {90, 100}, {60, 10}, {1, 1}, {60, 119}}) {
      for (const int32_t wanted_bits : {bits, 1, 24}) {
        Bitmap whole;
        ASSERT_EQ(T_LoadBMPBitmap("x", whole.get()), T_OK);
        ASSERT_EQ(T_SizeBitmap(whole.get(), width, height), T_OK);
        Rows batches;
        Bitmap wanted;
        T_InitBitmap(wanted.get(), width, height, wanted_bits);
        T_AllocateBitmap(wanted.get(), 1);
        ASSERT_EQ(T_LoadBMPFile("x", wanted.get(), Rows::sink, wanted_bits, &batches), T_OK);
        batches.store(wanted);
        if (wanted_bits >= bits) {
          EXPECT_EQ(rgb(wanted.get()), rgb(whole.get())) << bits << " to " << wanted_bits;
        } else {
          EXPECT_EQ(pixels(wanted.get()), dithered(whole.get(), nullptr, 1));
        }
      }
    }
  }
}

// Blocks are handed out again as they were left: the next bitmap of this size holds old memory.
void leave_old_memory(BitmapHandle* like) {
  Bitmap old;
  make_picture(old, like->Width, like->Height, like->BitsPerPixel);
}

TEST(Load, RowsThatNeverCameAreZero) {
  for (const int32_t format : {T_FORMAT_BMP, T_FORMAT_RAS, T_FORMAT_TGA}) {
    const Bytes file = saved_sample(format, 8, 100, 90);
    for (const int32_t bits : {8, 4, 24}) {
      Bitmap whole, partial;
      ASSERT_EQ(load(file, whole, bits), T_OK);
      leave_old_memory(whole.get());
      Bytes cut(file.begin(), file.end() - 5050);  // the last row that is there is not whole
      ASSERT_EQ(load(cut, partial, bits), T_ERR_READ);
      Bytes want = pixels(whole.get());
      const size_t line = want.size() / 90;
      const Bytes got = pixels(partial.get());
      size_t rows = 90;
      while (rows > 0 &&
             std::count(got.begin() + (rows - 1) * line, got.begin() + rows * line, 0) == line) {
        --rows;
      }
      EXPECT_GT(rows, 20);
      EXPECT_LT(rows, 60);
      std::fill(want.begin() + rows * line, want.end(), 0);
      EXPECT_EQ(got, want) << format << " at " << bits;
    }
  }
}

TEST(Load, MissingRowsOfAnySizeAndOrderAreCleared) {
  for (const bool interlaced : {false, true}) {
    for (const int32_t height : {1, 9, 40, 3000}) {
      Bitmap bitmap;
      make_picture(bitmap, 1500, height, 8);
      bitmap->Flags |= interlaced ? T_FLAG_INTERLACED : 0;
      T_AccessBitmap(bitmap.get());
      std::memset(bitmap->Data, 0xAA, bitmap->Size);
      const int32_t came = height * 2 / 3;
      pipeline::StoreSink store(*bitmap.get());
      ASSERT_EQ(store.store(Bytes(bitmap->Size, 3).data(), came), kOk);
      store.clear_missing();
      const auto* const stored = static_cast<const uint8_t*>(bitmap->Data);
      EXPECT_EQ(std::count(stored, stored + bitmap->Size, 3), came * 1500);
      EXPECT_EQ(std::count(stored, stored + bitmap->Size, 0), (height - came) * 1500);
    }
  }
}

TEST(Load, DitheredRowsOfACutFileArrive) {
  Disk disk;
  disk.files["x"] = bmp_of(60, 40, 8);
  Rows whole, cut;
  Bitmap bitmap, again;
  ASSERT_EQ(T_LoadBMPFile("x", bitmap.get(), Rows::sink, 4, &whole), T_OK);
  disk.files["x"].resize(disk.files["x"].size() - 60 * 20);
  EXPECT_EQ(T_LoadBMPFile("x", again.get(), Rows::sink, 4, &cut), T_ERR_READ);
  whole.bytes.resize(whole.bytes.size() / 2);
  EXPECT_EQ(cut.bytes, whole.bytes);
}

std::vector<int32_t> told;
int32_t answer_at_fifty = T_OK;
int32_t T_CALL tell(int32_t percent) {
  told.push_back(percent);
  return percent >= 50 && percent < 100 ? answer_at_fifty : T_OK;
}

TEST(Progress, StopsOnAnyOtherAnswer) {
  Disk disk;
  disk.files["x"] = bmp_of(4, 500, 8);
  Bitmap picture, loaded;
  make_picture(picture, 3, 500, 24);
  answer_at_fifty = -55;
  T_SetStatusCallBack(tell);
  for (const bool saves : {false, true}) {
    told.clear();
    EXPECT_EQ(saves ? T_SaveBitmap("y", picture.get(), T_FORMAT_BMP, 24, 0)
                    : T_LoadBitmap("x", loaded.get(), 0, -1),
              -55);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_LT(told.back(), 100);
    EXPECT_EQ(disk.open_count, 0);
  }
  T_SetStatusCallBack(nullptr);
}

// However many stages an operation has, its numbers rise from 0 to 100 once.
TEST(Progress, IsToldOnceByOperationsOfSeveralStages) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 30, 300, 24);
  answer_at_fifty = T_OK;
  T_SetStatusCallBack(tell);
  int done = 0;
  const auto check = [&](const char* what, int32_t format, int32_t bits, int32_t status) {
    if (status == T_OK) {
      ++done;
      EXPECT_EQ(told.front(), 0);
      EXPECT_EQ(told.back(), 100);
      EXPECT_GT(told.size(), 3u);
    }
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end(), std::less_equal()))
        << what << " of format " << format << " at " << bits;
    told.clear();
  };
  for (const int32_t format :
       {T_FORMAT_PCX, T_FORMAT_GIF, T_FORMAT_TIFF, T_FORMAT_TGA, T_FORMAT_BMP, T_FORMAT_JPEG,
        T_FORMAT_CMP, T_FORMAT_CMP_1BIT, T_FORMAT_CALS, T_FORMAT_RAS, T_FORMAT_MAC, T_FORMAT_IMG,
        T_FORMAT_MSP}) {
    for (const int32_t bits : {1, 4, 8, 24}) {
      told.clear();
      const int32_t saved = T_SaveBitmap("x", picture.get(), format, bits, 0);
      check("save", format, bits, saved);
      if (saved != T_OK) continue;
      Bitmap loaded;
      check("load", format, bits, T_LoadBitmap("x", loaded.get(), 8, -1));
      check("conversion", format, bits, T_ConvertFile("x", "y", T_FORMAT_BMP, 8, 0));
      check("stream", format, bits, T_StreamFile("x", "y", T_FORMAT_TIFF, 0, 0));
      check("compression", format, bits, T_CompressALL("x", "y", 1, 0, 0));
    }
  }
  T_SetStatusCallBack(nullptr);
  EXPECT_GT(done, 60);
}

TEST(Save, WidensACopyAndLeavesThePictureAlone) {
  for (const int32_t bits : {1, 2, 4, 8, 16, 32}) {
    Disk disk;
    Bitmap picture;
    make_picture(picture, 19, 5, bits, 3);
    const Bytes before = pixels(picture.get());
    ASSERT_EQ(T_SaveBitmap("x", picture.get(), T_FORMAT_BMP, 24, 0), T_OK);
    EXPECT_EQ(picture->BitsPerPixel, bits);
    EXPECT_EQ(pixels(picture.get()), before);
    Bitmap loaded;
    ASSERT_EQ(T_LoadBitmap("x", loaded.get(), 0, -1), T_OK);
    EXPECT_EQ(rgb(loaded.get()), rgb(picture.get())) << bits;
  }
}

TEST(Save, FormatsWithoutAWriterAreRefused) {
  Bitmap picture;
  make_picture(picture, 4, 4, 8);
  for (const int32_t format : {0, -1, 5, 7, 8, 9, 12, 13, 18, 19, 30, 49, 57, 58, 1000}) {
    EXPECT_EQ(T_SaveBitmap("x", picture.get(), format, 8, 0), T_ERR_FORMAT) << format;
    EXPECT_EQ(picture->Flags & T_FLAG_LOCKED, 0u);
  }
}

TEST(Save, ABitmapOfNoSizeIsRefused) {
  Disk disk;
  Bitmap empty;
  for (const int32_t bits : {1, 8, 24}) {
    T_InitBitmap(empty.get(), 0, 5, bits);
    for (const uint32_t direct : {0u, 1u}) {
      EXPECT_EQ(T_SaveFile("x", empty.get(), T_FORMAT_BMP, 0, 0, 0, direct, 0), T_ERR_SIZE);
      EXPECT_EQ(T_SaveFile("x", empty.get(), T_FORMAT_JPEG, 24, 0, 0, direct, 0), T_ERR_SIZE);
    }
  }
  EXPECT_EQ(disk.files.count("x"), 0u);
}

TEST(Save, ReductionsAreDitheredByFloydAndSteinbergWhateverTheBitmapAsks) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 40, 30, 24);
  for (const char* name : {"1", "7"}) {
    picture->DitherMethod = static_cast<uint32_t>(name[0] - '0');
    ASSERT_EQ(T_SaveFile(name, picture.get(), T_FORMAT_BMP, 8, 0, T_SAVE_FIXED_PALETTE, 0, 0),
              T_OK);
  }
  EXPECT_EQ(disk.files["7"], disk.files["1"]);
}

TEST(Save, DirectWritesTheBitmapAsItStandsAndLeavesItAccessed) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 4, 4, 8);
  picture->XResolution = 254;
  T_AccessBitmap(picture.get());
  ASSERT_EQ(T_SaveFile("x", picture.get(), T_FORMAT_BMP, 24, 0, 0, 1, 0), T_OK);
  EXPECT_NE(picture->Flags & T_FLAG_LOCKED, 0u);
  Bitmap loaded;
  ASSERT_EQ(T_LoadBitmap("x", loaded.get(), 0, -1), T_OK);
  EXPECT_EQ(loaded->XResolution, 10000);  // not the default, as in a copy
  EXPECT_EQ(rgb(loaded.get()), rgb(picture.get()));
}

// A file that states no resolution becomes one that states none; so does a record with 0.
TEST(ConvertFile, InventsNoResolution) {
  Disk disk;
  T_SetJFIFUnit(1);
  Bitmap picture;
  make_picture(picture, 20, 10, 8);
  ASSERT_EQ(T_SaveBitmap("gif", picture.get(), T_FORMAT_GIF, 8, 0), T_OK);
  for (const int32_t format :
       {T_FORMAT_BMP, T_FORMAT_PCX, T_FORMAT_TIFF_LZW, T_FORMAT_JPEG_24, T_FORMAT_CMP_SAVE}) {
    SCOPED_TRACE(format);
    const auto resolutions = [](const char* name) {
      FILEINFO info;
      EXPECT_EQ(T_FileInfo(name, &info), T_OK);
      const bool is_bmp = info.Format == T_FORMAT_BMP;
      const auto inch = [&](int32_t n) { return is_bmp ? (n * 254 + 5000) / 10000 : n; };
      return std::pair(inch(info.XResolution), inch(info.YResolution));
    };
    const auto save = [&](int32_t x, int32_t y, uint32_t flags, uint32_t direct) {
      picture->XResolution = x;
      picture->YResolution = y;
      T_AccessBitmap(picture.get());
      EXPECT_EQ(T_SaveFile("a", picture.get(), format, 0, 20, flags, direct, 0), T_OK);
      return resolutions("a");
    };
    EXPECT_EQ(T_ConvertFile("gif", "whole", format, 0, 20), T_OK);
    EXPECT_EQ(resolutions("whole"), std::pair(0, 0));
    EXPECT_EQ(T_StreamFile("gif", "streamed", format, 0, 20), T_OK);
    EXPECT_EQ(disk.files["streamed"], disk.files["whole"]);
    EXPECT_EQ(save(0, 0, T_SAVE_KEEP_RESOLUTION, 0), std::pair(0, 0));
    EXPECT_EQ(save(0, 0, 0, 1), std::pair(0, 0));
    EXPECT_EQ(save(300, 72, T_SAVE_KEEP_RESOLUTION, 0), std::pair(300, 72));
    EXPECT_EQ(save(300, 72, 0, 0), std::pair(150, 150));
  }
  T_SetJFIFUnit(0);
}

TEST(ConvertFile, KeepsTheResolution) {
  Disk disk;
  disk.files["x"] = bmp_of(4, 4, 8);
  ASSERT_EQ(T_ConvertFile("x", "y", T_FORMAT_BMP, 24, 0), T_OK);
  Bitmap from, to;
  T_LoadBitmap("x", from.get(), 0, -1);
  T_LoadBitmap("y", to.get(), 0, -1);
  EXPECT_EQ(rgb(from.get()), rgb(to.get()));
  EXPECT_EQ(from->XResolution, to->XResolution);
  EXPECT_EQ(from->XResolution, 5906);  // 150 dots per inch
  EXPECT_EQ(T_ConvertFile("no", "y", T_FORMAT_BMP, 24, 0), T_ERR_OPEN);
  EXPECT_EQ(T_ConvertFile("x", "z", 7, 24, 0), T_ERR_FORMAT);
  EXPECT_EQ(disk.files.count("z"), 0u);
}

TEST(Registry, DescribesEveryFormatOnce) {
  T_Format format;
  uint32_t count = 0;
  std::map<int32_t, int> seen;
  while (T_GetFormat(count, &format) == T_OK) {
    ++count;
    EXPECT_EQ(++seen[format.Id], 1) << format.Id;
    EXPECT_TRUE(format.CanRead == 1 || format.CanWrite == 1);
    EXPECT_EQ(format.WriteDepths != 0, format.CanWrite == 1);
    EXPECT_NE(format.Name[0], 0);
  }
  EXPECT_GE(count, 2u);
  EXPECT_EQ(T_GetFormat(count, &format), T_ERR_FORMAT);
  EXPECT_EQ(T_GetFormat(0, nullptr), T_ERR_ARGUMENT);
}

}  // namespace
}  // namespace tavo::test
