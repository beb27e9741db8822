#include "core/bitmap.h"

#include <cstring>

#include "base/depths.h"
#include "base/limits.h"
#include "base/settings.h"
#include "core/notice.h"
#include "core/progress.h"
#include "platform/platform.h"

namespace tavo::core {

namespace {

// The record is a binary contract: programs lay it out themselves.
#if UINTPTR_MAX > 0xFFFFFFFFu
static_assert(offsetof(BitmapHandle, GdiObjectA) == 1152);
#else
static_assert(offsetof(BitmapHandle, Data) == 4);
static_assert(offsetof(BitmapHandle, CacheHandle) == 8);
static_assert(offsetof(BitmapHandle, StorageKind) == 32);
static_assert(offsetof(BitmapHandle, Width) == 36);
static_assert(offsetof(BitmapHandle, Height) == 40);
static_assert(offsetof(BitmapHandle, BitsPerPixel) == 44);
static_assert(offsetof(BitmapHandle, BytesPerLine) == 48);
static_assert(offsetof(BitmapHandle, RowOffset) == 52);
static_assert(offsetof(BitmapHandle, CurrentRow) == 56);
static_assert(offsetof(BitmapHandle, Flags) == 68);
static_assert(offsetof(BitmapHandle, Colors) == 72);
static_assert(offsetof(BitmapHandle, Info) == 76);
static_assert(offsetof(BitmapHandle, GdiObjectA) == 1140);
static_assert(offsetof(BitmapHandle, GdiObjectB) == 1144);
static_assert(offsetof(BitmapHandle, ViewPerspective) == 1164);
static_assert(offsetof(BitmapHandle, Order) == 1168);
static_assert(offsetof(BitmapHandle, Size) == 1172);
static_assert(offsetof(BitmapHandle, DitherState) == 1180);
static_assert(offsetof(BitmapHandle, DitherMethod) == 1184);
static_assert(offsetof(BitmapHandle, ReleaseCallback) == 1188);
#endif
static_assert(offsetof(BitmapHandle, XResolution) == 1256);
static_assert(offsetof(BitmapHandle, WriterDefaults) == 1264);
static_assert(sizeof(BitmapHandle) == 1280);
static_assert(sizeof(FILEINFO) == 128);
static_assert(sizeof(T_BitmapInfo) == 1064);
static_assert(sizeof(T_TIFFOption) == 144);

constexpr uint32_t kInitFlags = 0x0000FFFFu;  // the bits that init clears
constexpr uint32_t kOtherStorage = 0x0004u | 0x0008u;
constexpr uint32_t kStorageFlags =
    T_FLAG_MEMORY | kOtherStorage | T_FLAG_DISK | T_FLAG_USER | T_FLAG_LOCKED;
constexpr uint32_t kRequestMemory = 1;
constexpr uint32_t kRequestNoStorage = 8;
constexpr uint32_t kSpareBytes = 16;  // behind the last row, so that row routines may overrun
constexpr int32_t kDefaultResolution = 150;

int32_t resolution_or_default(int32_t wanted) {
  if (wanted > 0) return wanted;
  return settings.unknown_resolution ? 0 : kDefaultResolution;
}

void reset_working_words(BitmapHandle& bitmap) {
  bitmap.CacheHandle = 0;
  bitmap.CachePointer = nullptr;
  std::memset(bitmap.WorkWords, 0, sizeof(bitmap.WorkWords));
}

void release_cache(BitmapHandle& bitmap) {
  if (bitmap.CachePointer == nullptr) return;
  platform::unlock_block(bitmap.CacheHandle);
  platform::free_block(bitmap.CacheHandle);
  bitmap.CacheHandle = 0;
  bitmap.CachePointer = nullptr;
}

int32_t free_disk(BitmapHandle& bitmap) {
  int32_t result = 0;
  release_cache(bitmap);
  if (bitmap.Handle != 0) {
    platform::close_temporary(static_cast<intptr_t>(bitmap.Handle));
    result = platform::delete_temporary(static_cast<const char*>(bitmap.Data));
    limits::remove_temporary(bitmap.Size);
    platform::free_fixed(bitmap.Data);
  }
  bitmap.Handle = 0;
  bitmap.Data = nullptr;
  bitmap.Flags &= ~T_FLAG_DISK;
  return result;
}

// Rows of kinds 3, 4 and 6 come from code that knows the kind; there is nothing to obtain. Handle
// is the caller's, who may have set it already.
Status allocate_nothing(BitmapHandle& bitmap) {
  bitmap.Flags |= T_FLAG_USER | T_FLAG_NO_STORAGE;
  const bool known = bitmap.StorageKind == 3 || bitmap.StorageKind == 4 || bitmap.StorageKind == 6;
  if (!known) return kNoMemory;
  bitmap.RowOffset = 0;
  bitmap.CurrentRow = 0;
  reset_working_words(bitmap);
  bitmap.Flags |= T_FLAG_DISK;
  return kOk;
}

// Whether a refused request for no storage is all there is: nothing has set the working words.
bool is_refused(const BitmapHandle& bitmap) {
  return has_flag(bitmap, T_FLAG_NO_STORAGE) && !has_flag(bitmap, T_FLAG_DISK);
}

// The storage flags go, so that neither a second free nor the row calls take Handle for a file's.
void give_back(BitmapHandle& bitmap) {
  if (!is_refused(bitmap)) release_cache(bitmap);
  if (bitmap.Handle != 0 && bitmap.ReleaseCallback != nullptr) {
    bitmap.ReleaseCallback(bitmap.Handle, bitmap.ReleaseData);
  }
  bitmap.Flags &= ~kStorageFlags;
}

bool allocate_memory(BitmapHandle& bitmap) {
  const uint64_t bytes = uint64_t{bitmap.Size} + kSpareBytes;
  if (bytes > SIZE_MAX) return false;
  const uintptr_t block = platform::allocate_movable(static_cast<size_t>(bytes));
  if (block == 0) return false;
  bitmap.Handle = block;
  bitmap.Data = nullptr;
  bitmap.Flags &= ~(T_FLAG_LOCKED | T_FLAG_USER);
  bitmap.Flags |= T_FLAG_MEMORY | T_FLAG_ALLOCATED;
  return true;
}

Status make_disk(BitmapHandle& bitmap) {
  char path[platform::kMaxPath];
  if (!platform::make_temporary_name(path)) {
    settings.note.system_error = platform::last_error();
    return kNoMemory;
  }
  const size_t length = std::strlen(path) + 1;
  void* name = platform::allocate_fixed(length);
  if (name == nullptr) {
    platform::delete_temporary(path);
    return kNoMemory;
  }
  std::memcpy(name, path, length);
  const intptr_t file = platform::open_temporary(path);
  if (file == -1) {
    settings.note.system_error = platform::last_error();
    platform::delete_temporary(path);
    platform::free_fixed(name);
    return kNoMemory;
  }
  bitmap.Data = name;
  bitmap.Handle = static_cast<uintptr_t>(file);
  reset_working_words(bitmap);
  bitmap.Flags &= ~T_FLAG_USER;
  bitmap.Flags |= T_FLAG_DISK;
  if (!clear_bitmap(bitmap).ok()) {
    free_disk(bitmap);
    return kNoMemory;
  }
  bitmap.Flags |= T_FLAG_ALLOCATED;
  return kOk;
}

Status allocate_disk(BitmapHandle& bitmap) {
  TRY(limits::add_temporary(bitmap.Size));
  const Status status = make_disk(bitmap);
  if (!status.ok()) limits::remove_temporary(bitmap.Size);
  return status;
}

// A file that ends one byte behind the storage reads as zero wherever nothing was put.
bool clear_disk(BitmapHandle& bitmap) {
  const auto file = static_cast<intptr_t>(bitmap.Handle);
  const uint8_t zero = 0;
  if (!platform::empty_temporary(file)) return false;
  if (platform::seek_temporary(file, bitmap.Size) != bitmap.Size) return false;
  if (platform::write_temporary(file, &zero, 1) != 1) return false;
  bitmap.RowOffset = 0;
  bitmap.CurrentRow = 0;
  reset_working_words(bitmap);
  return platform::seek_temporary(file, 0) == 0;
}

}  // namespace

uint64_t packed_bytes(uint64_t width, int32_t bits_per_pixel) {
  return (width * static_cast<uint64_t>(bits_per_pixel) + 7) / 8;
}

uint32_t bytes_per_line(int32_t width, int32_t bits_per_pixel) {
  if (width < 0 || !is_bitmap_depth(bits_per_pixel)) return 0;
  const uint64_t bytes =
      (packed_bytes(static_cast<uint64_t>(width), bits_per_pixel) + 3) & ~uint64_t{3};
  return bytes > UINT32_MAX ? 0 : static_cast<uint32_t>(bytes);
}

Status init_bitmap(BitmapHandle& bitmap, int32_t width, int32_t height, int32_t bits_per_pixel) {
  TRY(check_notice());
  const bool valid = is_bitmap_depth(bits_per_pixel);
  const int32_t bits = valid ? bits_per_pixel : 32;
  bitmap.StorageKind = 0;
  bitmap.Width = width;
  bitmap.Height = height;
  bitmap.BitsPerPixel = bits;
  bitmap.BytesPerLine = valid ? bytes_per_line(width, bits) : 0;
  const uint64_t size =
      height < 0 ? 0 : uint64_t{bitmap.BytesPerLine} * static_cast<uint64_t>(height);
  bitmap.Size = size > UINT32_MAX ? 0 : static_cast<uint32_t>(size);
  bitmap.Flags &= ~kInitFlags;
  bitmap.GdiObjectB = 0;
  bitmap.DitherState = nullptr;
  bitmap.RowOffset = 0;
  bitmap.CurrentRow = 0;
  std::memset(bitmap.ReservedA, 0, sizeof(bitmap.ReservedA));
  // 1 << bits as the processor counts shifts: 32 is 0.
  bitmap.Colors = (1u << (bits & 31)) & 0xFFFFu;
  bitmap.DitherMethod = settings.default_dithering;
  bitmap.XResolution = resolution_or_default(settings.tiff.XResolution);
  bitmap.YResolution = resolution_or_default(settings.tiff.YResolution);
  std::memcpy(bitmap.WriterDefaults, settings.tiff.WriterDefaults, sizeof(bitmap.WriterDefaults));
  T_BitmapInfoHeader& header = bitmap.Info.Header;
  header.biPlanes = 1;
  header.biBitCount = static_cast<uint16_t>(bits);
  header.biCompression = 0;
  header.biXPelsPerMeter = 0;
  header.biYPelsPerMeter = 0;
  header.biClrUsed = 0;
  header.biClrImportant = 0;
  header.biSize = sizeof(T_BitmapInfoHeader);
  bitmap.GdiObjectA = 0;
  std::memset(bitmap.ReservedB, 0, sizeof(bitmap.ReservedB));
  bitmap.ViewPerspective = 2;
  bitmap.Order = bits > 8 ? T_ORDER_BGR : T_ORDER_RGB;
  std::memset(bitmap.ReservedE, 0, sizeof(bitmap.ReservedE));
  return kOk;
}

Status allocate_bitmap(BitmapHandle& bitmap, uint32_t request) {
  if (bitmap.Size == 0) return kBadSize;
  if ((request & kRequestNoStorage) != 0) return allocate_nothing(bitmap);
  TRY(limits::check_picture(bitmap.Width, bitmap.Height));
  if (request == kRequestMemory) {
    if (allocate_memory(bitmap)) return kOk;
    // What a limit refuses is not made as a file instead.
    if (platform::over_limit() != 0) return kNoMemory;
  }
  return allocate_disk(bitmap);
}

Status allocate_quietly(BitmapHandle& bitmap) {
  const QuietProgress quiet;
  return allocate_bitmap(bitmap, 1);
}

uintptr_t access_bitmap(BitmapHandle& bitmap) {
  if (!has_flag(bitmap, T_FLAG_MEMORY) || has_flag(bitmap, T_FLAG_LOCKED)) return bitmap.Flags;
  bitmap.Data = platform::lock_block(bitmap.Handle);
  bitmap.Flags |= T_FLAG_LOCKED;
  return reinterpret_cast<uintptr_t>(bitmap.Data);
}

int32_t release_bitmap(BitmapHandle& bitmap) {
  if (!has_flag(bitmap, T_FLAG_MEMORY) || !has_flag(bitmap, T_FLAG_LOCKED)) {
    return static_cast<int32_t>(bitmap.Flags);
  }
  const int32_t result = platform::unlock_block(bitmap.Handle);
  bitmap.Flags &= ~T_FLAG_LOCKED;
  bitmap.Data = nullptr;
  return result;
}

int32_t free_bitmap(BitmapHandle& bitmap) {
  int32_t result = 0;
  for (uintptr_t* object : {&bitmap.GdiObjectB, &bitmap.GdiObjectA}) {
    if (*object != 0) result = platform::delete_object(*object);
    *object = 0;
  }
  if (has_flag(bitmap, T_FLAG_USER)) {
    give_back(bitmap);
    return result;
  }
  bitmap.Flags &= ~T_FLAG_ALLOCATED;
  if (has_flag(bitmap, T_FLAG_MEMORY)) {
    if (has_flag(bitmap, T_FLAG_LOCKED)) release_bitmap(bitmap);
    result = platform::free_block(bitmap.Handle);
    bitmap.Handle = 0;
    bitmap.Flags &= ~T_FLAG_MEMORY;
  } else if (has_flag(bitmap, kOtherStorage)) {
    bitmap.Flags &= ~(has_flag(bitmap, 0x0004u) ? 0x0004u : 0x0008u);
  } else if (has_flag(bitmap, T_FLAG_DISK)) {
    result = free_disk(bitmap);
  }
  return result;
}

Status clear_bitmap(BitmapHandle& bitmap) {
  if (!has_storage(bitmap)) return kNoStorage;
  Progress progress;
  Status status = progress.start();
  if (is_memory(bitmap)) {
    access_bitmap(bitmap);
    if (status.ok()) std::memset(bitmap.Data, 0, bitmap.Size);
    release_bitmap(bitmap);
  } else if (status.ok() && !clear_disk(bitmap)) {
    return kNoMemory;
  }
  return status.ok() ? progress.finish() : status;
}

void take_place(BitmapHandle& bitmap, BitmapHandle& made) {
  const bool was_accessed = has_flag(bitmap, T_FLAG_LOCKED);
  BitmapHandle old = bitmap;
  bitmap.Handle = made.Handle;
  bitmap.Data = made.Data;
  bitmap.CacheHandle = made.CacheHandle;
  bitmap.CachePointer = made.CachePointer;
  std::memcpy(bitmap.WorkWords, made.WorkWords, sizeof(bitmap.WorkWords));
  bitmap.Width = made.Width;
  bitmap.Height = made.Height;
  bitmap.BitsPerPixel = made.BitsPerPixel;
  bitmap.BytesPerLine = made.BytesPerLine;
  bitmap.RowOffset = made.RowOffset;
  bitmap.CurrentRow = made.CurrentRow;
  bitmap.Colors = made.Colors;
  bitmap.Info = made.Info;
  bitmap.GdiObjectA = made.GdiObjectA;
  bitmap.GdiObjectB = made.GdiObjectB;
  bitmap.Order = made.Order;
  bitmap.Size = made.Size;
  constexpr uint32_t kTaken = kStorageFlags | T_FLAG_ALLOCATED | T_FLAG_GRAY;
  bitmap.Flags = (bitmap.Flags & ~kTaken) | (made.Flags & kTaken);
  made.Flags &= ~kTaken;
  made.GdiObjectA = made.GdiObjectB = 0;
  free_bitmap(old);
  if (was_accessed) access_bitmap(bitmap);
}

}  // namespace tavo::core
