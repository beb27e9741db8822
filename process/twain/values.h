// Numbers and names as TWAIN has them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/status.h"
#include "process/twain/records.h"

namespace tavo::twain {

// In thousandths, whose whole part is one of 16 bits.
Fixed fixed_from_thousandths(int32_t thousandths);

// The number as the item of a container.
uint32_t item_of(Fixed value);

// Rounded to nearest; 0 for units that are no lengths.
int32_t dots_per_inch(Fixed resolution, uint32_t units);

// The current value in a source's container, whatever its type promises: nothing for an array, for
// types of more than 4 bytes, and where it would lie outside. Shorter values have zeros above.
std::optional<uint32_t> current_value(uint16_t container, std::span<const uint8_t> bytes);

// "scan.tif" for page 1, "scan2.tif" for page 2. kBadArgument when that does not fit.
Status numbered_name(const char* name, int32_t page, std::span<char, 256> to);

}  // namespace tavo::twain
