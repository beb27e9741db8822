// Memory and palette objects where the C library's allocator gives all there is: everywhere but on
// Windows.
#include "platform/heap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>

#include "platform/allocation_gate.h"
#include "platform/platform.h"

namespace tavo::platform {

namespace {

// Blocks are aligned for vector code; pixels of large pictures gain from whole cache lines.
constexpr size_t kAlignment = 64;
constexpr size_t kLeastAlignment = std::max<size_t>(16, alignof(max_align_t));

// From this size on blocks ask for huge pages: a fresh picture of 36 MiB is 18 page faults instead
// of 9,216, which cost more than most decoders. Never more memory than the block's own whole pages.
constexpr size_t kHugeBlock = 2 * kHugePage;

// What stands in front of a block.
struct BlockNote {
  void* given;  // by the allocator
  size_t bytes;
};
static_assert(sizeof(BlockNote) <= alignof(max_align_t));

// Blocks below that size end where what the allocator gave ends, so that checkers of memory see all
// that is beyond; what it gave stands before them.
//
// For huge pages it is not asked: around a block so aligned it leaves pieces that others take, the
// next one does not fit there, and a program that keeps freed memory grows with every picture.
void* take_block(size_t bytes, bool is_zeroed) {
  if (!gate.admit(bytes)) return nullptr;
  const bool is_huge = bytes >= kHugeBlock;
  const size_t alignment = is_huge ? kHugePage : is_zeroed ? kLeastAlignment : kAlignment;
  if (bytes > PTRDIFF_MAX - alignment) return nullptr;
  void* given = nullptr;
  if (is_zeroed) {
    given = std::calloc(1, bytes + alignment);
  } else if (is_huge) {
    given = std::malloc(bytes + alignment);
  } else if (::posix_memalign(&given, alignment, bytes + alignment) != 0) {
    return nullptr;
  }
  if (given == nullptr) return nullptr;
  const size_t before = alignment - (reinterpret_cast<uintptr_t>(given) & (alignment - 1));
  auto* const block = static_cast<uint8_t*>(given) + before;
  const BlockNote note{given, bytes};
  std::memcpy(block - sizeof note, &note, sizeof note);
  if (is_huge) ask_for_huge_pages(block, bytes);
  gate.block_taken(bytes);
  return block;
}

BlockNote note_of(void* block) {
  BlockNote note;
  std::memcpy(&note, static_cast<uint8_t*>(block) - sizeof note, sizeof note);
  return note;
}

void return_block(void* block) {
  if (block == nullptr) return;
  const BlockNote note = note_of(block);
  gate.block_returned(note.bytes);
  std::free(note.given);
}

// A native palette object.
struct Palette {
  uint32_t count;
  T_PaletteEntry entries[256];
};

}  // namespace

uintptr_t allocate_movable(size_t bytes) {
  return reinterpret_cast<uintptr_t>(take_block(bytes, false));
}

void* lock_block(uintptr_t block) { return reinterpret_cast<void*>(block); }
int32_t unlock_block(uintptr_t) { return 0; }

int32_t free_block(uintptr_t block) {
  return_block(reinterpret_cast<void*>(block));
  return 0;
}

void hand_over(uintptr_t block) {
  gate.block_returned(note_of(reinterpret_cast<void*>(block)).bytes);
}

void free_shared(uintptr_t block) {
  if (block != 0) std::free(note_of(reinterpret_cast<void*>(block)).given);
}

size_t shared_size(uintptr_t) { return 0; }

void clear_block(void* at, size_t bytes) {
  const std::span<uint8_t> all(static_cast<uint8_t*>(at), bytes);
  const std::span<uint8_t> pages = bytes < kHugePage ? all.first(0) : give_back(all);
  const std::span<uint8_t> before = all.first(static_cast<size_t>(pages.data() - all.data()));
  std::ranges::fill(before, uint8_t{0});
  std::ranges::fill(all.subspan(before.size() + pages.size()), uint8_t{0});
}

void discard(void* at, size_t bytes) { (void)give_back({static_cast<uint8_t*>(at), bytes}); }

void* allocate_fixed(size_t bytes) { return take_block(bytes, true); }
void free_fixed(void* block) { return_block(block); }

uintptr_t create_palette(std::span<const T_PaletteEntry> entries) {
  if (entries.empty() || entries.size() > 256) return 0;
  auto* palette = static_cast<Palette*>(allocate_fixed(sizeof(Palette)));
  if (palette == nullptr) return 0;
  palette->count = static_cast<uint32_t>(entries.size());
  std::memcpy(palette->entries, entries.data(), entries.size_bytes());
  return reinterpret_cast<uintptr_t>(palette);
}

uint32_t palette_entries(uintptr_t palette, uint32_t first, std::span<T_PaletteEntry> entries) {
  const auto* object = reinterpret_cast<const Palette*>(palette);
  if (object == nullptr || first >= object->count) return 0;
  uint32_t count = object->count - first;
  if (count > entries.size()) count = static_cast<uint32_t>(entries.size());
  std::memcpy(entries.data(), object->entries + first, count * sizeof(T_PaletteEntry));
  return count;
}

uint32_t palette_size(uintptr_t palette) {
  const auto* object = reinterpret_cast<const Palette*>(palette);
  return object == nullptr ? 0 : object->count;
}

int32_t delete_object(uintptr_t object) {
  free_fixed(reinterpret_cast<void*>(object));
  return 1;
}

}  // namespace tavo::platform
