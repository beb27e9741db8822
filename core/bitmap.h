// Bitmap records and their storage: a memory block, a temporary file, or the caller's own.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::core {

// Bytes of a stored row: the pixels, rounded up to a multiple of 4. 0 for an invalid depth, a
// negative width, and a row that does not fit 32 bits.
uint32_t bytes_per_line(int32_t width, int32_t bits_per_pixel);

// Bytes that `width` pixels take without padding.
uint64_t packed_bytes(uint64_t width, int32_t bits_per_pixel);

// What the exports of the same names document.
Status init_bitmap(BitmapHandle& bitmap, int32_t width, int32_t height, int32_t bits_per_pixel);
Status allocate_bitmap(BitmapHandle& bitmap, uint32_t request);
// Request 1 as a part of another operation: the clearing of a disk bitmap tells no progress.
Status allocate_quietly(BitmapHandle& bitmap);
uintptr_t access_bitmap(BitmapHandle& bitmap);
int32_t release_bitmap(BitmapHandle& bitmap);
int32_t free_bitmap(BitmapHandle& bitmap);
Status clear_bitmap(BitmapHandle& bitmap);

inline bool has_flag(const BitmapHandle& bitmap, uint32_t flag) {
  return (bitmap.Flags & flag) != 0;
}
inline void set_flag(BitmapHandle& bitmap, uint32_t flag, bool on) {
  bitmap.Flags = on ? bitmap.Flags | flag : bitmap.Flags & ~flag;
}

// Where a bitmap's pixels are. The flags alone do not say it: a bitmap without storage carries
// T_FLAG_DISK beside T_FLAG_USER, and its Handle is its caller's.
enum class Storage { kNone, kMemory, kDisk, kUser };

inline Storage storage(const BitmapHandle& bitmap) {
  if (has_flag(bitmap, T_FLAG_MEMORY)) return Storage::kMemory;
  if (has_flag(bitmap, T_FLAG_USER)) return Storage::kUser;
  return has_flag(bitmap, T_FLAG_DISK) ? Storage::kDisk : Storage::kNone;
}

inline bool is_memory(const BitmapHandle& bitmap) { return storage(bitmap) == Storage::kMemory; }

// Whether the bitmap's rows can be fetched.
inline bool has_storage(const BitmapHandle& bitmap) {
  return is_memory(bitmap) || storage(bitmap) == Storage::kDisk;
}

// Puts a finished picture in the place of the one that it was made from and frees that one. With
// the pixels come what they need: storage and row cursor, geometry, depth, order, Info and Colors,
// palette objects, the grey mark. All else stays as the caller left it: perspective, resolutions,
// position, attributes and the upper flag bits, dithering, the release callback. A bitmap that was
// accessed is accessed again. Cannot fail; `made` is left without storage.
void take_place(BitmapHandle& bitmap, BitmapHandle& made);

// Keeps a memory bitmap accessed for a scope; leaves one that was accessed before as it was.
class AccessScope {
 public:
  explicit AccessScope(BitmapHandle& bitmap)
      : bitmap_(bitmap), mine_(is_memory(bitmap) && !has_flag(bitmap, T_FLAG_LOCKED)) {
    if (mine_) access_bitmap(bitmap_);
  }
  ~AccessScope() {
    if (mine_) release_bitmap(bitmap_);
  }
  AccessScope(const AccessScope&) = delete;
  AccessScope& operator=(const AccessScope&) = delete;

 private:
  BitmapHandle& bitmap_;
  bool mine_;
};

// A bitmap record of the library's own, freed at the end of its scope.
class OwnedBitmap {
 public:
  OwnedBitmap() { record_.Flags = 0; }
  ~OwnedBitmap() { free_bitmap(record_); }
  OwnedBitmap(const OwnedBitmap&) = delete;
  OwnedBitmap& operator=(const OwnedBitmap&) = delete;

  BitmapHandle& operator*() { return record_; }
  BitmapHandle* operator->() { return &record_; }
  BitmapHandle* get() { return &record_; }

 private:
  BitmapHandle record_ = {};
};

}  // namespace tavo::core
