// The time that the work on one file may take.
#pragma once

#include <cstdint>
#include <string>

namespace tavo::tools {

// While one of these lives, the work on `file` must be done in so many seconds; 0: in any time.
// Once it is past, library calls with a progress bar return, calls of the system that wait for a
// pipe fail, and check() throws. What notices nothing of it in the second that follows ends the
// program: nothing of it stays behind. One at a time.
class Deadline {
 public:
  Deadline(uint32_t seconds, const std::string& file);
  ~Deadline();
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;
};

bool deadline_is_past();

// Throws the Failure of a file whose time is past.
void check_deadline(const std::string& file);

}  // namespace tavo::tools
