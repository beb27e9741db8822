#include "dither/dither.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/depths.h"
#include "color/gray.h"
#include "color/paint_palette.h"
#include "color/palettes.h"
#include "dither/dither_pass.h"
#include "dither/wave.h"
#include "platform/platform.h"

namespace tavo::color {

namespace {

DitherPass* pass_of(const BitmapHandle& bitmap) {
  return static_cast<DitherPass*>(bitmap.DitherState);
}

void destroy(DitherPass* pass) {
  if (pass == nullptr) return;
  pass->~DitherPass();
  platform::free_fixed(pass);
}

// How colours are mapped to the built-in palette of a depth. The greys of 2 bits are looked for
// like any other colours.
Mapping fixed_mapping(int32_t depth) {
  switch (depth) {
    case 1:
      return Mapping::kBlackWhite;
    case 4:
      return Mapping::kSixteen;
    case 8:
      return Mapping::kCube;
    default:
      return Mapping::kOwnTable;
  }
}

// Chooses the mapping and takes the palette over.
void set_palette(DitherPass& pass, const T_PaletteEntry* palette, const uint32_t* inverse_table) {
  const T_PaletteEntry* builtin = builtin_palette(pass.depth_out).data();
  const T_PaletteEntry* used = palette != nullptr ? palette : builtin;
  const size_t bytes = pass.count * sizeof(T_PaletteEntry);
  if (inverse_table != nullptr) {
    pass.mapping = Mapping::kCallerTable;
    pass.inverse = inverse_table;
  } else if (std::memcmp(used, builtin, bytes) == 0) {
    pass.mapping = fixed_mapping(pass.depth_out);
  } else {
    pass.mapping = Mapping::kOwnTable;
  }
  std::memcpy(pass.palette, used, bytes);
}

// The palette's own colours need no search: calls offer(class, index) for each, in order, because
// the first entry of a class wins.
template <class Offer>
void seed_table(const DitherPass& pass, Offer offer) {
  for (uint32_t i = 0; i < pass.count; ++i) {
    const T_PaletteEntry& entry = pass.palette[i];
    offer(color_class(entry.Red, entry.Green, entry.Blue), i);
  }
}

// Whether each entry is the grey of its own number.
bool is_ramp(std::span<const T_PaletteEntry, 256> palette) {
  if (!is_gray(palette)) return false;
  for (uint32_t i = 0; i < 256; ++i) {
    if (palette[i].Red != i) return false;
  }
  return true;
}

// Whether rows and palette are grey throughout, so that the channels' errors stay equal.
bool is_gray_pass(const DitherPass& pass) {
  if (pass.depth_in > 8) return false;
  const auto used = std::span(pass.input_palette).first(1u << pass.depth_in);
  return is_gray(used) && is_gray(std::span<const T_PaletteEntry>(pass.palette));
}

// Whether the fixed palette is complete, so that each channel's value follows from its own bits.
bool is_separable(const DitherPass& pass) {
  return (pass.mapping == Mapping::kSixteen && pass.count == 16) ||
         (pass.mapping == Mapping::kCube && pass.count == 256);
}

// What a grey level that is dithered becomes: a choice, see DitherPass::choices.
uint32_t choose_gray(DitherPass& pass, uint32_t level) {
  if (pass.mapping == Mapping::kBlackWhite) return pass.choice_of(level >> 7);
  return pass.choose(color_class(level, level, level));
}

// Channel `c`'s (0 red) share in a choice of a separable palette for the component `value`.
uint32_t choose_component(const DitherPass& pass, uint32_t c, uint32_t value) {
  const uint32_t red = c == 0 ? value : 0;
  const uint32_t green = c == 1 ? value : 0;
  const uint32_t blue = c == 2 ? value : 0;
  return pass.choice_of(pass.mapping == Mapping::kCube ? cube_index(red, green, blue)
                                                       : sixteen_index(red, green, blue));
}

void fill_separate(DitherPass& pass) {
  for (uint32_t c = 0; c < pass.channels; ++c) {
    for (uint32_t i = 0; i < kSums; ++i) {
      const int32_t value = std::clamp(static_cast<int32_t>(i) + kLeastSum, 0, 255);
      const auto level = static_cast<uint32_t>(value);
      const uint32_t choice =
          pass.is_gray ? choose_gray(pass, level) : choose_component(pass, c, level);
      const auto chosen = static_cast<int32_t>(choice >> (16 - 8 * c) & 255);
      const int32_t error = value - chosen;
      pass.separate[c * kSums + i] = {pass.diffusion().right1 * error, static_cast<int16_t>(error),
                                      static_cast<uint16_t>(choice >> 24)};
    }
  }
}

void fill_chain(DitherPass& pass) {
  for (uint32_t i = 0; i < kChainLength; ++i) {
    const int32_t sum = (static_cast<int32_t>(i) - kMostNumerator) >> 4;  // rounds down
    const ChannelChoice& choice =
        pass.separate[static_cast<uint32_t>(std::clamp(sum, 0, 255) - kLeastSum)];
    pass.chain[i] = static_cast<int16_t>(2 * choice.next);
  }
}

// Every mapping looks classes up but those that a few operations make.
Status prepare_choices(DitherPass& pass, uint32_t* caller_table) {
  const bool is_computed =
      pass.mapping == Mapping::kBlackWhite || !is_diffusion(pass.method) || is_separable(pass);
  if (!pass.looks_up() && is_computed) return kOk;
  pass.unknown = (pass.choice_of(0) & 0xFFFFFF) ^ 1;  // entry 0 has another colour
  if (caller_table != nullptr) {
    seed_table(pass, [&](uint32_t c, uint32_t i) {
      if (caller_table[c] == 0) caller_table[c] = i + 1;
    });
    for (uint32_t& each : std::span(caller_table, kColorClasses)) {
      each = each != 0 ? pass.choice_of((each - 1) & 255) : pass.unknown;
    }
    pass.choices = caller_table;
    pass.inverse = nullptr;
    return kOk;
  }
  TRY(pass.own_choices.allocate(kColorClasses));
  pass.choices = pass.own_choices.data();
  std::ranges::fill(pass.own_choices.items(), pass.unknown);
  if (pass.looks_up()) {
    seed_table(pass, [&](uint32_t c, uint32_t i) {
      if (pass.choices[c] == pass.unknown) pass.choices[c] = pass.choice_of(i);
    });
  }
  return kOk;
}

Status prepare_diffusion(DitherPass& pass, uint32_t* caller_table) {
  const Diffusion& diffusion = pass.diffusion();
  pass.is_gray = is_gray_pass(pass);
  pass.channels = pass.is_gray ? 1 : 3;
  pass.error_row_length = (static_cast<size_t>(pass.width) + 2 * diffusion.reach) * pass.channels;
  TRY(pass.errors.allocate(static_cast<uint64_t>(pass.error_row_length) * diffusion.rows));
  TRY(prepare_choices(pass, caller_table));
  if (pass.is_gray || is_separable(pass)) {
    TRY(pass.separate.allocate(kSums * pass.channels));
    fill_separate(pass);
  }
  if (pass.is_gray && pass.method == T_DITHER_FLOYD_STEINBERG) {
    TRY(pass.chain.allocate(kChainLength));
    fill_chain(pass);
  }
  return kOk;
}

uint32_t index_of(DitherPass& pass, const T_PaletteEntry& color) {
  if (pass.mapping == Mapping::kBlackWhite) return gray_level(color) >= 128 ? 1 : 0;
  if (pass.mapping == Mapping::kSixteen) return sixteen_index(color.Red, color.Green, color.Blue);
  if (pass.mapping == Mapping::kCube) return cube_index(color.Red, color.Green, color.Blue);
  return pass.class_index(color_class(color.Red, color.Green, color.Blue));
}

Status prepare_map(DitherPass& pass) {
  if (pass.looks_up()) {
    TRY(pass.class_indices.allocate(kColorClasses));
    seed_table(pass, [&](uint32_t c, uint32_t i) {
      uint16_t& slot = pass.class_indices[c];
      const bool is_known = pass.inverse != nullptr && pass.inverse[c] != 0;
      if (slot == 0 && !is_known) slot = static_cast<uint16_t>(i + 1);
    });
  }
  if (pass.depth_in > 8) return kOk;
  for (uint32_t i = 0; i < 1u << pass.depth_in; ++i) {
    pass.gray_levels[i] = gray_level(pass.input_palette[i]);
    if (pass.method == T_DITHER_NONE) {
      pass.index_map[i] = static_cast<uint8_t>(index_of(pass, pass.input_palette[i]));
    }
  }
  return kOk;
}

Status prepare(DitherPass& pass, const BitmapHandle& bitmap, const T_PaletteEntry* palette,
               uint32_t count, uint32_t* inverse_table, int32_t depth_out) {
  if (!is_bitmap_depth(bitmap.BitsPerPixel)) return kBadArgument;
  if (count == 0 || count > 256) return kBadArgument;
  if (depth_out != 0 && count > 1u << depth_out) return kBadArgument;
  pass.width = static_cast<uint32_t>(std::max(bitmap.Width, 0));
  pass.depth_in = bitmap.BitsPerPixel;
  pass.order = bitmap.Order;
  pass.depth_out = depth_out != 0 ? depth_out : index_depth(count);
  pass.count = count;
  set_palette(pass, palette, inverse_table);
  pass.method = bitmap.DitherMethod;
  if (pass.method > T_DITHER_ORDERED) return kBadArgument;

  if (pass.depth_in <= 8) {
    std::ranges::copy(PaintPalette(bitmap).entries, pass.input_palette);
    std::ranges::transform(pass.input_palette, pass.input_colors.begin(), [](T_PaletteEntry entry) {
      return entry.Red | uint32_t{entry.Green} << 8 | uint32_t{entry.Blue} << 16;
    });
    pass.is_gray_ramp = pass.depth_in == 8 && is_ramp(pass.input_palette);
  }
  if (pass.looks_up()) {
    pass.nearest.start(std::span<const T_PaletteEntry>(pass.palette).first(count));
  }
  return is_diffusion(pass.method) ? prepare_diffusion(pass, inverse_table) : prepare_map(pass);
}

}  // namespace

uint32_t DitherPass::find_index(uint32_t color_class) {
  const uint32_t red = color_class >> 10 << 3;
  const uint32_t green = (color_class >> 5 & 31) << 3;
  const uint32_t blue = (color_class & 31) << 3;
  if (mapping == Mapping::kSixteen) return sixteen_index(red, green, blue);
  if (mapping == Mapping::kCube) return cube_index(red, green, blue);
  if (inverse != nullptr && inverse[color_class] != 0) return (inverse[color_class] - 1) & 255;
  return nearest.find(red, green, blue);
}

uint32_t DitherPass::learn(uint32_t color_class) {
  return choices[color_class] = choice_of(find_index(color_class));
}

Status start_pass(BitmapHandle& bitmap, const T_PaletteEntry* palette, uint32_t count,
                  uint32_t* inverse_table, int32_t depth_out) {
  void* block = platform::allocate_fixed(sizeof(DitherPass));
  if (block == nullptr) return kNoMemory;
  auto* pass = new (block) DitherPass;
  const Status status = prepare(*pass, bitmap, palette, count, inverse_table, depth_out);
  if (!status.ok()) {
    destroy(pass);
    return status;
  }
  bitmap.DitherState = pass;
  return kOk;
}

Status dither_rows(BitmapHandle& bitmap, const uint8_t* rows, size_t stride, uint8_t* out,
                   size_t out_stride, uint32_t count) {
  DitherPass* pass = pass_of(bitmap);
  if (pass == nullptr) return kBadArgument;
  const bool diffuses = is_diffusion(pass->method);
  if (diffuses && count >= least_wave_rows(*pass)) {
    diffuse_rows(*pass, rows, stride, out, out_stride, count);
    return kOk;
  }
  for (uint32_t i = 0; i < count; ++i) {
    if (diffuses) {
      diffuse_row(*pass, rows + i * stride, out + i * out_stride);
    } else {
      map_row(*pass, rows + i * stride, out + i * out_stride, pass->row_counter++);
    }
  }
  return kOk;
}

void stop_pass(BitmapHandle& bitmap) {
  destroy(pass_of(bitmap));
  bitmap.DitherState = nullptr;
}

}  // namespace tavo::color
