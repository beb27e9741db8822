// The one table of formats: what each can do, and how the pipelines treat it.
#pragma once

#include <cstdint>
#include <span>

#include "io/format.h"

namespace tavo::pipeline {

// How a load gets the rows.
enum class Delivery {
  kStreamed,
  kWholeWhenAsked,  // with T_LOAD_GIF_WHOLE, and to dither interlaced ones, the whole picture first
};

struct FormatRow {
  int32_t id = 0;
  const char* name = "";
  const char* description = "";
  const char* extensions = "";
  io::Reader read = nullptr;
  io::Reader read_upright = nullptr;  // not null: may deliver bottom-up files top row first
  io::Reader read_rgb = nullptr;      // not null: `read` gives blue first, this one red, as fast
  io::DraftReader read_draft = nullptr;
  int32_t smallest_draft = 1;  // pixels of the shorter side, below which read_draft has none
  Delivery delivery = Delivery::kStreamed;
  io::Writer write = nullptr;
  uint32_t write_depths = 0;       // as T_Format.WriteDepths
  bool has_alpha = false;          // as the fourth byte of 32 bits: read when asked, written
  bool reports_per_meter = false;  // the reader's resolutions are not dots per inch
  bool gray_at_8_bits = false;     // a save in 8 bits makes the picture grey first
  bool always_gray = false;        // a save makes it grey, of 1 bit where that is asked, else of 8
  bool always_24_bits = false;
  io::HoldsPages holds_pages = nullptr;  // not null: saves can add a page to a file
  bool takes_any_depth = false;          // in direct saves: not 1 or 8 counts as 24
};

std::span<const FormatRow> formats();

// The row of an identifier, null when there is none.
const FormatRow* find_format(int32_t id);

// A probe and the identifiers that it gives; 0 where there are fewer.
struct ProbeRow {
  io::Probe probe;
  int32_t formats[2];
};

// The probes in the order in which they are asked; the first that accepts decides.
std::span<const ProbeRow> probes();

// Whether files of a format are read at all (T_EnableFormat); all are at first.
void enable(int32_t id, bool is_on);
bool is_enabled(int32_t id);
// Whether that holds of a format that `read` reads.
bool is_enabled(io::Reader read);

// Bits of T_Format.WriteDepths.
constexpr uint32_t depth_bit(int32_t depth) { return 1u << (depth % 32); }

}  // namespace tavo::pipeline
