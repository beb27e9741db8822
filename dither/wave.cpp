#include "dither/wave.h"

#include <algorithm>
#include <cstring>

#include "base/variants.h"
#include "base/vector_sse2.h"
#include "color/index_rows.h"

namespace tavo::color {

namespace {

// The rows of one wave: up to sixteen.
struct Rows {
  const uint8_t* in;
  size_t stride;
  uint8_t* out;
  size_t out_stride;
  uint32_t count;

  // Lanes without a row repeat the last one; nothing of them is kept.
  const uint8_t* lane(uint32_t n) const { return in + std::min(n, count - 1) * stride; }
};

// One round of a transposition: interleaves the lower and the upper halves.
void interleave(const sse2::V (&from)[16], sse2::V (&to)[16]) {
  for (uint32_t i = 0; i < 8; ++i) {
    to[2 * i] = sse2::unpack_low8(from[i], from[i + 8]);
    to[2 * i + 1] = sse2::unpack_high8(from[i], from[i + 8]);
  }
}

// 16 x 16 bytes.
void transpose(const uint8_t* const (&from)[16], size_t at, uint8_t* to, size_t to_stride) {
  sse2::V a[16];
  sse2::V b[16];
  for (uint32_t i = 0; i < 16; ++i) a[i] = sse2::load(from[i] + at);
  interleave(a, b);
  interleave(b, a);
  interleave(a, b);
  interleave(b, a);
  for (uint32_t i = 0; i < 16; ++i) sse2::store(to + i * to_stride, a[i]);
}

// Pixels x to x + kSteps of a row, of which only some may exist.
struct Window {
  Window(int64_t x, uint32_t width)
      : start(x),
        first(x < 0 ? static_cast<uint32_t>(std::min<int64_t>(-x, kSteps)) : 0),
        end(static_cast<uint32_t>(
            std::clamp<int64_t>(static_cast<int64_t>(width) - x, first, kSteps))) {}
  bool is_whole() const { return first == 0 && end == kSteps; }
  uint32_t x() const { return static_cast<uint32_t>(start + first); }
  uint32_t count() const { return end - first; }

  int64_t start;
  uint32_t first;
  uint32_t end;
};

int64_t lane_x(int64_t t, uint32_t lane) { return t - int64_t{kSkew} * lane; }

class WaveRunner {
 public:
  WaveRunner(DitherPass& pass, Wave& wave, const Rows& rows)
      : pass_(pass), wave_(wave), rows_(rows), in_place_(is_read_in_place(pass)) {}

  void run(WaveKernel kernel);

 private:
  void bring_errors(int64_t t, uint32_t first_line, uint32_t lines);
  void bring_pixels(int64_t t);
  void mark_active(int64_t t);
  void take_indices(int64_t t);
  void take_errors(int64_t t);
  void keep_history();

  DitherPass& pass_;
  Wave& wave_;
  const Rows& rows_;
  bool in_place_;
};

// The errors of earlier rows, as if lanes -1, -2 and -3 had worked on them. Step t is in line
// `first_line`.
void WaveRunner::bring_errors(int64_t t, uint32_t first_line, uint32_t lines) {
  for (uint32_t k = 1; k <= pass_.diffusion().rows; ++k) {
    const int16_t* row = pass_.error_row(k);
    for (uint32_t i = 0; i < lines; ++i) {
      const int64_t x = t + i + int64_t{kSkew} * k;
      const bool exists = x >= 0 && x < pass_.width;
      for (uint32_t c = 0; c < pass_.channels; ++c) {
        wave_.errors[c][first_line + i].words[kAbove - k] =
            exists ? row[static_cast<size_t>(x) * pass_.channels + c] : int16_t{0};
      }
    }
  }
}

void WaveRunner::bring_pixels(int64_t t) {
  const uint32_t step = wave_.pixels.step;
  uint8_t copies[kWaveLanes][kSteps * 4];
  const uint8_t* from[kWaveLanes];
  for (uint32_t n = 0; n < kWaveLanes; ++n) {
    const Window window(lane_x(t, n), pass_.width);
    const uint8_t* row = rows_.lane(n);
    if (in_place_ && window.is_whole()) {
      from[n] = row + static_cast<size_t>(window.x()) * step;
      continue;
    }
    from[n] = copies[n];
    if (!window.is_whole()) std::memset(copies[n], 0, sizeof copies[n]);
    if (window.count() == 0) continue;
    uint8_t* to = copies[n] + static_cast<size_t>(window.first) * step;
    if (in_place_) {
      std::memcpy(to, row + static_cast<size_t>(window.x()) * step,
                  static_cast<size_t>(window.count()) * step);
    } else if (pass_.is_gray) {
      read_gray(pass_, row, window.x(), window.count(), to);
    } else {
      read_rgb(pass_, row, window.x(), window.count(), to);
    }
  }
  for (size_t at = 0; at < size_t{wave_.steps} * step; at += 16) {
    transpose(from, at, wave_.in + at * kWaveLanes, kWaveLanes);
  }
}

void WaveRunner::mark_active(int64_t t) {
  const int64_t last_x = lane_x(t, kWaveLanes - 1);
  wave_.all_active = last_x >= 0 && t + wave_.steps <= pass_.width;
  if (wave_.all_active) return;
  for (uint32_t i = 0; i < wave_.steps; ++i) {
    for (uint32_t n = 0; n < kWaveLanes; ++n) {
      const int64_t x = lane_x(t + i, n);
      wave_.active[i][n] = x >= 0 && x < pass_.width ? -1 : 0;
    }
  }
}

void WaveRunner::take_indices(int64_t t) {
  uint8_t indices[kWaveLanes][kSteps];
  const uint8_t* from[16];
  for (uint32_t at = 0; at < wave_.steps; at += 16) {
    for (uint32_t i = 0; i < 16; ++i) from[i] = wave_.out + (at + i) * kWaveLanes;
    transpose(from, 0, indices[0] + at, kSteps);
  }
  for (uint32_t n = 0; n < rows_.count; ++n) {
    const Window window(lane_x(t, n), pass_.width);
    const uint32_t end = std::min(window.end, wave_.steps);
    if (end <= window.first) continue;
    uint8_t* const row = rows_.out + n * rows_.out_stride;
    pack_indices(pass_.depth_out, {indices[n] + window.first, end - window.first},
                 row + packed_offset(pass_.depth_out, window.x()));
  }
}

// The errors of the last rows replace those of the rows above the first, which have been read by
// now this far and further.
void WaveRunner::take_errors(int64_t t) {
  for (uint32_t k = 1; k <= pass_.diffusion().rows; ++k) {
    int16_t* row = pass_.error_row(k);
    const uint32_t lane = rows_.count - k;
    const Window window(lane_x(t, lane), pass_.width);
    const uint32_t end = std::min(window.end, wave_.steps);
    for (uint32_t i = window.first; i < end; ++i) {
      const auto x = static_cast<size_t>(window.start + i);
      for (uint32_t c = 0; c < pass_.channels; ++c) {
        row[x * pass_.channels + c] = wave_.errors[c][kHistory + i].words[kAbove + lane];
      }
    }
  }
}

void WaveRunner::keep_history() {
  for (uint32_t c = 0; c < pass_.channels; ++c) {
    std::memcpy(wave_.errors[c], wave_.errors[c] + kSteps, kHistory * sizeof(WaveErrors));
  }
}

void WaveRunner::run(WaveKernel kernel) {
  for (uint32_t c = 0; c < pass_.channels; ++c) {
    std::memset(wave_.errors[c], 0, kHistory * sizeof(WaveErrors));
  }
  std::memset(wave_.last, 0, sizeof wave_.last);
  std::memset(wave_.before, 0, sizeof wave_.before);
  bring_errors(-int64_t{kHistory}, 0, kHistory);
  const int64_t total = int64_t{pass_.width} + int64_t{kSkew} * (rows_.count - 1);
  for (int64_t t = 0; t < total; t += kSteps) {
    wave_.steps = static_cast<uint32_t>(std::min<int64_t>(kSteps, (total - t + 15) / 16 * 16));
    bring_errors(t, kHistory, wave_.steps);
    bring_pixels(t);
    mark_active(t);
    kernel(wave_);
    take_indices(t);
    take_errors(t);
    keep_history();
  }
}

WaveChoice wave_choice(const DitherPass& pass) {
  const bool is_threshold = pass.mapping == Mapping::kBlackWhite;
  if (pass.is_gray) return is_threshold ? WaveChoice::kGrayThreshold : WaveChoice::kGrayTable;
  if (is_threshold) return WaveChoice::kBlackWhite;
  if (pass.separate.size() == 0) return WaveChoice::kClasses;
  return pass.mapping == Mapping::kCube ? WaveChoice::kCube : WaveChoice::kSixteen;
}

void prepare(DitherPass& pass, Wave& wave) {
  wave.pass = &pass;
  wave.pixels = pixel_layout(pass);
  wave.filter = wave_filter(pass.diffusion());
  wave.white = pass.palette[1].Red;
  for (uint32_t i = 0; pass.is_gray && i < 32; ++i) {
    const ChannelChoice& choice =
        pass.separate[static_cast<size_t>(8 * i) - static_cast<size_t>(kLeastSum)];
    wave.gray_values[i] = static_cast<uint8_t>(8 * static_cast<int32_t>(i) - choice.error);
    wave.gray_indices[i] = static_cast<uint8_t>(choice.part);
  }
}

}  // namespace

WaveFilter wave_filter(const Diffusion& diffusion) {
  WaveFilter filter = {};
  filter.is_halved = diffusion.divisor == 200;
  const int32_t part = filter.is_halved ? 2 : 1;
  filter.reciprocal = filter.is_halved ? 20972 : static_cast<int16_t>(diffusion.reciprocal);
  filter.shift = filter.is_halved ? 5 : static_cast<int16_t>(diffusion.shift - 16);
  filter.right1 = static_cast<int16_t>(diffusion.right1 / part);
  filter.right2 = static_cast<int16_t>(diffusion.right2 / part);
  filter.tap_count = diffusion.tap_count;
  uint32_t odd = 0;
  for (uint32_t i = 0; i < diffusion.tap_count; ++i) {
    const Tap& tap = diffusion.taps[i];
    const int32_t lag = static_cast<int32_t>(kSkew) * tap.row + tap.dx;
    filter.taps[i].offset = -lag * 32 - tap.row;
    filter.taps[i].weight = static_cast<int16_t>(tap.weight / part);
    if (filter.is_halved && tap.weight % 2 != 0) filter.odd_offsets[odd++] = filter.taps[i].offset;
  }
  return filter;
}

void diffuse_rows(DitherPass& pass, const uint8_t* rows, size_t stride, uint8_t* out,
                  size_t out_stride, uint32_t count) {
  Wave wave;
  prepare(pass, wave);
  const bool is_floyd_steinberg = pass.method == T_DITHER_FLOYD_STEINBERG;
  const WaveKernel kernel =
      Variants<WaveKernel>{.any = wave_kernel_sse2(wave_choice(pass), is_floyd_steinberg),
                           .avx2 = wave_kernel_avx2(wave_choice(pass), is_floyd_steinberg)}
          .best();
  const uint32_t least = least_wave_rows(pass);
  for (uint32_t done = 0, n = 0; done < count; done += n) {
    n = std::min(kWaveLanes, count - done);
    const uint32_t after = count - done - n;  // what is left makes a wave, too
    if (after != 0 && after < least) n -= least - after;
    WaveRunner(pass, wave, {rows + done * stride, stride, out + done * out_stride, out_stride, n})
        .run(kernel);
  }
}

}  // namespace tavo::color
