// Where things are in a TIFF file: pages, tags, values. TIFF 6.0, section 2, and its 64-bit form
// ("BigTIFF").
#pragma once

#include <array>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "io/input_file.h"

namespace tavo::tiff {

// The tags that are read or written, and the sections of TIFF 6.0 that define them.
enum class Tag : uint16_t {
  kNewSubfileType = 254,               // 8
  kImageWidth = 256,                   // 3
  kImageLength = 257,                  // 3
  kBitsPerSample = 258,                // 4, 6
  kCompression = 259,                  // 3
  kPhotometric = 262,                  // 3 to 6
  kFillOrder = 266,                    // 8
  kStripOffsets = 273,                 // 3
  kOrientation = 274,                  // 8
  kSamplesPerPixel = 277,              // 6
  kRowsPerStrip = 278,                 // 3
  kStripByteCounts = 279,              // 3
  kXResolution = 282,                  // 3
  kYResolution = 283,                  // 3
  kPlanarConfiguration = 284,          // 8
  kT4Options = 292,                    // 11
  kT6Options = 293,                    // 11
  kResolutionUnit = 296,               // 3
  kPageNumber = 297,                   // 12
  kPredictor = 317,                    // 14
  kColorMap = 320,                     // 5
  kTileWidth = 322,                    // 15
  kTileLength = 323,                   // 15
  kTileOffsets = 324,                  // 15
  kTileByteCounts = 325,               // 15
  kInkSet = 332,                       // 16
  kExtraSamples = 338,                 // 18
  kSampleFormat = 339,                 // 19
  kJpegTables = 347,                   // Technical Note 2
  kJpegProc = 512,                     // 22
  kJpegInterchangeFormat = 513,        // 22
  kJpegInterchangeFormatLength = 514,  // 22
  kJpegRestartInterval = 515,          // 22
  kJpegQTables = 519,                  // 22
  kJpegDcTables = 520,                 // 22
  kJpegAcTables = 521,                 // 22
  kYCbCrCoefficients = 529,            // 21
  kYCbCrSubSampling = 530,             // 21
  kReferenceBlackWhite = 532,          // 20
};

// Types of values (6.0, section 2); 13 is Technical Note 1's, 16 to 18 those of 64-bit files.
enum Type : uint16_t {
  kByte = 1,
  kAscii = 2,
  kShort = 3,
  kLong = 4,
  kRational = 5,
  kSignedByte = 6,
  kUndefined = 7,
  kSignedShort = 8,
  kSignedLong = 9,
  kIfd = 13,
  kLong8 = 16,
  kSignedLong8 = 17,
  kIfd8 = 18,
};

// The values of one tag: where they are in the file. A count of 0: the tag is not there.
struct Field {
  uint16_t type = 0;
  uint64_t count = 0;
  uint64_t position = 0;
};

// How integers and offsets are stored.
struct ByteOrder {
  bool is_big_endian = false;
  bool is_64_bit = false;

  uint16_t u16(const uint8_t* bytes) const;
  uint32_t u32(const uint8_t* bytes) const;
  uint64_t u64(const uint8_t* bytes) const;
};

// One page: its tags, and access to their values.
class Directory {
 public:
  // Reads the file's header and walks to page `page` (from 1; beyond the last one: the last).
  // kBadData when the file is no TIFF file, or has no page; kReadError when its tags were cut.
  Status open(io::InputFile& file, int32_t page);

  int32_t page() const { return page_; }
  const ByteOrder& order() const { return order_; }
  // T_EXTRA_ bits of tags that nothing else is known of.
  uint32_t extras() const { return extras_; }

  // All pages; a chain that bites its tail, or was cut, ends there. Leaves this page's tags alone.
  Status count_pages(int32_t& pages);

  // Where the offset of the page behind the last one is stored: it is 0; and how many pages there
  // are. kBadData for a chain without an end, kReadError when the file was cut there.
  Status find_end(uint64_t& link, int32_t& pages);

  const Field& field(Tag tag) const;
  bool has(Tag tag) const { return field(tag).count > 0; }

  // Value number `index` of a tag of integers. kBadData when there is none or it is not stored as
  // an integer; kReadError when it lies behind the end of the file.
  Status value(Tag tag, uint64_t index, uint64_t& value) const;

  // The same, with `fallback` where there is no integer. What is there but cannot be read is an
  // error: other values than the file's make another picture. Values beyond 32 bits count as the
  // largest one.
  Status get(Tag tag, uint32_t fallback, uint32_t& value, uint64_t index = 0) const;

  // A fraction. kBadData when there is none, or its denominator is 0; kReadError as for integers.
  Status rational(Tag tag, uint64_t index, uint32_t& numerator, uint32_t& denominator) const;

  // Bytes of a tag as they stand in the file.
  Status bytes(const Field& field, uint64_t offset, std::span<uint8_t> into) const;

  io::InputFile& file() const { return *file_; }

 private:
  // Fields are kept of all tags from the first to the last of those above, known or not.
  static constexpr auto kFirstTag = static_cast<uint16_t>(Tag::kNewSubfileType);
  static constexpr auto kLastTag = static_cast<uint16_t>(Tag::kReferenceBlackWhite);

  Status walk(int32_t page, int32_t& number);
  Status read_header(uint64_t& first);
  Status read_link(uint64_t directory, uint64_t& next);
  Status read_entries(uint64_t position);
  void take_entry(const uint8_t* entry, uint64_t position);
  bool is_in_file(const Field& field) const;
  Status read_count(uint64_t position, uint64_t& count) const;
  size_t entry_size() const { return order_.is_64_bit ? 20 : 12; }

  io::InputFile* file_ = nullptr;
  ByteOrder order_;
  uint64_t first_ = 0;
  uint64_t directory_ = 0;  // where walk() stopped
  uint64_t end_link_ = 0;
  int32_t page_ = 0;
  uint32_t extras_ = 0;
  uint32_t file_bytes_ = 0;
  std::array<Field, kLastTag - kFirstTag + 1> fields_ = {};
};

// Bytes of a value; 0 for an unknown type.
uint32_t type_size(uint16_t type);

// A row of integers of one tag, read piece by piece as they are asked for.
class ValueList {
 public:
  ValueList(const Directory& directory, Tag tag)
      : directory_(directory), field_(directory.field(tag)) {}

  uint64_t size() const { return field_.count; }
  Status get(uint64_t index, uint64_t& value);

 private:
  const Directory& directory_;
  const Field& field_;
  std::array<uint8_t, 512> piece_;
  uint64_t first_ = 0;
  uint32_t held_ = 0;  // values in piece_
};

}  // namespace tavo::tiff
