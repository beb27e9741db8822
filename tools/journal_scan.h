// Lines of a journal, read the quick way.
#pragma once

#include <optional>
#include <string_view>

#include "journal_line.h"

namespace tavo::tools {

// The entry of a line exactly as it is written here, without escapes in names and text: a tenth of
// the work of reading any JSON, which for a million of them counts. None for all other lines.
std::optional<JournalEntry> scan_entry(std::string_view line);

}  // namespace tavo::tools
