// The rows that are painted: those of a bitmap, or a few that have just been read.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "process/whole_picture.h"
#include "tavo45.h"

namespace tavo::process {

// Rows of a picture that have come together, as it describes them.
struct RowBand {
  const uint8_t* rows = nullptr;
  int64_t first = 0;  // how many came before
  int64_t count = 0;
};

// Numbered from the top of the picture, which no longer changes.
class PictureRows {
 public:
  explicit PictureRows(BitmapHandle& picture)
      : picture_(picture), window_(picture, RowNumbers::kFromTop) {}

  const BitmapHandle& picture() const { return picture_; }

  // Of the bitmap's storage. With `skips` rows are so far apart that reading ahead does not pay.
  Status start(bool skips);
  // Of a band.
  void start(const RowBand& band) { band_ = band; }

  bool has(int64_t y) const;
  // A row that it has; of a disk bitmap, until the next one.
  Status get(int64_t y, const uint8_t*& row);

 private:
  int64_t delivered(int64_t y) const;

  BitmapHandle& picture_;
  RowBand band_;
  RowWindow window_;
  bool skips_ = false;
  uint32_t first_ = 0;  // rows that the window has
  uint32_t count_ = 0;
};

}  // namespace tavo::process
