// Scanners, with a manager and source of the tests' own (tests/twain).
#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "tavo45.h"
#include "tests/support.h"
#include "tests/twain/double.h"

namespace tavo::test {
namespace {

using namespace twain;

// The module is loaded here by its path, so that the library finds it by its name.
class Twain : public ::testing::Test {
 protected:
  explicit Twain(const char* module = TWAIN_DOUBLE)
      : module_(platform::load_module(module)), before_(leftovers()) {
    EXPECT_NE(module_, 0u) << module;
    reset();
    options_.Size = sizeof(options_);
  }
  ~Twain() override {
    MSG message;
    while (PeekMessage(&message, nullptr, 0, 0, PM_REMOVE)) {
    }
    platform::unload_module(module_);
    EXPECT_EQ(GetModuleHandleA("TWAIN.DLL"), nullptr);
  }
  void reset() {
    double_ =
        reinterpret_cast<TwainDouble* (*)()>(platform::module_entry(module_, "twain_double"))();
  }

  static int32_t T_CALL page(BitmapHandle* picture, int32_t number, void* context) {
    auto& self = *static_cast<Twain*>(context);
    EXPECT_EQ(number, ++self.pages_);
    if (picture->Flags & T_FLAG_ALLOCATED) self.colors_ = rgb(picture);
    self.record_ = *picture;
    return self.answer_;
  }
  int32_t acquire() {
    pages_ = 0;
    colors_.clear();
    const int32_t status = T_TwainAcquireExt(nullptr, &options_, page, this);
    expect_clean();
    return status;
  }
  // Every rule kept, every step taken down, nothing left.
  void expect_clean() {
    EXPECT_EQ(double_->violations, 0) << double_->log;
    for (int32_t i = 0; i < double_->handle_count; ++i)
      EXPECT_EQ(GlobalFlags(double_->handles[i]), UINT{GMEM_INVALID_HANDLE}) << i;
    EXPECT_EQ(leftovers(), before_);
    EXPECT_FALSE(IsWindow(static_cast<HWND>(double_->window)));
  }
  // The picture as the double has it, by its type.
  Bytes expected() const {
    Bytes all;
    for (int32_t y = 0; y < double_->height; ++y)
      for (int32_t x = 0; x < double_->width; ++x)
        for (uint32_t c = 0; c < 3; ++c) all.push_back(expected(x, y, c));
    return all;
  }
  uint8_t expected(uint32_t x, uint32_t y, uint32_t channel) const {
    const uint32_t v = twain_sample(x, y, double_->type == kRgb ? channel : 0);
    const uint32_t levels = double_->bits < 8 ? (1u << double_->bits) - 1 : 255;
    if (double_->type != kPalette)
      return static_cast<uint8_t>((v * (levels + 1) >> 8) * 255 / levels);
    const uint32_t i = double_->bits < 8 ? v >> (8 - double_->bits) : v;
    const uint32_t entry[] = {i, 255 - i, i / 2};
    if (double_->palette_type == kPaletteGray) return static_cast<uint8_t>(i);
    const uint32_t value = entry[channel];
    return static_cast<uint8_t>(double_->palette_type == kPaletteCmy ? 255 - value : value);
  }

  uintptr_t module_;
  Leftovers before_;
  TwainDouble* double_ = nullptr;
  T_TwainOptions options_ = {};
  int32_t answer_ = T_OK;
  int32_t pages_ = 0;
  Bytes colors_;
  BitmapHandle record_ = {};
};

// One session after the other; what the library wants of them, and what comes of it.
struct Case {
  const char* name;
  std::function<void(TwainDouble&, T_TwainOptions&)> change;
  int32_t status = T_OK;
  int32_t pages = 1;
};
#define CHANGE [](TwainDouble & d [[maybe_unused]], T_TwainOptions & o [[maybe_unused]])

TEST_F(Twain, PicturesAreRightHoweverTheyCome) {
  const Case cases[] = {{"colors", CHANGE{}},
                        {"black and white", CHANGE{d.type = kBlackAndWhite, d.bits = 1;
}
}  // namespace
, {"0 is white", CHANGE{d.type = kBlackAndWhite, d.bits = 1, d.zero_is_white = true;
}  // namespace tavo::test
}
, {"low bit first", CHANGE{d.type = kBlackAndWhite, d.bits = 1, d.low_bit_first = true;
}
}
, {"grey", CHANGE{d.type = kGray, d.bits = 8;
}
}
, {"grey, 0 is white", CHANGE{d.type = kGray, d.bits = 8, d.zero_is_white = true;
}
}
, {"16 greys", CHANGE{d.type = kGray, d.bits = 4;
}
}
, {"long greys", CHANGE{d.type = kGray, d.bits = 16;
}
}
, {"long colors", CHANGE{d.bits = 48;
}
}
, {"palette", CHANGE{d.type = kPalette, d.bits = 8;
}
}
, {"palette, 16 entries", CHANGE{d.type = kPalette, d.bits = 4, d.palette_count = 16;
}
}
, {"palette of inks", CHANGE{d.type = kPalette, d.bits = 8, d.palette_type = kPaletteCmy;
}
}
, {"palette of greys", CHANGE{d.type = kPalette, d.bits = 8, d.palette_type = kPaletteGray;
}
}
, {"planes", CHANGE{d.is_planar = true;
}
}
, {"rows one by one", CHANGE{d.strip_rows = 1;
}
}
, {"no padding, strips as large as the buffer", CHANGE{d.padding = 0, d.strip_rows = 16;
}
}
, {"places all 0", CHANGE{d.places = Places::kZero;
}
}
, {"no places", CHANGE{d.places = Places::kUntold;
}
}
, {"from the bottom up", CHANGE{d.places = Places::kReversed;
}
}
, {"tiles", CHANGE{d.places = Places::kTiles;
}
}
, {"tiles of bits", CHANGE{d.places = Places::kTiles, d.type = kBlackAndWhite, d.bits = 1;
}
}
, {"length not known", CHANGE{d.told_length = -1;
}
}
, {"length not known, and large",
   CHANGE{d.told_length = -1, d.height = 50000, d.strip_rows = 40, d.sizes.preferred = 8192;
}
}
, {"fewer rows than told", CHANGE{d.told_length = 40, d.places = Places::kZero;
}
}
, {"XFERDONE without rows", CHANGE{d.ends_with_nothing = true;
}
}
, {"native", CHANGE{o.Transfer = 1;
}
}
, {"memory refused", CHANGE{d.takes_memory = false;
}
}
, {"memory replaced", CHANGE{d.takes_memory = false, d.refusal = 2;
}
}
, {"ready when enabled", CHANGE{d.ready = Ready::kAtFirstMessage, o.Flags = 1;
}
}
,
}
;
for (const Case& c : cases) {
  SCOPED_TRACE(c.name);
  reset();
  options_ = {};
  options_.Size = sizeof(options_);
  c.change(*double_, options_);
  ASSERT_EQ(acquire(), T_OK) << T_TwainCondition();
  EXPECT_EQ(pages_, 1);
  EXPECT_TRUE(colors_ == expected());
  EXPECT_EQ(record_.XResolution, 300);
}
}

TEST_F(Twain, ContainersAreNotTrusted) {
  for (const Container form :
       {Container::kRight, Container::kNull, Container::kArray, Container::kEnumeration,
        Container::kRange, Container::kOutside, Container::kShort, Container::kText}) {
    reset();
    double_->container = form;
    double_->type = kGray;
    double_->bits = 8;
    double_->zero_is_white = true;
    ASSERT_EQ(acquire(), T_OK);
    const bool is_read =
        form == Container::kRight || form == Container::kEnumeration || form == Container::kRange;
    EXPECT_EQ(colors_ == expected(), is_read) << static_cast<int>(form);
  }
}

TEST_F(Twain, StepsGoUpAndDownOneByOne) {
  ASSERT_EQ(acquire(), T_OK);
  EXPECT_STREQ(double_->log, "MScEvIgzXTesm");
  EXPECT_STREQ(double_->application.manufacturer, "Tavo Technologies Inc.");
  EXPECT_STREQ(double_->application.family, "TAVOKIT");
  EXPECT_EQ(double_->application.groups, 3u);
  struct {
    const char* name;
    Triplet at;
    int32_t nth;
    uint16_t answer;
    int32_t status;
    const char* log;
  } const cases[] = {
      {"manager", kOpenManager, 0, 1, T_ERR_NO_SOURCE, "M"},
      {"source", kOpenSource, 0, 1, T_ERR_NO_SOURCE, "MSm"},
      {"capabilities", kSetCapability, -1, 1, T_OK, "MScEvIgNTesm"},
      {"values", kGetCurrentCapability, -1, 1, T_OK, "MScEvIgzXTesm"},
      {"enabling", kEnableSource, 0, 1, T_ERR_NO_SOURCE, "MScEsm"},
      {"enabling is cancelled", kEnableSource, 0, 3, T_ERR_CANCELLED, "MScEsm"},
      {"messages", kProcessEvent, 0, 1, T_ERR_SOURCE, "MScEvesm"},
      {"description", kGetImageInfo, 0, 1, T_ERR_SOURCE, "MScEvIResm"},
      {"sizes", kGetMemorySizes, 0, 1, T_ERR_SOURCE, "MScEvIgzResm"},
      {"first strip", kTransferMemory, 0, 1, T_ERR_SOURCE, "MScEvIgzXTesm"},
      {"later strip", kTransferMemory, 2, 1, T_ERR_SOURCE, "MScEvIgzXTesm"},
      {"no such answer", kTransferMemory, 2, 99, T_ERR_SOURCE, "MScEvIgzXTesm"},
      {"cancelled", kTransferMemory, 1, 3, T_ERR_CANCELLED, "MScEvIgzXTesm"},
      {"end of the transfer", kEndTransfer, 0, 1, T_ERR_SOURCE, "MScEvIgzXTResm"},
      {"disabling", kDisableSource, 0, 1, T_OK, "MScEvIgzXTesm"},
      {"closing the source", kCloseSource, 0, 1, T_OK, "MScEvIgzXTesm"},
      {"closing the manager", kCloseManager, 0, 1, T_OK, "MScEvIgzXTesm"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    reset();
    double_->faults[0] = {c.at, c.nth, c.answer, 6};
    EXPECT_EQ(acquire(), c.status);
    EXPECT_STREQ(double_->log, c.log);
    const bool is_told = c.answer == 1 && c.status != T_OK;
    EXPECT_EQ(T_TwainCondition(), is_told ? 6 : 0);
    const bool has_come = c.status == T_OK || c.at == kEndTransfer;
    EXPECT_EQ(pages_, has_come ? 1 : 0);
  }
}

TEST_F(Twain, WhatBreaksTheRulesIsNoPicture) {
  const Case cases[] = {{"no width", CHANGE{d.told_width = 0;
}
}
, {"no length", CHANGE{d.told_length = 0;
}
}
, {"negative length", CHANGE{d.told_length = -2;
}
}
, {"huge", CHANGE{d.told_width = d.told_length = 0x7FFFFFFF;
}
}
, {"no such type", CHANGE{d.type = 9;
}
}
, {"no such depth", CHANGE{d.bits = 7;
}
}
, {"compressed", CHANGE{d.is_compressed = true;
}
}
, {"planes of no length", CHANGE{d.is_planar = true, d.told_length = -1;
}
}
, {"more rows than the buffer has", CHANGE{d.more_rows = 100;
}
}
, {"longer rows than the buffer has", CHANGE{d.more_row_bytes = 1 << 30;
}
}
, {"rows shorter than pixels", CHANGE{d.more_row_bytes = -10;
}
}
, {"more bytes than the buffer has", CHANGE{d.more_written = 4096;
}
}
, {"fewer bytes than rows", CHANGE{d.more_written = -100;
}
}
, {"columns that never come", CHANGE{d.told_width = 100;
}
}
, {"never a last strip", CHANGE{d.never_ends = true;
}
}
, {"never a last strip, length not known", CHANGE{d.never_ends = true, d.told_length = -1;
}
}
, {"nothing said of strips", CHANGE{d.says_nothing = true;
}
}
, {"buffers beyond reason", CHANGE{d.sizes.least = 0xFFFFFFF0;
}
}
, {"empty palette", CHANGE{d.type = kPalette, d.bits = 8, d.palette_count = 0;
}
}
, {"palette too long", CHANGE{d.type = kPalette, d.bits = 8, d.palette_count = 257;
}
}
, {"no DIB", CHANGE{o.Transfer = 1, d.dib_bytes = 0;
}
}
, {"cut DIB", CHANGE{o.Transfer = 1, d.dib_bytes = 100;
}
}
, {"memory wanted, and not there", CHANGE{o.Transfer = 3, d.faults[0] = {kTransferMemory};
}
}
,
}
;
for (const Case& c : cases) {
  SCOPED_TRACE(c.name);
  reset();
  options_ = {};
  options_.Size = sizeof(options_);
  c.change(*double_, options_);
  EXPECT_EQ(acquire(), T_ERR_SOURCE);
  EXPECT_EQ(pages_, 0);
}
}

TEST_F(Twain, PagesComeUntilThereAreEnough) { const Case cases[] = {{"all", CHANGE{d.pages = 3; }
, T_OK, 3
}
, {"number not known", CHANGE{d.pages = 3, d.told_count = 0xFFFF;
}
, T_OK, 3
}
, {"at most 2", CHANGE{d.pages = 5, o.Pages = 2;
}
, T_OK, 2
}
, {"closed meanwhile", CHANGE{d.pages = 5, d.closes_after = 2;
}
, T_OK, 2
}
, {"third fails", CHANGE{d.pages = 5, d.faults[0] = {kGetImageInfo, 2};
}
, T_ERR_SOURCE, 2
}
, {"native", CHANGE{d.pages = 2, o.Transfer = 1;
}
, T_OK, 2
}
, {"closed at once", CHANGE{d.ready = Ready::kCloses;
}
, T_ERR_CANCELLED, 0
}
, {"window gone", CHANGE{d.ready = Ready::kDestroysWindow;
}
, T_ERR_CANCELLED, 0
}
,
}
;
for (const Case& c : cases) {
  SCOPED_TRACE(c.name);
  reset();
  options_ = {};
  options_.Size = sizeof(options_);
  c.change(*double_, options_);
  EXPECT_EQ(acquire(), c.status);
  EXPECT_EQ(pages_, c.pages);
}
reset();
double_->pages = 3;
options_ = {};
options_.Size = sizeof(options_);
answer_ = 42;
EXPECT_EQ(acquire(), 42);
EXPECT_EQ(pages_, 1);
EXPECT_STREQ(double_->log, "MScEvIgzXTResm");
}

TEST_F(Twain, TheEndOfTheProgramIsPassedOn) {
  double_->ready = Ready::kQuits;
  EXPECT_EQ(acquire(), T_ERR_CANCELLED);
  MSG message = {};
  EXPECT_TRUE(PeekMessage(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 77u);
}

TEST_F(Twain, WaitingCanBeEnded) {
  double_->ready = Ready::kNever;
  T_SetStatusCallBack([](int32_t percent) T_CALL -> int32_t { return 70 + percent; });
  EXPECT_EQ(acquire(), 70);
  T_SetStatusCallBack(nullptr);
  EXPECT_STREQ(double_->log, "MScEvesm");
}

TEST_F(Twain, FilesGetTheNumberOfTheirPage) {
  double_->pages = 2;
  options_.Transfer = 2;
  options_.FileName = "C:\\scans.d\\page.tif";
  EXPECT_EQ(acquire(), T_OK);
  EXPECT_EQ(pages_, 2);
  EXPECT_STREQ(double_->files[0], "C:\\scans.d\\page.tif");
  EXPECT_STREQ(double_->files[1], "C:\\scans.d\\page2.tif");
  EXPECT_EQ(record_.Width, 21);
  EXPECT_EQ(record_.Height, 19);
  EXPECT_EQ(record_.BitsPerPixel, 24);
  EXPECT_EQ(record_.Flags & T_FLAG_ALLOCATED, 0u);
}

TEST_F(Twain, OptionsReachTheSource) {
  options_.Flags = 3;
  options_.PixelType = 2;
  options_.BitDepth = 8;
  options_.XResolution = 300;
  options_.YResolution = 200;
  options_.Pages = 4;
  options_.Right = options_.Bottom = 1500;
  options_.Brightness = -3;
  std::strcpy(options_.SourceName, "Some Scanner");
  ASSERT_EQ(acquire(), T_OK);
  EXPECT_STREQ(double_->product, "Some Scanner");
  EXPECT_STREQ(double_->log, "MScLcEvIgzXTesm");
  const std::pair<Feature, uint32_t> values[] = {
      {Feature::kTransferCount, 4},   {Feature::kFeederEnabled, 1},
      {Feature::kAutoFeed, 1},        {Feature::kUnits, kInches},
      {Feature::kPixelType, kGray},   {Feature::kBitDepth, 8},
      {Feature::kXResolution, 300},   {Feature::kYResolution, 200},
      {Feature::kBrightness, 0xFFFD}, {Feature::kMechanism, kMechanismMemory}};
  for (const auto& [feature, value] : values)
    EXPECT_EQ(double_->set[static_cast<int>(feature)], value + 1) << static_cast<int>(feature);
}

TEST_F(Twain, ArgumentsAreCheckedBeforeAnythingIsDone) {
  const std::function<void(T_TwainOptions&)> wrong[] = {
      [](auto& o) { o.Size -= 4; },         [](auto& o) { o.Flags = 4; },
      [](auto& o) { o.Transfer = 4; },      [](auto& o) { o.Transfer = 2; },
      [](auto& o) { o.PixelType = -1; },    [](auto& o) { o.XResolution = 40000; },
      [](auto& o) { o.Pages = -1; },        [](auto& o) { o.Right = 100; },
      [](auto& o) { o.Brightness = 1001; }, [](auto& o) { std::memset(o.SourceName, 'x', 36); },
  };
  for (const auto& change : wrong) {
    options_ = {};
    options_.Size = sizeof(options_);
    change(options_);
    EXPECT_EQ(acquire(), T_ERR_ARGUMENT);
  }
  EXPECT_EQ(T_TwainAcquireExt(nullptr, nullptr, nullptr, nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(T_TwainAcquire(nullptr, nullptr), T_ERR_ARGUMENT);
  EXPECT_STREQ(double_->log, "");
}

TEST_F(Twain, OnePictureIsTheCallers) {
  for (const bool is_native : {false, true}) {
    reset();
    double_->pages = 3;
    double_->takes_memory = !is_native;
    Bitmap bitmap;
    ASSERT_EQ(T_TwainAcquire(nullptr, bitmap.get()), T_OK);
    EXPECT_TRUE(rgb(bitmap.get()) == expected());
    EXPECT_EQ(bitmap->XResolution, 300);
    EXPECT_EQ(double_->set[1], 2u);
    EXPECT_STREQ(double_->log, is_native ? "MScEvIgNTResm" : "MScEvIgzXTResm");
  }
  expect_clean();
  reset();
  double_->faults[0] = {kTransferMemory, 3};
  Bitmap bitmap;
  EXPECT_EQ(T_TwainAcquire(nullptr, bitmap.get()), T_ERR_SOURCE);
  EXPECT_EQ(bitmap->Flags & T_FLAG_ALLOCATED, 0u);
  expect_clean();
}

TEST_F(Twain, PicturesAreKeptByTakingTheRecord) {
  BitmapHandle kept = {};
  const auto keep = [](BitmapHandle* picture, int32_t, void* context) T_CALL -> int32_t {
    T_CopyBitmapHandle(static_cast<BitmapHandle*>(context), picture);
    return T_InitBitmap(picture, 1, 1, 24);
  };
  ASSERT_EQ(T_TwainAcquireExt(nullptr, nullptr, keep, &kept), T_OK);
  EXPECT_TRUE(rgb(&kept) == expected());
  T_FreeBitmap(&kept);
  expect_clean();
}

TEST_F(Twain, MemoryThatLacksIsTold) {
  refuse_each([](BitmapHandle* bitmap) { return T_TwainAcquire(nullptr, bitmap); });
}

TEST_F(Twain, TheUserSelects) {
  EXPECT_EQ(T_TwainSelect(nullptr), T_OK);
  EXPECT_STREQ(double_->log, "MUm");
  double_->faults[0] = {kSelectSource, 1, 3};
  EXPECT_EQ(T_TwainSelect(nullptr), T_ERR_CANCELLED);
  double_->faults[0] = {kSelectSource, -1, 1, 3};
  EXPECT_EQ(T_TwainSelect(nullptr), T_ERR_NO_SOURCE);
  EXPECT_EQ(T_TwainCondition(), 3);
  expect_clean();
}

// A manager whose function has a name that nobody knows.
struct TwainOrdinal : Twain {
  TwainOrdinal() : Twain(TWAIN_ORDINAL) {}
};
TEST_F(TwainOrdinal, TheFirstFunctionIsTaken) {
  EXPECT_EQ(acquire(), T_OK);
  EXPECT_EQ(colors_, expected());
}

}  // namespace
}  // namespace tavo::test
