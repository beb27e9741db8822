// The three planes of a Photo CD picture at one of its five levels, row by row.
//
// Base, Base/4 and Base/16 are stored: two rows of luma, then one of each chroma, which have half
// the width. 4Base is made of Base and differences of luma, 16Base of 4Base and differences of all
// planes. Nothing but a few rows is held: rows that follow each other, up or down, cost no more
// than once decoding.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/photocd_codes.h"
#include "codec/photocd_marks.h"
#include "codec/photocd_window.h"

namespace tavo::photocd {

inline constexpr uint32_t kBase16 = 1;  // Base/16
inline constexpr uint32_t kBase = 3;
inline constexpr uint32_t k4Base = 4;
inline constexpr uint32_t k16Base = 5;

constexpr uint32_t width_of(uint32_t level) { return 192u << (level - 1); }
constexpr uint32_t height_of(uint32_t level) { return 128u << (level - 1); }
constexpr uint32_t stored_bytes(uint32_t level) {
  return width_of(level) * height_of(level) / 2 * 3;
}

class PlaneRows {
 public:
  // Row `y`, which stays where it is until two others have been asked for.
  virtual Status row(uint32_t y, const uint8_t*& samples) = 0;

 protected:
  ~PlaneRows() = default;
};

// Makes rows and keeps the last two.
class MadeRows : public PlaneRows {
 public:
  Status row(uint32_t y, const uint8_t*& samples) final;

 protected:
  ~MadeRows() = default;
  Status allocate(uint32_t width);

 private:
  virtual Status make(uint32_t y, uint8_t* samples) = 0;

  static constexpr uint32_t kNone = UINT32_MAX;
  std::array<Buffer, 2> rows_;
  std::array<uint32_t, 2> numbers_ = {kNone, kNone};
};

class StoredPlane final : public MadeRows {
 public:
  // Of the level at byte `position`: 0 luma, 1 and 2 chroma.
  Status start(Window& window, uint64_t position, uint32_t level, uint32_t plane);

 private:
  Status make(uint32_t y, uint8_t* samples) override;

  Window* window_ = nullptr;
  uint64_t position_ = 0;
  uint32_t pair_bytes_ = 0;
  uint32_t plane_ = 0;
};

// What a level adds to a plane.
class Differences {
 public:
  Status start(const FileBytes& file, const RowIndex& index, uint32_t plane, const CodeTable& table,
               uint32_t width);
  Status add(uint32_t y, uint8_t* samples);

  // Whether any were missing so far.
  bool were_missing() const { return were_missing_; }

 private:
  Status decode(uint32_t pair);

  static constexpr uint32_t kNone = UINT32_MAX;
  const RowIndex* index_ = nullptr;
  const CodeTable* table_ = nullptr;
  uint32_t plane_ = 0;
  uint32_t width_ = 0;
  uint32_t pair_ = kNone;  // that is decoded: rows 2 * pair_ and the next one
  std::array<Window, 2> windows_;
  std::array<Buffer, 2> rows_;
  std::array<CodedRow, 2> codes_ = {};
  bool were_missing_ = false;
};

class DoubledPlane final : public MadeRows {
 public:
  // Of a plane of that size, with differences where there are any.
  Status start(PlaneRows& below, uint32_t width, uint32_t height, Differences* differences);

 private:
  Status make(uint32_t y, uint8_t* samples) override;

  PlaneRows* below_ = nullptr;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  Differences* differences_ = nullptr;
};

// Where the parts of a picture are in its file.
struct Layout {
  uint32_t level = kBase16;  // the one that is wanted
  uint64_t stored = 0;       // its bytes, or those of Base where it is a larger one
  // Only for k16Base, and from find_16base() then.
  uint64_t tables_16base = 0;  // code tables, which the differences follow
};

// Where an image pack that has 4Base has the code tables of 16Base; 0 when they cannot be found.
Status find_16base(const FileBytes& file, uint64_t& position);

class PlaneSet {
 public:
  PlaneSet() = default;
  PlaneSet(const PlaneSet&) = delete;
  PlaneSet& operator=(const PlaneSet&) = delete;

  // `file` must outlive it. Rows of a stored level that are not there are kReadError when they are
  // asked for.
  Status start(const FileBytes& file, const Layout& layout);

  // Of the level; the chroma planes have half of its width and height.
  PlaneRows& luma() { return *luma_; }
  PlaneRows& chroma(uint32_t i) { return *chroma_[i]; }

  // Whether rows that were asked for so far lack differences.
  bool is_damaged() const;
  // Whether a level ends before its last row.
  bool is_short() const;

 private:
  struct Codes {
    RowIndex index;
    Array<CodeTable> tables;
    std::array<Differences, 3> planes;
  };
  using Larger = std::array<DoubledPlane, 3>;

  Status start_codes(const FileBytes& file, uint64_t position, uint32_t level, Codes& codes);

  Window window_;
  std::array<StoredPlane, 3> stored_;
  std::array<Codes, 2> codes_;  // of 4Base and 16Base
  std::array<Larger, 2> larger_;
  PlaneRows* luma_ = nullptr;
  std::array<PlaneRows*, 2> chroma_ = {};
  bool is_short_ = false;
};

}  // namespace tavo::photocd
