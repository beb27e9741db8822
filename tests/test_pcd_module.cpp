// Photo CD modules: the project's own gives the same pictures, and what others do wrong is told.
// They are loaded here by their path, so that the library finds them by their name.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>

#include "formats/pcd_module.h"
#include "photocd_pack.h"
#include "platform/platform.h"

#ifdef PCDLIB

namespace tavo::test {
namespace {

class Module {
 public:
  explicit Module(const char* path) : module_(platform::load_module(path)) {
    EXPECT_NE(module_, 0u) << path;
  }
  ~Module() {
    platform::unload_module(module_);
    // The library has given it back, too.
    EXPECT_EQ(platform::load_module(platform::kPhotoCdModule), 0u);
  }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  template <class Function>
  Function entry(const char* name) const {
    return reinterpret_cast<Function>(platform::module_entry(module_, name));
  }

 private:
  uintptr_t module_;
};

class PhotoCdModule : public ::testing::Test {
 protected:
  PhotoCdModule() {
    EXPECT_TRUE(platform::make_temporary_name(path_));
    put(photocd_pack().file);
  }
  ~PhotoCdModule() override {
    std::remove(path_);
    T_SetPCDModule(1);
    T_SetPCDResolution(0);
  }
  void put(const Bytes& bytes) {
    std::ofstream(path_, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
  }
  Bytes loaded(int32_t want = T_OK) {
    Bitmap bitmap;
    EXPECT_EQ(T_LoadBitmap(path_, bitmap.get(), 24, T_ORDER_RGB), want);
    return rgb(bitmap.get());
  }

  char path_[platform::kMaxPath];
};

TEST_F(PhotoCdModule, OwnModuleGivesTheSamePictures) {
  const Module module(PCDLIB);
  Bytes file = photocd_pack().file;
  for (int32_t quarters = 0; quarters < 4; ++quarters) {
    file[0xE02] = static_cast<uint8_t>(2 << 2 | quarters);
    put(file);
    for (const int32_t level : {1, 2, 3, 4}) {
      T_SetPCDResolution(level);
      T_SetPCDModule(1);
      const Bytes theirs = loaded();
      T_SetPCDModule(0);
      EXPECT_TRUE(theirs == loaded()) << level << " turned by " << quarters;
    }
  }
}

// Blocks from anywhere, and the same as a packed bitmap.
TEST_F(PhotoCdModule, OwnModuleGivesPartsOfPictures) {
  const Module module(PCDLIB);
  void *photo = nullptr, *dib = nullptr, *palette = nullptr;
  const auto open = module.entry<int16_t(T_CALL*)(const char*, void**)>("PCDopen");
  const auto close = module.entry<int16_t(T_CALL*)(void*)>("PCDclose");
  const auto choose = module.entry<int16_t(T_CALL*)(void*, int32_t)>("PCDsetResolution");
  const auto get = module.entry<int16_t(T_CALL*)(void*, const pcd::ModuleRect*, uint8_t*, int32_t)>(
      "PCDgetBlock");
  const auto load =
      module.entry<int16_t(T_CALL*)(void*, const pcd::ModuleRect*, void**, void**)>("PCDloadImage");
  const auto free_dib = module.entry<int16_t(T_CALL*)(void*)>("PCDfreeBitmap");
  ASSERT_EQ(open(path_, &photo), 0);
  ASSERT_EQ(choose(photo, 2), 0);
  EXPECT_EQ(choose(photo, 6), pcd::kModuleBadParameter);
  const pcd::ModuleRect area = {20, 10, 23, 15}, outside = {0, 0, 1, 385};
  Bytes block(3 * 20);
  ASSERT_EQ(get(photo, &area, block.data(), 20), 0);
  EXPECT_EQ(get(photo, &outside, block.data(), 3 * 385), pcd::kModuleBadParameter);
  ASSERT_EQ(load(photo, &area, &dib, &palette), 0);
  const auto handle = reinterpret_cast<uintptr_t>(dib);
  const auto* const rows = static_cast<const uint8_t*>(platform::lock_block(handle)) + 40;
  for (uint32_t y = 0; y < 3; ++y) {
    const Bytes want = part(photocd_pack().rgb[2], 3 * ((20 + y) * 384 + 10), 15);
    EXPECT_EQ(part(block, 20 * y, 15), want);
    for (uint32_t i = 0; i < 15; ++i)
      EXPECT_EQ(rows[16 * (2 - y) + i], want[i / 3 * 3 + 2 - i % 3]);
  }
  platform::unlock_block(handle);
  EXPECT_EQ(free_dib(dib), 0);
  EXPECT_EQ(close(photo), 0);
}

TEST_F(PhotoCdModule, CallsComeInTheirOrderAndFailuresAreTold) {
  struct Double {
    char calls[256];
    char fails_at;
    int16_t fails_with;
    int32_t format;
  }* told = nullptr;
  const Module module(PCDLIB_DOUBLE);
  module.entry<int16_t(T_CALL*)(Double**)>("DoubleState")(&told);
  const struct {
    char fails_at;
    int16_t fails_with;
    int32_t want;
    const char* calls;
  } cases[] = {
      {0, 0, T_OK, "ofrtTRbbbbbbc"},           {'r', 3000, T_ERR_BAD_DATA, "ofrc"},
      {'t', 3001, T_ERR_SUBTYPE, "ofrtc"},     {'T', 3002, T_ERR_SUBTYPE, "ofrtTc"},
      {'R', 5000, T_ERR_NO_MEMORY, "ofrtTRc"}, {'b', 3003, T_ERR_READ, "ofrtTRbc"},
  };
  for (const auto& c : cases) {
    *told = {"", c.fails_at, c.fails_with, 11};
    Bitmap own;
    Rows rows;
    EXPECT_EQ(T_SetCallbackLine(32), 32);
    EXPECT_EQ(T_LoadPCDFile(path_, own.get(), Rows::sink, 24, &rows), c.want) << c.calls;
    EXPECT_STREQ(told->calls, c.calls);
  }
  for (const int32_t format : {10, 11, 12}) {
    *told = {"", 0, 0, format};
    const Bytes rows = loaded();
    ASSERT_EQ(rows.size(), 128u * 192 * 3);
    const int32_t level = format == 12 ? (89024 * 90 + 119374 * (90 - 137) + 32768) >> 16 : 90;
    EXPECT_EQ(rows[90 * 128 * 3], std::max(level, 0)) << format;
  }
  // Not its files: the library's own decoder takes them.
  for (const char call : {'o', 'f'}) {
    *told = {"", call, 3000, 11};
    T_SetPCDResolution(1);
    EXPECT_EQ(loaded(), photocd_pack().rgb[1]);
  }
  *told = {"", 0, 0, 11};
  Bitmap bitmap;
  EXPECT_EQ(load(photocd_pack().file, bitmap), T_OK);
  EXPECT_STREQ(told->calls, "");  // memory is no file
  put(Bytes(100));
  FILEINFO info;
  EXPECT_EQ(T_FileInfo(path_, &info), T_OK);
  EXPECT_EQ(info.Format, T_FORMAT_PCD);
  T_SetPCDModule(0);
  EXPECT_EQ(T_FileInfo(path_, &info), T_ERR_BAD_DATA);
}

TEST_F(PhotoCdModule, AModuleThatIsNotWholeIsNone) {
  const Module module(PCDLIB_PARTIAL);
  T_SetPCDResolution(1);
  EXPECT_EQ(loaded(), photocd_pack().rgb[1]);
}

}  // namespace
}  // namespace tavo::test

#endif  // PCDLIB
