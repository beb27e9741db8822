// Error diffusion one row at a time.
//
// The errors of earlier rows are known before the row begins, so a piece of it has their shares
// added up first, many pixels at once; what remains of the chain from pixel to pixel is short.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "color/gray.h"
#include "color/index_rows.h"
#include "dither/dither_pass.h"

namespace tavo::color {

namespace {

constexpr uint32_t kPiece = 512;  // pixels

// The errors of the last two pixels, by channel; that of the last also weighted for the next.
struct Carried {
  int32_t next[3] = {};
  int32_t last[3] = {};
  int32_t before[3] = {};
};

struct Piece {
  Pixels pixels;        // of the first pixel on
  const int32_t* sums;  // interleaved by channel: what the rows above give
  int16_t* errors;      // interleaved by channel: what this row leaves
  uint8_t* indices;
  uint32_t count;
};

// What is carried to a pixel: `sum` comes from the rows above, `next` from the last pixel,
// weighted, `before` is the error of the one before that. Floyd-Steinberg has the shortest chain,
// the other filters share one that reads its weights.
struct FloydSteinberg {
  explicit FloydSteinberg(const Diffusion&) {}
  int32_t weigh(int32_t last) const { return 7 * last; }
  int32_t carry(int32_t sum, int32_t next, int32_t) const {
    const int32_t n = sum + next;
    return (n + static_cast<int32_t>(static_cast<uint32_t>(n) >> 28)) >> 4;  // n / 16
  }
};

struct AnyFilter {
  explicit AnyFilter(const Diffusion& d)
      : right1(d.right1), right2(d.right2), reciprocal(d.reciprocal), shift(d.shift) {}
  int32_t weigh(int32_t last) const { return right1 * last; }
  int32_t carry(int32_t sum, int32_t next, int32_t before) const {
    return divide(sum + next + right2 * before, reciprocal, shift);
  }
  int32_t right1, right2;
  uint32_t reciprocal;
  int32_t shift;
};

// The mappings of DitherPass::separate.
template <uint32_t kChannels, class Filter>
void diffuse_separate(const DitherPass& pass, const Filter& filter, const Piece& piece,
                      Carried& carried) {
  const ChannelChoice* tables = pass.separate.data() - kLeastSum;
  const uint32_t offsets[3] = {piece.pixels.red, piece.pixels.green, piece.pixels.blue};
  const uint8_t* at = piece.pixels.bytes;
  const uint32_t step = piece.pixels.step;
  Carried now = carried;
  for (uint32_t i = 0; i < piece.count; ++i, at += step) {
    uint32_t index = 0;
    for (uint32_t c = 0; c < kChannels; ++c) {
      const int32_t carry = filter.carry(piece.sums[kChannels * i + c], now.next[c], now.before[c]);
      const ChannelChoice* choices = tables + c * kSums + at[offsets[c]];
      const ChannelChoice choice = choices[carry];
      now.before[c] = now.last[c];
      now.next[c] = choice.next;
      now.last[c] = choice.error;
      piece.errors[kChannels * i + c] = choice.error;
      index += choice.part;
    }
    piece.indices[i] = static_cast<uint8_t>(index);
  }
  carried = now;
}

ptrdiff_t load_share(const char* entry) {
  int16_t share;
  std::memcpy(&share, entry, sizeof share);
  return share;
}

// A conditional move, because no branch foresees the sign, and compilers make one for x86.
ptrdiff_t choose_by_sign(ptrdiff_t value, ptrdiff_t if_negative, ptrdiff_t otherwise) {
#if defined(__x86_64__) || defined(__i386__)
  asm("test %1, %1\n\tcmovs %2, %0" : "+r"(otherwise) : "r"(value), "r"(if_negative) : "cc");
  return otherwise;
#else
  return value < 0 ? if_negative : otherwise;
#endif
}

// The same for grey and Floyd-Steinberg. Only the look-ups of the next pixel's share are in the
// chain: one for each sign of the numerator, because a negative one, which is divided toward zero,
// rounds up. Errors and indices follow from the shares, many pixels at once.
void diffuse_gray(const DitherPass& pass, const FloydSteinberg& filter, const Piece& piece,
                  Carried& carried) {
  constexpr int32_t kEntry = sizeof(int16_t);
  const uint8_t* at = piece.pixels.bytes;
  const uint32_t count = piece.count;
  int32_t entries[kPiece];
  int16_t shares[kPiece + 1];  // in bytes of the chain; the first is the pixel's before
  for (uint32_t i = 0; i < count; ++i) entries[i] = kEntry * (16 * at[i] + piece.sums[i]);

  const auto* chain = reinterpret_cast<const char*>(pass.chain.data() + kMostNumerator);
  ptrdiff_t share = kEntry * carried.next[0];
  shares[0] = static_cast<int16_t>(share);
  for (uint32_t i = 0; i < count; ++i) {
    const ptrdiff_t down = load_share(chain + entries[i] + share);
    const ptrdiff_t up = load_share(chain + entries[i] + 15 * kEntry + share);
    share = choose_by_sign(kEntry * piece.sums[i] + share, up, down);
    shares[i + 1] = static_cast<int16_t>(share);
  }
  carried.next[0] = static_cast<int32_t>(share) / kEntry;

  int16_t levels[kPiece];
  for (uint32_t i = 0; i < count; ++i) {
    const int32_t carry = filter.carry(piece.sums[i], shares[i] / kEntry, 0);
    levels[i] = static_cast<int16_t>(at[i] + carry - kLeastSum);
    constexpr uint32_t kSeventh = 28087;  // 7 * 28087 = 1 modulo 65536
    piece.errors[i] = static_cast<int16_t>(static_cast<uint32_t>(shares[i + 1] >> 1) * kSeventh);
  }
  for (uint32_t i = 0; i < count; ++i) {
    piece.indices[i] = static_cast<uint8_t>(pass.separate[static_cast<size_t>(levels[i])].part);
  }
}

// The standard colours' parts are 0 or 8 + bit: one 8 is meant, however many channels are bright.
void merge_sixteen(uint8_t* indices, uint32_t count) {
  // 0, 9, 10, 12 and their sums: the low three bits are right as they stand.
  for (uint32_t i = 0; i < count; ++i) {
    indices[i] = static_cast<uint8_t>((indices[i] & 7) | (indices[i] != 0 ? 8 : 0));
  }
}

struct ByClass {
  DitherPass& pass;
  uint32_t operator()(uint32_t red, uint32_t green, uint32_t blue) const {
    return pass.choose(color_class(red, green, blue));
  }
};

struct ByThreshold {
  explicit ByThreshold(const DitherPass& pass)
      : dark(pass.choice_of(0)), bright(pass.choice_of(1)) {}
  uint32_t operator()(uint32_t red, uint32_t green, uint32_t blue) const {
    return gray_level(red, green, blue) >= 128 ? bright : dark;
  }
  uint32_t dark, bright;
};

// The mappings that look at the three channels together.
template <class Filter, class Choose>
void diffuse_joint(const Choose& choose, const Filter& filter, const Piece& piece,
                   Carried& carried) {
  const uint32_t offsets[3] = {piece.pixels.red, piece.pixels.green, piece.pixels.blue};
  const uint8_t* at = piece.pixels.bytes;
  const uint32_t step = piece.pixels.step;
  Carried now = carried;
  for (uint32_t i = 0; i < piece.count; ++i, at += step) {
    int32_t value[3];
    for (uint32_t c = 0; c < 3; ++c) {
      const int32_t carry = filter.carry(piece.sums[3 * i + c], now.next[c], now.before[c]);
      value[c] = std::clamp(at[offsets[c]] + carry, 0, 255);
    }
    const uint32_t choice = choose(static_cast<uint32_t>(value[0]), static_cast<uint32_t>(value[1]),
                                   static_cast<uint32_t>(value[2]));
    for (uint32_t c = 0; c < 3; ++c) {
      now.before[c] = now.last[c];
      now.last[c] = value[c] - static_cast<int32_t>(choice >> (16 - 8 * c) & 255);
      now.next[c] = filter.weigh(now.last[c]);
      piece.errors[3 * i + c] = static_cast<int16_t>(now.last[c]);
    }
    piece.indices[i] = static_cast<uint8_t>(choice >> 24);
  }
  carried = now;
}

template <class Filter>
void diffuse_piece(DitherPass& pass, const Piece& piece, Carried& carried) {
  const Filter filter(pass.diffusion());
  if (pass.is_gray) {
    if constexpr (std::is_same_v<Filter, FloydSteinberg>) {
      diffuse_gray(pass, filter, piece, carried);
    } else {
      diffuse_separate<1>(pass, filter, piece, carried);
    }
  } else if (pass.separate.size() != 0) {
    diffuse_separate<3>(pass, filter, piece, carried);
    if (pass.mapping == Mapping::kSixteen) merge_sixteen(piece.indices, piece.count);
  } else if (pass.mapping == Mapping::kBlackWhite) {
    diffuse_joint(ByThreshold(pass), filter, piece, carried);
  } else {
    diffuse_joint(ByClass{pass}, filter, piece, carried);
  }
}

// What the rows above give to `n` pixels from pixel x on.
void sum_taps(DitherPass& pass, uint32_t x, uint32_t n, int32_t* sums) {
  const Diffusion& diffusion = pass.diffusion();
  const size_t count = static_cast<size_t>(n) * pass.channels;
  if (pass.method == T_DITHER_FLOYD_STEINBERG) {
    const int16_t* middle = pass.error_row(1) + static_cast<size_t>(x) * pass.channels;
    const int16_t* left = middle - pass.channels;
    const int16_t* right = middle + pass.channels;
    for (size_t i = 0; i < count; ++i) sums[i] = left[i] + 5 * middle[i] + 3 * right[i];
    return;
  }
  std::fill_n(sums, count, 0);
  for (uint32_t t = 0; t < diffusion.tap_count; ++t) {
    const Tap tap = diffusion.taps[t];
    const auto first = static_cast<ptrdiff_t>(x) - tap.dx;
    const int16_t* from = pass.error_row(static_cast<uint32_t>(tap.row)) +
                          first * static_cast<ptrdiff_t>(pass.channels);
    for (size_t i = 0; i < count; ++i) sums[i] += tap.weight * from[i];
  }
}

}  // namespace

void diffuse_row(DitherPass& pass, const uint8_t* row, uint8_t* out) {
  const bool is_floyd_steinberg = pass.method == T_DITHER_FLOYD_STEINBERG;
  if (is_floyd_steinberg && pass.mapping == Mapping::kBlackWhite && !pass.is_gray) {
    return diffuse_row_black_white(pass, row, out);
  }
  alignas(16) uint8_t bytes[3 * kPiece];
  alignas(16) int32_t sums[3 * kPiece];
  alignas(16) int16_t errors[2][3 * kPiece];
  uint8_t indices[kPiece];
  Piece piece = {pixel_layout(pass), sums, nullptr, indices, 0};
  Carried carried;

  // The row's errors replace those of the oldest row, each piece of them only when the sums of
  // the next piece, which reach back into this one, have been made.
  int16_t* kept = pass.error_row(pass.diffusion().rows);
  uint32_t pending = 0;
  for (uint32_t x = 0, turn = 0; x < pass.width; x += kPiece, turn ^= 1) {
    piece.count = std::min(kPiece, pass.width - x);
    sum_taps(pass, x, piece.count, sums);
    const size_t pending_values = static_cast<size_t>(pending) * pass.channels;
    std::copy_n(errors[turn ^ 1], pending_values,
                kept + static_cast<size_t>(x) * pass.channels - pending_values);
    if (is_read_in_place(pass)) {
      piece.pixels.bytes = row + static_cast<size_t>(x) * piece.pixels.step;
    } else {
      pass.is_gray ? read_gray(pass, row, x, piece.count, bytes)
                   : read_rgb(pass, row, x, piece.count, bytes);
      piece.pixels.bytes = bytes;
    }
    piece.errors = errors[turn];
    is_floyd_steinberg ? diffuse_piece<FloydSteinberg>(pass, piece, carried)
                       : diffuse_piece<AnyFilter>(pass, piece, carried);
    pack_indices(pass.depth_out, {indices, piece.count}, out + packed_offset(pass.depth_out, x));
    pending = piece.count;
    if (pass.width - x <= kPiece) {
      std::copy_n(piece.errors, static_cast<size_t>(pending) * pass.channels,
                  kept + static_cast<size_t>(x) * pass.channels);
      break;
    }
  }
  pass.newest = (pass.newest + 1) % pass.diffusion().rows;
}

}  // namespace tavo::color
