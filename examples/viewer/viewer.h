// The viewer: its window, the picture in it, and what the user can do.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tavo45.h"

struct Viewer {
  ~Viewer() { T_FreeBitmap(&bitmap); }

  // main.cpp
  void run_command(WORD id);

  // window.cpp
  bool create(HINSTANCE instance, HMENU menu, int show);
  LRESULT handle(UINT message, WPARAM word, LPARAM value);
  void on_size();
  void on_paint();
  void on_drop(HDROP dropped);
  void clear(HDC dc) const;
  void play(int32_t effect);
  // While something moves, quickly: it is painted well when it rests.
  void redraw(bool quickly);
  // Tells how something went; who cancels knows that.
  void report(int32_t status);
  RECT destination() const;
  // The picture's corner there, but without a gap beside a picture that is larger.
  void place(LONG x, LONG y);
  // As large as goes in, but not enlarged; stays so for the pictures that come.
  void fit();
  // Keeps the picture's point that is at `about` where it is.
  void zoom(double new_scale, POINT about);
  void pan(LONG x, LONG y);
  // Where nothing is hidden to the left and the right, another file.
  void pan_or_turn(LONG x);
  POINT middle() const { return {client.cx / 2, client.cy / 2}; }

  // picture.cpp
  // Shows the first of these files; the others come by keys.
  void open(std::vector<std::wstring> names);
  void turn_file(int step);
  void turn_page(int step);
  void load(int32_t page);
  int32_t take_rows(const void* rows, int32_t count);
  void free_picture();
  // From a scanner, or the clipboard.
  void take(bool is_scanned);
  // By a function of the library that works on a bitmap in place.
  template <typename... Arguments>
  void change(int32_t(T_CALL* function)(BitmapHandle*, Arguments...), Arguments... arguments) {
    report(function(&bitmap, arguments...));
  }
  bool has_picture() const { return (bitmap.Flags & T_FLAG_ALLOCATED) != 0; }
  std::wstring file_name() const;  // without folders
  std::wstring description() const;

  // dialogs.cpp
  void open_chosen();
  void save_as();
  void print();

  HWND window = nullptr;
  HWND status_bar = nullptr;
  SIZE client = {1, 1};  // above the status bar
  POINT mouse = {0, 0};
  std::wstring failure;  // a sentence, empty when all is well
  bool is_busy = false;  // with something that lets messages through

  std::vector<std::wstring> files;
  size_t file = 0;
  FILEINFO info = {};
  BitmapHandle bitmap = T_EMPTY;
  int32_t rows_come = 0;  // of a load

  POINT corner = {0, 0};  // of the picture in the window
  double scale = 1;
  bool is_fitted = true;
};

constexpr int32_t kStopped = 100;  // a load by the user; above every status of the library

// The library's words, which are ASCII.
inline std::wstring widen(std::string_view text) { return {text.begin(), text.end()}; }
// A name for the library, in UTF-8.
std::string narrow(const std::wstring& text);
