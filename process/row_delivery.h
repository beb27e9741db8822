// From a reader's decoded rows to the row sink: everything that is the same for all formats.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/settings.h"
#include "base/status.h"
#include "color/convert.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "process/interlace.h"
#include "process/resize.h"
#include "process/row_receiver.h"
#include "process/source_picture.h"
#include "tavo45.h"

namespace tavo::process {

// Rows that a reader gathers before it calls the sink, by the picture's height.
int32_t callback_lines(int32_t height);

// While it lives, readers gather rows by the picture's height, whatever has been set.
class BatchesByHeight {
 public:
  BatchesByHeight() : outer_(settings.callback_lines) { settings.callback_lines = 0; }
  ~BatchesByHeight() { settings.callback_lines = outer_; }
  BatchesByHeight(const BatchesByHeight&) = delete;
  BatchesByHeight& operator=(const BatchesByHeight&) = delete;

 private:
  int32_t outer_;
};

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
// Order of the stages: order swap, resampling, dithering or conversion of the depth, batching;
// each is there only when the call needs it. An interlaced picture that is resampled is kept until
// all of it is there: its rows are delivered in picture order then. Where the sink is one of the
// library's own and wants the rows as they are delivered, they are gathered in its memory.
class RowDelivery {
 public:
  RowDelivery(const SourcePicture& picture, BitmapHandle& bitmap, T_RowSink sink,
              int32_t bits_per_pixel, void* context)
      : picture_(picture),
        bitmap_(bitmap),
        sink_(sink),
        request_(bits_per_pixel),
        context_(context) {}
  ~RowDelivery();
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

  // Delivers the row, or the `count` rows, filled last. Anything but kOk is the sink's or the
  // status callback's answer: the reader stops and returns it.
  Status commit() { return commit(1); }
  Status commit(uint32_t count);

  // Delivers what is gathered and tells that all is done.
  Status finish();

  // Delivers what is gathered, then returns `why` (or the sink's answer when it is not kOk).
  Status finish_early(Status why);

  uint32_t source_line() const { return source_line_; }

  static constexpr uint32_t kSlack = 64;

 private:
  int32_t wanted_depth() const;
  Status set_up_record();
  Status choose_stages();
  Status start_dithering();
  Status start_keeping();
  Status allocate_rows();
  bool has_stages() const { return resizes_ || dithers_ || converts_; }
  void find_place();
  void begin_batch();
  uint8_t* batch_row() { return batch_start_ + size_t{gathered_} * line_; }
  uint8_t* lent_row();
  Status process(uint8_t* row);
  Status keep(const uint8_t* row);
  Status deliver_kept(uint32_t rows);
  Status deliver_partly_kept();
  Status run_stages(uint8_t* row, uint32_t number);
  Status finish_row(uint8_t* row, uint32_t repeats);
  Status emit(const uint8_t* row, uint32_t repeats);
  Status emit_blank_rows();
  Status dither_waiting();
  Status flush();

  const SourcePicture& picture_;
  BitmapHandle& bitmap_;
  T_RowSink sink_;
  int32_t request_;
  void* context_;

  bool swaps_ = false;
  bool resizes_ = false;
  bool dithers_ = false;
  bool converts_ = false;
  bool reorders_ = false;
  color::RowConverter swap_;
  Resizer resizer_;
  core::OwnedBitmap dithered_;  // describes the rows that the dithering pass gets
  color::RowConverter convert_;
  core::OwnedBitmap kept_;  // the file's rows in picture order, when reorders_
  InterlacedRows next_kept_;
  uint32_t kept_end_ = 0;  // behind the lowest row that is there

  uint32_t source_line_ = 0;  // bytes of a row in the file's depth
  uint32_t line_ = 0;         // bytes of a delivered row
  Buffer batch_;              // delivered rows, as far as they do not lie in the sink's memory
  uint8_t* place_ = nullptr;  // the sink's memory for the next `placed_rows_` rows
  uint32_t placed_rows_ = 0;
  Buffer work_;  // rows on their way through the stages
  uint32_t work_line_ = 0;
  uint32_t work_rows_ = 0;  // more than one when dithering can take several rows at once
  uint32_t waiting_ = 0;    // rows in the work memory that wait to be dithered
  uint8_t* batch_start_ = nullptr;
  uint32_t batch_rows_ = 0;     // of the batch in hand
  uint32_t largest_batch_ = 0;  // of any
  uint32_t buffer_rows_ = 0;    // of one in the buffer
  uint32_t gathered_ = 0;
  uint32_t committed_ = 0;  // rows of the file
  uint32_t emitted_ = 0;    // rows of the result, when it has another size
  core::Progress progress_;
};

}  // namespace tavo::process
