// The picture: from files, the clipboard and scanners.
#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <cmath>
#include <sstream>

#include "viewer.h"

namespace {

// Where the row that is delivered as the n-th stands: GIF89a, appendix E.
int32_t interlaced_row(int32_t n, int32_t height) {
  constexpr int32_t kPasses[][2] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
  for (const auto& [first, step] : kPasses) {
    const int32_t rows = (height - first + step - 1) / step;
    if (n < rows) return first + n * step;
    n -= rows;
  }
  return height - 1;
}

// How to turn for each number of TIFF's Orientation tag (TIFF 6.0, section 8).
int32_t turn_upright(BitmapHandle& bitmap, uint32_t orientation) {
  constexpr int32_t kDegrees[] = {0, 0, 180, 180, 270, 90, 90, 270};
  constexpr bool kMirrored[] = {false, true, false, true, true, false, true, false};
  if (orientation < 2 || orientation > 8) return T_OK;
  const int32_t status = kMirrored[orientation - 1] ? T_ReverseBitmap(&bitmap) : T_OK;
  return status == T_OK ? T_RotateBitmap(&bitmap, kDegrees[orientation - 1]) : status;
}

int32_t T_CALL take_rows(BitmapHandle*, const void* rows, int32_t count, void* context) {
  return static_cast<Viewer*>(context)->take_rows(rows, count);
}

}  // namespace

std::string narrow(const std::wstring& text) {
  std::string bytes(3 * text.size() + 1, '\0');  // a character needs no more
  WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, bytes.data(), static_cast<int>(bytes.size()),
                      nullptr, nullptr);
  return bytes.c_str();
}

void Viewer::open(std::vector<std::wstring> names) {
  if (names.empty()) return;
  files = std::move(names);
  file = 0;
  load(1);
}

void Viewer::turn_page(int step) {
  const int32_t page = info.Page + step;
  if (page >= 1 && page <= info.PageCount) return load(page);
  turn_file(step);
}

void Viewer::turn_file(int step) {
  const size_t next = file + static_cast<size_t>(step);  // before the first: beyond the last
  if (next >= files.size()) return;
  file = next;
  load(1);
}

// Of a file that is damaged or cut, the rows that came stay.
void Viewer::load(int32_t page) {
  SetWindowTextW(window, (L"Loading " + file_name()).c_str());
  free_picture();
  is_busy = true;
  rows_come = 0;
  T_EnableFastPaint(1);
  T_SetPageNumber(page);
  const std::string name = narrow(files[file]);
  int32_t status = T_FileInfo(name.c_str(), &info);
  if (status == T_OK)
    status = T_LoadFile(name.c_str(), &bitmap, 0, -1, T_LOAD_ALLOCATE, ::take_rows, this);
  if (rows_come == 0) T_FreeBitmap(&bitmap);
  bitmap.Flags &= ~T_FLAG_INTERLACED;  // as it is stored it is not
  if (info.Format == T_FORMAT_BMP || info.Format == T_FORMAT_BMP_OS2) {
    // These tell dots per metre.
    bitmap.XResolution = MulDiv(bitmap.XResolution, 254, 10000);
    bitmap.YResolution = MulDiv(bitmap.YResolution, 254, 10000);
  }
  is_busy = false;
  report(status == T_OK ? turn_upright(bitmap, info.Orientation) : status);
}

// T_LoadFile stores nothing where it has a callback: the rows go to the bitmap here, and to the
// window, unless the picture is still to be turned.
int32_t Viewer::take_rows(const void* rows, int32_t count) {
  const int32_t first = rows_come;
  rows_come = std::min(first + count, bitmap.Height);
  const HDC dc = GetDC(window);
  if (first == 0) {
    T_ClearBitmap(&bitmap);  // what never comes shall not show what was in memory before
    T_AccessBitmap(&bitmap);
    place(0, 0);
    clear(dc);
  }
  const RECT place = destination();
  if (info.Orientation <= 1)
    T_PaintBuffer(&bitmap, rows, first, rows_come - first, dc, nullptr, &place, nullptr, SRCCOPY);
  ReleaseDC(window, dc);
  const bool is_interlaced = (bitmap.Flags & T_FLAG_INTERLACED) != 0;
  const auto* row = static_cast<const char*>(rows);
  for (int32_t n = first; n < rows_come; ++n, row += bitmap.BytesPerLine) {
    const int32_t at = is_interlaced ? interlaced_row(n, bitmap.Height) : n;
    T_PutBitmapRow(&bitmap, row, static_cast<uint32_t>(at), bitmap.BytesPerLine);
  }
  // A key, or a press on the frame, ends the load; it is handled afterwards.
  MSG message;
  const BOOL is_asked = PeekMessageW(&message, window, WM_NCLBUTTONDOWN, WM_KEYDOWN, PM_NOREMOVE);
  return is_asked ? kStopped : T_OK;
}

void Viewer::take(bool is_scanned) {
  BitmapHandle made = T_EMPTY;
  is_busy = true;
  const int32_t status =
      is_scanned ? T_TwainAcquire(window, &made) : T_CopyFromClipboard(&made, window);
  is_busy = false;
  if (status == T_OK) {
    free_picture();
    files.clear();
    T_CopyBitmapHandle(&bitmap, &made);
  }
  report(status);
}

void Viewer::free_picture() {
  T_FreeBitmap(&bitmap);
  bitmap = T_EMPTY;
  info = {};
}

std::wstring Viewer::file_name() const {
  return files.empty() ? L"Picture" : PathFindFileNameW(files[file].c_str());
}

std::wstring Viewer::description() const {
  T_Format format = {};
  for (uint32_t i = 0; T_GetFormat(i, &format) == T_OK && format.Id != info.Format;) ++i;
  std::wostringstream text;
  if (info.Format != 0) text << format.Name << L", " << info.Compression << L", ";
  text << bitmap.Width << L" \u00d7 " << bitmap.Height << L" pixels, " << bitmap.BitsPerPixel
       << (bitmap.BitsPerPixel == 1 ? L" bit, " : L" bits, ");
  if (bitmap.XResolution > 0)
    text << bitmap.XResolution << L" \u00d7 " << bitmap.YResolution << L" dpi, ";
  if (info.PageCount > 1) text << L"page " << info.Page << L" of " << info.PageCount << L", ";
  if (info.Format != 0) text << (info.FileSize + 1023ull) / 1024 << L" KB, ";
  text << std::lround(scale * 100) << L" %";
  return text.str();
}
