#include "formats/jpeg.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/endian.h"
#include "base/limits.h"
#include "color/palettes.h"
#include "compress/cmp_layout.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "formats/plausible.h"
#include "io/input_file.h"

namespace tavo::jpeg {
namespace {

// Of a CMP file's stamp, behind its header: all three are bytes of the file, so that nothing
// overflows, whatever they are.
uint32_t stamp_bytes(uint32_t width, uint32_t height, uint32_t bits) {
  const uint32_t palette = bits == 8 ? static_cast<uint32_t>(cmp::kStampPaletteSize) : 0;
  return width * height * (bits / 8) + palette;
}

// The resolution behind the stream of a CMP file (compress/cmp_layout.h); a file that was cut has
// none, which costs no picture.
void read_trailer(io::InputFile& file, Container& container) {
  uint32_t size = 0;
  std::array<uint8_t, cmp::kTrailerSize> bytes;
  if (container.format != T_FORMAT_CMP || !file.size(size).ok() || size < bytes.size()) return;
  if (!file.seek(size - bytes.size()).ok() || !file.read(bytes).ok()) return;
  if (std::memcmp(bytes.data(), cmp::kMagic.data(), cmp::kMagic.size()) != 0) return;
  container.x_resolution = load_le16(&bytes[4]);
  container.y_resolution = load_le16(&bytes[6]);
}

// Dots per inch from a JFIF density (JFIF 1.02, APP0: units, Xdensity, Ydensity), whose unit is 1,
// dots per inch, or 2, dots per centimetre, which are rounded.
// Kept: streams of this library give dots per inch with 0, which otherwise means an aspect ratio.
int32_t to_dpi(const Extras& extras, uint16_t density) {
  if (extras.density_unit == 2) return (density * 254 + 50) / 100;
  return extras.density_unit == 1 || cmp::is_own_comment(extras.comment_text()) ? density : 0;
}

uint32_t extra_bits(const Extras& extras) {
  return (extras.has_exif ? T_EXTRA_EXIF : 0) | (extras.has_xmp ? T_EXTRA_XMP : 0) |
         (extras.has_icc ? T_EXTRA_ICC : 0);
}

}  // namespace

Status parse_container(std::span<const uint8_t> head, Container& container) {
  if (head.size() < 3) return kReadError;
  container = Container();
  // SOI (ISO/IEC 10918-1, B.2.1). Another marker should follow at once; damaged files have other
  // bytes in between, and a frame header behind them all the same.
  if (head[0] == 0xFF && head[1] == marker::kSoi) return kOk;
  // Three bytes are enough to refuse other files, before more of a stream in pieces has come.
  if (!std::equal(head.begin(), head.begin() + 3, cmp::kMagic.begin())) return kBadData;
  if (head.size() < cmp::kHeaderSize) return kReadError;
  if (head[3] != cmp::kMagic[3] || head[4] != 0) return kBadData;
  container.format = T_FORMAT_CMP;
  container.stream_offset = cmp::kHeaderSize;
  container.is_half_height = (head[cmp::kFlagsOffset] & cmp::kHalfHeight) != 0;
  container.is_bottom_up = head[cmp::kOrderOffset] != cmp::kTopFirst;
  container.quality_value = load_le16(&head[cmp::kQualityOffset]);
  container.has_stamp = head[cmp::kStampOffset] == cmp::kHasStamp;
  if (!container.has_stamp) return kOk;
  if (head.size() < cmp::kHeaderSize + cmp::kStampHeaderSize) return kReadError;
  const uint8_t* stamp = head.data() + cmp::kHeaderSize;
  container.stream_offset +=
      static_cast<uint32_t>(cmp::kStampHeaderSize) + stamp_bytes(stamp[0], stamp[1], stamp[2]);
  return kOk;
}

Status read_container(io::InputFile& file, Container& container) {
  std::array<uint8_t, kLargestContainerHead> head;
  size_t got = 0;
  TRY(file.read_up_to(head, got));
  return parse_container(std::span(head).first(got), container);
}

// ---- PictureDecoder ----

Status PictureDecoder::read_header(ByteSource& source, const Container& container, uint32_t lines) {
  container_ = container;
  const Status status = decoder_.read_header(source, {.color = std::nullopt, .lines = lines});
  const Extras& extras = decoder_.extras();
  if (container_.format == T_FORMAT_JPEG) {
    // A plain stream has no header of its own: the comment of this library tells the order of rows.
    container_.is_bottom_up = cmp::is_bottom_first_comment(extras.comment_text());
    container_.x_resolution = to_dpi(extras, extras.x_density);
    container_.y_resolution = to_dpi(extras, extras.y_density);
  }
  return status;
}

// One component is grey (JFIF 1.02: luminance), and so is a picture asked for with 8 bits. A record
// that is not allocated gets the depth that was asked for above that.
process::SourcePicture PictureDecoder::picture(int32_t bits_per_pixel, uint32_t order) const {
  const Frame& frame = decoder_.frame();
  // Of two components the second is nobody's: the first is shown.
  const bool is_gray = frame.count < 3 || bits_per_pixel == 8;
  const auto reduced = [this](uint64_t size) {
    return static_cast<int32_t>((size * eighths_ + 7) / 8);
  };
  process::SourcePicture picture;
  picture.width = reduced(frame.width);
  picture.height = reduced(uint64_t{frame.height} * (container_.is_half_height ? 2 : 1));
  picture.bits = is_gray ? 8 : 24;
  picture.delivered_bits = bits_per_pixel > 8 ? bits_per_pixel : 0;
  picture.order = order;
  picture.view_perspective = container_.is_bottom_up ? 2 : 0;
  picture.storage_kind = container_.format;
  picture.extras = extra_bits(decoder_.extras());
  picture.orientation = decoder_.extras().orientation;
  picture.has_resolution = container_.x_resolution > 0 && container_.y_resolution > 0;
  picture.x_resolution = container_.x_resolution;
  picture.y_resolution = container_.y_resolution;
  if (is_gray) {
    picture.flags = T_FLAG_GRAY;
    picture.colors = 256;
    color::fill_gray_ramp(picture.palette);
  }
  return picture;
}

// Colours come in the order of an allocated record, so that no pixel is swapped afterwards.
Status PictureDecoder::start(BitmapHandle& bitmap, T_RowSink sink, int32_t bits_per_pixel,
                             void* context, int32_t option) {
  const bool is_allocated = core::has_flag(bitmap, T_FLAG_ALLOCATED);
  uint32_t order = option == kOptionRgb ? T_ORDER_RGB : T_ORDER_BGR;
  if (is_allocated && bitmap.BitsPerPixel > 8) order = bitmap.Order;
  picture_ = picture(bits_per_pixel, order);
  rows_.emplace(picture_, bitmap, sink, bits_per_pixel, context);
  TRY(rows_->start());
  // Rows that the delivery lends are gone with commit(), so the one to repeat is kept here.
  if (container_.is_half_height) TRY(row_.allocate(rows_->source_line()));
  const bool is_gray = picture_.bits == 8;
  TRY(decoder_.start(is_gray                ? PixelLayout::kGray8
                     : order == T_ORDER_RGB ? PixelLayout::kRgb24
                                            : PixelLayout::kBgr24,
                     eighths_));
  rows_left_ = decoder_.height();
  return kOk;
}

// Half-height CMP files have every second row; each stands for two.
Status PictureDecoder::deliver_row() {
  uint32_t got = 0;
  const std::span<uint8_t> first = rows_->next_row();
  const std::span<uint8_t> row = container_.is_half_height ? row_.bytes() : first;
  TRY(decoder_.next_rows(row, row.size(), 1, got));
  rows_left_ = got == 0 ? 0 : rows_left_ - 1;
  if (got == 0) return kOk;
  const uint32_t whole = decoder_.outcome().ok() ? 1 : 0;
  if (!container_.is_half_height) return rows_->commit(1, whole);
  // At part of its size the picture may end with half a pair.
  const int repeats = rows_left_ == 0 && picture_.height % 2 != 0 ? 1 : 2;
  for (int i = 0; i < repeats; ++i) {
    std::memcpy(rows_->next_row().data(), row_.data(), row_.size());
    TRY(rows_->commit(1, whole));
  }
  return kOk;
}

// How many of the next `count` rows are whole.
uint32_t PictureDecoder::whole_of(uint32_t count) const {
  const uint32_t row = static_cast<uint32_t>(picture_.height) - rows_left_;
  return std::clamp(decoder_.whole_rows(), row, row + count) - row;
}

// As many rows at once as the delivery has room for. Where damage begins is noted on the way, since
// decoding goes on behind it.
Status PictureDecoder::deliver_all(io::InputFile& file, const ByteSource& source) {
  while (!is_finished()) {
    (void)file.note_damage(decoder_.outcome(), source);
    if (container_.is_half_height) {
      TRY(deliver_row());
      continue;
    }
    uint32_t count = 0;
    uint32_t got = 0;
    const std::span<uint8_t> rows = rows_->next_rows(rows_left_, count);
    TRY(decoder_.next_rows(rows, rows_->source_line(), count, got));
    TRY(rows_->commit(got, whole_of(got)));
    rows_left_ = got == 0 ? 0 : rows_left_ - got;
  }
  return finish();
}

Status PictureDecoder::finish() {
  const Status outcome = decoder_.outcome();
  return outcome.ok() ? rows_->finish() : rows_->finish_early(outcome);
}

// ---- Files ----

namespace {

// What the caller forbids comes before what the file's size makes implausible, as in all readers.
Status check_size(const Frame& frame, uint64_t file_bytes) {
  TRY(limits::check_picture(frame.width, frame.height));
  return formats::check_plausible(formats::Density::kJpeg, frame.width, frame.height, file_bytes);
}

// Reads the header, and once more when the line count is left to the end of the first scan, where a
// DNL segment has it (B.2.5).
Status find_header(PictureDecoder& decoder, io::InputFile& file, ByteSource& source,
                   const Container& container) {
  // Each attempt begins with SOI again; what was read ahead is forgotten.
  const auto go_to_stream = [&] {
    source.reset();
    return file.seek(container.stream_offset);
  };
  TRY(go_to_stream());
  const Status status = decoder.read_header(source, container, 0);
  const Frame& frame = decoder.decoder().frame();
  if (status != kBadData || frame.count == 0 || frame.height != 0) return status;
  TRY(go_to_stream());
  const uint32_t lines = find_line_count(source);
  TRY(source.failure());
  if (lines == 0) return kBadData;  // B.2.2: Y may be 0 only with a DNL segment
  TRY(go_to_stream());
  return decoder.read_header(source, container, lines);
}

}  // namespace

Status read_header(PictureDecoder& decoder, io::InputFile& file, ByteSource& source,
                   const Container& container) {
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  TRY(find_header(decoder, file, source, container));
  return check_size(decoder.decoder().frame(), file_bytes);
}

namespace {

// CMP files begin with a header of their own and JPEG streams with SOI, so the two probes never
// accept the same file.
Status probe_stream(const io::ProbeInput& input, int32_t format, FILEINFO& info) {
  Container container;
  TRY(parse_container(input.head, container));
  if (container.format != format) return kBadData;
  read_trailer(input.file, container);
  ByteSource source(input.file);
  TRY(source.start(4096));  // headers alone are read: small blocks waste least of the file
  PictureDecoder decoder;
  // A picture whose size is known is one, whatever keeps it from being decoded: lossless and
  // hierarchical coding, 12 bits, missing tables.
  const Status status = find_header(decoder, input.file, source, container);
  if (status == kNoMemory) return status;
  const Frame& frame = decoder.decoder().frame();
  if (!status.ok() && (frame.count == 0 || frame.height == 0)) return status;
  TRY(check_size(frame, input.file_size));
  process::describe(decoder.picture(0, T_ORDER_BGR), format, "JPEG", info);
  return kOk;
}

}  // namespace

Status probe_cmp(const io::ProbeInput& input, FILEINFO& info) {
  return probe_stream(input, T_FORMAT_CMP, info);
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  return probe_stream(input, T_FORMAT_JPEG, info);
}

namespace {

struct Wanted {
  int32_t option = kOptionFile;
  uint32_t eighths = 8;
};

Status decode(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
              void* context, const Wanted& wanted) {
  io::InputFile file;
  Container container;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  TRY(read_container(file, container));
  read_trailer(file, container);
  ByteSource source(file);
  TRY(source.start());
  PictureDecoder decoder;
  TRY(read_header(decoder, file, source, container));
  decoder.reduce(wanted.eighths);
  TRY(decoder.start(*bitmap, sink, bits_per_pixel, context, wanted.option));
  return file.note_damage(decoder.deliver_all(file, source), source);
}

}  // namespace

Status decompress(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                  void* context, int32_t option) {
  return decode(name, bitmap, sink, bits_per_pixel, context, {.option = option});
}

Status read_draft(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                  void* context, uint32_t eighths) {
  return decode(name, bitmap, sink, bits_per_pixel, context, {.eighths = eighths});
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  return decompress(name, bitmap, sink, bits_per_pixel, context, kOptionFile);
}

Status read_rgb(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                void* context) {
  return decompress(name, bitmap, sink, bits_per_pixel, context, kOptionRgb);
}

}  // namespace tavo::jpeg
