#include "formats/pcd_picture.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/endian.h"
#include "codec/photocd_samples.h"
#include "process/rotate/turn_rows.h"

namespace tavo::pcd {

namespace {

using photocd::k16Base;
using photocd::k4Base;
using photocd::kBase;
using photocd::kBase16;

// ---- Files ----

// Of the disc. Counted from 0: in sector 1 what the pack is; Base/16, Base/4 and Base from 4, 23
// and 96 on, 18, 72 and 288 long; in 388 the codes of 4Base, and from 389 on what they code.
constexpr uint64_t kSector = 2048;
constexpr std::string_view kImagePack = "PCD_IPI";
constexpr size_t kImagePackAt = kSector;
constexpr size_t kAttributesAt = 0xE02;  // bits 0-1 rotation, 2-3 the highest level above Base
constexpr std::array<uint64_t, kBase> kStoredAt = {4 * kSector, 23 * kSector, 96 * kSector};
constexpr uint64_t k4BaseCodesAt = 389 * kSector;

constexpr std::string_view kOverviewPack = "PCD_OPA";
// Two bytes, the high one first as ImageMagick reads them.
constexpr size_t kOverviewCountAt = 10;
constexpr uint64_t kOverviewAt = 5 * kSector;
constexpr uint64_t kOverviewBytes = 18 * kSector;
constexpr uint32_t kMostOverviews = 1023;
static_assert(kOverviewBytes == photocd::stored_bytes(kBase16));

bool has_mark(std::span<const uint8_t> head, size_t at, std::string_view mark) {
  return head.size() >= at + mark.size() && std::memcmp(&head[at], mark.data(), mark.size()) == 0;
}

// Pictures of Base/16 one after the other, as many as begin in the file.
Status parse_overview(std::span<const uint8_t> head, uint64_t file_bytes, uint32_t page,
                      Contents& contents) {
  if (head.size() < kOverviewCountAt + 2) return kReadError;
  const uint32_t count = load_be16(&head[kOverviewCountAt]);
  if (count == 0 || count > kMostOverviews) return kBadData;
  const uint64_t behind = file_bytes - std::min(file_bytes, kOverviewAt);
  const uint64_t there = (behind + kOverviewBytes - 1) / kOverviewBytes;
  contents.is_overview = true;
  contents.pages = static_cast<uint32_t>(std::clamp<uint64_t>(there, 1, count));
  contents.page = std::min(page, contents.pages);
  contents.layout = {kBase16, kOverviewAt + (contents.page - 1) * kOverviewBytes, 0};
  return kOk;
}

}  // namespace

Status PictureFile::start() {
  uint32_t size = 0;
  TRY(read_at_.file.size(size));
  bytes_.size = size;
  return kOk;
}

Status PictureFile::parse(std::span<const uint8_t> head, uint32_t level, uint32_t page,
                          Contents& contents) {
  contents = Contents();
  if (has_mark(head, 0, kOverviewPack)) {
    return parse_overview(head, bytes_.size, page, contents);
  }
  if (!has_mark(head, kImagePackAt, kImagePack)) return kBadData;
  return parse_image_pack(head, level, contents);
}

Status PictureFile::parse(uint32_t level, uint32_t page, Contents& contents) {
  std::array<uint8_t, kHeadBytes> head;
  const auto there = static_cast<size_t>(std::min<uint64_t>(head.size(), bytes_.size));
  TRY(bytes_.read(0, std::span(head).first(there)));
  return parse(std::span(head).first(there), level, page, contents);
}

// A level counts as far as the file is long enough for it, those that are coded when they begin.
Status PictureFile::parse_image_pack(std::span<const uint8_t> head, uint32_t level,
                                     Contents& contents) {
  const uint8_t attributes = head.size() > kAttributesAt ? head[kAttributesAt] : 0;
  contents.quarters = attributes & 3;
  uint32_t largest = std::min(kBase + (attributes >> 2 & 3), k16Base);
  // Packs of Base alone end some sectors before; attributes may say more than a file that was cut
  // has.
  if (bytes_.size <= k4BaseCodesAt) largest = kBase;
  while (largest <= kBase && largest > kBase16 &&
         bytes_.size < kStoredAt[largest - 1] + photocd::stored_bytes(largest)) {
    --largest;
  }
  // 16Base is looked for only when it is asked: it takes reading all of 4Base.
  const uint32_t wanted = level == 0 ? k16Base : level;
  if (largest == k16Base && wanted == k16Base) {
    TRY(photocd::find_16base(bytes_, contents.layout.tables_16base));
    if (contents.layout.tables_16base == 0) largest = k4Base;
  }
  contents.layout.level = std::min(wanted, largest);
  contents.layout.stored = kStoredAt[std::min(contents.layout.level, kBase) - 1];
  return kOk;
}

// ---- Pictures ----

namespace {

constexpr uint32_t kBatch = 32;                    // rows that are turned at once
constexpr uint32_t kMostHeld = uint32_t{6} << 20;  // bytes

}  // namespace

Status Picture::start(const photocd::FileBytes& file, const Contents& contents) {
  const uint32_t level = contents.layout.level;
  TRY(planes_.start(file, contents.layout));
  luma_ = &planes_.luma();
  width_ = photocd::width_of(level);
  height_ = photocd::height_of(level);
  // By a quarter columns become rows: from the last on against the clock (1), mirrored with it (3).
  // A half turn (2) is both without that.
  is_turned_ = contents.quarters % 2 != 0;
  is_upwards_ = contents.quarters == 1 || contents.quarters == 2;
  is_mirrored_ = contents.quarters >= 2;
  if (is_turned_) {
    TRY(start_turned(level));
  } else {
    for (uint32_t i = 0; i < 2; ++i) {
      TRY(chroma_[i].start(planes_.chroma(i), width_ / 2, height_ / 2, nullptr));
    }
  }
  return row_.allocate(is_mirrored_ ? 3 * uint64_t{width_} + photocd::kRowSlack : 0);
}

// The columns of the planes become the rows of planes that are held, of which chroma is doubled as
// ever: that is the same both ways.
Status Picture::start_turned(uint32_t level) {
  std::swap(width_, height_);
  // Each strip takes decoding the whole picture once more: 16Base, 9 MiB, has two, all other levels
  // one.
  const uint32_t strips = (photocd::stored_bytes(level) - 1) / kMostHeld + 1;
  // Even, so that each strip begins with a whole column of chroma.
  strip_columns_ = height_ / strips / 2 * 2;
  for (uint32_t i = 0; i < 3; ++i) {
    HeldPlane& plane = held_[i];
    plane.length = i == 0 ? width_ : width_ / 2;
    // One column more of chroma than luma needs, which the last one between is made of.
    const uint64_t most = i == 0 ? strip_columns_ : strip_columns_ / 2 + 1;
    TRY(plane.samples_.allocate(most * plane.length + photocd::kRowSlack));
    TRY(plane.batch_.allocate(most * kBatch));
  }
  luma_ = &held_[0];
  for (uint32_t i = 0; i < 2; ++i) {
    TRY(chroma_[i].start(held_[1 + i], width_ / 2, height_ / 2, nullptr));
  }
  return kOk;
}

Status Picture::HeldPlane::hold(photocd::PlaneRows& plane, uint32_t y) {
  const uint32_t rows = std::min(kBatch, length - y);
  for (uint32_t i = 0; i < rows; ++i) {
    const uint8_t* samples = nullptr;
    TRY(plane.row(y + i, samples));
    std::memcpy(batch_.data() + size_t{i} * count, samples + first, count);
  }
  process::transpose(8)({batch_.data(), static_cast<ptrdiff_t>(count)},
                        {samples_.data() + y, static_cast<ptrdiff_t>(length)}, count, rows);
  return kOk;
}

Status Picture::hold_strip(uint32_t column) {
  const uint32_t first = column / strip_columns_ * strip_columns_;
  const uint32_t count = std::min(strip_columns_, height_ - first);
  held_[0].first = first;
  held_[0].count = count;
  for (uint32_t i = 1; i < 3; ++i) {
    held_[i].first = first / 2;
    held_[i].count = std::min(count / 2 + 1, (height_ - first) / 2);
  }
  const auto hold = [&] {
    for (uint32_t y = 0; y < width_; y += kBatch) {
      TRY(held_[0].hold(planes_.luma(), y));
      // Chroma has half the rows: a batch of it for two of luma.
      if (y % (2 * kBatch) != 0) continue;
      for (uint32_t i = 1; i < 3; ++i) TRY(held_[i].hold(planes_.chroma(i - 1), y / 2));
    }
    return kOk;
  };
  const Status status = hold();
  // The next row tries again: half of a strip is none.
  if (!status.ok()) held_[0].count = 0;
  return status;
}

Status Picture::row(uint32_t y, uint8_t* rgb) {
  const uint32_t at = is_upwards_ ? height_ - 1 - y : y;
  if (is_turned_ && at - held_[0].first >= held_[0].count) TRY(hold_strip(at));
  const uint8_t *luma = nullptr, *c1 = nullptr, *c2 = nullptr;
  TRY(luma_->row(at, luma));
  TRY(chroma_[0].row(at, c1));
  TRY(chroma_[1].row(at, c2));
  photocd::to_rgb(luma, c1, c2, width_, is_mirrored_ ? row_.data() : rgb);
  if (is_mirrored_) process::mirror_row(24)(row_.data(), rgb, width_);
  return kOk;
}

}  // namespace tavo::pcd
