// The codecs that files of several formats share: inflate and PackBits.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "codec/inflate.h"
#include "codec/packbits.h"
#include "support.h"

namespace tavo {
namespace {

using test::Bytes;
using test::hex;
using test::Pieces;

struct Result {
  Status status = kOk;
  Bytes bytes;
};

// Decodes up to `most` bytes, `part` at a time.
template <class Decoder>
Result decode_parts(Decoder& decoder, size_t most, size_t part) {
  Result result;
  while (result.bytes.size() < most && result.status.ok()) {
    Bytes out(std::min(part, most - result.bytes.size()));
    result.status = decoder.decode(out);
    if (result.status.ok()) result.bytes.insert(result.bytes.end(), out.begin(), out.end());
  }
  return result;
}

Result inflate_all(const Bytes& stream, size_t most, size_t step = 1000, size_t part = 1) {
  Pieces pieces{stream, step};
  ByteSource source(pieces);
  inflate::Decoder decoder;
  EXPECT_TRUE(source.start(1024, 1024, 1024).ok() && decoder.start().ok());
  decoder.begin(source);
  return decode_parts(decoder, most, part);
}

// ---- Inflate ----

Bytes words(size_t size) {
  constexpr const char* kWords[] = {"the ", "picture ", "of ", "rows ", "and ", "a ", "line\n"};
  std::string text;
  for (uint32_t x = 1; text.size() < size; text += kWords[(x >> 16) % 7]) {
    x = (x * 1103515245 + 12345) & 0x7FFFFFFF;
  }
  return test::part(test::text(text), 0, size);
}

// What comes back from 32,700 bytes before, and runs of one byte.
Bytes far_back() {
  Bytes key(60);
  for (size_t i = 0; i < key.size(); ++i) key[i] = static_cast<uint8_t>(i * 37 + 11);
  Bytes all = key;
  all.resize(all.size() + 32640);
  all.insert(all.end(), key.begin(), key.end());
  all.resize(all.size() + 300, 7);
  all.insert(all.end(), key.begin(), key.end());
  return all;
}

struct Stream {
  const char* what;
  Bytes data;
  Bytes stream;  // zlib's
};

const std::vector<Stream>& streams() {
  static const std::vector<Stream> all = {
      {"stored in two blocks", words(40),
       hex("7801001400EBFF726F777320616E6420612070696374757265206C011400EBFF696E650A6C696E650A70"
           "696374757265206C696E2AB30E9F")},
      {"fixed codes", words(400),
       hex("78012BCA2F2F5648CC4B51485428C84C2E292D4A55C8C9CC4BE5021328222519A9404589100E8C026A84"
           "2942A741EAF3D34008C31830A30864339C075406760592814021B01A2CAE004A215C9908D6856C0A4C47"
           "221882B4C02D83199A886C0DC22CB01CC8140C77A37B0F2904E0D6832C803810A10A6622DC0510E7425D"
           "0A1680D26023001F088B8D")},
      {"codes of its own", words(400),
       hex("78DA6D50410E80200CBBFB0ABEB62846120306317EDFAD30403410C6B6AE2DC4709F86FC62C81C6E4E57"
           "B46677DE4E385E95B45906514E34F0A082C628F8B0CAFED0E01245B9660C838B8E904BC0FCB8E0567349"
           "98EA597482B064A48A2929F5328D0B3D61F9F81E9FD7FD409517816CB0A194B13AC8768B53144A04C503"
           "1F088B8D")},
      {"literals alone", words(200),
       hex("780105C1D10944210C04C0FF54B1AD055D712144C9455EFB3753E7FBC173C27135FA15114A5A286957A3"
           "5F11A1A4F5261C8E50D21CA1A4794E5C8D7E455C8D7E455C8D7E45F426CEC259B81AFD8A0825AD37114A"
           "5A9DEF87DE44286967C173C273E26AF42BE22CD4F97EB81AFD8A0825AD37E1380BA1A48592E6F09C7FDA"
           "68467B")},
      {"matches far back", far_back(),
       hex("78DAEDD0D18502000000D0FEEE23222222A205222222225A20222222A205222222225A202222221A2122"
           "22221A21222222D20AC7FDDCC77B23BC60AADC996EAFA174A53BDBDDC2996A6FBEBF47B2B5FEE2F088E6"
           "EA83E5F119CB3786ABD32B5E688ED6E777A2D81A6F2E9F64A93D09000000000000000000000000000000"
           "00000000000000000000000000000000C03F104C953BD3ED3594AE7467BB5B3853EDCDF7F748B6D65F1C"
           "1ED15C7DB03C3E63F9C670757AC50BCDD1FAFC4E145BE3CDE5932CB5273FFCDA5F9EBFFE686367")},
  };
  return all;
}

TEST(Inflate, AllKindsOfBlocksInAnyPieces) {
  for (const Stream& s : streams()) {
    for (const size_t step : {1, 7, 1000}) {
      for (const size_t part : {1, 13, 100000}) {
        const Result got = inflate_all(s.stream, s.data.size(), step, part);
        EXPECT_TRUE(got.bytes == s.data) << s.what << ", " << step << ", " << part;
      }
    }
    EXPECT_EQ(inflate_all(s.stream, s.data.size() + 1).status, kReadError) << s.what;
  }
}

TEST(Inflate, CutStreamsGiveWhatIsThere) {
  for (const Stream& s : streams()) {
    for (size_t size = 0; size + 5 < s.stream.size(); ++size) {  // checksum, end of the block
      const Bytes cut = test::part(s.stream, 0, size);
      const Result got = inflate_all(cut, s.data.size(), 1000, size % 2 == 0 ? 1 : 50);
      if (got.bytes == s.data) continue;  // the last byte was there
      EXPECT_EQ(got.status, kReadError) << s.what << ", " << size;
      EXPECT_TRUE(std::equal(got.bytes.begin(), got.bytes.end(), s.data.begin())) << s.what;
    }
  }
}

TEST(Inflate, WhatNoEncoderWritesIsBadData) {
  const struct {
    const char* what;
    Bytes stream;
  } cases[] = {
      {"another method", {0x79, 0x9A, 3, 0}},
      {"check of the header", {0x78, 0x9D, 3, 0}},
      {"a dictionary", {0x78, 0xBB, 0, 0, 0, 0, 3}},
      {"block of kind 3", {0x78, 0x9C, 0x07, 0}},
      {"stored length without its complement", {0x78, 0x9C, 0x01, 4, 0, 4, 0, 1, 2, 3, 4}},
      // Fixed codes: length 3 (0000001), distance 1 (00000) before any byte.
      {"match before the beginning", {0x78, 0x9C, 0x03, 0x02, 0, 0, 0, 0, 0, 0}},
      {"symbol 286", {0x78, 0x9C, 0x1B, 0x03, 0, 0, 0, 0, 0, 0}},
      {"too many codes of one bit", {0x78, 0x9C, 0x05, 0xE0, 0x93, 0x24, 0x49, 0x92, 0x24, 0x49}},
      {"one code, not used",
       {0x78, 0x9C, 0x05, 0xC0, 0x81, 0x00, 0x00, 0x00, 0x00, 0x00, 0x90, 0xFF, 0x6B, 0x02}},
      {"repeats nothing", {0x78, 0x9C, 0x05, 0x00, 0x02, 0, 0, 0, 0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    Bytes stream = c.stream;
    stream.resize(40);
    EXPECT_EQ(inflate_all(stream, 10).status, kBadData) << c.what;
  }
}

// ---- PackBits ----

Result unpack(const Bytes& stream, size_t most, size_t step, size_t part) {
  Pieces pieces{stream, step};
  ByteSource source(pieces);
  EXPECT_TRUE(source.start(1024, 1024, 1024).ok());
  packbits::Decoder decoder(source);
  return decode_parts(decoder, most, part);
}

TEST(PackBits, PacketsGoOnFromCallToCall) {
  const Bytes stream = {2, 1, 2, 3, 128, 254, 9, 0, 4, 128, 129, 5};  // 128: nothing
  Bytes want = {1, 2, 3, 9, 9, 9, 4};
  want.resize(want.size() + 128, 5);
  for (const size_t step : {1, 100}) {
    for (const size_t part : {1, 2, 5, 200}) {
      EXPECT_EQ(unpack(stream, want.size(), step, part).bytes, want) << step << ", " << part;
    }
  }
  EXPECT_EQ(unpack(stream, want.size() + 1, 100, 1).status, kReadError);
  EXPECT_EQ(unpack({254}, 3, 100, 3).status, kReadError);
  EXPECT_EQ(unpack({5, 1, 2}, 3, 100, 3).status, kReadError);
}

TEST(PackBits, RowsOfRunsAndNoiseComeBack) {
  test::Random random(3);
  for (size_t size = 1; size < 2000; size += 1 + size / 5) {
    for (const uint32_t longest : {1u, 4u, 40u, 400u}) {
      Bytes row;
      while (row.size() < size) {
        row.resize(std::min<size_t>(size, row.size() + 1 + random.below(longest)), random.byte());
      }
      Bytes coded(packbits::max_encoded_size(size));
      coded.resize(packbits::encode(row, coded.data()));
      EXPECT_EQ(unpack(coded, size, 1000, size).bytes, row) << size << ", " << longest;
      EXPECT_EQ(unpack(coded, size, 50, 333).bytes, row) << size << ", " << longest;
    }
  }
}

}  // namespace
}  // namespace tavo
