// The platform layer for WebAssembly. A page has no files, folders and modules: what it opens is
// memory that it was handed, and what it saves goes through T_RedirectIO. Memory is in heap.cpp.
#include "platform/heap.h"
#include "platform/platform.h"

namespace tavo::platform {

void ask_for_huge_pages(void*, size_t) {}
std::span<uint8_t> give_back(std::span<uint8_t> bytes) { return bytes.first(0); }

int32_t last_error() { return 0; }
Cause cause_of(int32_t) { return Cause::kOther; }

void take_names_as_utf8(bool) {}

int32_t T_CALL open_file(const char*, int32_t, int32_t) { return -1; }
uint32_t T_CALL read_file(int32_t, void*, uint32_t) { return UINT32_MAX; }
uint32_t T_CALL write_file(int32_t, const void*, uint32_t) { return UINT32_MAX; }
int32_t T_CALL seek_file(int32_t, int32_t, int32_t) { return -1; }
int32_t T_CALL close_file(int32_t) { return -1; }
int64_t seek_large_file(int32_t, int64_t, int32_t) { return -1; }
bool is_absent(const char*) { return true; }

bool make_temporary_name(char (&)[kMaxPath]) { return false; }
intptr_t open_temporary(const char*) { return -1; }
int64_t seek_temporary(intptr_t, uint64_t) { return -1; }
int64_t read_temporary(intptr_t, void*, uint32_t) { return -1; }
int64_t write_temporary(intptr_t, const void*, uint32_t) { return -1; }
bool empty_temporary(intptr_t) { return false; }
int32_t close_temporary(intptr_t) { return -1; }
int32_t delete_temporary(const char*) { return -1; }

const char* const kPhotoCdModule = "";
uintptr_t load_module(const char*) { return 0; }
void* module_entry(uintptr_t, const char*) { return nullptr; }
void unload_module(uintptr_t) {}

ScreenSize screen_size() { return {1280, 1024}; }

// The compiler translates the intrinsics of SSE2 to WebAssembly's own vectors.
Processor processor() { return Processor::kSse2; }
void limit_processor(Processor) {}

}  // namespace tavo::platform
