#include "picture.h"

#include "text.h"

namespace viewer {
namespace {

constexpr int32_t kStopped = 100;  // above every status of the library
constexpr int32_t kQuality = 60;

Outcome outcome_of(int32_t status) {
  return status == T_OK ? Outcome{} : Outcome{false, failure_sentence()};
}

// Where the row that is delivered as the n-th stands: GIF89a, appendix E.
int32_t interlaced_row(int32_t n, int32_t height) {
  constexpr int32_t kPasses[][2] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
  for (const auto& [first, step] : kPasses) {
    const int32_t rows = height > first ? (height - first + step - 1) / step : 0;
    if (n < rows) return first + n * step;
    n -= rows;
  }
  return height - 1;
}

std::wstring format_name(int32_t id) {
  T_Format format;
  for (uint32_t i = 0; T_GetFormat(i, &format) == T_OK; ++i)
    if (format.Id == id) return widen(format.Name);
  return L"?";
}

std::wstring times(int64_t a, int64_t b) {
  return std::to_wstring(a) + L" \u00d7 " + std::to_wstring(b);
}

// BMP's reader tells dots per metre.
int32_t dots_per_inch(const FILEINFO& info, int32_t resolution) {
  const bool is_metric = info.Format == T_FORMAT_BMP || info.Format == T_FORMAT_BMP_OS2;
  return is_metric ? static_cast<int32_t>((int64_t{resolution} * 254 + 5000) / 10000) : resolution;
}

// How to turn for each number of TIFF's Orientation tag (TIFF 6.0, section 8).
int32_t turn_upright(BitmapHandle& bitmap, uint32_t orientation) {
  constexpr int32_t kDegrees[] = {0, 0, 180, 180, 270, 90, 90, 270};
  constexpr bool kMirrored[] = {false, true, false, true, true, false, true, false};
  if (orientation < 2 || orientation > 8) return T_OK;
  const int32_t status = kMirrored[orientation - 1] ? T_ReverseBitmap(&bitmap) : T_OK;
  return status == T_OK ? T_RotateBitmap(&bitmap, kDegrees[orientation - 1]) : status;
}

// The depth to save with: the picture's own or the next deeper one that the format holds.
int32_t depth_for(const T_Format& format, const BitmapHandle& bitmap) {
  const bool is_photographic = format.Id == T_FORMAT_JPEG || format.Id == T_FORMAT_CMP;
  if (is_photographic) return (bitmap.Flags & T_FLAG_GRAY) != 0 ? 8 : 24;
  int32_t deepest = 0;
  for (const int32_t depth : {1, 2, 4, 8, 16, 24, 32}) {
    if ((format.WriteDepths & 1u << depth % 32) == 0) continue;
    deepest = depth;
    if (depth >= bitmap.BitsPerPixel) break;
  }
  return deepest;
}

}  // namespace

void Picture::clear() {
  T_FreeBitmap(&bitmap_);
  bitmap_ = T_EMPTY;
  info_ = {};
  is_there_ = false;
}

// T_LoadFile stores nothing where it has a callback: the rows go to the bitmap here.
void Picture::store(const void* rows, int32_t count) {
  const auto bytes = bitmap_.BytesPerLine;
  if ((bitmap_.Flags & T_FLAG_INTERLACED) == 0) {
    T_PutBitmapRow(&bitmap_, rows, static_cast<uint32_t>(rows_come_),
                   bytes * static_cast<uint32_t>(count));
    return;
  }
  for (int32_t i = 0; i < count; ++i) {
    const int32_t row = interlaced_row(rows_come_ + i, bitmap_.Height);
    T_PutBitmapRow(&bitmap_, static_cast<const char*>(rows) + size_t{bytes} * i,
                   static_cast<uint32_t>(row), bytes);
  }
}

int32_t T_CALL Picture::take_rows(BitmapHandle*, const void* rows, int32_t count, void* context) {
  auto& self = *static_cast<Picture*>(context);
  if (self.rows_come_ == 0) {
    // What never comes shall not show what was in memory before.
    T_ClearBitmap(&self.bitmap_);
    T_AccessBitmap(&self.bitmap_);
  }
  if (count > self.bitmap_.Height - self.rows_come_) count = self.bitmap_.Height - self.rows_come_;
  if (count <= 0) return T_OK;
  self.store(rows, count);
  self.is_stopped_ = !(*self.on_rows_)(self.bitmap_, rows, self.rows_come_, count);
  self.rows_come_ += count;
  return self.is_stopped_ ? kStopped : T_OK;
}

Outcome Picture::load(const std::wstring& path, int32_t page, const Rows& on_rows) {
  clear();
  const std::string name = narrow(path);
  T_SetPageNumber(page);
  if (T_FileInfo(name.c_str(), &info_) != T_OK) return {false, failure_sentence()};
  on_rows_ = &on_rows;
  rows_come_ = 0;
  is_stopped_ = false;
  const int32_t status =
      T_LoadFile(name.c_str(), &bitmap_, 0, -1, T_LOAD_ALLOCATE | T_LOAD_ACCESS, take_rows, this);
  const Outcome outcome = is_stopped_ ? Outcome{false, L"Stopped."} : outcome_of(status);
  bitmap_.Flags &= ~T_FLAG_INTERLACED;  // as it is stored it is not
  is_there_ = rows_come_ > 0;
  if (!is_there_) {
    T_FreeBitmap(&bitmap_);
    bitmap_ = T_EMPTY;
    return outcome;
  }
  bitmap_.XResolution = dots_per_inch(info_, bitmap_.XResolution);
  bitmap_.YResolution = dots_per_inch(info_, bitmap_.YResolution);
  return outcome.is_good ? outcome_of(turn_upright(bitmap_, info_.Orientation)) : outcome;
}

Outcome Picture::save(const std::wstring& path, const T_Format& format) {
  T_SetPageNumber(1);
  return outcome_of(T_SaveFile(narrow(path).c_str(), &bitmap_, format.Id,
                               depth_for(format, bitmap_), kQuality, T_SAVE_KEEP_RESOLUTION, 0, 0));
}

// Puts a picture that did not come from a file in the place of what was shown.
Outcome Picture::take_over(int32_t status, BitmapHandle& made) {
  if (status != T_OK) {
    const Outcome outcome = outcome_of(status);
    T_FreeBitmap(&made);
    return outcome;
  }
  clear();
  T_CopyBitmapHandle(&bitmap_, &made);
  is_there_ = true;
  return {};
}

Outcome Picture::paste(T_Window window) {
  BitmapHandle made = T_EMPTY;
  return take_over(T_CopyFromClipboard(&made, window), made);
}

Outcome Picture::acquire(T_Window window) {
  BitmapHandle made = T_EMPTY;
  return take_over(T_TwainAcquire(window, &made), made);
}

Outcome Picture::change(const std::function<int32_t(BitmapHandle&)>& function) {
  return outcome_of(function(bitmap_));
}

std::wstring Picture::description() const {
  std::wstring text = times(bitmap_.Width, bitmap_.Height) + L" pixels, " +
                      std::to_wstring(bitmap_.BitsPerPixel) +
                      (bitmap_.BitsPerPixel == 1 ? L" bit" : L" bits");
  if (bitmap_.XResolution > 0 && bitmap_.YResolution > 0)
    text += L", " + times(bitmap_.XResolution, bitmap_.YResolution) + L" dpi";
  if (info_.Format == 0) return text;
  text = format_name(info_.Format) + L", " + widen(info_.Compression) + L", " + text;
  if (info_.PageCount > 1)
    text += L", page " + std::to_wstring(info_.Page) + L" of " + std::to_wstring(info_.PageCount);
  return text + L", " + std::to_wstring((info_.FileSize + 1023u) / 1024u) + L" KB";
}

}  // namespace viewer
