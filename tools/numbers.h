// Numbers in the values of options.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavo::tools {

// The whole numbers that an option takes, for the check and for the help.
struct Range {
  int from;
  int to;
  bool is_odd = false;
};

// "odd whole number from 3 to 255", which a wrong value is not.
std::string text_of(const Range& range);
// "odd, 3 to 255"
std::string help_of(const Range& range);

// Nothing for what is no such number.
std::optional<int> read_whole(std::string_view text, const Range& range);

// "-7.25" with two places as -725; nothing for more places, or more digits than any value needs.
std::optional<int64_t> read_decimal(std::string_view text, int places);

}  // namespace tavo::tools
