// The clipboard, from this process and from another one.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "core/bitmap.h"
#include "tavo45.h"
#include "tests/format_cases.h"
#include "tests/support.h"
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace tavo::test {
namespace {

constexpr char kTask[] = "TAVO_CLIPBOARD_TASK";
constexpr char kHeld[] = "TavoClipboardHeld", kEnough[] = "TavoClipboardEnough";

class Window {
 public:
  Window()
      : handle_(CreateWindowExA(0, "STATIC", "", 0, 0, 0, 1, 1, HWND_MESSAGE, nullptr, nullptr,
                                nullptr)) {}
  ~Window() { DestroyWindow(handle_); }
  operator HWND() const { return handle_; }

 private:
  HWND handle_;
};

HGLOBAL global_of(const Bytes& bytes) {
  HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_DDESHARE, bytes.size());
  std::memcpy(GlobalLock(block), bytes.data(), bytes.size());
  GlobalUnlock(block);
  return block;
}

void set_only(UINT format, HANDLE data) {
  const Window window;
  ASSERT_TRUE(OpenClipboard(window));
  EmptyClipboard();
  EXPECT_EQ(data == nullptr || SetClipboardData(format, data) != nullptr, true);
  CloseClipboard();
}

Bytes small_dib() { return join({bmp_info(2, 1, 24, 0, 0), {1, 2, 3, 4, 5, 6, 0, 0}}); }

// What the other process does; not a test of its own.
TEST(Clipboard, DISABLED_Other) {
  const std::string task = std::getenv(kTask) != nullptr ? std::getenv(kTask) : "";
  if (task == "read") {
    Bitmap bitmap;
    ASSERT_EQ(T_CopyFromClipboard(bitmap.get(), nullptr), T_OK);
    Bitmap want;
    make_picture(want, 21, 6, 8, 1, 0);
    EXPECT_EQ(bitmap->BitsPerPixel, 8);
    EXPECT_EQ(rgb(bitmap.get()), rgb(want.get()));
    EXPECT_TRUE(IsClipboardFormatAvailable(CF_PALETTE));
    EXPECT_TRUE(IsClipboardFormatAvailable(CF_BITMAP));
  } else if (task == "dib") {
    set_only(CF_DIB, global_of(small_dib()));
  } else if (task == "dibv5") {
    Bytes header = bmp_info(2, 1, 24, 0, 0);
    header.resize(124);
    header[0] = 124;
    set_only(CF_DIBV5, global_of(join({header, {1, 2, 3, 4, 5, 6, 0, 0}})));
  } else if (task == "text") {
    set_only(CF_TEXT, global_of(text("no picture\0")));
  } else if (task == "rubbish") {
    set_only(CF_DIB, global_of(Bytes(333, 0xA5)));
  } else if (task == "cut") {
    set_only(CF_DIB, global_of(part(small_dib(), 0, 44)));
  } else {
    ASSERT_EQ(task, "hold");
    const Window window;
    ASSERT_TRUE(OpenClipboard(window));
    SetEvent(OpenEventA(EVENT_MODIFY_STATE, FALSE, kHeld));
    WaitForSingleObject(OpenEventA(SYNCHRONIZE, FALSE, kEnough), 60000);
    CloseClipboard();
  }
}

class Other {
 public:
  explicit Other(const char* task) {
    SetEnvironmentVariableA(kTask, task);
    char self[MAX_PATH];
    GetModuleFileNameA(nullptr, self, sizeof self);
    std::string line = '"' + std::string(self) +
                       "\" --gtest_filter=Clipboard.DISABLED_Other --gtest_also_run_disabled_tests "
                       "--gtest_brief=1";
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    EXPECT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &start, &process_));
  }
  int finish() {
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, 60000), WAIT_OBJECT_0);
    DWORD code = 1;
    GetExitCodeProcess(process_.hProcess, &code);
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
    return static_cast<int>(code);
  }

 private:
  PROCESS_INFORMATION process_ = {};
};

DWORD gdi_objects() { return GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS); }
DWORD handles() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return count;
}
// Whether anybody can open it now.
bool is_closed() { return OpenClipboard(nullptr) && CloseClipboard(); }

TEST(Clipboard, AnotherProcessSeesWhatIsCopied) {
  Bitmap bitmap;
  make_picture(bitmap, 21, 6, 8, 1, 0);
  ASSERT_EQ(T_CopyToClipboard(bitmap.get(), nullptr), T_OK);
  EXPECT_TRUE(is_closed());
  EXPECT_EQ(Other("read").finish(), 0);
}

TEST(Clipboard, EveryDepthGoesThereAndBack) {
  const Window window;
  for (const int32_t bits : {1, 2, 4, 8, 16, 24, 32}) {
    Bitmap bitmap, back;
    make_picture(bitmap, 13, 4, bits, bits == 8 ? 3 : 1, bits % 3 == 0 ? 0 : 2);
    ASSERT_EQ(T_CopyToClipboard(bitmap.get(), window), T_OK) << bits;
    EXPECT_EQ(GetClipboardOwner(), static_cast<HWND>(window));
    EXPECT_EQ(IsClipboardFormatAvailable(CF_PALETTE) != 0, bits <= 8);
    ASSERT_EQ(T_CopyFromClipboard(back.get(), window), T_OK) << bits;
    EXPECT_EQ(rgb(back.get()), rgb(bitmap.get())) << bits;
  }
}

TEST(Clipboard, WhatAnotherProcessPutsThere) {
  const struct {
    const char* task;
    int32_t want;
  } cases[] = {{"dib", T_OK},
               {"dibv5", T_OK},
               {"text", T_ERR_NO_PICTURE},
               {"rubbish", T_ERR_BAD_DATA},
               {"cut", T_ERR_READ}};
  for (const auto& c : cases) {
    ASSERT_EQ(Other(c.task).finish(), 0) << c.task;
    Bitmap bitmap;
    EXPECT_EQ(T_CopyFromClipboard(bitmap.get(), nullptr), c.want) << c.task;
    EXPECT_EQ(core::has_flag(*bitmap.get(), T_FLAG_ALLOCATED), c.want == T_OK);
    if (c.want == T_OK) {
      EXPECT_EQ(rgb(bitmap.get()), (Bytes{3, 2, 1, 6, 5, 4})) << c.task;
    }
    EXPECT_TRUE(is_closed());
  }
  set_only(0, nullptr);
  Bitmap none;
  EXPECT_EQ(T_CopyFromClipboard(none.get(), nullptr), T_ERR_NO_PICTURE);
}

TEST(Clipboard, DeviceBitmapsCount) {
  const uint8_t one[] = {0xA0, 0};
  set_only(CF_BITMAP, CreateBitmap(3, 1, 1, 1, one));
  Bitmap bitmap;
  ASSERT_EQ(T_CopyFromClipboard(bitmap.get(), nullptr), T_OK);
  EXPECT_EQ(rgb(bitmap.get()), (Bytes{255, 255, 255, 0, 0, 0, 255, 255, 255}));
}

TEST(Clipboard, WhileAnotherHoldsItItIsBusyAndKeepsItsContent) {
  set_only(CF_DIB, global_of(small_dib()));
  HANDLE held = CreateEventA(nullptr, TRUE, FALSE, kHeld);
  HANDLE enough = CreateEventA(nullptr, TRUE, FALSE, kEnough);
  Other other("hold");
  ASSERT_EQ(WaitForSingleObject(held, 60000), WAIT_OBJECT_0);
  Bitmap bitmap, back;
  make_picture(bitmap, 4, 4, 8);
  const DWORD start = GetTickCount();
  EXPECT_EQ(T_CopyToClipboard(bitmap.get(), nullptr), T_ERR_BUSY);
  EXPECT_GE(GetTickCount() - start, 240u);
  EXPECT_EQ(T_CopyFromClipboard(back.get(), nullptr), T_ERR_BUSY);
  SetEvent(enough);
  EXPECT_EQ(other.finish(), 0);
  CloseHandle(held);
  CloseHandle(enough);
  ASSERT_EQ(T_CopyFromClipboard(back.get(), nullptr), T_OK);
  EXPECT_EQ(back->Width, 2);
}

TEST(Clipboard, NothingIsLeftOver) {
  Bitmap bitmap;
  make_picture(bitmap, 5, 5, 8);
  const auto work = [&] {
    Bitmap back;
    EXPECT_EQ(T_CopyToClipboard(bitmap.get(), nullptr), T_OK);
    EXPECT_EQ(T_CopyFromClipboard(back.get(), nullptr), T_OK);
    EXPECT_EQ(T_CopyToClipboard(nullptr, nullptr), T_ERR_ARGUMENT);
    EXPECT_EQ(T_CopyToClipboard(bitmap.get(), reinterpret_cast<HWND>(0x7770)), T_ERR_ARGUMENT);
    EXPECT_EQ(T_CopyFromClipboard(back.get(), reinterpret_cast<HWND>(0x7770)), T_ERR_ARGUMENT);
  };
  work();
  const DWORD objects = gdi_objects(), open = handles();
  for (int i = 0; i < 20; ++i) work();
  EXPECT_LE(gdi_objects(), objects);
  EXPECT_LE(handles(), open);
}

}  // namespace
}  // namespace tavo::test
