// Whole streams of bytes, the standard ones among them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace tavo::tools {

// The name that stands for standard input and standard output.
inline constexpr char kStandardStream[] = "-";

enum class Copied {
  kAll,
  kNotRead,
  kNotWritten,
  kTooLong,  // `most` bytes are written, and there are more
};

// Copies what is left of `in`. A signal that was noted ends it with kNotRead. What the system said
// of a failure is in last_error_text().
Copied copy_stream(std::FILE* in, std::FILE* out, uint64_t most = UINT64_MAX);

// The same from one file to another; the second is closed, as that may fail, too. The name "-"
// stands for the standard stream, byte for byte.
Copied copy_stream(const std::string& from, const std::string& to, uint64_t most = UINT64_MAX);

}  // namespace tavo::tools
