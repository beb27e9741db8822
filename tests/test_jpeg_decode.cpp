// The JPEG decoder: arrangements of scans against one another, damaged streams.
#include <gtest/gtest.h>

#include <algorithm>

#include "codec/jpeg/decoder.h"
#include "jpeg_streams.h"
#include "platform/platform.h"
#include "processor_levels.h"

namespace tavo::test {
namespace {

using jpeg::PixelLayout;

struct Decoded {
  Status status = kOk;   // of the calls
  Status outcome = kOk;  // of the picture
  uint32_t width = 0;
  uint32_t rows = 0;
  Bytes pixels;
};

Decoded decode(const Bytes& stream, PixelLayout layout = PixelLayout::kRgb24,
               const jpeg::ReadOptions& options = {}, uint32_t rows_a_call = 5) {
  Decoded result;
  jpeg::Decoder decoder;
  ByteSource source{std::span<const uint8_t>(stream)};
  result.status = decoder.read_header(source, options);
  if (!result.status.ok()) return result;
  result.width = decoder.frame().width;
  result.status = decoder.start(layout);
  if (!result.status.ok()) return result;
  const size_t row_bytes = result.width * (layout == PixelLayout::kGray8 ? 1 : 3);
  Bytes rows(row_bytes * rows_a_call);
  for (uint32_t got = 1; got > 0 && result.rows <= UINT16_MAX;) {
    result.status = decoder.next_rows(rows, row_bytes, rows_a_call, got);
    if (!result.status.ok()) return result;
    result.pixels.insert(result.pixels.end(), rows.begin(), rows.begin() + got * row_bytes);
    result.rows += got;
  }
  result.outcome = decoder.outcome();
  return result;
}

// Where the first marker of this code begins.
size_t find_marker(const Bytes& stream, int code, size_t from = 0) {
  const uint8_t marker[] = {0xFF, static_cast<uint8_t>(code)};
  return static_cast<size_t>(std::search(stream.begin() + from, stream.end(), marker, marker + 2) -
                             stream.begin());
}

// ---- Arrangements ----

// The same coefficients, however they are arranged and on whatever processor, are the same picture.
TEST(JpegDecoder, ArrangementsOfScansGiveTheSamePicture) {
  const std::vector<std::vector<JpegComponent>> samplings = {
      {{1, 2, 2}},
      ycc(1, 1),
      ycc(2, 1),
      ycc(2, 2),
      ycc(1, 2),
      ycc(4, 1),
      ycc(4, 2),
      {{1, 2, 1}, {2, 1, 2}, {3, 1, 1}},
      {{1, 1, 1}, {2, 2, 2}, {3, 2, 1}},
      {{1, 3, 1}, {2, 2, 1}, {3, 1, 3}},
      {{1, 2, 2}, {2, 1, 1}, {3, 1, 1}, {4, 2, 2}},
      {{1, 1, 1}, {2, 1, 1}},
  };
  const JpegOptions variants[] = {
      {.restart_interval = 1},
      {.restart_interval = 3},
      {.code_bits = 16},
      {.wide_quantisers = true},
      {.plan = ScanPlan::kSeparate},
      {.plan = ScanPlan::kSeparate, .restart_interval = 2},
      {.plan = ScanPlan::kProgressive},
      {.plan = ScanPlan::kProgressive, .restart_interval = 2, .code_bits = 16},
  };
  for (const auto& components : samplings) {
    for (const auto& [width, height] : {std::pair{1, 1}, {37, 21}, {64, 49}, {3, 40}}) {
      JpegPicture picture(width, height, components);
      const Bytes plain = jpeg_stream(picture, {});
      Decoded want;
      {
        const LimitedProcessor limited(platform::Processor::kSse2);
        want = decode(plain);
      }
      ASSERT_TRUE(want.status.ok() && want.outcome.ok());
      ASSERT_EQ(want.rows, height);
      EXPECT_EQ(decode(plain, PixelLayout::kRgb24, {}, 1).pixels, want.pixels);
      for (size_t i = 0; i < std::size(variants); ++i) {
        const Decoded got = decode(jpeg_stream(picture, variants[i]));
        EXPECT_EQ(got.outcome, kOk) << i;
        ASSERT_EQ(got.pixels, want.pixels)
            << i << ": " << components.size() << " components, " << width << " x " << height;
      }
    }
  }
}

// The same coefficients as cjpeg arranges them.
TEST(JpegDecoder, RefinementsGiveTheSamePicture) {
  for (const platform::Processor level : processor_levels()) {
    const LimitedProcessor limited(level);
    const Decoded want = decode(baseline_stream()), got = decode(refined_stream());
    EXPECT_EQ(got.outcome, kOk);
    EXPECT_EQ(want.pixels.size(), 24 * 17 * 3);
    EXPECT_EQ(got.pixels, want.pixels);
  }
}

TEST(JpegDecoder, LayoutsAgree) {
  JpegPicture picture(75, 33, ycc(2, 2));
  const Bytes stream = jpeg_stream(picture, {});
  const Bytes rgb = decode(stream).pixels;
  Bytes bgr = decode(stream, PixelLayout::kBgr24).pixels;
  for (size_t i = 0; i < bgr.size(); i += 3) std::swap(bgr[i], bgr[i + 2]);
  EXPECT_EQ(bgr, rgb);
  // Grey is the luminance alone.
  JpegPicture luminance(75, 33, {{1, 1, 1}});
  for (int y = 0; y < luminance.mcus_high(); ++y) {
    for (int x = 0; x < luminance.mcus_wide(); ++x) {
      luminance.block(0, x, y) = picture.block(0, x, y);
    }
  }
  EXPECT_EQ(decode(stream, PixelLayout::kGray8).pixels,
            decode(jpeg_stream(luminance, {}), PixelLayout::kGray8).pixels);
}

TEST(JpegDecoder, HeightMayComeBehindTheScan) {
  JpegPicture picture(20, 30, ycc(2, 1));
  const Bytes want = decode(jpeg_stream(picture, {})).pixels;
  const Bytes stream = jpeg_stream(picture, {.has_line_count = true});
  EXPECT_EQ(decode(stream).status, kBadData);
  ByteSource source{std::span<const uint8_t>(stream)};
  const uint32_t lines = jpeg::find_line_count(source);
  EXPECT_EQ(lines, 30);
  EXPECT_EQ(decode(stream, PixelLayout::kRgb24, {.color = {}, .lines = lines}).pixels, want);
}

TEST(JpegDecoder, TablesMayComeInAStreamOfTheirOwn) {
  JpegPicture picture(20, 30, ycc(2, 2));
  const Bytes whole = jpeg_stream(picture, {});
  const size_t frame = find_marker(whole, 0xC0);
  Bytes tables(whole.begin(), whole.begin() + frame);
  tables.insert(tables.end(), {0xFF, 0xD9});
  Bytes picture_only(whole.begin() + frame, whole.end());
  picture_only.insert(picture_only.begin(), {0xFF, 0xD8});

  jpeg::Decoder decoder;
  ByteSource first{std::span<const uint8_t>(tables)};
  ASSERT_EQ(decoder.feed_tables(first), kOk);
  for (int strip = 0; strip < 2; ++strip) {
    ByteSource second{std::span<const uint8_t>(picture_only)};
    ASSERT_EQ(decoder.read_header(second, {.color = jpeg::ColorSpace::kRgb}), kOk);
    EXPECT_EQ(decoder.color(), jpeg::ColorSpace::kRgb);
    ASSERT_EQ(decoder.start(PixelLayout::kRgb24), kOk);
    Bytes rows(20 * 3 * 30);
    uint32_t got = 0;
    ASSERT_EQ(decoder.next_rows(rows, 60, 30, got), kOk);
    EXPECT_EQ(got, 30);
    EXPECT_EQ(decoder.outcome(), kOk);
    EXPECT_EQ(rows, decode(whole, PixelLayout::kRgb24, {.color = jpeg::ColorSpace::kRgb}).pixels);
  }
  EXPECT_EQ(decode(picture_only).status, kBadData);  // no quantisers
}

TEST(JpegDecoder, MeaningOfComponents) {
  const std::vector<JpegComponent> letters = {{'R', 1, 1}, {'G', 1, 1}, {'B', 1, 1}};
  const std::vector<JpegComponent> four = {{1, 1, 1}, {2, 1, 1}, {3, 1, 1}, {4, 1, 1}};
  const struct {
    const char* what;
    std::vector<JpegComponent> components;
    std::vector<int> samples;
    Bytes segments;
    Bytes pixel;
    uint8_t gray;
  } cases[] = {
      {"grey", {{1, 1, 1}}, {77}, {}, {77, 77, 77}, 77},
      {"grey and something", {{1, 1, 1}, {2, 1, 1}}, {77, 9}, {}, {77, 77, 77}, 77},
      {"YCbCr", ycc(1, 1), {100, 100, 200}, {}, {201, 58, 50}, 100},
      {"JFIF wins", letters, {100, 100, 200}, jfif_segment(1, 72, 72), {201, 58, 50}, 100},
      {"letters", letters, {10, 20, 30}, {}, {10, 20, 30}, 18},
      {"Adobe RGB", ycc(1, 1), {10, 20, 30}, adobe_segment(0), {10, 20, 30}, 18},
      {"Adobe YCC", ycc(1, 1), {100, 100, 200}, adobe_segment(1), {201, 58, 50}, 100},
      {"CMYK, ink", four, {255, 155, 55, 0}, {}, {0, 100, 200}, 82},
      {"Adobe CMYK, light", four, {0, 100, 200, 255}, adobe_segment(0), {0, 100, 200}, 82},
      {"Adobe CMYK, half black", four, {0, 100, 200, 128}, adobe_segment(0), {0, 50, 100}, 41},
      {"CMYK, half black", four, {255, 155, 55, 127}, {}, {0, 50, 100}, 41},
      {"Adobe YCCK", four, {100, 100, 200, 255}, adobe_segment(2), {54, 197, 205}, 155},
      {"Adobe YCCK, half black", four, {100, 100, 200, 128}, adobe_segment(2), {27, 99, 103}, 78},
  };
  for (const auto& c : cases) {
    JpegPicture picture(1, 1, c.components, c.samples);
    const Bytes stream = jpeg_stream(picture, {.segments = c.segments});
    EXPECT_EQ(decode(stream).pixels, c.pixel) << c.what;
    EXPECT_EQ(decode(stream, PixelLayout::kGray8).pixels, Bytes{c.gray}) << c.what;
  }
}

// ---- Damage ----

bool is_gray(const Bytes& pixels, size_t from) {
  return std::all_of(pixels.begin() + from, pixels.end(), [](uint8_t b) { return b == 128; });
}

TEST(JpegDecoder, ACutStreamDeliversWhatIsThereAndGrey) {
  JpegPicture picture(40, 50, ycc(2, 2));
  for (const Bytes& stream :
       {jpeg_stream(picture, {}), jpeg_stream(picture, {.restart_interval = 2}), refined_stream(),
        jpeg_stream(picture, {.plan = ScanPlan::kSeparate})}) {
    const Bytes whole = decode(stream).pixels;
    const bool is_single =
        find_marker(stream, 0xDA, find_marker(stream, 0xDA) + 1) == stream.size();
    size_t sound_before = 0;
    for (size_t size = 0; size + 3 < stream.size(); ++size) {
      const Decoded got = decode(Bytes(stream.begin(), stream.begin() + size));
      if (!got.status.ok()) {
        EXPECT_EQ(got.status, kReadError) << size;
        continue;
      }
      ASSERT_EQ(got.outcome, kReadError) << size;
      ASSERT_EQ(got.pixels.size(), whole.size()) << size;
      if (!is_single) continue;
      const auto sound = static_cast<size_t>(
          std::mismatch(whole.begin(), whole.end(), got.pixels.begin()).first - whole.begin());
      // MCU rows: what the one has in which the data end is anybody's guess.
      const size_t row = 40 * 3;
      EXPECT_GE(sound / row / 16, sound_before / row / 16) << size;
      sound_before = sound;
      // Two MCU rows behind the last sound row everything is grey.
      EXPECT_TRUE(is_gray(got.pixels, std::min(got.pixels.size(), (sound / row + 33) * row)));
    }
    if (is_single) {
      EXPECT_GT(sound_before, whole.size() / 2);
    }
  }
}

TEST(JpegDecoder, DecodingGoesOnAtTheNextRestartMarker) {
  JpegPicture picture(64, 64, {{1, 1, 1}});  // 8 MCUs a row
  const Bytes stream = jpeg_stream(picture, {.restart_interval = 8});
  const Bytes whole = decode(stream, PixelLayout::kGray8).pixels;
  const auto marker_at = [&](int code) { return find_marker(stream, code); };
  const auto sound_rows = [&](const Bytes& damaged) {
    const Decoded got = decode(damaged, PixelLayout::kGray8);
    EXPECT_EQ(got.outcome, kBadData);
    std::string rows;
    for (size_t band = 0; band < 8; ++band) {
      rows += std::equal(whole.begin() + band * 512, whole.begin() + band * 512 + 512,
                         got.pixels.begin() + band * 512)
                  ? 's'
                  : 'x';
    }
    return rows;
  };
  Bytes overwritten = stream;  // invalid codes in the third interval
  for (int i = 0; i < 4; ++i) overwritten[marker_at(0xD1) + 12 + i] = 0xFE;
  EXPECT_EQ(sound_rows(overwritten), "ssxsssss");
  Bytes gone = stream;  // the third interval with its marker
  gone.erase(gone.begin() + marker_at(0xD1), gone.begin() + marker_at(0xD2));
  EXPECT_EQ(sound_rows(gone), "ssxsssss");
  Bytes repeated = stream;  // an old marker once more
  repeated.insert(repeated.begin() + marker_at(0xD3), {0xFF, 0xD1});
  EXPECT_EQ(sound_rows(repeated), "ssssssss");
  Bytes reserved = stream;  // a code that no marker has, in front of the marker
  reserved.insert(reserved.begin() + marker_at(0xD3), {0xFF, 0x51});
  EXPECT_EQ(sound_rows(reserved), "ssssssss");
  Bytes ended(stream.begin(), stream.begin() + marker_at(0xD4));
  ended.insert(ended.end(), {0xFF, 0xD9});
  EXPECT_EQ(sound_rows(ended), "sssssxxx");
}

// Three blocks: a code that the table lacks, which takes 17 bits with the one before it; behind it
// a level of -1 * 64, and one more.
TEST(JpegDecoder, DecodingGoesOnBehindABadCode) {
  const Bytes stream =
      join({hex("FFD8 FFDB0043 00"), Bytes(64, 64), hex("FFC0000B 08 0008 0018 01 011100"),
            hex("FFC40015 00 00020000000000000000000000000000 0001"),
            hex("FFC40014 10 01000000000000000000000000000000 00"),
            hex("FFDA0008 01 0100 003F00 FF00 FF00 907F FFD9")});
  const Decoded got = decode(stream, PixelLayout::kGray8);
  EXPECT_EQ(got.outcome, kBadData);
  ASSERT_EQ(got.pixels.size(), 192u);
  EXPECT_EQ(Bytes(got.pixels.begin(), got.pixels.begin() + 8), Bytes(8, 128));
  EXPECT_EQ(Bytes(got.pixels.begin() + 8, got.pixels.begin() + 24), Bytes(16, 120));
}

TEST(JpegDecoder, TakesPaddingBetweenAndBehindSegments) {
  JpegPicture picture(24, 24, ycc(2, 1));
  const Bytes stream = jpeg_stream(picture, {.restart_interval = 1});
  const Bytes want = decode(stream).pixels;
  Bytes padded;
  for (size_t i = 0; i < stream.size(); ++i) {
    // Fill bytes before every marker, in the coded data too.
    const bool is_marker = stream[i] == 0xFF && i + 1 < stream.size() && i > 0 &&
                           (stream[i + 1] >= 0xC0 || stream[i + 1] == 0xDB);
    if (is_marker) padded.insert(padded.end(), {0xFF, 0xFF});
    padded.push_back(stream[i]);
  }
  padded.insert(padded.end(), {'j', 'u', 'n', 'k'});
  const Decoded got = decode(padded);
  EXPECT_EQ(got.outcome, kOk);
  EXPECT_EQ(got.pixels, want);
}

TEST(JpegDecoder, RejectsBadSegments) {
  const struct {
    const char* why;
    int marker;  // of the segment
    size_t at;   // in its body
    uint8_t value;
    Status want;
  } changes[] = {
      {"quantisers never defined", 0xC0, 8, 1, kBadData},
      {"quantiser table 4", 0xC0, 8, 4, kBadData},
      {"a sampling factor of 0", 0xC0, 7, 0x01, kBadData},
      {"a sampling factor of 5", 0xC0, 7, 0x51, kBadData},
      {"no width", 0xC0, 4, 0, kBadData},
      {"no component", 0xC0, 5, 0, kBadData},
      {"five components", 0xC0, 5, 5, kBadData},
      {"more components than bytes", 0xC0, 5, 4, kBadData},
      {"12 bits", 0xC0, 0, 12, kSubtype},
      {"3 bits", 0xC0, 0, 3, kBadData},
      {"a scan of nothing", 0xDA, 0, 0, kBadData},
      {"a scan of more than there is", 0xDA, 0, 4, kBadData},
      {"a scan of an unknown component", 0xDA, 1, 9, kBadData},
      {"a component twice", 0xDA, 3, 1, kBadData},
      {"a DC table that is not there", 0xDA, 2, 0x20, kBadData},
      {"an AC table that is not there", 0xDA, 2, 0x03, kBadData},
      {"table class 2", 0xC4, 0, 0x20, kBadData},
      {"Huffman table 5", 0xC4, 0, 0x05, kBadData},
      {"more codes of 1 bit than there are", 0xC4, 1, 3, kBadData},
      {"more codes of 4 bits than there are", 0xC4, 4, 17, kBadData},
      {"a DC symbol that is no size", 0xC4, 17, 16, kBadData},
      {"quantisers of 3 bytes", 0xDB, 0, 0x20, kBadData},
  };
  JpegPicture picture(16, 16, ycc(1, 1));
  const Bytes stream = jpeg_stream(picture, {});
  for (const auto& c : changes) {
    Bytes changed = stream;
    changed[find_marker(changed, c.marker) + 4 + c.at] = c.value;
    EXPECT_EQ(decode(changed).status, c.want) << c.why;
  }
  for (const int code : {0xC3, 0xC5, 0xCB, 0xCD, 0xCF}) {
    Bytes changed = stream;
    changed[find_marker(changed, 0xC0) + 1] = static_cast<uint8_t>(code);
    EXPECT_EQ(decode(changed).status, kSubtype) << code;
  }
  for (const int code : {0xC0, 0xDA, 0xDB}) {
    Bytes changed = stream;
    const size_t at = find_marker(changed, code);
    changed[at + 2] = 0;
    changed[at + 3] = 1;  // less than the length itself
    EXPECT_EQ(decode(changed).status, kBadData) << code;
  }
}

// What is wrong between scans costs the scans that follow.
TEST(JpegDecoder, KeepsWhatCameBeforeABadSegment) {
  const Bytes good = refined_stream();
  size_t at = 0;
  for (int i = 0; i < 3; ++i) at = find_marker(good, 0xDA, at + 1);
  const Bytes second_frame = jpeg_segment(0xC2, {8, 0, 80, 0, 80, 1, 1, 0x11, 0});
  const Bytes bad_band = jpeg_segment(0xDA, {1, 1, 0, 9, 3, 0});
  const Bytes bad_table = jpeg_segment(0xDA, {1, 1, 0x22, 1, 63, 0});
  for (const Bytes& inserted : {second_frame, bad_band, bad_table}) {
    Bytes changed = good;
    changed.insert(changed.begin() + at, inserted.begin(), inserted.end());
    const Decoded got = decode(changed);
    EXPECT_EQ(got.status, kOk);
    EXPECT_EQ(got.outcome, kBadData);
    EXPECT_EQ(got.rows, 17);
    EXPECT_FALSE(is_gray(got.pixels, 0));
  }
}

TEST(JpegDecoder, AComponentThatNeverComesIsDamage) {
  JpegPicture picture(24, 24, ycc(1, 1));
  Bytes stream = jpeg_stream(picture, {.plan = ScanPlan::kSeparate});
  size_t last = 0;
  for (int i = 0; i < 3; ++i) last = find_marker(stream, 0xDA, last + 1);
  stream.resize(last);
  stream.insert(stream.end(), {0xFF, 0xD9});
  EXPECT_EQ(decode(stream).outcome, kBadData);
}

// ISO/IEC 10918-1, G.1.2.2: a run of ends of bands does not reach over a restart.
TEST(JpegDecoder, RestartsEndRunsOfBlocks) {
  // Symbols of the second table: 0 a run of two blocks and one bit more, 10 a coefficient of one
  // bit.
  const Bytes stream =
      join({hex("FFD8 FFDB0043 00"), Bytes(64, 99), hex("FFC2000B 08 0008 0010 01 011100"),
            hex("FFC40014 00 01000000000000000000000000000000 00"),
            hex("FFC40015 10 01010000000000000000000000000000 1001 FFDD0004 0001"),
            hex("FFDA0008 01 0100 000000 7FFFD07F FFDA0008 01 0100 013F00 7FFFD0A7 FFD9")});
  const Decoded got = decode(stream, PixelLayout::kGray8);
  ASSERT_EQ(got.pixels.size(), 128u);
  EXPECT_EQ(got.pixels[0], 128);
  EXPECT_NE(got.pixels[8], 128);
}

TEST(JpegDecoder, HugeClaimsEndQuickly) {
  for (const ScanPlan plan : {ScanPlan::kInterleaved, ScanPlan::kProgressive}) {
    JpegPicture picture(16, 16, ycc(1, 1));
    Bytes stream = jpeg_stream(picture, {.plan = plan});
    const size_t frame = find_marker(stream, plan == ScanPlan::kInterleaved ? 0xC0 : 0xC2);
    for (const size_t i : {5, 6, 7, 8}) stream[frame + i] = 0xFF;  // 65535 x 65535
    jpeg::Decoder decoder;
    ByteSource source{std::span<const uint8_t>(stream)};
    ASSERT_EQ(decoder.read_header(source, {}), kOk);
    const Status status = decoder.start(PixelLayout::kGray8);
    if (!status.ok()) {
      EXPECT_EQ(status, kNoMemory);
      continue;
    }
    Bytes row(65535);
    uint32_t rows = 0;
    for (uint32_t got = 1; got > 0 && rows <= UINT16_MAX; rows += got) {
      ASSERT_EQ(decoder.next_rows(row, row.size(), 1, got), kOk);
    }
    EXPECT_LT(rows, 100);
    EXPECT_FALSE(decoder.outcome().ok());
  }
}

// Passing what is lost takes time, too.
TEST(JpegDecoder, LostBlocksCountAsVisited) {
  JpegPicture picture(80, 80, ycc(1, 1));
  const Bytes stream = jpeg_stream(picture, {.plan = ScanPlan::kProgressive});
  Array<jpeg::Tables> tables;
  ASSERT_EQ(tables.allocate(1), kOk);
  ByteSource header{std::span<const uint8_t>(stream)};
  jpeg::MarkerReader markers(header, tables[0]);
  jpeg::Frame frame;
  jpeg::Scan scan;
  jpeg::Extras extras;
  jpeg::SegmentEnd end;
  ASSERT_EQ(markers.read_start(), kOk);
  ASSERT_EQ(markers.read_segments(frame, scan, extras, end), kOk);
  tables[0].restart_interval = 1000;
  jpeg::CoefficientStore store;
  jpeg::ScanReader reader;
  ASSERT_EQ(store.start(frame, 3), kOk);
  ASSERT_EQ(reader.start(4096), kOk);
  for (int i = 0; i < 65; ++i) {
    ByteSource nothing{std::span<const uint8_t>()};
    ASSERT_EQ(store.decode_scan(scan, tables[0], nothing, reader), kOk);
  }
  EXPECT_EQ(store.extra_visits(), 300u);
}

TEST(JpegDecoder, TenThousandScansEndQuickly) {
  JpegPicture picture(2000, 2000, {{1, 1, 1}}, std::vector{50});
  Bytes stream = jpeg_stream(picture, {.plan = ScanPlan::kProgressive});
  stream.resize(stream.size() - 2);
  // Refinements whose only symbol is a run over 2^14 blocks and more.
  Bytes scan = jpeg_segment(0xDA, {1, 1, 0, 1, 63, 0x10});
  for (int i = 0; i < 4; ++i) scan.insert(scan.end(), {0xE0, 0x7F, 0xFF});
  for (int i = 0; i < 10000; ++i) stream.insert(stream.end(), scan.begin(), scan.end());
  const Decoded got = decode(stream);
  EXPECT_EQ(got.outcome, kBadData);
  EXPECT_EQ(got.rows, 2000);
}

}  // namespace
}  // namespace tavo::test
