#include "codec/jpeg/encoder.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/checked.h"

namespace tavo::jpeg {

namespace {

// A cache line, and more than the vectors of Divisors and BlockPair want.
constexpr size_t kAlignment = 64;

// Repeats row `from` of a plane down to row `to`, exclusive (A.2.4).
void repeat_row(uint8_t* plane, size_t row_bytes, size_t from, size_t to) {
  for (size_t row = from + 1; row < to; ++row) {
    std::memcpy(plane + row * row_bytes, plane + from * row_bytes, row_bytes);
  }
}

}  // namespace

// The tables of K.3, so that no pass over the picture has to count symbols. They have a code for
// every symbol that samples of 8 bits can need.
Status Encoder::start(const EncoderSetup& setup, const Kernels& stages, const EntropyCoder& coder) {
  setup_ = setup;
  stages_ = &stages;
  coder_ = &coder;
  kept_count_ = 0;
  rows_left_ = setup.height;
  // DC values are coded as differences, the first ones from 0; there are no restarts.
  levels_ = {};
  bits_ = {};
  TRY(memory_.allocate(sizeof(Workspace) + kAlignment));
  TRY(kept_.allocate(uint64_t{mcu_rows()} * setup.width * pixel_bytes()));
  const auto address = reinterpret_cast<uintptr_t>(memory_.data());
  // Nobody destroys it: it is arrays of numbers, whose memory is the buffer's.
  work_ = new (memory_.data() + (round_up<uintptr_t>(address, kAlignment) - address)) Workspace;
  make_divisors(setup.luminance, work_->divisors[0]);
  make_codes(kStandardDc[0], kStandardAc[0], work_->codes[0]);
  if (setup.is_gray) return kOk;
  make_divisors(setup.chrominance, work_->divisors[1]);
  make_codes(kStandardDc[1], kStandardAc[1], work_->codes[1]);
  return kOk;
}

// Whole MCU rows are coded where the caller has them.
Status Encoder::encode_rows(const uint8_t* rows, size_t stride, uint32_t count, ByteSink& sink) {
  const size_t row_bytes = setup_.width * pixel_bytes();
  count = std::min(count, rows_left_);
  while (count > 0) {
    uint32_t taken = 1;
    // The last rows of the picture, too, though they may be no whole MCU row.
    if (kept_count_ == 0 && (count >= mcu_rows() || count == rows_left_)) {
      taken = std::min(count, mcu_rows());
      TRY(encode_mcu_row(rows, stride, taken, sink));
    } else {
      std::memcpy(kept_.data() + kept_count_ * row_bytes, rows, row_bytes);
      if (++kept_count_ == mcu_rows()) {
        kept_count_ = 0;
        TRY(encode_mcu_row(kept_.data(), row_bytes, mcu_rows(), sink));
      }
    }
    rows += taken * stride;
    count -= taken;
    rows_left_ -= taken;
  }
  return kOk;
}

// F.1.2.3: ones fill up the last byte; should they make it 0xFF, a zero is stuffed.
Status Encoder::finish(ByteSink& sink) {
  if (kept_count_ != 0) {
    const uint32_t count = kept_count_;
    kept_count_ = 0;
    TRY(encode_mcu_row(kept_.data(), setup_.width * pixel_bytes(), count, sink));
  }
  if (bits_.count == 0) return kOk;
  const uint32_t ones = 8 - bits_.count;
  const auto last = static_cast<uint8_t>(bits_.bits << ones | ((1u << ones) - 1));
  bits_ = {};
  const uint8_t stuffed[] = {last, 0};
  return sink.append(std::span(stuffed).first(last == 0xFF ? 2 : 1));
}

// `count` rows are there; what the MCU row lacks repeats the last of them. A.2.4 recommends to
// complete MCUs so: it makes no new frequencies.
Status Encoder::encode_mcu_row(const uint8_t* rows, size_t stride, uint32_t count, ByteSink& sink) {
  // A tile is a whole number of MCUs of any sampling, so only the last one of a row has to be
  // filled up.
  for (size_t x = 0; x < setup_.width; x += kTilePixels) {
    const size_t pixels = std::min<size_t>(kTilePixels, setup_.width - x);
    if (setup_.is_gray) {
      transform_gray(rows, stride, count, x, pixels);
    } else {
      transform_color(rows, stride, count, x, pixels);
    }
    TRY(encode_tile(pixels, count, sink));
  }
  return kOk;
}

// Pixels x to x + pixels of a row. Where kernels might read past the row's end, which can be the
// end of the caller's memory, they get a copy, in which the last pixel is repeated.
const uint8_t* Encoder::padded_row(const uint8_t* row, size_t x, size_t pixels) {
  const size_t bytes = pixel_bytes();
  if ((setup_.width - x - pixels) * bytes >= kOverread) return row + x * bytes;
  uint8_t* edge = work_->edge.data();
  std::memcpy(edge, row + x * bytes, pixels * bytes);
  // 128 pixels at most, which is a multiple of kPixelStep.
  for (size_t i = pixels * bytes; i < round_up(pixels, kPixelStep) * bytes; ++i) {
    edge[i] = edge[i - bytes];
  }
  return edge;
}

// Samples that lie whole in the caller's memory are transformed there.
void Encoder::transform_gray(const uint8_t* rows, size_t stride, uint32_t count, size_t x,
                             size_t pixels) {
  const size_t padded = round_up(pixels, kPixelStep);
  const uint8_t* samples = rows + x;
  // The others: rows are missing below, or the right edge is near, past which kernels may not read.
  if (count < 8 || x + pixels == setup_.width) {
    uint8_t* y = work_->y.data();
    for (size_t row = 0; row < count; ++row) {
      std::memcpy(y + row * kTilePixels, padded_row(rows + row * stride, x, pixels), padded);
    }
    repeat_row(y, kTilePixels, count - 1, 8);
    samples = y;
    stride = kTilePixels;
  }
  stages_->transform(samples, stride, padded / 16, work_->divisors[0], work_->y_blocks[0].data());
}

// Colours first, then what is repeated below the picture: it costs a copy, not a conversion.
void Encoder::transform_color(const uint8_t* rows, size_t stride, uint32_t count, size_t x,
                              size_t pixels) {
  const size_t padded = round_up(pixels, kPixelStep);
  Workspace& w = *work_;
  for (size_t row = 0; row < count; ++row) {
    const size_t at = row * kTilePixels;
    stages_->convert(padded_row(rows + row * stride, x, pixels), padded, w.y.data() + at,
                     w.chroma[0].data() + at, w.chroma[1].data() + at);
  }
  repeat_row(w.y.data(), kTilePixels, count - 1, mcu_rows());
  // Block rows below the picture need no coefficients: encode_tile codes them without detail.
  for (size_t row = 0; row < (count + 7) / 8; ++row) {
    stages_->transform(w.y.data() + row * 8 * kTilePixels, kTilePixels, padded / 16, w.divisors[0],
                       w.y_blocks[row].data());
  }
  reduce_chroma(padded, count);
  const bool is_reduced = setup_.horizontal > 1;
  for (size_t i = 0; i < 2; ++i) {
    stages_->transform(is_reduced ? w.reduced[i].data() : w.chroma[i].data(), kTilePixels,
                       padded / setup_.horizontal / 16, w.divisors[1], w.chroma_blocks[i].data());
  }
}

// Brings both chroma planes to the size they are coded at, and to 8 rows. Means of two or four
// samples lie in the middle of them, where JFIF 1.02 has the chroma samples.
void Encoder::reduce_chroma(size_t padded, uint32_t count) {
  for (size_t i = 0; i < 2; ++i) {
    uint8_t* full = work_->chroma[i].data();
    uint8_t* reduced = work_->reduced[i].data();
    if (setup_.horizontal == 1) {
      repeat_row(full, kTilePixels, count - 1, 8);
      continue;
    }
    // Of 2 x 2 a row stands for two, the lower of which may be missing.
    const size_t rows = (count + setup_.vertical - 1) / setup_.vertical;
    if (setup_.vertical == 2) repeat_row(full, kTilePixels, count - 1, 2 * rows);
    for (size_t row = 0; row < rows; ++row) {
      const uint8_t* upper = full + row * setup_.vertical * kTilePixels;
      uint8_t* out = reduced + row * kTilePixels;
      if (setup_.vertical == 2) {
        stages_->quarter(upper, upper + kTilePixels, padded, out);
      } else {
        stages_->halve(upper, padded, out);
      }
    }
    repeat_row(reduced, kTilePixels, rows - 1, 8);
  }
}

// A.2.3: the order of blocks in an MCU, as slots: those of the luminance row by row, then one of
// each chroma component.
Status Encoder::encode_tile(size_t pixels, uint32_t count, ByteSink& sink) {
  Workspace& w = *work_;
  const uint32_t h = setup_.horizontal;
  // Those that hold pixels: what an MCU has beyond them is not transformed.
  const auto blocks = static_cast<uint32_t>((pixels + 7) / 8);
  const uint32_t mcus = (blocks + h - 1) / h;
  std::array<BlockSlot, kMaxSlots> slots;
  size_t slot_count = 0;
  for (uint32_t row = 0; row < setup_.vertical; ++row) {
    const uint32_t real = 8 * row < count ? blocks : 0;
    for (uint32_t i = 0; i < h; ++i) {
      slots[slot_count++] = {w.y_blocks[row].data(), i, h, real, &w.codes[0], &levels_[0]};
    }
  }
  for (size_t i = 0; i < 2 && !setup_.is_gray; ++i) {
    slots[slot_count++] = {w.chroma_blocks[i].data(), 0, 1, mcus, &w.codes[1], &levels_[i + 1]};
  }
  uint8_t* bits = w.bits.data();
  const uint8_t* end = coder_->encode(slots.data(), slot_count, mcus, bits_, bits);
  // Twice as many bytes at most (F.1.2.3): room for that is in the workspace.
  uint8_t* stuffed = w.stuffed.data();
  const uint8_t* stuffed_end = coder_->stuff(bits, static_cast<size_t>(end - bits), stuffed);
  return sink.append({stuffed, stuffed_end});
}

}  // namespace tavo::jpeg
