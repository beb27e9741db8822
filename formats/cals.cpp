#include "formats/cals.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "base/byte_source.h"
#include "base/limits.h"
#include "codec/ccitt_decoder.h"
#include "formats/fax_rows.h"
#include "formats/plausible.h"
#include "process/row_delivery.h"
#include "process/source_picture.h"

namespace tavo::cals {

namespace {

constexpr size_t kRecordSize = 128;
constexpr int kRecords = 16;
constexpr int kRecordsRead = 11;   // those that the standard names; blank ones fill the rest
constexpr int kStrictRecords = 9;  // kept: from the tenth on unknown keys are ignored
constexpr uint32_t kDataOffset = kRecordSize * kRecords;
constexpr uint32_t kInputBytes = 32768;
constexpr uint32_t kInputStep = 1024;
constexpr int32_t kStorageKind = 3;

// Cuts a record, which ends at its first zero byte, into tokens. The standard has "key: value" and
// blanks behind; others end their records with a line feed and zeros.
class Tokens {
 public:
  explicit Tokens(std::span<const uint8_t> record)
      : text_(reinterpret_cast<const char*>(record.data()), record.size()) {
    text_ = text_.substr(0, text_.find('\0'));
  }

  // Empty when there is none left.
  std::string_view next() {
    constexpr std::string_view kDelimiters = " ,:;\t\n";
    text_.remove_prefix(std::min(text_.find_first_not_of(kDelimiters), text_.size()));
    const std::string_view token = text_.substr(0, text_.find_first_of(kDelimiters));
    text_.remove_prefix(token.size());
    return token;
  }

  // A decimal number, brackets skipped; -1 when it holds anything else or is too large.
  Status next_number(int32_t& number) {
    const std::string_view token = next();
    if (token.empty()) return kReadError;
    int64_t value = 0;
    for (const char c : token) {
      if (c == '[' || c == ']') continue;
      value = c < '0' || c > '9' ? INT64_MAX : value * 10 + (c - '0');
      if (value > INT32_MAX) {
        number = -1;
        return kOk;
      }
    }
    number = static_cast<int32_t>(value);
    return kOk;
  }

 private:
  std::string_view text_;
};

// GraphicsMagick writes "docls" for "doccls".
constexpr std::string_view kTextKeys[] = {"srcdocid", "dstdocid", "txtfilid", "figid",
                                          "srcgph",   "doccls",   "docls",    "notes"};

// MIL-STD-1840C, the header records of a raster file, in any order: identifiers of documents and
// figures, class and notes, which say nothing of the picture, then type, orientation, size and
// density. Numbers that are none become -1, which no size can be. kBadData for an unknown key.
Status parse_record(std::span<const uint8_t> record, Header& header) {
  Tokens tokens(record);
  const std::string_view key = tokens.next();
  if (key.empty()) return kReadError;
  // MIL-PRF-28002C: 1 is an untiled picture in Group 4; 2 has tiles.
  if (key == "rtype") return tokens.next_number(header.raster_type);
  // Pels to the inch.
  if (key == "rdensity") {
    int32_t unused = 0;  // kept: no bitmap takes its resolution from it
    return tokens.next_number(unused);
  }
  // Pels of a line, lines.
  if (key == "rpelcnt") {
    TRY(tokens.next_number(header.width));
    return tokens.next_number(header.height);
  }
  if (key == "rorient") {
    // Kept: pictures count as upright whatever the two angles are; FILEINFO tells them.
    TRY(tokens.next_number(header.pel_path));
    return tokens.next_number(header.line_progression);
  }
  return std::ranges::find(kTextKeys, key) != std::end(kTextKeys) ? kOk : kBadData;
}

// Where pels and lines go when the picture is viewed ("rorient"): the pel path is counted
// anticlockwise from left to right, the line progression from the pel path.
struct Viewing {
  int32_t pel_path;
  int32_t line_progression;
  uint32_t orientation;
};

constexpr Viewing kViewings[] = {{0, 270, 1},  {180, 90, 2},  {180, 270, 3}, {0, 90, 4},
                                 {270, 90, 5}, {270, 270, 6}, {90, 90, 7},   {90, 270, 8}};

uint32_t viewing_orientation(const Header& header) {
  for (const Viewing& v : kViewings) {
    const bool is_this =
        v.pel_path == header.pel_path && v.line_progression == header.line_progression;
    if (is_this) return v.orientation;
  }
  return 1;
}

// Kept: white first, top row first whatever "rorient" says, no resolution.
process::SourcePicture describe(const Header& header) {
  process::SourcePicture picture;
  picture.width = header.width;
  picture.height = header.height;
  picture.bits = 1;
  picture.order = T_ORDER_BGR;
  picture.orientation = viewing_orientation(header);
  picture.colors = 2;
  picture.storage_kind = kStorageKind;
  picture.widens = true;
  picture.palette[0] = {255, 255, 255, 0};
  return picture;
}

}  // namespace

// "rpelcnt" must have come by the eleventh record.
Status parse_header(io::InputFile& file, Header& header) {
  for (int number = 1; number <= kRecordsRead; ++number) {
    std::array<uint8_t, kRecordSize> record;
    TRY(file.read(record));
    const Status status = parse_record(record, header);
    if (status == kBadData && number > kStrictRecords) continue;
    TRY(status);
  }
  if (header.width < 1 || header.height < 1) return kBadData;
  TRY(limits::check_picture(header.width, header.height));
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  return formats::check_plausible(formats::Density::kFax, static_cast<uint32_t>(header.width),
                                  static_cast<uint32_t>(header.height), file_bytes);
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Header header;
  TRY(parse_header(input.file, header));
  process::describe(describe(header), T_FORMAT_CALS, "CALS Raster", info);
  return kOk;
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  Header header;
  TRY(parse_header(file, header));
  const process::SourcePicture picture = describe(header);
  process::RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  if (bitmap->Order != T_ORDER_RGB) bitmap->Order = T_ORDER_BGR;

  ByteSource bytes(file);
  TRY(bytes.start(kInputBytes, kInputStep, kInputStep));
  TRY(file.seek(kDataOffset));
  // Kept: the image begins behind sixteen records, and other types are taken for Group 3.
  const bool is_group4 = header.raster_type == 1;
  ccitt::Decoder decoder;
  TRY(decoder.start(is_group4 ? ccitt::Coding::kGroup4 : ccitt::Coding::kGroup3,
                    static_cast<uint32_t>(header.width), false));
  return formats::deliver_fax_rows(file, bytes, decoder, header.height, false, rows);
}

namespace {

// A record ends with a line feed; zeros fill it up.
Status write_record(io::OutputFile& file, std::string_view text) {
  std::array<uint8_t, kRecordSize> record = {};
  std::ranges::copy(text, record.begin());
  return file.write(record);
}

// Five digits; kept: the first one runs past "9" for numbers of 100,000 and more.
void put_five_digits(char* at, int32_t number) {
  for (int i = 4; i > 0; --i, number /= 10) at[i] = static_cast<char>('0' + number % 10);
  at[0] = static_cast<char>('0' + number);
}

// "NONE" is the standard's word for what does not apply.
Status write_header(io::OutputFile& file, const BitmapHandle& bitmap) {
  for (const std::string_view text :
       {"srcdocid: NONE\n", "dstdocid: NONE\n", "txtfilid: NONE\n", "figid: NONE\n",
        "srcgph: NONE\n", "doccls: UNCLASS\n", "rtype: 1\n", "rorient: 000,270\n"}) {
    TRY(write_record(file, text));
  }
  char size[] = "rpelcnt: 00000,00000\n";
  put_five_digits(size + 9, bitmap.Width);
  put_five_digits(size + 15, bitmap.Height);
  TRY(write_record(file, size));
  // Kept: the file states 200 whatever the resolution.
  TRY(write_record(file, "rdensity: 0200\n"));
  TRY(write_record(file, "notes: NONE\n"));
  return file.write_zeros((kRecords - kRecordsRead) * kRecordSize);
}

class Writer final : public formats::Group4Writer {
 public:
  Writer() : Group4Writer(this) {}

  Status prepare(const io::SaveRequest&, const BitmapHandle& picture, io::RowLayout& layout) {
    // Fax codes have white as 0. Of pictures of 1 bit the red of colour 0 decides: kept.
    static constexpr T_PaletteEntry kWhiteBlack[2] = {{255, 255, 255, 0}, {0, 0, 0, 0}};
    const bool is_1bit = picture.BitsPerPixel == 1;
    layout.inverts = is_1bit && picture.Info.Palette[0].Red == 0;
    if (!is_1bit) layout.palette = kWhiteBlack;
    return kOk;
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    TRY(file_.create(request.name));
    TRY(write_header(file_, picture));
    return start_rows(picture);
  }
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::cals
