#include "display/canvas.h"

#include <algorithm>

#include "core/bitmap.h"
#include "display/status.h"

namespace tavo::display {

Status map_to_device(HDC dc, RECT& rect) {
  if (GetObjectType(dc) == OBJ_METADC) return kOk;
  return LPtoDP(dc, reinterpret_cast<POINT*>(&rect), 2) ? kOk : kDevice;
}

Canvas::~Canvas() {
  if (saved_ != 0) RestoreDC(dc_, saved_);
}

Status Canvas::start() {
  type_ = GetObjectType(dc_);
  saved_ = SaveDC(dc_);
  if (saved_ == 0) return kDevice;
  SetStretchBltMode(dc_, COLORONCOLOR);
  if (type_ == OBJ_METADC) return kOk;
  if (GetGraphicsMode(dc_) == GM_ADVANCED) ModifyWorldTransform(dc_, nullptr, MWT_IDENTITY);
  SetMapMode(dc_, MM_TEXT);
  SetWindowOrgEx(dc_, 0, 0, nullptr);
  SetViewportOrgEx(dc_, 0, 0, nullptr);
  return kOk;
}

process::PixelRect Canvas::visible() const {
  // What a metafile is made for is not what it will be played on.
  if (is_metafile()) return {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX};
  RECT box = {};
  if (GetClipBox(dc_, &box) == ERROR) return {};
  return {box.left, box.top, box.right, box.bottom};
}

void Canvas::describe(int32_t bits, uint32_t colors, UINT usage) {
  info_.header = {};
  info_.header.biSize = sizeof(info_.header);
  info_.header.biPlanes = 1;
  info_.header.biBitCount = static_cast<WORD>(bits);
  info_.header.biCompression = BI_RGB;
  info_.header.biClrUsed = colors;  // metafiles are played wrong without
  usage_ = usage;
}

void Canvas::take_indices(int32_t bits, std::span<const T_PaletteEntry> colors) {
  describe(bits, static_cast<uint32_t>(colors.size()), DIB_RGB_COLORS);
  std::ranges::transform(colors, info_.colors, [](const T_PaletteEntry& color) {
    return RGBQUAD{color.Blue, color.Green, color.Red, 0};
  });
}

void Canvas::take_palette_indices(int32_t bits) {
  describe(bits, 1u << bits, DIB_PAL_COLORS);
  for (WORD i = 0; i < 256; ++i) info_.indices[i] = i;
}

Status Canvas::draw(const CanvasRows& rows, const process::PixelRect& to, DWORD rop) {
  const int32_t width = to.right - to.left, height = to.bottom - to.top;
  // The call that never scales costs half as much; what a metafile keeps of it does not scale
  // either.
  if (rop != SRCCOPY || is_metafile()) return stretch(rows, width, height, to, rop);
  const BITMAPINFO* info = describe_rows(rows, height);
  const int lines =
      SetDIBitsToDevice(dc_, to.left, to.top, static_cast<DWORD>(width), static_cast<DWORD>(height),
                        rows.left, 0, 0, static_cast<UINT>(height), rows.bytes, info, usage_);
  return answer(lines, to);
}

const BITMAPINFO* Canvas::describe_rows(const CanvasRows& rows, int32_t height) {
  info_.header.biWidth = rows.width;
  // Operations on rows from the top may answer with their negative number, which of a single row
  // is what a failure is.
  info_.header.biHeight = rows.is_bottom_up || height == 1 ? height : -height;
  // As much as this says is what metafiles without a device keep.
  info_.header.biSizeImage =
      core::bytes_per_line(rows.width, info_.header.biBitCount) * static_cast<DWORD>(height);
  return reinterpret_cast<const BITMAPINFO*>(&info_);
}

Status Canvas::answer(int lines, const process::PixelRect& to) const {
  if (lines != 0 && lines != static_cast<int>(GDI_ERROR)) return kOk;
  // Where nothing can be seen, nothing may have been drawn.
  const RECT where = {to.left, to.top, to.right, to.bottom};
  return RectVisible(dc_, &where) ? kDevice : kOk;
}

Status Canvas::stretch(const CanvasRows& rows, int32_t width, int32_t height,
                       const process::PixelRect& to, DWORD rop) {
  const BITMAPINFO* info = describe_rows(rows, height);
  const int lines = StretchDIBits(dc_, to.left, to.top, to.right - to.left, to.bottom - to.top,
                                  rows.left, 0, width, height, rows.bytes, info, usage_, rop);
  return answer(lines, to);
}

}  // namespace tavo::display
