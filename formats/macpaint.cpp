#include "formats/macpaint.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/endian.h"
#include "base/settings.h"
#include "codec/packbits.h"
#include "formats/two_levels.h"
#include "process/row_delivery.h"

namespace tavo::macpaint {

namespace {

// Technical Note 86: every document is one page of this size, a pixel for a point of the screen;
// the highest bit of a byte is the leftmost pixel, ones are black.
constexpr int32_t kWidth = 576;
constexpr int32_t kHeight = 720;
constexpr int32_t kDotsPerInch = 72;
constexpr size_t kRowBytes = kWidth / 8;
constexpr formats::ZeroIs kZeroIs = formats::ZeroIs::kWhite;

// The document's head: a version, 38 patterns of 8 bytes if that is 2 (3 occurs), zeros. Patterns
// are a palette for painting: the page does not refer to them.
constexpr uint32_t kHeadBytes = 512;
constexpr size_t kPaddingAt = 4 + 38 * 8;
constexpr uint32_t kVersion = 2;

// netpbm's pbmtomacp writes 0, which says that the patterns are those of the program.
bool is_version(uint32_t version) { return version == 0 || version == 2 || version == 3; }

// MacBinary: what a Macintosh keeps beside a file's bytes. Offsets in its 128 bytes: the name is a
// length and up to 63 characters, type and creator are four letters each, the length of the data
// fork a long. Those from 99 on came with MacBinary II; files of the first one have zeros there, a
// checksum of 0 among them, so that none of them is asked for.
constexpr size_t kNameLengthAt = 1;
constexpr size_t kNameAt = 2;
constexpr size_t kLongestName = 63;
constexpr size_t kTypeAt = 65;
constexpr size_t kCreatorAt = 69;
constexpr size_t kDataLengthAt = 83;
constexpr size_t kWriterVersionAt = 122;
constexpr size_t kReaderVersionAt = 123;
constexpr size_t kChecksumAt = 124;
constexpr uint8_t kMacBinary2 = 129;
constexpr std::string_view kType = "PNTG";
constexpr std::string_view kCreator = "MPNT";

// Byte 0 is the old version, always 0. The creator says which program opens the document, and may
// be any that paints.
bool has_mac_binary(std::span<const uint8_t> head) {
  return head.size() >= kMacBinaryBytes && head[0] == 0 && head[kNameLengthAt] >= 1 &&
         head[kNameLengthAt] <= kLongestName &&
         std::memcmp(&head[kTypeAt], kType.data(), kType.size()) == 0;
}

process::SourcePicture describe() {
  process::SourcePicture picture;
  picture.width = kWidth;
  picture.height = kHeight;
  picture.storage_kind = T_FORMAT_MAC;
  picture.has_resolution = true;
  picture.x_resolution = picture.y_resolution = kDotsPerInch;
  formats::describe_two_levels(kZeroIs, picture);
  return picture;
}

void describe_file(FILEINFO& info) {
  process::describe(describe(), T_FORMAT_MAC, "Run Length", info);
}

// PICT files begin with 512 bytes of any content, too; then a length, a frame and a version. With
// zeros there they would pass for a document of version 0.
bool is_picture(std::span<const uint8_t> head) {
  const uint8_t* const version = &head[kHeadBytes + 10];
  return load_be16(version) == 0x1101 || load_be32(version) == 0x001102FF;
}

// Whether the rows end with a packet, and little follows them: less than a block of 512 bytes, as
// programs filled documents up to whole blocks. (Real ones have 44 and 77 bytes there.)
Status check_packed_page(ByteSource& bytes) {
  constexpr uint32_t kMostLeftOver = 511;
  packbits::Decoder decoder(bytes);
  std::array<uint8_t, kRowBytes> row;
  for (int32_t y = 0; y < kHeight; ++y) TRY(decoder.decode(row));
  const bool is_short = !bytes.skip(kMostLeftOver + 1).ok();
  TRY(bytes.failure());
  return is_short && decoder.is_between_packets() ? kOk : kBadData;
}

}  // namespace

// A resource fork may follow the data fork, whose length counts where it can be true. (Some
// converters write that of the whole file.) Where it reaches beyond the file, or not beyond the
// head, all to the file's end counts as rows: refusing it would lose pages that are whole.
Status parse_header(std::span<const uint8_t> head, uint32_t file_bytes, Header& header) {
  header = {kHeadBytes, file_bytes};
  if (has_mac_binary(head)) {
    const uint32_t fork = load_be32(&head[kDataLengthAt]);
    header.data += kMacBinaryBytes;
    if (fork > kHeadBytes && fork <= file_bytes - kMacBinaryBytes) {
      header.data_end = static_cast<uint32_t>(kMacBinaryBytes) + fork;
    }
  } else if (head.size() < 4 || !is_version(load_be32(head.data()))) {
    return kBadData;
  }
  return header.data < header.data_end ? kOk : kReadError;
}

// Kept: the type says what the file is, also of one that ends before the rows, which no load can
// read then: it is a document that is cut, and none of another format.
Status probe(const io::ProbeInput& input, FILEINFO& info) {
  if (!has_mac_binary(input.head)) return kBadData;
  describe_file(info);
  return kOk;
}

Status probe_bare(const io::ProbeInput& input, FILEINFO& info) {
  const std::span<const uint8_t> head = input.head;
  Header header;
  TRY(parse_header(head, input.file_size, header));
  if (has_mac_binary(head) || head.size() < kHeadBytes + 14 || is_picture(head)) return kBadData;
  const auto padding = head.subspan(kPaddingAt, kHeadBytes - kPaddingAt);
  if (std::ranges::any_of(padding, [](uint8_t byte) { return byte != 0; })) return kBadData;
  // Last, because it takes all of the page.
  TRY(input.file.seek(header.data));
  ByteSource bytes(input.file);
  TRY(bytes.start());
  TRY(check_packed_page(bytes));
  describe_file(info);
  return kOk;
}

namespace {

// Packets may cross the ends of rows, as old converters wrote them. What is missing at the end is
// white, but one row must be there.
Status read_rows(ByteSource& bytes, process::RowDelivery& rows) {
  packbits::Decoder decoder(bytes);
  uint32_t left = kHeight;
  bool at_end = false;
  while (left > 0) {
    uint32_t count = 0;
    const std::span<uint8_t> room = rows.next_rows(left, count);
    size_t got = 0;
    if (!at_end) at_end = !decoder.decode(room, got).ok();
    TRY(bytes.failure());
    if (left == kHeight && got < kRowBytes) return kReadError;
    std::ranges::fill(room.subspan(got), uint8_t{0});
    TRY(rows.commit(count, static_cast<uint32_t>(got / kRowBytes)));
    left -= count;
  }
  return rows.finish();
}

}  // namespace

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  std::array<uint8_t, kMacBinaryBytes> head;
  size_t got = 0;
  TRY(file.read_up_to(head, got));
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  Header header;
  TRY(parse_header({head.data(), got}, file_bytes, header));

  const process::SourcePicture picture = describe();
  process::RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  TRY(file.seek(header.data));
  io::InputPart data(file, header.data_end - header.data);
  ByteSource bytes(data);
  TRY(bytes.start());
  return read_rows(bytes, rows);
}

namespace {

// CRC-16 with the polynomial x^16 + x^12 + x^5 + 1, from 0, highest bit first: MacBinary II.
uint16_t checksum(std::span<const uint8_t> bytes) {
  uint32_t sum = 0;
  for (const uint8_t byte : bytes) {
    sum ^= uint32_t{byte} << 8;
    for (int bit = 0; bit < 8; ++bit) sum = sum << 1 ^ ((sum & 0x8000) != 0 ? 0x11021 : 0);
  }
  return static_cast<uint16_t>(sum);
}

// What a Macintosh calls the document: what the caller said, or the file's name without folders and
// extension, which its type makes superfluous there. A file whose name begins with a dot has none
// to show.
std::string_view document_name(std::string_view path) {
  static_assert(sizeof settings.document_name == kLongestName + 1);
  if (*settings.document_name != 0) return settings.document_name;
  path.remove_prefix(path.find_last_of("/\\") + 1);
  const std::string_view stem = path.substr(0, path.rfind('.'));
  return stem.empty() || stem.front() == '.' ? "untitled" : stem.substr(0, kLongestName);
}

// ASCII, and no colon, which parts folders there.
uint8_t name_byte(char c) { return c < ' ' || c > '~' || c == ':' ? '_' : static_cast<uint8_t>(c); }

// Times of creation and change stay 0, so that the same picture always gives the same bytes.
std::array<uint8_t, kMacBinaryBytes> mac_binary(const char* path, size_t data_bytes) {
  std::array<uint8_t, kMacBinaryBytes> head = {};
  const std::string_view name = document_name(path);
  head[kNameLengthAt] = static_cast<uint8_t>(name.size());
  std::ranges::transform(name, &head[kNameAt], name_byte);
  std::ranges::copy(kType, &head[kTypeAt]);
  std::ranges::copy(kCreator, &head[kCreatorAt]);
  store_be32(&head[kDataLengthAt], static_cast<uint32_t>(data_bytes));
  head[kWriterVersionAt] = head[kReaderVersionAt] = kMacBinary2;
  store_be16(&head[kChecksumAt], checksum(std::span(head).first(kChecksumAt)));
  return head;
}

// The packed rows are kept to the end, since their length stands in front of them.
class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this) {}

  // A smaller picture stands at the top left of a white page.
  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    if (picture.Width > kWidth || picture.Height > kHeight) return kBadSize;
    name_ = request.name;
    layout.row_bytes = kRowBytes;
    formats::ask_two_levels(kZeroIs, picture, layout);
    // 720 rows of 73 bytes at most: rows are packed one by one, as the format wants.
    return packed_.allocate(kHeight * packbits::max_encoded_size(kRowBytes));
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle&) {
    return file_.create(request.name);
  }

  Status put_row(std::span<const uint8_t> row) {
    packed_bytes_ += packbits::encode(row, packed_.data() + packed_bytes_);
    ++rows_;
    return kOk;
  }

  Status finish() {
    constexpr std::array<uint8_t, kRowBytes> kBlank = {};
    while (rows_ < kHeight) TRY(put_row(kBlank));
    const size_t data_bytes = kHeadBytes + packed_bytes_;
    TRY(file_.write(mac_binary(name_, data_bytes)));
    std::array<uint8_t, kHeadBytes> head = {};
    store_be32(head.data(), kVersion);
    TRY(file_.write(head));
    TRY(file_.write(packed_.bytes().first(packed_bytes_)));
    // MacBinary: forks are filled up to multiples of 128 bytes, which their lengths do not count.
    TRY(file_.write_zeros((kMacBinaryBytes - data_bytes % kMacBinaryBytes) % kMacBinaryBytes));
    return file_.finish();
  }

 private:
  const char* name_ = nullptr;
  io::OutputFile file_;
  Buffer packed_;
  size_t packed_bytes_ = 0;
  int32_t rows_ = 0;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::macpaint
