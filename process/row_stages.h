// What becomes of decoded rows before a bitmap or a callback gets them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/status.h"
#include "color/convert.h"
#include "core/bitmap.h"
#include "process/row_batch.h"
#include "process/source_picture.h"
#include "tavo45.h"

namespace tavo::process {

enum class Stage {
  kPass,
  kSwap,     // red and blue change places
  kConvert,  // to another depth, indices keeping their values
  kDither,   // to the fixed palette of the wanted depth
  kMap,      // to the nearest colours of that palette
};

// `to_fixed`: pictures of 8 bits or less get the fixed palette in any case.
Stage choose_stage(int32_t bits, int32_t wanted_bits, bool same_order, bool to_fixed);

// Gives `target`, whose geometry, depth and order stand, what else describes the picture once its
// rows have gone through `stage`: perspective, attributes, palette, and what the file says of
// resolution and position.
void describe_target(const SourcePicture& picture, Stage stage, BitmapHandle& target);

// Set up once for a picture, then used for its rows, some of them at a time: the dithering engine
// is several times faster when it sees many.
class RowStages {
 public:
  RowStages() = default;
  ~RowStages();
  RowStages(const RowStages&) = delete;
  RowStages& operator=(const RowStages&) = delete;

  // Rows have the depth, order and palette of `picture` and the width of `target`, which has been
  // described. kNoMemory, or kBadArgument for an unknown depth, order or dithering method.
  Status start(Stage stage, const SourcePicture& picture, const BitmapHandle& target);

  Stage stage() const { return stage_; }
  bool dithers() const { return stage_ == Stage::kDither; }

  // Makes `count` rows, `out_stride` bytes apart, of those at `rows`, which are `stride` apart;
  // padding is zero. Rows that keep their stride may be made in place, unless they are dithered,
  // and keep their padding then. kPass does nothing.
  Status make(const uint8_t* rows, size_t stride, uint8_t* out, size_t out_stride, uint32_t count);

  // The same into a batch.
  Status run(const uint8_t* rows, size_t stride, uint32_t count, RowBatch& batch);

 private:
  Status start_dithering(const SourcePicture& picture, const BitmapHandle& target);

  Stage stage_ = Stage::kPass;
  int32_t width_ = 0;
  int32_t bits_ = 0;   // of the result,
  uint32_t line_ = 0;  // as the bytes of its rows
  color::RowConverter converter_;
  core::OwnedBitmap dithered_;  // describes the rows that the dithering pass gets
};

}  // namespace tavo::process
