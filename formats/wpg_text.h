// The text of a text data record of WordPerfect Graphics, version 2: a piece of a document.
// Facts: Corel Corporation, "WordPerfect 6.x File Format", document area.
#pragma once

#include <cstdint>
#include <span>

#include "base/list.h"
#include "base/status.h"
#include "formats/wpg_sheet.h"

namespace tavo::wpg {

// The first line. Its characters in ISO 8859-1, those that it does not have as blanks; size, colour
// and attributes are set in `style` as they are where the line begins. Heights are in units of
// which there are `units_per_inch`.
Status read_text(std::span<const uint8_t> document, int64_t units_per_inch, TextStyle& style,
                 List<uint8_t>& characters);

}  // namespace tavo::wpg
