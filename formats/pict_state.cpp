#include "formats/pict_state.h"

#include <algorithm>

#include "base/endian.h"

namespace tavo::pict {

namespace {

// BkPat, TxFont, TxFace, TxMode, SpExtra, PnSize, PnMode, PnPat, FillPat, OvSize, TxSize, FgColor,
// BkColor, TxRatio, ChExtra, RGBFgCol, RGBBkCol.
constexpr uint32_t kPaperPattern = 0x02, kFont = 0x03, kFace = 0x04, kTextMode = 0x05,
                   kSpaceExtra = 0x06, kPenSize = 0x07, kPenMode = 0x08, kPenPattern = 0x09,
                   kFillPattern = 0x0A, kOvalSize = 0x0B, kTextSize = 0x0D, kForeground = 0x0E,
                   kBackground = 0x0F, kTextRatio = 0x10, kCharacterExtra = 0x16,
                   kForegroundRgb = 0x1A, kBackgroundRgb = 0x1B;

// The eight colours of the first QuickDraw, as its successor shows them. Any other number is black,
// as 33 is.
T_PaletteEntry old_color(uint32_t number) {
  constexpr struct {
    uint32_t number;
    T_PaletteEntry color;
  } kColors[] = {{30, kWhite},
                 {69, {0x05, 0xF3, 0xFC, 0}},    // yellow
                 {137, {0x84, 0x08, 0xF2, 0}},   // magenta
                 {205, {0x06, 0x08, 0xDD, 0}},   // red
                 {273, {0xEA, 0xAB, 0x02, 0}},   // cyan
                 {341, {0x11, 0x80, 0x00, 0}},   // green
                 {409, {0xD4, 0x00, 0x00, 0}}};  // blue
  for (const auto& known : kColors) {
    if (known.number == number) return known.color;
  }
  return kBlack;
}

int32_t load_word(const uint8_t* bytes) { return static_cast<int16_t>(load_be16(bytes)); }

}  // namespace

T_PaletteEntry load_color(const uint8_t* bytes) { return {bytes[4], bytes[2], bytes[0], 0}; }

Place load_place(const uint8_t* bytes) { return {load_word(bytes), load_word(bytes + 2)}; }

void Pattern::set(std::span<const uint8_t> rows) {
  kind = Kind::kBits;
  std::copy_n(rows.begin(), bits.size(), bits.begin());
}

// Kept: drawing programs use modes that QuickDraw does not know, 23 above all, for what only
// printers shall see.
Transfer transfer_of(uint32_t mode) {
  constexpr uint32_t kKnown = 16, kArithmetic = 32;
  if (mode >= kArithmetic) return {};
  if (mode >= kKnown) return {Mode::kNothing};
  return {static_cast<Mode>(mode & 3), (mode & 4) != 0};
}

bool covers(uint32_t mode) { return mode != kTransparent && transfer_of(mode).mode == Mode::kCopy; }

// QuickDraw inverts all bits of colours before and after, so that black counts as 1.
draw::RasterOp color_operation(const Transfer& transfer, uint32_t operand) {
  const uint32_t from = transfer.inverts ? ~operand : operand;
  const auto operation = [](uint32_t table) { return draw::RasterOp(static_cast<uint8_t>(table)); };
  switch (transfer.mode) {
    case Mode::kOr:
      return operation(kOfPage & from);
    case Mode::kXor:
      return operation(~(kOfPage ^ from));
    case Mode::kBic:
      return operation(kOfPage | ~from);
    default:
      return operation(from);
  }
}

State::State() {
  pen.bits.fill(0xFF);
  fill.bits.fill(0xFF);
}

void State::take(uint32_t opcode, std::span<const uint8_t> data) {
  const uint8_t* const bytes = data.data();
  switch (opcode) {
    case kPaperPattern:
      return paper.set(data);
    case kPenPattern:
      return pen.set(data);
    case kFillPattern:
      return fill.set(data);
    case kPenSize:
      pen_size = load_place(bytes);
      return;
    case kPenMode:
      pen_mode = load_be16(bytes);
      return;
    case kOvalSize:
      oval_size = load_place(bytes);
      return;
    case kForeground:
      foreground = old_color(load_be32(bytes));
      return;
    case kBackground:
      background = old_color(load_be32(bytes));
      return;
    case kForegroundRgb:
      foreground = load_color(bytes);
      return;
    case kBackgroundRgb:
      background = load_color(bytes);
      return;
    case kFont:
      font.number = load_word(bytes);
      return;
    case kFace:
      font.face = bytes[0];
      return;
    case kTextMode:
      font.mode = load_be16(bytes);
      return;
    case kTextSize:
      font.size = load_word(bytes);
      return;
    case kSpaceExtra:
      font.space_extra = static_cast<int32_t>(load_be32(bytes));
      return;
    case kCharacterExtra:
      font.extra = load_word(bytes);
      return;
    case kTextRatio:
      font.numerator = load_place(bytes);
      font.denominator = load_place(bytes + 4);
      return;
    default:
      return;
  }
}

}  // namespace tavo::pict
