// Finished rows, gathered until the sink gets them.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

class RowBatch {
 public:
  // `bitmap` describes the rows to the sink. `flags` are those of the picture that they belong to,
  // as they stand when rows are handed on: sinks of interlaced pictures may answer 2, too.
  RowBatch(BitmapHandle& bitmap, const uint32_t& flags, T_RowSink sink, void* context)
      : bitmap_(bitmap), flags_(flags), sink_(sink), context_(context) {}
  RowBatch(const RowBatch&) = delete;
  RowBatch& operator=(const RowBatch&) = delete;

  // Has the rows gathered where the sink wants them, if it is one of the library's own. What is
  // behind a row there may be overwritten before the next one comes; so the last ones go through
  // the buffer.
  void use_place();

  // Takes the buffer for `rows` rows, or fewer where memory is short. kNoMemory.
  Status allocate(uint32_t rows);

  // Where the next row goes, how many fit from there on (1 or more), and the step that says that
  // `count` of them are there. A full batch is handed on. What is behind a row may be overwritten
  // for kSlack bytes as long as the next one is not there.
  uint8_t* next() { return start_ + size_t{gathered_} * bitmap_.BytesPerLine; }
  uint32_t room() const { return rows_ - gathered_; }
  Status add(uint32_t count);

  // Hands on what is gathered. The sink's answer.
  Status flush();

  // Hands on `count` rows that lie elsewhere, while none are gathered.
  Status hand_on(const uint8_t* rows, uint32_t count);

  // From now on the sink gets single rows.
  void hand_on_singly() { rows_per_call_ = 1; }

  static constexpr uint32_t kSlack = 64;

 private:
  void begin();

  BitmapHandle& bitmap_;
  const uint32_t& flags_;
  T_RowSink sink_;
  void* context_;
  uint32_t rows_per_call_ = UINT32_MAX;

  Buffer buffer_;
  uint32_t buffer_rows_ = 0;
  uint32_t largest_ = 0;      // rows of any batch
  uint8_t* place_ = nullptr;  // the sink's memory for the next `placed_rows_` rows
  uint32_t placed_rows_ = 0;
  uint8_t* start_ = nullptr;  // of the batch in hand, which has rows_ rows
  uint32_t rows_ = 0;
  uint32_t gathered_ = 0;
};

}  // namespace tavo::process
