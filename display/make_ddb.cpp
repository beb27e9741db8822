#include "display/bitmap_dc.h"
#include "display/paint.h"
#include "display/status.h"
#include "process/whole_picture.h"

namespace tavo::display {

namespace {

// The screen's context where the caller has none.
class ReferenceDc {
 public:
  explicit ReferenceDc(HDC given) : given_(given), dc_(given != nullptr ? given : GetDC(nullptr)) {}
  ~ReferenceDc() {
    if (given_ == nullptr) ReleaseDC(nullptr, dc_);
  }
  ReferenceDc(const ReferenceDc&) = delete;
  ReferenceDc& operator=(const ReferenceDc&) = delete;
  HDC get() const { return dc_; }

 private:
  HDC given_;
  HDC dc_;
};

Status paint_whole(BitmapHandle& bitmap, HDC like, HBITMAP ddb) {
  const BitmapDc dc(like, ddb);
  return dc.get() != nullptr ? paint_device(bitmap, dc.get(), {}) : kDevice;
}

}  // namespace

Status convert_to_ddb(BitmapHandle& bitmap, HDC dc, HBITMAP& result) {
  TRY(process::check_bitmap(bitmap));
  const ReferenceDc reference(dc);
  const HBITMAP made = CreateCompatibleBitmap(reference.get(), bitmap.Width, bitmap.Height);
  if (made == nullptr) return kDevice;
  const Status status = paint_whole(bitmap, reference.get(), made);
  if (status.ok()) {
    result = made;
  } else {
    DeleteObject(made);
  }
  return status;
}

}  // namespace tavo::display
