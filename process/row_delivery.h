// From a reader's decoded rows to the row sink: everything that is the same for all formats.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "process/interlace.h"
#include "process/resize_row.h"
#include "process/row_batch.h"
#include "process/row_stages.h"
#include "process/source_picture.h"
#include "tavo45.h"

namespace tavo::process {

// The reader describes its picture, then lends a row from next_row(), fills it in the file's own
// depth and order, and commits it, for every row of the file in file order:
//
//   RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
//   TRY(rows.start());
//   for (...) {
//     TRY(decoder.decode_row(rows.next_row()));
//     TRY(rows.commit());
//   }
//   return rows.finish();
//
// An unallocated `bitmap` becomes a record of the picture, and rows are delivered as they are,
// unless fewer bits are asked. An allocated one says what is wanted: its size, depth and order.
// Rows are resampled, go through the stages and are gathered, each only when the call needs it.
// Rows that stay what they are, but for their order, are decoded into the batch. An interlaced
// picture that is resampled is kept until all of it is there: its rows are delivered in picture
// order then.
class RowDelivery {
 public:
  RowDelivery(const SourcePicture& picture, BitmapHandle& bitmap, T_RowSink sink,
              int32_t bits_per_pixel, void* context)
      : picture_(picture),
        bitmap_(bitmap),
        request_(bits_per_pixel),
        batch_(bitmap, picture.flags, sink, context) {}
  RowDelivery(const RowDelivery&) = delete;
  RowDelivery& operator=(const RowDelivery&) = delete;

  // Sets up the record and takes the row memory. kNoMemory, kBadSize, kNoticeDamaged, or the
  // status callback's answer.
  Status start();

  // Room for one row in the file's depth: its bytes rounded up to a multiple of 4. A decoder may
  // overrun it by kSlack bytes. What it holds is undefined, but its last pixels' padding is zero.
  std::span<uint8_t> next_row() {
    uint32_t count = 0;
    return next_rows(1, count);
  }

  // Room for up to `wanted` rows in a row (1 or more), each source_line() bytes long; `count` says
  // how many.
  std::span<uint8_t> next_rows(uint32_t wanted, uint32_t& count);

  // Delivers the row, or the first `count` of the rows, filled last. Anything but kOk is the sink's
  // or the status callback's answer: the reader stops and returns it.
  Status commit() { return commit(1, 1); }
  Status commit(uint32_t count) { return commit(count, count); }
  // The same where only the first `whole` of them came whole from the file.
  Status commit(uint32_t count, uint32_t whole);

  // Delivers what is gathered and tells that all is done.
  Status finish();

  // Delivers what is gathered, then returns `why` (or the sink's answer when it is not kOk).
  Status finish_early(Status why);

  uint32_t source_line() const { return source_line_; }

  static constexpr uint32_t kSlack = RowBatch::kSlack;

 private:
  int32_t wanted_depth() const;
  Status set_up_record();
  Status start_resampling();
  Status allocate_rows();
  uint8_t* lent_row();
  Status process(uint8_t* row);
  Status run_waiting();
  Status keep(const uint8_t* row);
  Status deliver_kept(uint32_t rows);
  Status deliver_partly_kept();
  Status resample(uint8_t* row, uint32_t number);
  Status emit(uint8_t* row, uint32_t repeats);
  Status emit_blank_rows();

  const SourcePicture& picture_;
  BitmapHandle& bitmap_;
  int32_t request_;
  Stage stage_ = Stage::kPass;
  RowStages stages_;
  RowBatch batch_;
  core::Progress progress_;
  uint32_t source_line_ = 0;  // bytes of a row in the file's depth
  uint32_t committed_ = 0;    // rows of the file

  bool is_direct_ = false;  // the reader gets rows of the batch, otherwise work memory
  Buffer work_;
  uint32_t work_line_ = 0;
  uint32_t work_rows_ = 0;  // more than one when dithering can take several rows at once
  uint32_t waiting_ = 0;    // rows in the work memory that wait for the stages

  bool resizes_ = false;
  Resizer resizer_;
  uint32_t emitted_ = 0;  // rows of the resampled picture
  bool reorders_ = false;
  core::OwnedBitmap kept_;  // the file's rows in picture order, when reorders_
  InterlacedRows next_kept_;
  uint32_t kept_end_ = 0;  // behind the lowest row that is there
};

}  // namespace tavo::process
