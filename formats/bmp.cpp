#include "formats/bmp.h"

#include <algorithm>
#include <array>

#include "base/byte_source.h"
#include "base/endian.h"
#include "base/limits.h"
#include "core/bitmap.h"
#include "formats/dib_writer.h"
#include "formats/plain_rows.h"
#include "formats/plausible.h"
#include "process/dib_info.h"
#include "process/dib_rows.h"
#include "process/row_delivery.h"

namespace tavo::bmp {

namespace {

using dib::kCoreHeaderSize;
using dib::kInfoHeaderSize;
using process::RowDelivery;

// Offsets in BITMAPFILEHEADER. bfSize, between them, is not looked at: in files of OS/2 programs it
// is the size of the two headers.
constexpr size_t kBfType = 0, kBfOffBits = 10;

constexpr size_t kLargestHeader = kFileHeaderSize + dib::kLargestHeader;

// The file header, and behind it one of two kinds of information header that differ from the fifth
// byte on: sizes of 16 bits in BITMAPCOREHEADER, of 32 in all others.
Status read_headers(io::InputFile& file, Header& header) {
  std::array<uint8_t, kLargestHeader> bytes;
  size_t got = 0;
  TRY(file.read_up_to({bytes.data(), kFileHeaderSize + kCoreHeaderSize}, got));
  if (got < kFileHeaderSize + kCoreHeaderSize) return kBadData;
  if (load_le32(bytes.data() + kFileHeaderSize) != kCoreHeaderSize) {
    // The longer header is read anew, whole.
    TRY(file.seek(0));
    TRY(file.read_up_to(bytes, got));
  }
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  return parse_header({bytes.data(), got}, file_bytes, header);
}

// Red is the third byte of RGBQUAD and RGBTRIPLE alike.
Status read_palette(io::InputFile& file, const Header& header, T_PaletteEntry (&palette)[256]) {
  if (header.dib.table_entries == 0) return kOk;
  std::array<uint8_t, 256 * 4> table;
  TRY(file.seek(header.table_offset()));
  TRY(file.read({table.data(), header.dib.table_bytes()}));
  dib::read_table(header.dib, table.data(), palette);
  return kOk;
}

// In the order of the file. Plain rows whose data end early deliver those that are whole.
Status read_rows(io::InputFile& file, const dib::Header& header, RowDelivery& rows) {
  ByteSource bytes(file);
  TRY(bytes.start());
  if (!dib::RowReader::is_needed(header)) {
    return formats::read_plain_rows(bytes, header.line_bytes, header.height, rows);
  }
  dib::RowReader reader(header, bytes);
  TRY(reader.start());
  for (int32_t y = 0; y < header.height; ++y) {
    const Status status = reader.next(rows.next_row());
    const bool is_there = status.ok() || header.coding != dib::Coding::kNone;
    if (is_there) TRY(rows.commit(1, status.ok() ? 1 : 0));  // of a cut row of runs, what there is
    if (!status.ok()) return rows.finish_early(file.note_damage(status, bytes));
  }
  return rows.finish();
}

}  // namespace

Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header) {
  if (bytes.size() < kFileHeaderSize) return kBadData;
  if (bytes[kBfType] != 'B' || bytes[kBfType + 1] != 'M') return kBadData;
  header.data_offset = load_le32(&bytes[kBfOffBits]);
  dib::Header& dib = header.dib;
  TRY(dib::parse_header(bytes.subspan(kFileHeaderSize), dib));
  TRY(limits::check_picture(dib.width, dib.height));
  // biSizeImage is not looked at: it may be 0 where rows are not coded.
  const bool is_plain = dib.coding == dib::Coding::kNone;
  TRY(formats::check_plausible(is_plain ? formats::Density::kPlain : formats::Density::kRuns,
                               dib.line_bytes, static_cast<uint32_t>(dib.height), file_bytes));
  // An offset inside the headers, 0 above all, means none. One inside the table ends it: programs
  // that write few colours may leave biClrUsed 0, which stands for all.
  const uint32_t table_end = header.table_offset() + dib.table_bytes();
  if (header.data_offset < header.table_offset()) {
    header.data_offset = table_end;
  } else if (header.data_offset < table_end) {
    dib.table_entries = (header.data_offset - header.table_offset()) / dib.entry_bytes;
  }
  return kOk;
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Header header;
  const auto head = input.head.first(std::min(input.head.size(), kLargestHeader));
  TRY(parse_header(head, input.file_size, header));
  process::describe(dib::describe(header.dib),
                    header.dib.is_core() ? T_FORMAT_BMP_OS2 : T_FORMAT_BMP,
                    header.dib.coding == dib::Coding::kNone ? "None" : "Run Length", info);
  return kOk;
}

namespace {

// `asks_upright`: for the top row first, which plain rows can be read in.
Status read_rows_of(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                    void* context, bool asks_upright) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  Header header;
  TRY(read_headers(file, header));
  process::SourcePicture picture = dib::describe(header.dib);
  TRY(read_palette(file, header, picture.palette));
  TRY(file.seek(header.data_offset));
  const bool is_upright =
      asks_upright && picture.view_perspective >= 2 && !dib::RowReader::is_needed(header.dib);
  if (is_upright) picture.view_perspective = 0;

  RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  if (!is_upright) return read_rows(file, header.dib, rows);
  return formats::read_plain_rows_upright(file, header.data_offset, header.dib.line_bytes,
                                          header.dib.height, rows);
}

}  // namespace

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  return read_rows_of(name, bitmap, sink, bits_per_pixel, context, false);
}

Status read_upright(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                    void* context) {
  return read_rows_of(name, bitmap, sink, bits_per_pixel, context, true);
}

namespace {

uint32_t headers_size(int32_t depth, bool is_os2) {
  const size_t fixed = kFileHeaderSize + (is_os2 ? kCoreHeaderSize : kInfoHeaderSize);
  return static_cast<uint32_t>(fixed) + dib::table_entries(depth) * (is_os2 ? 3 : 4);
}

// BITMAPFILEHEADER, then BITMAPINFOHEADER or BITMAPCOREHEADER, then the colour table, which has all
// the colours of the depth. What is left 0: reserved words, BI_RGB, biClrUsed, biClrImportant.
Status write_headers(io::OutputFile& file, const BitmapHandle& bitmap, int32_t depth,
                     uint32_t row_bytes, bool is_os2) {
  const auto info_size = static_cast<uint32_t>(is_os2 ? kCoreHeaderSize : kInfoHeaderSize);
  const uint32_t data_offset = headers_size(depth, is_os2);
  const uint32_t image_size = row_bytes * static_cast<uint32_t>(bitmap.Height);

  std::array<uint8_t, kFileHeaderSize + kInfoHeaderSize> bytes = {'B', 'M'};
  store_le32(&bytes[2], data_offset + image_size);  // bfSize
  store_le32(&bytes[10], data_offset);              // bfOffBits
  if (is_os2) {
    store_le32(&bytes[14], info_size);                             // bcSize
    store_le16(&bytes[18], static_cast<uint16_t>(bitmap.Width));   // bcWidth
    store_le16(&bytes[20], static_cast<uint16_t>(bitmap.Height));  // bcHeight
    store_le16(&bytes[22], 1);                                     // bcPlanes
    store_le16(&bytes[24], static_cast<uint16_t>(depth));          // bcBitCount
  } else {
    dib::store_info_header(bitmap, depth, image_size, 0, &bytes[kFileHeaderSize]);
  }
  TRY(file.write({bytes.data(), kFileHeaderSize + info_size}));
  return dib::write_table(file, bitmap, depth, is_os2 ? 3 : 4);
}

// Files hold the bottom row first: a positive biHeight, which all programs read.
class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this, io::RowOrder::kAny) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    is_os2_ = request.format == T_FORMAT_BMP_OS2;
    if (is_os2_ && !io::has_16_bit_size(picture)) return kBadSize;
    row_bytes_ = core::bytes_per_line(picture.Width, request.depth);
    is_reversed_ = layout.is_top_first;
    return kOk;
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    const auto height = static_cast<uint32_t>(picture.Height);
    reversed_.start(headers_size(request.depth, is_os2_) + uint64_t{row_bytes_} * height);
    TRY(file_.create(request.name));
    return write_headers(file_, picture, request.depth, row_bytes_, is_os2_);
  }

  Status put(std::span<const uint8_t> rows) {
    return is_reversed_ ? reversed_.put(file_, rows, row_bytes_) : file_.write(rows);
  }

  Status finish() { return file_.finish(); }

 private:
  io::OutputFile file_;
  bool is_os2_ = false;
  bool is_reversed_ = false;
  uint32_t row_bytes_ = 0;
  dib::ReversedRows reversed_;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::bmp
