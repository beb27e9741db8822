#include "formats/wmf.h"

#include <algorithm>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "formats/drawn_page.h"
#include "formats/white_byte.h"
#include "formats/whole_rows.h"
#include "formats/wmf_player.h"
#include "formats/wmf_scan.h"
#include "process/rotate/turn.h"
#include "process/row_delivery.h"

namespace tavo::wmf {

namespace {

using process::RowDelivery;

Status scan_file(io::InputFile& file, Records& records, uint32_t file_bytes, Contents& contents) {
  TRY(records.start(file_bytes));
  TRY(scan(file, records, contents));
  // Only where nothing says a size: it plays all records once more.
  if (contents.has_no_window) TRY(measure(records, contents));
  if (contents.content == Content::kBitmap) return kOk;  // it has been found to be there
  TRY(formats::check_page(contents.width, contents.height, file_bytes));
  // Pages of bitmaps alone keep their pixels, whatever T_SetDrawScale says.
  if (contents.content != Content::kDrawing) return kOk;
  // Resolutions grow with the page, which stays as large in inches.
  const int32_t scale = formats::draw_scale(contents.screen_width, contents.screen_height);
  contents.width = contents.screen_width * scale;
  contents.height = contents.screen_height * scale;
  contents.x_resolution *= scale;
  contents.y_resolution *= scale;
  return kOk;
}

process::SourcePicture describe(const Contents& contents) {
  process::SourcePicture picture;
  if (contents.content == Content::kBitmap) picture = contents.bitmap.describe();
  picture.storage_kind = T_FORMAT_WMF;
  picture.order = T_ORDER_BGR;
  picture.width = contents.width;
  picture.height = contents.height;
  if (contents.content != Content::kBitmap) picture.bits = 24;
  // biXPelsPerMeter means nothing here: how large a bitmap is shown is the box's matter.
  picture.has_resolution = false;
  process::set_resolution(contents.x_resolution, contents.y_resolution, picture);
  return picture;
}

const char* compression_text(const Contents& contents) {
  const bool has_runs =
      contents.content == Content::kBitmap && contents.bitmap.header.coding != dib::Coding::kNone;
  return has_runs ? "Run Length" : "None";
}

// The bitmap, upright. `status` gets why rows are missing, which are white.
Status read_bitmap(Records& records, const Contents& contents, BitmapHandle& whole,
                   Status& status) {
  TRY(records.go_to(contents.record));
  BitmapCall call;
  Bitmap bitmap;
  // Both went well in the scan: only a failing read, or another file, ends here.
  if (!records.next() || !take_call(records, call)) return kReadError;
  ByteSource bytes(records);
  TRY(bytes.start());
  TRY(take_bitmap(bytes, records.left_in_file(), call.form, bitmap));
  const process::SourcePicture picture = bitmap.describe();
  TRY(core::init_bitmap(whole, picture.width, picture.height, picture.bits));
  // Rows go to their places from the top, whichever end the file begins with.
  whole.ViewPerspective = 0;
  TRY(core::allocate_quietly(whole));
  core::access_bitmap(whole);
  BitmapRows rows(bitmap, bytes);
  TRY(rows.start());
  Buffer white;
  TRY(white.allocate(whole.BytesPerLine));
  std::ranges::fill(white.bytes(),
                    formats::white_byte(picture.palette, static_cast<uint32_t>(picture.bits)));
  for (int32_t i = 0; i < picture.height; ++i) {
    if (status.ok()) status = rows.next();
    const auto row = status.ok() ? rows.row() : white.bytes();
    TRY(core::put_row(whole, static_cast<uint32_t>(rows.place(i)), row));
  }
  return records.failure();
}

Status cut_out(const draw::Box& box, BitmapHandle& whole) {
  // The box is within the bitmap: no other is the whole picture (Scanner::take_bitmap_record).
  if (box == draw::Box{0, 0, whole.Width, whole.Height}) return kOk;
  core::OwnedBitmap part;
  TRY(core::copy_bitmap_rect(
      *part, whole, static_cast<uint32_t>(box.left), static_cast<uint32_t>(box.top),
      static_cast<uint32_t>(box.right - box.left), static_cast<uint32_t>(box.bottom - box.top)));
  core::take_place(whole, *part);
  return kOk;
}

Status deliver_bitmap(Records& records, const Contents& contents, RowDelivery& rows) {
  core::OwnedBitmap picture;
  Status status = kOk;
  {
    const core::ProgressPart part(0, 50);
    TRY(read_bitmap(records, contents, *picture, status));
    // Cut before it is turned: the box counts in the bitmap's own rows and columns.
    TRY(cut_out(contents.source, *picture));
    if (contents.is_mirrored) TRY(process::reverse_bitmap(*picture));
    if (contents.is_flipped) TRY(process::flip_bitmap(*picture));
  }
  // Kept: a file that ends behind the bitmap is told as cut, though all of its rows are there.
  if (status.ok() && contents.is_cut) status = kReadError;
  const core::ProgressPart part(50, 100);
  TRY(rows.start());
  return formats::deliver_whole(*picture, status, rows);
}

Status look(const io::ProbeInput& input, Contents& contents, FILEINFO& info) {
  Records records(input.file);
  TRY(scan_file(input.file, records, input.file_size, contents));
  process::describe(describe(contents), T_FORMAT_WMF, compression_text(contents), info);
  return kOk;
}

}  // namespace

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Contents contents;
  return look(input, contents, info);
}

Status probe_readable(const io::ProbeInput& input, FILEINFO& info) {
  Contents contents;
  TRY(look(input, contents, info));
  return contents.content == Content::kNothing ? kSubtype : kOk;
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  Contents contents;
  Records records(file);
  TRY(scan_file(file, records, file_bytes, contents));
  if (contents.content == Content::kNothing) return kSubtype;

  const process::SourcePicture picture = describe(contents);
  RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  if (contents.content == Content::kBitmap) return deliver_bitmap(records, contents, rows);
  // Thin pens and the cells of hatches grow with the page. One of bitmaps alone may be smaller than
  // the screen's.
  const int32_t scale = std::max(contents.width / contents.screen_width, 1);
  return formats::deliver_page(picture, rows, [&](draw::Painter& painter, int32_t factor) {
    return Player(records, painter, scale * factor).play(contents);
  });
}

}  // namespace tavo::wmf
