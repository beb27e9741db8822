#include "formats/pict.h"
#include "base/limits.h"

#include <array>

#include "formats/pict_layout.h"
#include "formats/pict_page.h"
#include "formats/pict_records.h"
#include "formats/plausible.h"
#include "process/row_delivery.h"

namespace tavo::pict {

namespace {

using process::RowDelivery;

Status look(io::InputFile& file, std::span<const uint8_t> head, uint32_t file_bytes,
            uint32_t& offset, Layout& layout) {
  TRY(find_picture(head, offset));
  TRY(survey(file, offset, file_bytes, layout));
  const process::SourcePicture& picture = layout.picture;
  TRY(limits::check_picture(picture.width, picture.height));
  return formats::check_repeating(static_cast<uint32_t>(picture.width),
                                  static_cast<uint32_t>(picture.height), file_bytes);
}

// Calls add(records) for every bitmap. What `layout` says of the end comes back where there is no
// other.
template <class Add>
Status for_each_bitmap(Records& records, Add&& add) {
  TRY(records.start());
  for (;;) {
    TRY(records.next());
    if (records.kind() == Records::Kind::kEnd) return kOk;
    if (records.kind() == Records::Kind::kBitmap) TRY(add(records));
  }
}

// The bitmaps come without their empty destinations.
bool is_seen(const Records& records) { return !records.bitmap().destination.is_empty(); }

Status read_joined(Records& records, const Layout& layout, RowDelivery& rows) {
  Joiner joiner(layout, rows);
  const Status status =
      for_each_bitmap(records, [&](Records& at) { return is_seen(at) ? joiner.add(at) : kOk; });
  TRY(joiner.answer());
  return status.ok() ? rows.finish() : rows.finish_early(status);
}

Status read_page(Records& records, const Layout& layout, RowDelivery& rows) {
  Page page(layout);
  TRY(page.start());
  const Status status =
      for_each_bitmap(records, [&](Records& at) { return is_seen(at) ? page.paint(at) : kOk; });
  if (status == kNoMemory) return status;
  TRY(records.failure());
  const auto height = static_cast<uint32_t>(layout.picture.height);
  TRY(page.deliver(status.ok() ? height : page.painted_rows(), status.ok(), rows));
  return status.ok() ? rows.finish() : rows.finish_early(status);
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

  TRY(file.seek(offset));
  Records records(file, file_bytes);
  RowDelivery rows(layout.picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  return layout.show == Show::kPage ? read_page(records, layout, rows)
                                    : read_joined(records, layout, rows);
}

}  // namespace tavo::pict
