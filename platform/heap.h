// What heap.cpp asks of the system about the memory pages behind its blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tavo::platform {

inline constexpr size_t kHugePage = size_t{2} << 20;

// Advice that a block which begins at a multiple of kHugePage would gain from pages of that size.
void ask_for_huge_pages(void* block, size_t bytes);

// Returns those whole pages among `bytes` to the system that nobody shares; none where it takes
// none back.
std::span<uint8_t> give_back(std::span<uint8_t> bytes);

}  // namespace tavo::platform
