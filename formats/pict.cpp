#include "formats/pict.h"

#include <algorithm>
#include <array>

#include "base/limits.h"
#include "formats/drawn_page.h"
#include "formats/pict_joiner.h"
#include "formats/pict_layout.h"
#include "formats/pict_player.h"
#include "formats/pict_records.h"
#include "formats/plausible.h"
#include "process/row_delivery.h"

namespace tavo::pict {

namespace {

using process::RowDelivery;

// For identification and loads alike: finds the picture, goes through its records once, and judges
// the page's size by the file's before anything is made ready for it.
Status look(io::InputFile& file, std::span<const uint8_t> head, uint32_t file_bytes,
            uint32_t& offset, Layout& layout) {
  TRY(find_picture(head, offset));
  TRY(survey(file, offset, file_bytes, layout));
  const process::SourcePicture& picture = layout.picture;
  TRY(limits::check_picture(picture.width, picture.height));
  return formats::check_repeating(static_cast<uint32_t>(picture.width),
                                  static_cast<uint32_t>(picture.height), file_bytes);
}

// Bitmaps that go nowhere were not counted when the layout was decided.
Status join(Records& records, Joiner& joiner) {
  TRY(records.start());
  for (;;) {
    TRY(records.next());
    if (records.kind() == Records::Kind::kEnd) return kOk;
    const bool is_bitmap = records.kind() == Records::Kind::kBitmap;
    if (is_bitmap && !records.bitmap().destination.is_empty()) TRY(joiner.add(records));
  }
}

Status read_joined(Records& records, const Layout& layout, RowDelivery& rows) {
  Joiner joiner(layout, rows);
  TRY(rows.start());
  const Status status = join(records, joiner);
  TRY(joiner.answer());  // the sink's goes before what the records' end has to say
  return status.ok() ? rows.finish() : rows.finish_early(status);
}

// Of a file that ends early the rows down to the lowest bitmap that is there.
Status read_page(Records& records, const Layout& layout, RowDelivery& rows) {
  const process::SourcePicture& picture = layout.picture;
  draw::Canvas canvas;
  TRY(canvas.start(picture.width, picture.height, picture.height, picture.order));
  TRY(rows.start());
  draw::Painter painter(canvas);
  Player player(records, painter, layout, 1);
  const Status status = player.play();
  if (status == kNoMemory) return status;
  TRY(records.failure());
  const int32_t end = status.ok() ? picture.height : player.painted_rows();
  for (int32_t y = 0; y < end; ++y) {
    std::ranges::copy(canvas.row(y), rows.next_row().begin());
    TRY(rows.commit(1, status.ok() ? 1 : 0));
  }
  return status.ok() ? rows.finish() : rows.finish_early(status);
}

// What keeps from reading on ends the records where it stands, and comes behind the page. All of
// them are read again for each band of the page, with a stream and a state of its own.
Status read_drawing(io::InputFile& file, uint32_t offset, uint32_t file_bytes, const Layout& layout,
                    RowDelivery& rows) {
  Status end = kOk;
  const auto draw = [&](draw::Painter& painter, int32_t factor) {
    TRY(file.seek(offset));
    Records records(file, file_bytes);
    end = Player(records, painter, layout, factor).play();
    TRY(records.failure());
    const bool is_fatal = end == kNoMemory || painter.canvas().is_spent();
    return end.ok() || is_fatal ? end : kReadError;
  };
  const Status status = formats::deliver_page(layout.picture, rows, draw);
  return status == kReadError && !end.ok() ? end : status;
}

}  // namespace

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Layout layout;
  uint32_t offset = 0;
  TRY(look(input.file, input.head, input.file_size, offset, layout));
  process::describe(layout.picture, T_FORMAT_PCT, layout.compression, info);
  return kOk;
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  std::array<uint8_t, kFindBytes> head;
  size_t got = 0;
  uint32_t file_bytes = 0, offset = 0;
  TRY(file.read_up_to(head, got));
  TRY(file.size(file_bytes));
  Layout layout;
  TRY(look(file, std::span(head).first(got), file_bytes, offset, layout));
  if (layout.show == Show::kNothing) return kSubtype;

  RowDelivery rows(layout.picture, *bitmap, sink, bits_per_pixel, context);
  if (layout.show == Show::kDrawing) return read_drawing(file, offset, file_bytes, layout, rows);
  TRY(file.seek(offset));
  Records records(file, file_bytes);
  return layout.show == Show::kPage ? read_page(records, layout, rows)
                                    : read_joined(records, layout, rows);
}

}  // namespace tavo::pict
