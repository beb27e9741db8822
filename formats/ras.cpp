#include "formats/ras.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "base/byte_source.h"
#include "base/checked.h"
#include "base/endian.h"
#include "base/limits.h"
#include "base/settings.h"
#include "base/vector_sse2.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "formats/plain_rows.h"
#include "formats/plausible.h"
#include "process/row_delivery.h"

namespace tavo::ras {

namespace {

using process::RowDelivery;

// struct rasterfile: eight words, the highest byte first: ras_magic, width, height, depth, length,
// type, maptype, maplength.
constexpr size_t kMagicAt = 0, kWidth = 4, kHeight = 8, kDepth = 12;  // ras_magic to ras_depth
constexpr size_t kLength = 16, kType = 20, kMapType = 24, kMapLength = 28;

constexpr uint32_t kMagic = 0x59A66A95;  // RAS_MAGIC
constexpr uint32_t kMapOfPlanes = 1;     // RMT_EQUAL_RGB; 0 is RMT_NONE, 2 RMT_RAW: any bytes
constexpr uint8_t kEscape = 0x80;        // of RT_BYTE_ENCODED
constexpr int32_t kVariantOfOthers = 1;

// T_SetRASVariant: what this library has always done, or what rasterfile(5) says.
bool as_others_do() { return settings.ras_variant == kVariantOfOthers; }

// Bytes of a row in the file: pixels, rounded up to an even number.
uint64_t file_row_bytes(int32_t width, int32_t depth) {
  return round_up<uint64_t>(core::packed_bytes(static_cast<uint64_t>(width), depth), 2);
}

// What the reader delivers; of files with a map the palette is read later. Without one, 0 is
// black, except that other programs take 1-bit pictures for ink on paper.
process::SourcePicture describe(const Header& header) {
  process::SourcePicture picture;
  picture.width = header.width;
  picture.height = header.height;
  picture.bits = header.depth;
  picture.order = header.type == Type::kRgb ? T_ORDER_RGB : T_ORDER_BGR;
  picture.storage_kind = T_FORMAT_RAS;
  if (header.depth > 8) return picture;
  if (header.has_map) {
    // Kept: as the file counts them, as far as palettes go: more than the depth can name, and none
    // where a map has no whole colour.
    picture.colors = std::min(header.map_bytes / 3, 256u);
    return picture;
  }
  picture.colors = 1u << picture.bits;
  color::fill_gray_ramp(std::span(picture.palette).first(picture.colors));
  if (header.depth == 1 && as_others_do()) std::swap(picture.palette[0], picture.palette[1]);
  if (header.depth == 8) picture.flags = T_FLAG_GRAY;
  return picture;
}

// RT_FORMAT_TIFF and RT_FORMAT_IFF say what a file was converted from.
const char* compression_text(Type type) {
  switch (type) {
    case Type::kByteEncoded:
      return "Run Length";
    case Type::kEmbeddedTiff:
      return "Embedded TIFF";
    case Type::kEmbeddedIff:
      return "Embedded IFF";
    default:
      return "None";
  }
}

// Three planes: all reds, all greens, all blues. A map of another kind, or of pictures that have no
// indices, is skipped.
Status read_map(ByteSource& bytes, const Header& header, process::SourcePicture& picture) {
  if (!header.has_map || header.depth > 8) return bytes.skip(header.map_bytes);
  // 65535 bytes at most, as only the low half of the length counts; 256 colours of them.
  Buffer map;
  TRY(map.allocate(header.map_bytes));
  TRY(bytes.read(map.bytes()));
  const uint32_t plane = header.map_bytes / 3;
  for (uint32_t i = 0; i < picture.colors; ++i) {
    picture.palette[i] = {map.data()[2 * plane + i], map.data()[plane + i], map.data()[i], 0};
  }
  return kOk;
}

// Undoes the byte encoding (RT_BYTE_ENCODED): 0x80 0 is one byte 0x80, 0x80 n v is a run of v, all
// else is itself. A run may go on in the next row. Kept: n copies, where rasterfile(5) has n + 1.
class RunDecoder {
 public:
  explicit RunDecoder(ByteSource& bytes) : bytes_(bytes), more_(as_others_do() ? 1 : 0) {}

  // Fills `row`; may write up to kSlack bytes behind it. `got` falls short where the data end.
  Status decode_row(std::span<uint8_t> row, size_t& got) {
    uint8_t* out = row.data();
    uint8_t* const end = out + row.size();
    Status status = kOk;
    while (out != end) {
      if (run_ != 0) {
        out = put_run(out, end);
      } else if (bytes_.window().size() >= kWindow) {
        out = decode_fast(out, end);
      } else {
        status = bytes_.refill();
        if (bytes_.window().size() >= kWindow) continue;
        if (!decode_byte(out)) break;
      }
    }
    got = static_cast<size_t>(out - row.data());
    return status;
  }

 private:
  static constexpr size_t kStep = 16;
  // A step, of which the last byte may be an escape with two behind it.
  static constexpr size_t kWindow = kStep + 4;
  // What a turn makes: a step of literals, and the longest run, 255 copies and one more.
  static constexpr size_t kMostAtOnce = kStep + 256;

  // Part of a run, as far as the row goes. Writes whole steps.
  uint8_t* put_run(uint8_t* out, const uint8_t* end) {
    const size_t part = std::min(run_, static_cast<size_t>(end - out));
    const sse2::V value = sse2::splat8(value_);
    for (size_t done = 0; done < part; done += kStep) sse2::store(out + done, value);
    run_ -= part;
    return out + part;
  }

  // Literals up to the next escape, and what the escape stands for, as long as that cannot reach
  // the end of the row.
  uint8_t* decode_inside(const uint8_t*& in, const uint8_t* last, uint8_t* out,
                         const uint8_t* end) const {
    const sse2::V escapes = sse2::splat8(kEscape);
    while (in <= last && end - out >= static_cast<ptrdiff_t>(kMostAtOnce)) {
      const sse2::V step = sse2::load(in);
      sse2::store(out, step);
      const uint32_t found = sse2::top_bits8(sse2::equal8(step, escapes));
      if (found == 0) {  // a branch of its own, so that the next step need not wait for the count
        out += kStep;
        in += kStep;
        continue;
      }
      const auto literals = static_cast<size_t>(std::countr_zero(found));
      out += literals;
      in += literals;
      if (in[1] == 0) {
        *out++ = kEscape;
        in += 2;
        continue;
      }
      const size_t run = in[1] + more_;
      const sse2::V value = sse2::splat8(in[2]);
      in += 3;
      sse2::store(out, value);
      for (size_t done = kStep; done < run; done += kStep) sse2::store(out + done, value);
      out += run;
    }
    return out;
  }

  // The same up to the end of the row, as long as kWindow bytes are at hand: each turn reads at
  // most that many, and writes less than two steps behind the row.
  uint8_t* decode_fast(uint8_t* out, uint8_t* end) {
    const uint8_t* const window = bytes_.window().data();
    const uint8_t* const last = window + bytes_.window().size() - kWindow;
    const uint8_t* in = window;
    out = decode_inside(in, last, out, end);
    const sse2::V escapes = sse2::splat8(kEscape);
    while (out < end && in <= last) {
      const sse2::V step = sse2::load(in);
      sse2::store(out, step);
      const uint32_t found = sse2::top_bits8(sse2::equal8(step, escapes));
      const size_t literals =
          std::min<size_t>(found == 0 ? kStep : static_cast<size_t>(std::countr_zero(found)),
                           static_cast<size_t>(end - out));
      out += literals;
      in += literals;
      if (found == 0 || out == end) continue;
      if (in[1] == 0) {
        *out++ = kEscape;
        in += 2;
        continue;
      }
      run_ = in[1] + more_;
      value_ = in[2];
      in += 3;
      out = put_run(out, end);
    }
    bytes_.consume(static_cast<size_t>(in - window));
    return out;
  }

  // The same, one byte of the data at a time: near the end of the file. False at the end.
  bool decode_byte(uint8_t*& out) {
    const int byte = bytes_.get();
    if (byte < 0) return false;
    if (byte != kEscape) {
      *out++ = static_cast<uint8_t>(byte);
      return true;
    }
    const int count = bytes_.get();
    if (count < 0) return false;
    if (count == 0) {
      *out++ = kEscape;
      return true;
    }
    const int value = bytes_.get();
    if (value < 0) return false;
    run_ = static_cast<size_t>(count) + more_;
    value_ = static_cast<uint8_t>(value);
    return true;
  }

  ByteSource& bytes_;
  size_t more_;  // copies beyond the count
  size_t run_ = 0;
  uint8_t value_ = 0;
};

// rasterfile(5) has 32-bit pixels as X, blue, green, red, and so do other programs; kept: the
// library takes the spare byte for the last.
bool has_spare_in_front(int32_t depth) { return depth == 32 && as_others_do(); }

void move_spare_back(std::span<uint8_t> row) {
  for (size_t i = 0; i + 4 <= row.size(); i += 4) store_le32(&row[i], load_le32(&row[i]) >> 8);
}

void move_spare_front(std::span<const uint8_t> row, uint8_t* moved) {
  for (size_t i = 0; i + 4 <= row.size(); i += 4) store_le32(moved + i, load_le32(&row[i]) << 8);
}

// Rows are padded to 16 bits, in the byte encoding, too.
Status read_rows(ByteSource& bytes, const Header& header, RowDelivery& rows) {
  const auto row_bytes = static_cast<size_t>(file_row_bytes(header.width, header.depth));
  const bool is_encoded = header.type == Type::kByteEncoded;
  const bool moves = has_spare_in_front(header.depth);
  if (!is_encoded && !moves) {
    return formats::read_plain_rows(bytes, row_bytes, header.height, rows);
  }
  RunDecoder decoder(bytes);
  for (int32_t y = 0; y < header.height; ++y) {
    const std::span<uint8_t> row = rows.next_row().first(row_bytes);
    size_t got = 0;
    const Status status = is_encoded ? decoder.decode_row(row, got) : bytes.read_some(row, got);
    // Of a cut row of runs, what there is; of a plain one, nothing.
    if (got == row.size() || (is_encoded && got != 0)) {
      std::ranges::fill(row.subspan(got), uint8_t{0});
      if (moves) move_spare_back(row);
      TRY(rows.commit(1, got == row.size() ? 1 : 0));
    }
    if (got < row.size()) return rows.finish_early(status.ok() ? kReadError : status);
  }
  return rows.finish();
}

}  // namespace

Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header) {
  // Magic number, width, height and depth tell the format.
  if (bytes.size() < 16 || load_be32(bytes.data()) != kMagic) return kBadData;
  const uint32_t width = load_be32(&bytes[kWidth]);
  const uint32_t height = load_be32(&bytes[kHeight]);
  const uint32_t depth = load_be32(&bytes[kDepth]);
  // The words are signed in the structure: sizes beyond are negative ones.
  if (width == 0 || width > INT32_MAX || height == 0 || height > INT32_MAX) return kBadData;
  if (depth != 1 && depth != 4 && depth != 8 && depth != 24 && depth != 32) return kBadData;
  header.width = static_cast<int32_t>(width);
  header.height = static_cast<int32_t>(height);
  header.depth = static_cast<int32_t>(depth);
  TRY(limits::check_picture(header.width, header.height));
  if (core::bytes_per_line(header.width, header.depth) == 0) return kBadData;
  // Behind all else, so that a file that was cut is told from one of another format.
  if (bytes.size() < kHeaderSize) return kReadError;
  // Kept: of the last three fields only the low halves count. The length is not looked at: it is 0
  // in old files (RT_OLD), and this library's own is odd.
  header.type = static_cast<Type>(load_be16(&bytes[kType + 2]));
  header.map_bytes = load_be16(&bytes[kMapLength + 2]);
  header.has_map = load_be16(&bytes[kMapType + 2]) == kMapOfPlanes && header.map_bytes != 0;
  const bool is_encoded = header.type == Type::kByteEncoded;
  return formats::check_plausible(is_encoded ? formats::Density::kRuns : formats::Density::kPlain,
                                  file_row_bytes(header.width, header.depth), height, file_bytes);
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Header header;
  const auto head = input.head.first(std::min(input.head.size(), kHeaderSize));
  TRY(parse_header(head, input.file_size, header));
  process::describe(describe(header), T_FORMAT_RAS, compression_text(header.type), info);
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
  process::SourcePicture picture = describe(header);
  TRY(read_map(bytes, header, picture));

  RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  return read_rows(bytes, header, rows);
}

namespace {

// The length field: kept as it has always been written, three bytes that are 0 or 1 and the low
// byte of the length, which is 0 below 8 bits.
void store_length(uint8_t* field, const BitmapHandle& bitmap, int32_t depth, uint64_t row_bytes) {
  if (as_others_do()) {
    store_be32(field, static_cast<uint32_t>(row_bytes * static_cast<uint32_t>(bitmap.Height)));
    return;
  }
  const uint32_t length = static_cast<uint32_t>(bitmap.Width) *
                          static_cast<uint32_t>(bitmap.Height) * static_cast<uint32_t>(depth / 8);
  field[0] = (length & 0xFF000000) > 0x18 ? 1 : 0;
  field[1] = (length & 0xFF0000) > 0x10 ? 1 : 0;
  field[2] = (length & 0xFF00) > 8 ? 1 : 0;
  field[3] = static_cast<uint8_t>(length);
}

// Black and white pictures need no map where other programs' meaning of the bits holds, and few of
// them look at one: 1 is black then.
bool is_ink_on_paper(const BitmapHandle& bitmap, int32_t depth) {
  const T_PaletteEntry* palette = bitmap.Info.Palette;
  const auto level = [&](int i) { return palette[i].Red + palette[i].Green + palette[i].Blue; };
  return depth == 1 && as_others_do() && std::min(level(0), level(1)) == 0 &&
         std::max(level(0), level(1)) == 3 * 255;
}

// The bitmap's colours, as far as the depth goes; without a map none.
uint32_t map_colors(const BitmapHandle& bitmap, int32_t depth) {
  if (depth > 8 || is_ink_on_paper(bitmap, depth)) return 0;
  const uint32_t most = 1u << depth;
  const bool has_count = bitmap.Colors != 0 && bitmap.BitsPerPixel <= 8;  // 32 bits count one
  return has_count ? std::min(bitmap.Colors, most) : most;
}

Status write_headers(io::OutputFile& file, const BitmapHandle& bitmap, int32_t depth,
                     uint64_t row_bytes) {
  const uint32_t colors = map_colors(bitmap, depth);
  std::array<uint8_t, kHeaderSize> head = {};
  store_be32(&head[kMagicAt], kMagic);
  store_be32(&head[kWidth], static_cast<uint32_t>(bitmap.Width));
  store_be32(&head[kHeight], static_cast<uint32_t>(bitmap.Height));
  store_be32(&head[kDepth], static_cast<uint32_t>(depth));
  store_length(&head[kLength], bitmap, depth, row_bytes);
  store_be32(&head[kType], static_cast<uint32_t>(Type::kStandard));
  store_be32(&head[kMapType], colors != 0 ? kMapOfPlanes : 0);
  // Bytes, not entries.
  store_be32(&head[kMapLength], 3 * colors);
  TRY(file.write(head));

  std::array<uint8_t, 3 * 256> map;
  for (uint32_t i = 0; i < colors; ++i) {
    const T_PaletteEntry& color = bitmap.Info.Palette[i];
    map[i] = color.Red;
    map[colors + i] = color.Green;
    map[2 * colors + i] = color.Blue;
  }
  return file.write({map.data(), 3 * colors});
}

class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    if (!io::has_16_bit_size(picture)) return kBadSize;
    row_bytes_ = static_cast<size_t>(file_row_bytes(picture.Width, request.depth));
    layout.row_bytes = row_bytes_;
    layout.inverts = is_ink_on_paper(picture, request.depth) && picture.Info.Palette[0].Red == 0;
    return has_spare_in_front(request.depth) ? moved_.allocate(row_bytes_) : kOk;
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    TRY(file_.create(request.name));
    return write_headers(file_, picture, request.depth, row_bytes_);
  }

  Status put(std::span<const uint8_t> rows) {
    if (moved_.size() == 0) return file_.write(rows);
    for (; !rows.empty(); rows = rows.subspan(row_bytes_)) {
      move_spare_front(rows.first(row_bytes_), moved_.data());
      TRY(file_.write(moved_.bytes()));
    }
    return kOk;
  }

  Status finish() { return file_.finish(); }

 private:
  io::OutputFile file_;
  size_t row_bytes_ = 0;
  Buffer moved_;  // a row of 32 bits as other programs keep it
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::ras
