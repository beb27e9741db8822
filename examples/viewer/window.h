// The viewer's one window: what it shows, and what the user does to it.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "canvas.h"
#include "picture.h"
#include "view.h"

namespace viewer {

class Window {
 public:
  bool create(HINSTANCE instance, int show);
  // Shows the first of these files; the others come by keys.
  void open(std::vector<std::wstring> files);
  HWND handle() const { return window_; }

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM word, LPARAM value);
  LRESULT handle(UINT message, WPARAM word, LPARAM value);
  void resize();
  void drop(HDROP files);
  void start_drag(POINT at);
  void drag(POINT at);

  void command(int id);
  bool file_command(int id);
  bool view_command(int id);
  bool change_command(int id);
  void pan(int id);
  void turn_page(int step);
  void turn_file(int step);
  void load(int page);
  bool show_rows(BitmapHandle& bitmap, const void* rows, int32_t first, int32_t count);
  bool is_asked_to_stop() const;
  void save_as();
  void print();
  void play(int effect);

  // A new picture, or none, stands in picture_.
  void show_outcome(const Outcome& outcome);
  // The same picture, placed otherwise. Quickly: for now; it is painted well when it rests.
  void redraw(bool quickly = false);
  void tell();

  HWND window_ = nullptr;
  HWND status_ = nullptr;
  Canvas canvas_;
  View view_;
  Picture picture_;
  std::vector<std::wstring> files_;
  size_t file_ = 0;
  std::wstring failure_;
  POINT grip_ = {0, 0};
  DWORD shown_at_ = 0;
  bool is_loading_ = false;
};

}  // namespace viewer
