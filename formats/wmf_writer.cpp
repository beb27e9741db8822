// One bitmap in a placeable metafile.
#include <algorithm>
#include <array>

#include "base/endian.h"
#include "core/bitmap.h"
#include "formats/dib_writer.h"
#include "formats/wmf.h"
#include "formats/wmf_records.h"
#include "process/dib_header.h"
#include "process/dib_info.h"

namespace tavo::wmf {

namespace {

constexpr int32_t kLargestInch = 1440;  // more puzzles programs
constexpr int32_t kUsualResolution = 96;

constexpr uint32_t kPlacementBytes = kHeadBytes + 22;  // of the bitmap's record before the bitmap
constexpr uint32_t kStateBytes = 8 + 10 + 10 + 8;      // of the records before it

// The box of the picture: pixels of the horizontal resolution, or as many times less as fits.
struct Frame {
  int32_t width = 0;
  int32_t height = 0;
  int32_t inch = 0;

  explicit Frame(const BitmapHandle& picture) {
    const bool is_known = picture.XResolution > 0 && picture.YResolution > 0;
    const int64_t x = is_known ? picture.XResolution : kUsualResolution;
    const int64_t y = is_known ? picture.YResolution : kUsualResolution;
    const int64_t tall = (int64_t{picture.Height} * x + y / 2) / y;
    const int64_t longest = std::max<int64_t>({picture.Width, tall, 1});
    // The smaller of two fractions: inch / x.
    int64_t largest = std::min<int64_t>(x, kLargestInch);
    if (longest * largest > int64_t{INT16_MAX} * x) largest = int64_t{INT16_MAX} * x / longest;
    largest = std::max<int64_t>(largest, 1);
    const auto scaled = [&](int64_t length) {
      const int64_t side = (length * largest + x / 2) / x;
      return static_cast<int32_t>(std::clamp<int64_t>(side, 1, INT16_MAX));
    };
    width = scaled(picture.Width);
    height = scaled(tall);
    inch = static_cast<int32_t>(largest);
  }
};

// Words of a record or header one after the other.
class Words {
 public:
  explicit Words(std::span<uint8_t> bytes) : to_(bytes.data()) {}
  Words& word(int64_t value) {
    store_le16(to_, static_cast<uint16_t>(value));
    to_ += 2;
    return *this;
  }
  Words& two(uint32_t value) { return word(value & 0xFFFF).word(value >> 16); }
  Words& record(uint32_t bytes, Function function) { return two(bytes / 2).word(function); }

 private:
  uint8_t* to_;
};

class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this, io::RowOrder::kAny) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    // SrcWidth and SrcHeight have a sign ([MS-WMF] 2.3.1.6).
    if (picture.Width > INT16_MAX || picture.Height > INT16_MAX) return kBadSize;
    row_bytes_ = core::bytes_per_line(picture.Width, request.depth);
    is_reversed_ = layout.is_top_first;
    return kOk;
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    const Frame frame(picture);
    const uint32_t colors = dib::table_entries(request.depth);
    const uint32_t image = row_bytes_ * static_cast<uint32_t>(picture.Height);
    const uint64_t bitmap = uint64_t{kPlacementBytes} + dib::kInfoHeaderSize + 4 * colors + image;
    const uint64_t all = kHeaderBytes + kStateBytes + bitmap + kHeadBytes;
    if (kPlaceableBytes + all > UINT32_MAX) return kBadSize;
    TRY(file_.create(request.name));
    TRY(write_headers(frame, static_cast<uint32_t>(all), static_cast<uint32_t>(bitmap)));
    TRY(write_records(frame, picture, static_cast<uint32_t>(bitmap)));
    std::array<uint8_t, dib::kInfoHeaderSize> header = {};
    dib::store_info_header(picture, request.depth, image, colors, header.data());
    TRY(file_.write(header));
    TRY(dib::write_table(file_, picture, request.depth, 4));
    end_ = kPlaceableBytes + all - kHeadBytes;
    reversed_.start(end_);
    return kOk;
  }

  Status put(std::span<const uint8_t> rows) {
    return is_reversed_ ? reversed_.put(file_, rows, row_bytes_) : file_.write(rows);
  }

  Status finish() {
    std::array<uint8_t, kHeadBytes> last;
    Words(last).record(kHeadBytes, kEof);
    if (is_reversed_) TRY(file_.seek(end_));
    TRY(file_.write(last));
    return file_.finish();
  }

 private:
  Status write_headers(const Frame& frame, uint32_t bytes, uint32_t largest) {
    std::array<uint8_t, kPlaceableBytes + kHeaderBytes> head = {};
    Words(head)
        .two(kPlaceableKey)
        .word(0)             // HWmf
        .word(0)             // BoundingBox: left
        .word(0)             // top
        .word(frame.width)   // right
        .word(frame.height)  // bottom
        .word(frame.inch)
        .two(0);  // Reserved
    // Of the ten words before it ([MS-WMF] 2.3.2.3).
    uint32_t checksum = 0;
    for (size_t at = 0; at < kPlaceableBytes - 2; at += 2) checksum ^= load_le16(&head[at]);
    Words(std::span(head).subspan(kPlaceableBytes - 2))
        .word(checksum)
        .word(1)                 // type: memory, as programs write to disk, too
        .word(kHeaderBytes / 2)  // HeaderSize
        .word(0x0300)            // Version: the one that has device-independent bitmaps
        .two(bytes / 2)          // Size, without the placeable header
        .word(0)                 // objects
        .two(largest / 2)        // MaxRecord
        .word(0);                // NumberOfMembers
    return file_.write(head);
  }

  Status write_records(const Frame& frame, const BitmapHandle& picture, uint32_t bytes) {
    // MM_ANISOTROPIC; COLORONCOLOR, without which GDI joins rows of a picture made smaller by AND.
    constexpr int32_t kAnisotropic = 8, kDeleteScans = 3;
    constexpr uint32_t kCopy = 0x00CC0020;
    std::array<uint8_t, kStateBytes + kPlacementBytes> records;
    Words(records)
        .record(8, kSetMapMode)
        .word(kAnisotropic)
        .record(10, kSetWindowOrg)
        .word(0)
        .word(0)
        .record(10, kSetWindowExt)
        .word(frame.height)
        .word(frame.width)
        .record(8, kSetStretchMode)
        .word(kDeleteScans)
        .record(bytes, kStretchDib)
        .two(kCopy)            // SRCCOPY
        .word(0)               // DIB_RGB_COLORS
        .word(picture.Height)  // SrcHeight
        .word(picture.Width)   // SrcWidth
        .word(0)               // YSrc
        .word(0)               // XSrc
        .word(frame.height)    // DestHeight
        .word(frame.width)     // DestWidth
        .word(0)               // yDst
        .word(0);              // xDst
    return file_.write(records);
  }

  io::OutputFile file_;
  uint32_t row_bytes_ = 0;
  bool is_reversed_ = false;
  uint64_t end_ = 0;  // of the rows
  dib::ReversedRows reversed_;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::wmf
