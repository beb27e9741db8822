// What the menu and the keys do.
#include "dialogs.h"
#include "resource.h"
#include "tavo45.h"
#include "text.h"
#include "window.h"

namespace viewer {
namespace {

constexpr int kPanStep = 64;
constexpr int32_t kBlock = 24;  // of an effect, in pixels
constexpr int32_t kDelay = 15;  // between its steps, in milliseconds

struct Change {
  int id;
  int32_t (*function)(BitmapHandle& bitmap);
};
constexpr Change kChanges[] = {
    {ID_ROTATE_RIGHT, [](BitmapHandle& bitmap) { return T_RotateBitmap(&bitmap, 90); }},
    {ID_ROTATE_LEFT, [](BitmapHandle& bitmap) { return T_RotateBitmap(&bitmap, 270); }},
    {ID_MIRROR, [](BitmapHandle& bitmap) { return T_ReverseBitmap(&bitmap); }},
    {ID_FLIP, [](BitmapHandle& bitmap) { return T_FlipBitmap(&bitmap); }},
    {ID_INVERT, [](BitmapHandle& bitmap) { return T_InvertBitmap(&bitmap); }},
    {ID_GRAY, [](BitmapHandle& bitmap) { return T_GrayScaleBitmap(&bitmap); }},
    {ID_SHARPEN, [](BitmapHandle& bitmap) { return T_SharpenBitmap(&bitmap, 500); }},
    {ID_EQUALIZE, [](BitmapHandle& bitmap) { return T_HistoEqualizeBitmap(&bitmap); }},
};

// What there is to say of a call; who cancels knows that.
std::wstring sentence_of(int32_t status) {
  return status == T_OK || status == T_ERR_CANCELLED ? L"" : failure_sentence();
}

}  // namespace

void Window::command(int id) {
  if (file_command(id) || !picture_.is_there()) return;
  if (view_command(id) || change_command(id)) return;
  if (id > ID_EFFECT) play(id - ID_EFFECT);
}

bool Window::file_command(int id) {
  switch (id) {
    case ID_OPEN:
      open(ask_files_to_open(window_));
      return true;
    case ID_PASTE:
    case ID_ACQUIRE: {
      const Outcome outcome = id == ID_PASTE ? picture_.paste(window_) : picture_.acquire(window_);
      if (outcome.is_good) files_.clear();
      show_outcome(outcome);
      return true;
    }
    case ID_SELECT_SOURCE:
      failure_ = sentence_of(T_TwainSelect(window_));
      redraw();
      return true;
    case ID_NEXT_PAGE:
    case ID_PREVIOUS_PAGE:
      turn_page(id == ID_NEXT_PAGE ? 1 : -1);
      return true;
    case ID_NEXT_FILE:
    case ID_PREVIOUS_FILE:
      turn_file(id == ID_NEXT_FILE ? 1 : -1);
      return true;
    case ID_EXIT:
      DestroyWindow(window_);
      return true;
    default:
      return false;
  }
}

bool Window::view_command(int id) {
  const POINT middle = {view_.client().cx / 2, view_.client().cy / 2};
  switch (id) {
    case ID_FIT:
      view_.show_whole();
      break;
    case ID_ACTUAL:
      view_.show_actual();
      break;
    case ID_ZOOM_IN:
      view_.zoom(1.25, middle);
      break;
    case ID_ZOOM_OUT:
      view_.zoom(0.8, middle);
      break;
    case ID_PAN_LEFT:
    case ID_PAN_RIGHT:
    case ID_PAN_UP:
    case ID_PAN_DOWN:
      pan(id);
      return true;
    case ID_COPY:
      failure_ = sentence_of(T_CopyToClipboard(&picture_.bitmap(), window_));
      tell();
      return true;
    case ID_SAVE_AS:
      save_as();
      return true;
    case ID_PRINT:
      print();
      return true;
    default:
      return false;
  }
  redraw();
  return true;
}

// Where nothing is to the left or right of what shows, these keys turn to the next file.
void Window::pan(int id) {
  const bool is_sideways = id == ID_PAN_LEFT || id == ID_PAN_RIGHT;
  const bool is_back = id == ID_PAN_LEFT || id == ID_PAN_UP;
  if (is_sideways && !view_.is_wider()) return turn_file(is_back ? -1 : 1);
  const int step = is_back ? kPanStep : -kPanStep;
  view_.pan(is_sideways ? step : 0, is_sideways ? 0 : step);
  redraw(true);
}

bool Window::change_command(int id) {
  for (const Change& change : kChanges) {
    if (change.id != id) continue;
    show_outcome(picture_.change(change.function));
    return true;
  }
  return false;
}

void Window::save_as() {
  const Target target = ask_file_to_save(window_);
  if (target.path.empty()) return;
  failure_ = picture_.save(target.path, target.format).sentence;
  tell();
}

void Window::print() {
  const HDC printer = ask_printer(window_);
  if (printer == nullptr) return;
  const std::string name = files_.empty() ? "Picture" : narrow(last_name(files_[file_]));
  const int32_t status =
      T_PrintBitmapExt(&picture_.bitmap(), printer, nullptr, nullptr, T_PRINT_FIT | T_PRINT_CENTER,
                       SRCCOPY, name.c_str(), nullptr);
  DeleteDC(printer);
  failure_ = sentence_of(status);
  tell();
}

// The picture goes, and comes back by the effect; the canvas has it all the time.
void Window::play(int effect) {
  const RECT clip = {0, 0, view_.client().cx, view_.client().cy};
  const RECT destination = view_.destination();
  const HDC dc = GetDC(window_);
  FillRect(dc, &clip, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  T_EnableFastPaint(0);
  T_PaintEffect(&picture_.bitmap(), dc, nullptr, &destination, &clip, SRCCOPY, effect, kBlock,
                kDelay);
  ReleaseDC(window_, dc);
  InvalidateRect(window_, nullptr, FALSE);
}

}  // namespace viewer
