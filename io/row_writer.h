// What writes pictures in a format: begun with a description, given the rows, finished.
#pragma once

#include <cstdint>
#include <span>

#include "base/function_ref.h"
#include "base/status.h"
#include "io/output_file.h"
#include "tavo45.h"

namespace tavo::io {

// What a save asks of a writer.
struct SaveRequest {
  const char* name = nullptr;
  int32_t format = 0;  // identifier: writers with variants look at it
  int32_t depth = 0;   // one that the format holds
  int32_t quality = 0;
  Target target = Target::kReplace;  // kExtend: add a page to the file
};

// The order in which a writer takes the rows of a picture.
enum class RowOrder {
  kTopFirst,
  kAsStored,  // either way: the file says which
  kAny,       // either way: rows from the top are put in their places, which takes seeking
};

// How rows come.
struct RowLayout {
  int32_t bits = 0;                         // the depth asked, if the writer does not say otherwise
  size_t row_bytes = 0;                     // from row to row; 0: rounded up to a multiple of 4
  uint32_t order = T_ORDER_BGR;             // of colours above 8 bits
  const T_PaletteEntry* palette = nullptr;  // what rows of another depth are brought to
  bool inverts = false;                     // 1 bit: 0 and 1 change places
  bool is_top_first = true;                 // the writer is told
};

// Whether two fields of 16 bits hold the picture's size.
inline bool has_16_bit_size(const BitmapHandle& picture) {
  return picture.Width <= UINT16_MAX && picture.Height <= UINT16_MAX;
}

// The base of a class with these members, which passes `this` to the constructor. `picture`
// describes what comes; it has no storage that a writer could look at.
//
//   Status prepare(const SaveRequest& request, const BitmapHandle& picture, RowLayout& layout);
// Refuses what cannot be written, and says how the rows are wanted. There is no file before this
// and all memory for rows have been had.
//
//   Status begin(const SaveRequest& request, const BitmapHandle& picture);
// Creates the file and writes all that precedes the pixels.
//
//   Status put_row(std::span<const uint8_t> row);
// The next row: row_bytes of the layout, unused bits and bytes zero. Or, for a writer that
// wants several rows at once where there are several, one behind the other:
//   Status put(std::span<const uint8_t> rows);
//
//   Status finish();
// After the last row: writes what follows the pixels and closes the file. When this is not called,
// the destructor leaves the file as it is.
class RowWriter {
 public:
  RowWriter(const RowWriter&) = delete;
  RowWriter& operator=(const RowWriter&) = delete;

  RowOrder order() const { return order_; }
  Status prepare(const SaveRequest& request, const BitmapHandle& picture, RowLayout& layout) {
    return calls_.prepare(*this, request, picture, layout);
  }
  Status begin(const SaveRequest& request, const BitmapHandle& picture) {
    return calls_.begin(*this, request, picture);
  }
  // One row or more, of `row_bytes` each.
  Status put_rows(std::span<const uint8_t> rows, size_t row_bytes) {
    return calls_.put_rows(*this, rows, row_bytes);
  }
  Status finish() { return calls_.finish(*this); }

 protected:
  // (Virtual functions would need a C++ runtime library.)
  template <class Writer>
  explicit RowWriter(Writer*, RowOrder order = RowOrder::kTopFirst)
      : calls_(kCallsOf<Writer>), order_(order) {}
  ~RowWriter() = default;

 private:
  struct Calls {
    Status (*prepare)(RowWriter&, const SaveRequest&, const BitmapHandle&, RowLayout&);
    Status (*begin)(RowWriter&, const SaveRequest&, const BitmapHandle&);
    Status (*put_rows)(RowWriter&, std::span<const uint8_t>, size_t);
    Status (*finish)(RowWriter&);
  };

  template <class Writer>
  static Status put_each(Writer& writer, std::span<const uint8_t> rows, size_t row_bytes) {
    if constexpr (requires { writer.put(rows); }) {
      return writer.put(rows);
    } else {
      for (; !rows.empty(); rows = rows.subspan(row_bytes)) {
        TRY(writer.put_row(rows.first(row_bytes)));
      }
      return kOk;
    }
  }

  template <class Writer>
  static constexpr Calls kCallsOf = {
      [](RowWriter& self, const SaveRequest& request, const BitmapHandle& picture,
         RowLayout& layout) {
        return static_cast<Writer&>(self).prepare(request, picture, layout);
      },
      [](RowWriter& self, const SaveRequest& request, const BitmapHandle& picture) {
        return static_cast<Writer&>(self).begin(request, picture);
      },
      [](RowWriter& self, std::span<const uint8_t> rows, size_t row_bytes) {
        return put_each(static_cast<Writer&>(self), rows, row_bytes);
      },
      [](RowWriter& self) { return static_cast<Writer&>(self).finish(); }};

  const Calls& calls_;
  RowOrder order_;
};

// What is done with a writer while there is one.
using WriterUse = FunctionRef<Status(RowWriter&)>;

// A format's writers: makes one, calls `use` with it, and returns what that returned.
using Writer = Status (*)(WriterUse use);

}  // namespace tavo::io
