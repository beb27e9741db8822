#include "losses.h"

#include <algorithm>

#include "failure.h"

namespace tavo::tools {
namespace {

// By TIFF's numbers, from 2 on.
constexpr const char* kTurns[] = {"mirrored",
                                  "upside down",
                                  "mirrored and upside down",
                                  "mirrored, and to be turned",
                                  "to be turned clockwise",
                                  "mirrored, and to be turned",
                                  "to be turned anticlockwise"};

struct Extra {
  uint32_t bit;
  const char* name;
};
constexpr Extra kExtras[] = {{T_EXTRA_ICC, "the ICC color profile"},
                             {T_EXTRA_EXIF, "EXIF metadata"},
                             {T_EXTRA_XMP, "XMP metadata"}};

}  // namespace

void Losses::note(const std::string& what) {
  if (std::ranges::count(items_, what) == 0) items_.push_back(what);
}

void Losses::note_pages(int32_t taken, int32_t count) {
  note("all but page " + std::to_string(taken) + " of " + std::to_string(count) +
       " (--page all takes them)");
}

void Losses::note_page(const FILEINFO& info, int bits, bool is_seen_upright) {
  if ((info.Extras & T_EXTRA_ALPHA) != 0 && bits != 32) note("opacity (alpha)");
  if (!is_seen_upright && info.Orientation >= 2 && info.Orientation <= 8)
    note("the orientation (as stored it is " + std::string(kTurns[info.Orientation - 2]) + ")");
  for (const Extra& extra : kExtras)
    if ((info.Extras & extra.bit) != 0) note(extra.name);
}

void Losses::report(const std::string& input, const std::string& output) const {
  if (items_.empty()) return;
  std::string list;
  for (const std::string& item : items_) list += (list.empty() ? "" : ", ") + item;
  tell(input, "not in " + output + ": " + list);
}

}  // namespace tavo::tools
