// Pixels of rows in the opposite order, and of columns as rows.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::process {

// The pixels of a row from the last to the first. `out` is apart from `row` and as long; unused
// bits of its last byte have no meaning.
using MirrorRow = void (*)(const uint8_t* row, uint8_t* out, size_t width);
MirrorRow mirror_row(int32_t bits);
void mirror_triples_plain(const uint8_t* row, uint8_t* out, size_t width);
void mirror_triples_ssse3(const uint8_t* row, uint8_t* out, size_t width);

// Rows and the way from each to the next, which may lead back.
struct RowsIn {
  const uint8_t* first;
  ptrdiff_t stride;
};
struct RowsOut {
  uint8_t* first;
  ptrdiff_t stride;
};

// Row i of `out` becomes column i of `in`, which has `width` columns in `height` rows; both begin
// at whole bytes. Unused bits of last bytes of `out` have no meaning.
using Transpose = void (*)(RowsIn in, RowsOut out, size_t width, size_t height);
Transpose transpose(int32_t bits);

}  // namespace tavo::process
