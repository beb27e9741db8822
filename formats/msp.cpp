#include "formats/msp.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/endian.h"
#include "base/limits.h"
#include "codec/byte_runs.h"
#include "formats/plain_rows.h"
#include "formats/plausible.h"
#include "formats/two_levels.h"
#include "process/row_delivery.h"

namespace tavo::msp {

namespace {

using process::RowDelivery;

// Words of the header, the low byte first: 2 keys, width, height, 4 of aspects, the printer's page
// (2), 2 corrections of the aspect, a checksum, 3 that fill up. The page of the printer and the
// corrections are no business of a bitmap's.
constexpr size_t kKeyAt = 0, kWidthAt = 4, kHeightAt = 6;
constexpr size_t kAspectsAt = 8;  // of the screen's and the printer's pixels: 1 : 1 twice
constexpr size_t kPageAt = 16;
constexpr size_t kChecksumAt = 24;  // the words before, exclusive or

// Both keys as one long, and the letters that they are in the file. Windows 1 wrote version 1,
// Windows 2 version 2.
constexpr uint32_t kVersion1 = 0x4D6E6144;  // "DanM"
constexpr uint32_t kVersion2 = 0x536E694C;  // "LinS"

// Windows' monochrome bitmaps have white as 1, the reverse of MacPaint, GEM and fax.
constexpr formats::ZeroIs kZeroIs = formats::ZeroIs::kBlack;
constexpr uint8_t kWhite = 0xFF;

size_t row_bytes_of(int32_t width) { return (static_cast<size_t>(width) + 7) / 8; }

process::SourcePicture describe(const Header& header) {
  process::SourcePicture picture;
  picture.width = header.width;
  picture.height = header.height;
  picture.storage_kind = T_FORMAT_MSP;
  formats::describe_two_levels(kZeroIs, picture);
  return picture;
}

// A count of 0 begins a run, whose length and value follow; others are so many literals. A row
// that is not coded at all is white, as Pillow has it. Packets never reach into the next row: what
// is too much is dropped, what is missing is white.
void decode_row(std::span<const uint8_t> coded, std::span<uint8_t> row) {
  constexpr size_t kRunBytes = 3;
  while (!coded.empty() && !row.empty()) {
    const bool is_run = coded[0] == 0;
    if (is_run && coded.size() < kRunBytes) break;
    const size_t there = is_run ? coded[1] : std::min<size_t>(coded[0], coded.size() - 1);
    const size_t part = std::min(there, row.size());
    if (is_run) {
      std::memset(row.data(), coded[2], part);
    } else {
      std::memcpy(row.data(), &coded[1], part);
    }
    coded = coded.subspan(is_run ? kRunBytes : 1 + there);
    row = row.subspan(part);
  }
  std::ranges::fill(row, kWhite);
}

// Behind the header a word for each row tells how many coded bytes it has, 65535 at most, and the
// rows follow in the same order without gaps: a wrong word shifts all rows behind it.
Status read_coded_rows(ByteSource& bytes, const Header& header, RowDelivery& rows) {
  Buffer map;
  TRY(map.allocate(size_t{2} * header.height));
  TRY(bytes.read(map.bytes()));
  Buffer coded;
  TRY(coded.allocate(UINT16_MAX));
  const size_t row_bytes = row_bytes_of(header.width);
  for (uint32_t y = 0; y < header.height; ++y) {
    const std::span<uint8_t> one = coded.bytes().first(load_le16(map.data() + 2 * y));
    const Status status = bytes.read(one);
    if (!status.ok()) return rows.finish_early(status);
    decode_row(one, rows.next_row().first(row_bytes));
    TRY(rows.commit());
  }
  return rows.finish();
}

}  // namespace

// Kept: a wrong checksum is no error; the keys alone tell the format. (hopper_bad_checksum.msp of
// Pillow's test pictures has nothing else wrong.)
Status parse_header(std::span<const uint8_t> head, uint32_t file_bytes, Header& header) {
  const uint32_t key = head.size() < 4 ? 0 : load_le32(&head[kKeyAt]);
  if (key != kVersion1 && key != kVersion2) return kBadData;
  if (head.size() < kHeaderSize) return kReadError;
  header = {key == kVersion2, load_le16(&head[kWidthAt]), load_le16(&head[kHeightAt])};
  if (header.width == 0 || header.height == 0) return kBadData;
  TRY(limits::check_picture(header.width, header.height));
  return formats::check_repeating(header.width, header.height, file_bytes);
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Header header;
  TRY(parse_header(input.head, input.file_size, header));
  process::describe(describe(header), T_FORMAT_MSP, header.is_coded ? "Run Length" : "None", info);
  return kOk;
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  ByteSource bytes(file);
  TRY(bytes.start());
  std::array<uint8_t, kHeaderSize> head;
  size_t got = 0;
  TRY(bytes.read_some(head, got));
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  Header header;
  TRY(parse_header({head.data(), got}, file_bytes, header));

  const process::SourcePicture picture = describe(header);
  RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  if (header.is_coded) return read_coded_rows(bytes, header, rows);
  return formats::read_plain_rows(bytes, row_bytes_of(header.width), header.height, rows);
}

namespace {

constexpr size_t kMostInPacket = 255;  // both kinds of packets count by a byte; 0 means a run

// The packets of a row. A run is coded when it ends the row, or pays: from four bytes on, as it
// takes three, and the literals that it parts another count.
struct Packets {
  uint8_t* to;

  void run(uint8_t value, size_t count) {
    for (; count > 0; to += 3) {
      const size_t part = std::min(count, kMostInPacket);
      to[0] = 0;
      to[1] = static_cast<uint8_t>(part);
      to[2] = value;
      count -= part;
    }
  }
  void literals(std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
      const size_t part = std::min(bytes.size(), kMostInPacket);
      *to++ = static_cast<uint8_t>(part);
      std::memcpy(to, bytes.data(), part);
      to += part;
      bytes = bytes.subspan(part);
    }
  }
};

// Literals take a byte for each packet, a run of one byte at the row's end takes three.
constexpr size_t most_coded(size_t row_bytes) { return row_bytes + row_bytes / kMostInPacket + 4; }

class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this) {}

  Status prepare(const io::SaveRequest&, const BitmapHandle& picture, io::RowLayout& layout) {
    if (!io::has_16_bit_size(picture)) return kBadSize;
    layout.row_bytes = row_bytes_of(picture.Width);
    formats::ask_two_levels(kZeroIs, picture, layout);
    // Rows have up to 8192 bytes, so that coded ones always fit a word of the map.
    TRY(map_.allocate(uint64_t{2} * static_cast<uint32_t>(picture.Height)));
    return coded_.allocate(most_coded(layout.row_bytes));
  }

  // The map is written twice: the second time with what it is to say.
  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    TRY(file_.create(request.name));
    std::array<uint8_t, kHeaderSize> head = {};
    store_le32(&head[kKeyAt], kVersion2);
    for (const size_t at : {kWidthAt, kPageAt}) {
      store_le16(&head[at], static_cast<uint16_t>(picture.Width));
      store_le16(&head[at + 2], static_cast<uint16_t>(picture.Height));
    }
    // Square pixels on both devices, and a page as large as the picture, as Pillow writes them.
    for (size_t i = 0; i < 4; ++i) store_le16(&head[kAspectsAt + 2 * i], 1);
    uint16_t checksum = 0;
    for (size_t at = 0; at < kChecksumAt; at += 2) checksum ^= load_le16(&head[at]);
    store_le16(&head[kChecksumAt], checksum);
    TRY(file_.write(head));
    return file_.write(map_.bytes());
  }

  Status put_row(std::span<const uint8_t> row) {
    Packets packets{coded_.data()};
    cut_runs<4>(row, packets);
    const auto size = static_cast<size_t>(packets.to - coded_.data());
    store_le16(map_.data() + 2 * rows_++, static_cast<uint16_t>(size));
    return file_.write(coded_.bytes().first(size));
  }

  Status finish() {
    TRY(file_.seek(kHeaderSize));
    TRY(file_.write(map_.bytes()));
    return file_.finish();
  }

 private:
  io::OutputFile file_;
  Buffer map_;
  Buffer coded_;
  size_t rows_ = 0;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::msp
