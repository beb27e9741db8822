// JPEG in TIFF, above all its older form: the same stream in all arrangements that writers have
// used, from whole to taken apart.
#include <gtest/gtest.h>

#include <algorithm>

#include "format_cases.h"
#include "jpeg_streams.h"

namespace tavo::test {
namespace {

constexpr uint32_t kWidth = 40;
constexpr uint32_t kHeight = 44;
constexpr uint32_t kStripRows = 16;

// A stream and where its parts are. Two pixels of a row share their colours, which are the same
// everywhere, so that it does not matter whether they are smoothed or repeated.
struct Parts {
  explicit Parts(int restart_interval) {
    JpegPicture picture(kWidth, kHeight, ycc(2, 1), 7);
    for (size_t c : {1, 2}) std::ranges::fill(picture.coefficients[c], std::array<int, 64>{60});
    stream = jpeg_stream(picture, {.restart_interval = restart_interval});
    for (size_t at = 2; data == 0; at += 2 + size_of(at)) take_segment(at);
    split(restart_interval);
  }

  size_t size_of(size_t at) const { return stream[at + 2] * 256u + stream[at + 3]; }

  void take_segment(size_t at) {
    const size_t end = at + 2 + size_of(at);
    if (stream[at + 1] == 0xC0) frame = at;
    if (stream[at + 1] == 0xDA) {
      scan = at;
      data = end;
    }
    if (stream[at + 1] == 0xDB) quantisers = at + 5;
    if (stream[at + 1] != 0xC4) return;
    for (size_t table = at + 4; table < end;) {
      (stream[table] < 16 ? dc : ac) = table + 1;
      size_t codes = 0;
      for (size_t i = 1; i <= 16; ++i) codes += stream[table + i];
      table += 17 + codes;
    }
  }

  // Pieces of kStripRows rows, without the restart markers between them.
  void split(int restart_interval) {
    const int mcus = (kWidth + 15) / 16 * kStripRows / 8;
    const int every = restart_interval == 0 ? 1 << 30 : mcus / restart_interval;
    int markers = 0;
    size_t from = data;
    for (size_t at = data; at + 1 < stream.size(); ++at) {
      const bool is_end = stream[at] == 0xFF && stream[at + 1] == 0xD9;
      const bool is_restart = stream[at] == 0xFF && (stream[at + 1] & 0xF8) == 0xD0;
      if (!is_end && !(is_restart && ++markers % every == 0)) continue;
      pieces.emplace_back(stream.begin() + static_cast<ptrdiff_t>(from),
                          stream.begin() + static_cast<ptrdiff_t>(at));
      from = at + 2;
    }
  }

  Bytes bytes(size_t from, size_t to) const {
    return {stream.begin() + static_cast<ptrdiff_t>(from),
            stream.begin() + static_cast<ptrdiff_t>(to)};
  }

  // The tables once more, under the number that colours have.
  Bytes color_tables() const {
    const auto table = [this](int code, uint8_t id, size_t at, size_t bytes) {
      return jpeg_segment(code, join({{id}, this->bytes(at, at + bytes)}));
    };
    const auto codes = [this](size_t at) {
      size_t count = 16;
      for (size_t i = 0; i < 16; ++i) count += stream[at + i];
      return count;
    };
    return join({table(0xDB, 1, quantisers, 64), table(0xC4, 0x01, dc, codes(dc)),
                 table(0xC4, 0x11, ac, codes(ac))});
  }

  Bytes stream;
  size_t frame = 0, scan = 0, data = 0, quantisers = 0, dc = 0, ac = 0;
  std::vector<Bytes> pieces;
};

constexpr uint32_t kStart = 8;  // of the data in a file

// A file of compression 6, with `data` and strips at these places of it.
struct OldFile {
  Bytes data;
  std::vector<uint32_t> offsets = {};
  std::vector<uint32_t> sizes = {};
  uint32_t strip_rows = kStripRows;
  std::vector<TiffTag> more = {};
  bool is_tiled = false;

  void add_strip(const Bytes& strip) {
    offsets.push_back(kStart + static_cast<uint32_t>(data.size()));
    sizes.push_back(static_cast<uint32_t>(strip.size()));
    data = join({data, strip});
  }
  Bytes file() const {
    std::vector<TiffTag> tags = {
        {256, 3, {kWidth}}, {257, 3, {kHeight}}, {258, 3, {8, 8, 8}}, {259, 3, {6}}, {262, 3, {6}}};
    if (!offsets.empty()) tags.push_back({is_tiled ? 324u : 273u, 4, offsets});
    tags.push_back({277, 3, {3}});
    tags.push_back({is_tiled ? 323u : 278u, 4, {strip_rows}});
    if (is_tiled) tags.push_back({322, 3, {kWidth}});
    if (!sizes.empty()) tags.push_back({is_tiled ? 325u : 279u, 4, sizes});
    tags.insert(tags.end(), more.begin(), more.end());
    return tiff_file(tags, data);
  }
};

TiffTag at(uint32_t tag, size_t position) {
  return {tag, 4, {kStart + static_cast<uint32_t>(position)}};
}
TiffTag length(size_t bytes) { return {514, 4, {static_cast<uint32_t>(bytes)}}; }

// Strips apart from the header, between other bytes.
OldFile with_pieces(const Bytes& header, const std::vector<Bytes>& pieces) {
  OldFile file{join({header, Bytes(3, 0xAA)})};
  file.more = {at(513, 0), length(header.size())};
  for (const Bytes& piece : pieces) {
    file.add_strip(piece);
    file.data = join({file.data, Bytes(2, 0x55)});
  }
  return file;
}

// Tables alone, where tags say.
OldFile with_tables(const Parts& parts, uint32_t restart_interval) {
  OldFile file{parts.bytes(0, parts.frame)};
  for (const Bytes& piece : parts.pieces) file.add_strip(piece);
  file.more = {{512, 3, {1}}, {515, 3, {restart_interval}}};
  for (const auto& [tag, position] :
       {std::pair{519u, parts.quantisers}, {520u, parts.dc}, {521u, parts.ac}}) {
    const uint32_t place = kStart + static_cast<uint32_t>(position);
    file.more.push_back({tag, 4, {place, place, place}});
  }
  file.more.push_back({530, 3, {2, 1}});
  return file;
}

int32_t load_rgb(const Bytes& file, Bitmap& bitmap) {
  return T_LoadBitmapMemory(file.data(), bitmap.get(), 24, T_ORDER_RGB,
                            static_cast<uint32_t>(file.size()));
}

Bytes picture_of(const Bytes& file) {
  Bitmap bitmap;
  return load_rgb(file, bitmap) == T_OK ? rgb(bitmap.get()) : Bytes();
}

TEST(OldJpegInTiff, AllArrangementsShowTheSamePicture) {
  const Parts parts(6);  // a restart before each strip
  const Parts fine(3);   // and one inside, their numbers going on
  const Bytes want = picture_of(parts.stream);
  ASSERT_FALSE(want.empty());
  ASSERT_EQ(parts.pieces.size(), 3u);
  ASSERT_EQ(fine.pieces.size(), 3u);

  std::vector<std::pair<const char*, OldFile>> files;
  OldFile whole{parts.stream, {}, {}, kHeight, {at(513, 0), length(parts.stream.size())}};
  files.emplace_back("a whole stream, no strips", whole);
  whole.offsets = {kStart + static_cast<uint32_t>(parts.data)};
  files.emplace_back("the strip is the data inside", whole);
  whole.more.pop_back();
  files.emplace_back("no length", whole);
  whole.more.clear();
  whole.offsets = {kStart};
  files.emplace_back("the strip is the stream", whole);
  whole.strip_rows = kStripRows;
  whole.offsets = {kStart, kStart + 700, kStart + 900};
  files.emplace_back("the first strip is the stream, the others lie in it", whole);

  OldFile inside{parts.stream, {}, {}, kStripRows, {at(513, 0), length(parts.stream.size())}};
  uint32_t place = kStart + static_cast<uint32_t>(parts.data);
  for (const Bytes& piece : parts.pieces) {
    inside.offsets.push_back(place);
    inside.sizes.push_back(static_cast<uint32_t>(piece.size()) + 2);
    place += inside.sizes.back();
  }
  files.emplace_back("strips inside the stream, restart markers at their ends", inside);
  inside.more.pop_back();
  files.emplace_back("the same without a length", inside);

  const Bytes header = parts.bytes(0, parts.data);
  std::vector<Bytes> late = parts.pieces;
  for (size_t i = 1; i < late.size(); ++i) late[i] = join({{0xFF, 0xD3}, late[i]});
  files.emplace_back("header and pieces", with_pieces(header, parts.pieces));
  files.emplace_back("restart markers inside pieces",
                     with_pieces(fine.bytes(0, fine.data), fine.pieces));
  files.emplace_back("restart markers before pieces", with_pieces(header, late));
  std::vector<Bytes> scan = parts.pieces;
  scan[0] = join({parts.bytes(parts.scan, parts.data), scan[0]});
  files.emplace_back("scan header before the first piece",
                     with_pieces(parts.bytes(0, parts.scan), scan));
  OldFile tables = with_pieces(
      join({parts.bytes(0, parts.frame), parts.color_tables(), {0xFF, 0xD9}}), parts.pieces);
  tables.more.push_back({530, 3, {2, 1}});
  files.emplace_back("a stream of tables alone", tables);

  files.emplace_back("tables in tags", with_tables(parts, 6));
  files.emplace_back("tables in tags, restarts", with_tables(fine, 3));
  const Parts plain(0);
  OldFile one = with_tables(plain, 0);
  one.strip_rows = kHeight;
  files.emplace_back("tables in tags, one strip", one);
  // Tiles with the strips' data, as those are as wide as a picture of 40 pixels.
  OldFile tiled = with_pieces(header, parts.pieces);
  tiled.is_tiled = true;
  files.emplace_back("tiles", tiled);
  // The header's frame is as wide as the picture, a tile is not.
  tiled.data[parts.frame + 8] = 80;
  files.emplace_back("tiles, header of another width", tiled);
  for (const auto& [what, file] : files) EXPECT_EQ(picture_of(file.file()), want) << what;
}

// Alpha is a component like the others: it is left out.
TEST(JpegInTiff, ExtraComponentsAreLeftOut) {
  const auto load_components = [](size_t components, uint32_t photometric) {
    JpegPicture picture(kWidth, kHeight, {{1, 1, 1}, {2, 1, 1}, {3, 1, 1}, {4, 1, 1}}, 3);
    picture.components.resize(components);
    picture.coefficients.resize(components);
    const Bytes stream = jpeg_stream(picture, {});
    return picture_of(tiff_file(tiff_tags(kWidth, kHeight, 8, static_cast<uint32_t>(components), 7,
                                          photometric, static_cast<uint32_t>(stream.size())),
                                stream));
  };
  const Bytes colors = load_components(3, 2);
  ASSERT_FALSE(colors.empty());
  EXPECT_EQ(load_components(4, 2), colors);
  const Bytes gray = load_components(1, 1);
  ASSERT_FALSE(gray.empty());
  EXPECT_EQ(load_components(2, 1), gray);
  EXPECT_EQ(load_components(3, 1), gray);
}

TEST(OldJpegInTiff, DamageIsAStatus) {
  const Parts parts(6);
  const auto status = [](const OldFile& file) {
    Bitmap bitmap;
    return load_rgb(file.file(), bitmap);
  };
  OldFile lossless = with_tables(parts, 6);
  lossless.more[0] = {512, 3, {14}};
  EXPECT_EQ(status(lossless), T_ERR_SUBTYPE);
  OldFile bare = with_tables(parts, 6);
  bare.more.erase(bare.more.begin() + 2);  // quantisers
  EXPECT_EQ(status(bare), T_ERR_BAD_DATA);
  OldFile outside = with_tables(parts, 6);
  outside.more[3] = {520, 4, {0x7FFFFFF0}};
  EXPECT_EQ(status(outside), T_ERR_READ);
  OldFile nothing{Bytes(64, 0), {kStart}, {64}, kHeight};
  EXPECT_EQ(status(nothing), T_ERR_BAD_DATA);
  std::vector<Bytes> scan = parts.pieces;
  scan[0] = join({{0xFF, 0xDA, 0, 1}, scan[0]});
  OldFile short_scan = with_pieces(parts.bytes(0, parts.data), scan);
  EXPECT_EQ(status(short_scan), T_ERR_BAD_DATA);

  // A cut strip is reported, and the strips behind it are there all the same.
  OldFile cut = with_tables(parts, 6);
  cut.sizes[1] /= 2;
  Bitmap bitmap;
  EXPECT_EQ(load_rgb(cut.file(), bitmap), T_ERR_READ);
  const Bytes got = rgb(bitmap.get());
  const Bytes want = picture_of(parts.stream);
  ASSERT_EQ(got.size(), want.size());
  EXPECT_TRUE(
      std::equal(want.begin() + kWidth * 3 * 32, want.end(), got.begin() + kWidth * 3 * 32));
  EXPECT_TRUE(std::equal(want.begin(), want.begin() + kWidth * 3 * 16, got.begin()));
}

}  // namespace
}  // namespace tavo::test
