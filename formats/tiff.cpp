#include "formats/tiff.h"

#include <algorithm>

#include "base/settings.h"
#include "formats/tiff_directory.h"
#include "formats/tiff_image.h"
#include "formats/tiff_jpeg.h"
#include "formats/tiff_pixels.h"
#include "formats/tiff_rows.h"
#include "process/row_delivery.h"

namespace tavo::tiff {

namespace {

using process::RowDelivery;

// All rows are there, as far as the data were sound.
Status finish(RowDelivery& rows, Status outcome) {
  return outcome.ok() ? rows.finish() : rows.finish_early(outcome);
}

// Rows that are stored as bitmaps hold them: read in place.
Status read_direct(StoredRows& stored, const PixelConverter& pixels, const Image& image,
                   RowDelivery& rows) {
  const auto row_bytes = static_cast<size_t>(image.row_bytes(image.width));
  for (uint32_t y = 0; y < image.height; ++y) {
    const std::span<uint8_t> row = rows.next_row().first(row_bytes);
    const Status status = stored.next(row);
    if (!status.ok()) return rows.finish_early(status);
    if (stored.row(0).data() != row.data()) std::ranges::copy(stored.row(0), row.begin());
    if (!stored.is_lost()) pixels.finish_row(row);
    TRY(rows.commit(1, stored.outcome().ok() ? 1 : 0));
  }
  return finish(rows, stored.outcome());
}

// All others. `line`: of the rows that a unit of subsampled YCbCr has (6.0, section 21).
Status read_converted(StoredRows& stored, PixelConverter& pixels, const Image& image,
                      RowDelivery& rows) {
  for (uint32_t y = 0; y < image.height; ++y) {
    const uint32_t line = y % image.unit_height;
    const Status status = line == 0 ? stored.next() : kOk;
    if (!status.ok()) return rows.finish_early(status);
    const std::span<uint8_t> row = rows.next_row();
    if (stored.is_lost()) {
      std::ranges::fill(row, uint8_t{0});
    } else {
      pixels.convert(stored, line, row.data());
    }
    TRY(rows.commit(1, stored.outcome().ok() ? 1 : 0));
  }
  return finish(rows, stored.outcome());
}

// Damaged streams deliver what can be decoded, and the picture's status comes at the end. Grey of
// which white is zero is inverted like that of all codings.
Status read_jpeg(const Directory& directory, const Image& image, RowDelivery& rows) {
  JpegRows stored(directory, image);
  TRY(stored.start());
  for (uint32_t y = 0; y < image.height; ++y) {
    const std::span<uint8_t> row = rows.next_row();
    const Status status = stored.next(row);
    if (!status.ok()) return rows.finish_early(status);
    if (image.photometric == kWhiteIsZero) {
      for (uint8_t& byte : row) byte = static_cast<uint8_t>(~byte);
    }
    TRY(rows.commit(1, stored.outcome().ok() ? 1 : 0));
  }
  return finish(rows, stored.outcome());
}

Status describe_file(const io::ProbeInput& input, bool needs_support, FILEINFO& info) {
  Directory directory;
  TRY(directory.open(input.file, settings.page_number));
  Image image;
  TRY(parse_image(directory, image));
  if (needs_support && !image.is_supported) return kSubtype;
  process::describe(image.picture, T_FORMAT_TIFF, compression_text(image.compression), info);
  info.Page = directory.page();
  return directory.count_pages(info.PageCount);
}

}  // namespace

// What read() does not know is told all the same: the file is TIFF and no other format.
Status probe(const io::ProbeInput& input, FILEINFO& info) {
  return describe_file(input, false, info);
}

Status probe_readable(const io::ProbeInput& input, FILEINFO& info) {
  return describe_file(input, true, info);
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  Directory directory;
  TRY(directory.open(file, settings.page_number));
  Image image;
  TRY(parse_image(directory, image));
  if (!image.is_supported) return kSubtype;
  TRY(read_palette(directory, image, image.picture.palette));

  RowDelivery rows(image.picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  if (image.is_jpeg()) return read_jpeg(directory, image, rows);
  StoredRows stored(directory, image);
  TRY(stored.start());
  PixelConverter pixels;
  TRY(pixels.start(directory, image));
  return pixels.is_direct() ? read_direct(stored, pixels, image, rows)
                            : read_converted(stored, pixels, image, rows);
}

}  // namespace tavo::tiff
