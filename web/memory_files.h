// The two files there are: the one that is shown, and the one that a save makes of it. Memory
// behind the library's file operations.
#pragma once

#include <cstdint>
#include <span>

namespace web {

// From now on whatever the library reads is the shown file, and whatever it creates the saved one.
void use_memory_files();

// The bytes stay the caller's, and where they are.
void show_file(std::span<const uint8_t> bytes);

std::span<const uint8_t> saved_file();
void drop_saved_file();

}  // namespace web
