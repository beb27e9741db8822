// What the library asks of the operating system. One of win32.cpp and posix.cpp implements it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "tavo45.h"

namespace tavo::platform {

// ---- Memory ----

// A movable block for pixels, not zeroed; 0 when refused. Lock to get its address.
uintptr_t allocate_movable(size_t bytes);
void* lock_block(uintptr_t block);
int32_t unlock_block(uintptr_t block);
int32_t free_block(uintptr_t block);
// Blocks that leave the library or come from elsewhere: global memory on Windows, else the address
// itself. A movable block that is handed over no longer counts as the library's: whoever has got it
// frees it, with free_shared() for one.
void hand_over(uintptr_t block);
void free_shared(uintptr_t block);
// 0 when the system cannot tell.
size_t shared_size(uintptr_t block);

// Zeroes bytes of a locked block. Where the system can, large parts are not touched but given back
// to it: whoever claims a huge picture and brings no pixels takes no memory.
void clear_block(void* at, size_t bytes);

// Says that nobody reads bytes of a locked block again before they are written anew: where the
// system can, it takes them back.
void discard(void* at, size_t bytes);

// A fixed, zeroed block, aligned to 16 bytes or better; null when refused.
void* allocate_fixed(size_t bytes);
void free_fixed(void* block);

// From now on blocks of both kinds have no more than `bytes` together: what would pass that is
// refused. UINT64_MAX: as many as the system gives.
void limit_memory(uint64_t bytes);
// Whether the limit has refused a request since it was forgotten last: the bytes that the blocks
// would have had together, else 0.
uint64_t over_limit();
void forget_over_limit();

// For tests: the n-th request from now on (0 = the next) of either kind is refused, and so is
// every later one when `all_later`. A negative n refuses nothing.
void refuse_allocation(int64_t n, bool all_later);
// Whether a request has been refused since the last refuse_allocation, and how many blocks of
// both kinds are out.
bool allocation_was_refused();
int64_t blocks_in_use();
// The sizes of all blocks ever given, those returned included.
uint64_t bytes_taken();

// ---- Errors ----

// What the system said of the operation that failed last on this thread, in its own numbers.
int32_t last_error();

// What such a number is about, alike on all systems.
enum class Cause {
  kOther,
  kAbsent,
  kDenied,
  kIsFolder,
  kInUse,
  kNoRoom,
  kReadOnly,
  kNameTooLong,
  kTooManyFiles,
  kDevice,
};
Cause cause_of(int32_t error);

// ---- Files: the default slots of the file table ----

// How file names are written from now on: as UTF-8, or as at first as the system's own bytes.
void take_names_as_utf8(bool on);

// Access, beyond what every Open knows: with the create bits, a file that has content is refused.
inline constexpr int32_t kAccessOnlyEmpty = 0x400;

int32_t T_CALL open_file(const char* name, int32_t access, int32_t mode);
uint32_t T_CALL read_file(int32_t file, void* buffer, uint32_t count);
uint32_t T_CALL write_file(int32_t file, const void* buffer, uint32_t count);
int32_t T_CALL seek_file(int32_t file, int32_t offset, int32_t origin);
int32_t T_CALL close_file(int32_t file);
// seek_file for files of any size: the new position, -1 on failure.
int64_t seek_large_file(int32_t file, int64_t offset, int32_t origin);
// Whether the system says that there is no file of this name; false when it cannot tell.
bool is_absent(const char* name);

// ---- Temporary files behind disk bitmaps ----

inline constexpr size_t kMaxPath = 1024;

// Makes an empty file with a unique name ("TV" first) in the temporary directory and writes the
// name to `path`. False when that fails; nothing is left then.
bool make_temporary_name(char (&path)[kMaxPath]);
// Opens it for reading and writing, sparse where the file system can; others may read it by its
// path meanwhile. Never 0; -1 on failure.
intptr_t open_temporary(const char* path);
// 64-bit positions: a disk bitmap may have nearly 4 GiB. Each returns the bytes moved or position
// reached, -1 on failure.
int64_t seek_temporary(intptr_t file, uint64_t position);
int64_t read_temporary(intptr_t file, void* buffer, uint32_t count);
int64_t write_temporary(intptr_t file, const void* buffer, uint32_t count);
// Cuts the file to no bytes, so that all it is extended to afterwards reads as zero.
bool empty_temporary(intptr_t file);
int32_t close_temporary(intptr_t file);
int32_t delete_temporary(const char* path);

// ---- Modules: code that is loaded when it is there ----

// 0 when there is no module of this name, as the system looks for them, or it cannot be loaded.
uintptr_t load_module(const char* name);
// The address of what it exports; null when it exports nothing so called.
void* module_entry(uintptr_t module, const char* entry);
void unload_module(uintptr_t module);
// What the module that decodes Photo CD pictures is called on this system.
extern const char* const kPhotoCdModule;

// ---- Palette objects ----

// A palette object with these entries (1 to 256), 0 when refused.
uintptr_t create_palette(std::span<const T_PaletteEntry> entries);
// Copies up to entries.size() entries from `first` on; returns how many, 0 for no such object.
uint32_t palette_entries(uintptr_t palette, uint32_t first, std::span<T_PaletteEntry> entries);
uint32_t palette_size(uintptr_t palette);
int32_t delete_object(uintptr_t object);

// ---- Display and processor ----

struct ScreenSize {
  int32_t width = 0;
  int32_t height = 0;
};
// The display's size in pixels; 1280 x 1024 where there is none to ask.
ScreenSize screen_size();

// What a processor can do, each with all that is named before it. SSE2 is there always.
enum class Processor {
  kPlain,  // for tests and benchmarks: the plain loops, where there are any
  kSse2,
  kSsse3,
  kAvx2,    // with both sets of bit manipulation (BMI) and products without carries
  kAvx512,  // the foundation, byte and word instructions, byte permutations (VBMI)
};
// Asked once, at start-up.
Processor processor();
// For tests and benchmarks: no more than `highest` is reported from now on.
void limit_processor(Processor highest);

}  // namespace tavo::platform
