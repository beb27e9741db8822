// What a Photo CD file holds, and its picture as it is shown.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/photocd_planes.h"
#include "io/input_file.h"

namespace tavo::pcd {

struct Contents {
  photocd::Layout layout;
  uint32_t quarters = 0;  // turns against the clock that bring the picture upright
  bool is_overview = false;
  uint32_t page = 1;
  uint32_t pages = 1;
};

// An open file for the decoder.
// The module pcdlib uses it, too (module/pcdlib.cpp). start() first, then parse() as often as
// wanted.
class PictureFile {
 public:
  explicit PictureFile(io::InputFile& file)
      : read_at_{file}, bytes_{photocd::ReadAt(read_at_), 0} {}
  PictureFile(const PictureFile&) = delete;
  PictureFile& operator=(const PictureFile&) = delete;

  Status start();
  const photocd::FileBytes& bytes() const { return bytes_; }

  // kBadData when the file is no Photo CD's. `head` has its first bytes, kHeadBytes if there are so
  // many; `level` is the one that is wanted, 0 the largest: that or the next one below is taken.
  Status parse(std::span<const uint8_t> head, uint32_t level, uint32_t page, Contents& contents);
  // The same when the head has not been read.
  Status parse(uint32_t level, uint32_t page, Contents& contents);
  // Two sectors: the attributes are in the second one.
  static constexpr size_t kHeadBytes = 4096;

 private:
  struct ReadAt {
    io::InputFile& file;
    Status operator()(uint64_t position, std::span<uint8_t> into) const {
      TRY(file.seek(position));
      return file.read(into);
    }
  };
  Status parse_image_pack(std::span<const uint8_t> head, uint32_t level, Contents& contents);

  ReadAt read_at_;
  photocd::FileBytes bytes_;
};

// Rows of red, green and blue, upright. A picture that is turned by a quarter is decoded a strip of
// columns at a time, so that little of it is held; two strips when it is the largest.
class Picture {
 public:
  Picture() = default;
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  // `file` must outlive it.
  Status start(const photocd::FileBytes& file, const Contents& contents);

  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }

  // Row `y`, from the top; `rgb` gets 3 * width() bytes. Least work when they follow each other.
  // kReadError when bytes are missing.
  Status row(uint32_t y, uint8_t* rgb);

  const photocd::PlaneSet& planes() const { return planes_; }

 private:
  // Columns of a plane as rows.
  struct HeldPlane final : photocd::PlaneRows {
    Status row(uint32_t y, const uint8_t*& samples) override {
      samples = samples_.data() + size_t{y - first} * length;
      return kOk;
    }
    // Takes rows `y` to `y + kBatch` of a plane into their place.
    Status hold(photocd::PlaneRows& plane, uint32_t y);

    uint32_t first = 0;  // column
    uint32_t count = 0;
    uint32_t length = 0;  // of one

    Buffer samples_;
    Buffer batch_;
  };

  Status start_turned(uint32_t level);
  Status hold_strip(uint32_t column);

  photocd::PlaneSet planes_;
  photocd::PlaneRows* luma_ = nullptr;
  std::array<photocd::DoubledPlane, 2> chroma_;
  std::array<HeldPlane, 3> held_;
  uint32_t strip_columns_ = 0;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  bool is_turned_ = false;    // by a quarter
  bool is_upwards_ = false;   // rows are taken from the last on
  bool is_mirrored_ = false;  // and so are their pixels
  Buffer row_;
};

}  // namespace tavo::pcd
