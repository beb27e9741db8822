// Where the picture stands in the window: how large, and which part of it shows.
#pragma once

#include <windows.h>

namespace viewer {

class View {
 public:
  void set_client(int width, int height);
  void set_picture(int width, int height);

  // Pixel for pixel, or as large as goes in but not enlarged; stays so for the pictures that come.
  void show_actual();
  void show_whole();
  // Keeps the picture's point that is at `about` where it is.
  void zoom(double factor, POINT about);
  void pan(int x, int y);

  bool is_wider() const { return extent(width_) > client_.cx; }
  bool is_larger() const { return is_wider() || extent(height_) > client_.cy; }
  SIZE client() const { return client_; }
  double scale() const { return scale_; }
  RECT destination() const;

 private:
  int extent(int pixels) const;
  void fit();
  void keep_in_window();

  SIZE client_ = {1, 1};
  int width_ = 1;
  int height_ = 1;
  double scale_ = 1;
  double left_ = 0;
  double top_ = 0;
  bool is_fitted_ = true;
};

}  // namespace viewer
