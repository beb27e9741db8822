#include "formats/gif.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "base/limits.h"
#include "base/settings.h"
#include "color/index_rows.h"
#include "color/palettes.h"
#include "formats/gif_data.h"
#include "formats/gif_frames.h"
#include "formats/plausible.h"
#include "process/row_delivery.h"

namespace tavo::gif {

namespace {

using process::RowDelivery;

// Kept: the size field of the global table decides, even when the image brings a table of its own
// and there is no global one, unless the setting lets the table in force decide.
int32_t depth_of_first(const Header& header) {
  if (!settings.gif_image_depth) return depth_of(2u << (header.screen.packed & 7));
  const uint32_t own = header.image.table.colors;
  return depth_of(own != 0 ? own : header.screen.table.colors);
}

// The first image by itself. The screen's size, background and aspect ratio mean nothing to it, nor
// do its place there and its transparency.
void describe_first(const Header& header, process::SourcePicture& picture) {
  const Image& image = header.image;
  picture.width = static_cast<int32_t>(image.width);
  picture.height = static_cast<int32_t>(image.height);
  picture.bits = depth_of_first(header);
  const ColorTable& table = image.table.colors != 0 ? image.table : header.screen.table;
  picture.colors = table.colors;
  std::memcpy(picture.palette, table.entries, sizeof(picture.palette));
  // Section 11: without any table a decoder takes one of its own. Grey levels, at 8 bits the
  // indices themselves, are what FreeImage and Pillow take; others give up, or show black.
  if (table.colors == 0) {
    color::fill_gray_ramp(std::span(picture.palette).first(size_t{1} << picture.bits));
  }
  picture.storage_kind = T_FORMAT_GIF;
  picture.flags = image.is_interlaced() ? T_FLAG_INTERLACED : 0;  // appendix E
  picture.extras = image.transparent >= 0 ? T_EXTRA_ALPHA : 0;
}

}  // namespace

Status parse_header(ByteSource& bytes, uint64_t file_bytes, Header& header) {
  TRY(read_screen(bytes, header.screen));
  TRY(read_image(bytes, header.image));
  const Image& image = header.image;
  if (image.width == 0 || image.height == 0) return kBadData;
  TRY(limits::check_picture(image.width, image.height));
  return formats::check_plausible(formats::Density::kLzw, image.width, image.height, file_bytes);
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  if (input.head.size() < kScreenSize || std::memcmp(input.head.data(), "GIF", 3) != 0) {
    return kBadData;
  }
  ByteSource bytes(input.file);
  TRY(bytes.start());
  if (settings.gif_frames) {
    Frame frame;
    TRY(find_frame(bytes, input.file_size, settings.page_number, frame));
    process::describe(frame.picture, T_FORMAT_GIF, "LZW", info);
    info.Page = frame.number;
  } else {
    Header header;
    TRY(parse_header(bytes, input.file_size, header));
    process::SourcePicture picture;
    describe_first(header, picture);
    process::describe(picture, T_FORMAT_GIF, "LZW", info);
  }
  info.PageCount = input.counts_pages ? count_images(bytes, info.Page) : info.Page;
  return kOk;
}

namespace {

// Indices that the depth cannot hold lose their high bits.
Status decode_rows(const process::SourcePicture& picture, ImageData& data, RowDelivery& rows) {
  const auto width = static_cast<size_t>(picture.width);
  Buffer line;  // a row as index bytes, zeros behind it
  if (picture.bits < 8) TRY(line.allocate(width + 8));
  const auto padded = line.bytes().first(picture.bits < 8 ? (width + 7) / 8 * 8 : 0);
  for (int32_t y = 0; y < picture.height; ++y) {
    const std::span<uint8_t> row = rows.next_row();
    const std::span<uint8_t> indices =
        picture.bits < 8 ? line.bytes().first(width) : row.first(width);
    size_t got = 0;
    const Status status = data.decode_row(indices, got);
    if (picture.bits < 8) color::pack_indices(picture.bits, padded, row.data());
    if (got > 0) TRY(rows.commit(1, status.ok() ? 1 : 0));  // of a cut row, what there is
    if (!status.ok()) return rows.finish_early(status);
  }
  return rows.finish();
}

}  // namespace

// Past the image that is read all is left unread.
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  ByteSource bytes(file);
  TRY(bytes.start());
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  if (settings.gif_frames) {
    Frame frame;
    TRY(find_frame(bytes, file_bytes, settings.page_number, frame));
    TRY(file.seek(0));
    bytes.reset();
    RowDelivery rows(frame.picture, *bitmap, sink, bits_per_pixel, context);
    return file.note_damage(deliver_frame(bytes, frame, rows), bytes);
  }
  Header header;
  TRY(parse_header(bytes, file_bytes, header));
  ImageData data(bytes);
  TRY(data.allocate());
  TRY(data.start(header.image.minimum_code_size));
  process::SourcePicture picture;
  describe_first(header, picture);
  RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  return file.note_damage(decode_rows(picture, data, rows), bytes);
}

}  // namespace tavo::gif
