// One picture: loaded page by page, turned, exchanged with other programs, printed, saved.
#pragma once

#include <functional>
#include <string>

#include "tavo45.h"

namespace viewer {

// What came of a request; the sentence tells why it failed.
struct Outcome {
  bool is_good = true;
  std::wstring sentence;
};

class Picture {
 public:
  // Rows of a load that is running, and how many came before them. False ends the load.
  using Rows =
      std::function<bool(BitmapHandle& bitmap, const void* rows, int32_t first, int32_t count)>;

  Picture() = default;
  ~Picture() { clear(); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  // Of a file that is damaged or cut, the rows that came stay, although the load has failed.
  Outcome load(const std::wstring& path, int32_t page, const Rows& on_rows);
  Outcome save(const std::wstring& path, const T_Format& format);
  Outcome paste(T_Window window);
  Outcome acquire(T_Window window);
  // Any function of the library that works on a bitmap in place.
  Outcome change(const std::function<int32_t(BitmapHandle&)>& function);
  void clear();

  bool is_there() const { return is_there_; }
  bool is_upright() const { return info_.Orientation <= 1; }
  int32_t width() const { return bitmap_.Width; }
  int32_t height() const { return bitmap_.Height; }
  int32_t page() const { return info_.Page; }
  int32_t page_count() const { return info_.PageCount; }
  BitmapHandle& bitmap() { return bitmap_; }
  // Format, coding, size, depth, resolution, pages: what the status bar tells.
  std::wstring description() const;

 private:
  static int32_t T_CALL take_rows(BitmapHandle* bitmap, const void* rows, int32_t count,
                                  void* context);
  void store(const void* rows, int32_t count);
  Outcome take_over(int32_t status, BitmapHandle& made);

  BitmapHandle bitmap_ = T_EMPTY;
  FILEINFO info_ = {};
  bool is_there_ = false;
  bool is_stopped_ = false;
  int32_t rows_come_ = 0;
  const Rows* on_rows_ = nullptr;
};

}  // namespace viewer
