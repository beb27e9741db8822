#include "formats/pcd.h"

#include <bit>

#include "base/settings.h"
#include "codec/photocd_planes.h"
#include "formats/pcd_module.h"
#include "formats/pcd_picture.h"
#include "io/file_table.h"
#include "process/row_delivery.h"

namespace tavo::pcd {

namespace {

using process::RowDelivery;

process::SourcePicture describe(uint32_t width, uint32_t height) {
  process::SourcePicture picture;
  picture.width = static_cast<int32_t>(width);
  picture.height = static_cast<int32_t>(height);
  picture.bits = 24;
  picture.order = T_ORDER_RGB;
  picture.storage_kind = T_FORMAT_PCD;
  return picture;
}

process::SourcePicture describe(const Contents& contents) {
  const uint32_t width = photocd::width_of(contents.layout.level);
  const uint32_t height = photocd::height_of(contents.layout.level);
  return contents.quarters % 2 == 0 ? describe(width, height) : describe(height, width);
}

uint32_t wanted_level() { return static_cast<uint32_t>(settings.photocd_level); }
uint32_t wanted_page() { return static_cast<uint32_t>(settings.page_number); }

// A module opens files by their names: those that come from elsewhere are not for it.
bool open_with_module(const char* name, ModulePhoto& photo) {
  return settings.photocd_module && io::reads_system_files() && photo.open(name);
}

Status parse(const io::ProbeInput& input, Contents& contents) {
  PictureFile file(input.file);
  TRY(file.start());
  return file.parse(input.head, wanted_level(), wanted_page(), contents);
}

}  // namespace

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Contents contents;
  const Status status = parse(input, contents);
  // A read that failed is told as such, whatever it made of the header.
  TRY(input.file.failure());
  if (status == kNoMemory) return status;
  ModulePhoto photo;
  const bool is_for_module = open_with_module(input.name, photo);
  if (is_for_module && photo.choose(wanted_level()).ok()) {
    process::describe(describe(photo.width(), photo.height()), T_FORMAT_PCD, "None", info);
    return kOk;
  }
  // What a module takes and then fails with is told by the load.
  if (!status.ok() && is_for_module) contents.layout.level = photocd::kBase;
  if (!status.ok() && !is_for_module) return status;
  process::describe(describe(contents), T_FORMAT_PCD, "None", info);
  info.Page = static_cast<int32_t>(contents.page);
  info.PageCount = static_cast<int32_t>(contents.pages);
  return kOk;
}

namespace {

// How a load gets its rows from the file.
struct Request {
  BitmapHandle& bitmap;
  T_RowSink sink;
  int32_t bits_per_pixel;
  void* context;
  uint32_t eighths;

  // The level for a part of the size that `level` has.
  uint32_t reduced(uint32_t level) const {
    // Halvings: 0 for 8 eighths, 3 for 1.
    const auto steps = static_cast<uint32_t>(3 - std::countr_zero(eighths));
    return level > steps ? level - steps : photocd::kBase16;
  }
};

Status deliver(ModulePhoto& photo, const Request& request) {
  TRY(photo.choose(wanted_level()));
  // Twice: the size that would come otherwise is what the eighths are of.
  if (request.eighths != 8) TRY(photo.choose(request.reduced(photo.level())));
  TRY(photo.start());
  const process::SourcePicture picture = describe(photo.width(), photo.height());
  RowDelivery rows(picture, request.bitmap, request.sink, request.bits_per_pixel, request.context);
  TRY(rows.start());
  for (uint32_t y = 0, count = 0; y < photo.height(); y += count) {
    const std::span<uint8_t> room = rows.next_rows(photo.height() - y, count);
    const Status status = photo.rows(y, count, room.data(), rows.source_line());
    if (!status.ok()) return rows.finish_early(status);
    TRY(rows.commit(count));
  }
  return rows.finish();
}

Status deliver(const photocd::FileBytes& file, const Contents& contents, const Request& request) {
  Picture source;
  TRY(source.start(file, contents));
  const process::SourcePicture picture = describe(contents);
  RowDelivery rows(picture, request.bitmap, request.sink, request.bits_per_pixel, request.context);
  TRY(rows.start());
  for (uint32_t y = 0; y < source.height(); ++y) {
    const Status status = source.row(y, rows.next_row().data());
    if (!status.ok()) return rows.finish_early(status);
    // Kept: rows without their differences are delivered as the level below has them, but not as
    // whole ones, and none behind them.
    TRY(rows.commit(1, source.planes().is_damaged() ? 0 : 1));
  }
  // Damage within a level ends nothing; that its end is missing is told.
  return source.planes().is_short() ? rows.finish_early(kReadError) : rows.finish();
}

}  // namespace

Status read_draft(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                  void* context, uint32_t eighths) {
  io::InputFile input;
  TRY(io::open_for_rows(input, name, bits_per_pixel));
  const Request request = {*bitmap, sink, bits_per_pixel, context, eighths};
  ModulePhoto photo;
  if (open_with_module(name, photo)) return deliver(photo, request);

  PictureFile file(input);
  TRY(file.start());
  Contents contents;
  TRY(file.parse(wanted_level(), wanted_page(), contents));
  if (eighths != 8) {
    TRY(file.parse(request.reduced(contents.layout.level), wanted_page(), contents));
  }
  return deliver(file.bytes(), contents, request);
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  return read_draft(name, bitmap, sink, bits_per_pixel, context, 8);
}

}  // namespace tavo::pcd
