#include "process/paint/picture_rows.h"

#include <algorithm>

#include "core/rows.h"
#include "process/interlace.h"

namespace tavo::process {

Status PictureRows::start(bool skips) {
  skips_ = skips;
  return window_.start(1, RowWindow::kFewRows);
}

// How many rows come before this one.
int64_t PictureRows::delivered(int64_t y) const {
  const int64_t stored = core::stored_row(picture_, static_cast<uint32_t>(y));
  if (!core::has_flag(picture_, T_FLAG_INTERLACED)) return stored;
  return InterlacedRows::number_of(static_cast<uint32_t>(stored),
                                   static_cast<uint32_t>(picture_.Height));
}

bool PictureRows::has(int64_t y) const {
  if (band_.rows == nullptr) return true;
  const int64_t number = delivered(y) - band_.first;
  return number >= 0 && number < band_.count;
}

Status PictureRows::get(int64_t y, const uint8_t*& row) {
  if (band_.rows != nullptr) {
    row = band_.rows + static_cast<size_t>(delivered(y) - band_.first) * picture_.BytesPerLine;
    return kOk;
  }
  const auto wanted = static_cast<uint32_t>(y);
  if (wanted - first_ >= count_) {
    // Those that come next lie below, or above where the picture is shown upside down.
    const uint32_t most = skips_ ? 1 : window_.capacity();
    const bool goes_up = wanted < first_;
    first_ = goes_up ? wanted + 1 - std::min(most, wanted + 1) : wanted;
    count_ = std::min(most, static_cast<uint32_t>(picture_.Height) - first_);
    TRY(window_.read(first_, count_));
  }
  row = window_.row(wanted);
  return kOk;
}

}  // namespace tavo::process
