#include "formats/tiff_length.h"

#include <algorithm>

#include "base/buffer.h"
#include "formats/plausible.h"
#include "formats/tiff_block.h"
#include "formats/tiff_rows.h"

namespace tavo::tiff {

namespace {

constexpr size_t kSlack = 64;  // what a decoder may write behind a row

// Decodes until the data end, whatever way; the rows of an end-of-page code are none.
Status count_coded(const Directory& directory, const Image& image, uint64_t position, uint64_t size,
                   uint64_t most, uint64_t& rows) {
  uint32_t file_bytes = 0;
  TRY(directory.file().size(file_bytes));
  const uint64_t row_bytes = image.row_bytes(image.width);
  const auto check_size = [&](uint64_t count) {
    return image.is_fax()
               ? formats::check_plausible(formats::Density::kFax, image.width, count, file_bytes)
               : formats::check_plausible(formats::Density::kRuns, row_bytes, count, file_bytes);
  };
  if (row_bytes > INT32_MAX) return kBadData;
  TRY(check_size(1));
  Buffer row;
  BlockDecoder decoder;
  TRY(row.allocate(row_bytes + kSlack));
  TRY(decoder.start(image, directory.order()));
  TRY(decoder.begin(directory.file(), position, size, size));
  const std::span<uint8_t> pixels = row.bytes().first(static_cast<size_t>(row_bytes));
  for (rows = 0; rows < most; ++rows) {
    const Status status = decoder.read_row(pixels);
    if (status == kNoMemory) return status;
    if (!status.ok()) break;
    // End-of-facsimile-block and return-to-control (T.6, T.4) end the page before the data do.
    const uint32_t no_rows = decoder.end_rows();
    if (no_rows > 0) {
      rows = rows + 1 - no_rows;
      return kOk;
    }
    TRY(check_size(rows));
  }
  return directory.file().failure();
}

}  // namespace

// RowsPerStrip is 2^32 - 1 by default (6.0, section 8): a page of one strip. All strips but the
// last are full.
Status count_rows(const Directory& directory, const Image& image, uint32_t& rows) {
  if (image.is_tiled || image.is_jpeg() || !image.is_supported) return kBadData;
  const uint64_t strips = directory.field(Tag::kStripOffsets).count / image.planes();
  uint32_t rows_per_strip = 0;
  TRY(directory.get(Tag::kRowsPerStrip, UINT32_MAX, rows_per_strip));
  uint64_t strip_rows = rows_per_strip;
  if (strip_rows == 0 || strip_rows > INT32_MAX) strip_rows = strips == 1 ? INT32_MAX : 0;
  if (strips == 0 || strip_rows == 0) return kBadData;

  BlockTable blocks(directory, image);
  uint64_t position = 0;
  uint64_t size = 0;
  uint64_t last = 0;
  TRY(blocks.start());
  TRY(blocks.find(strips - 1, position, size));
  // Rows that are not coded are counted by their bytes.
  if (image.compression == kNone) {
    if (!directory.has(Tag::kStripByteCounts)) return kBadData;
    last = size / image.row_bytes(image.width);
  } else {
    TRY(count_coded(directory, image, position, size, strip_rows, last));
  }
  const uint64_t all = (strips - 1) * strip_rows + std::min(last * image.unit_height, strip_rows);
  if (strips > INT32_MAX || all == 0 || all > INT32_MAX) return kBadData;
  rows = static_cast<uint32_t>(all);
  return kOk;
}

}  // namespace tavo::tiff
