#include "process/resize_steps.h"

#include <algorithm>
#include <array>

#include "base/variants.h"

namespace tavo::process {

namespace {

constexpr uint32_t kPieceBytes = 4096;  // so that they are read again from the nearest cache

}  // namespace

// A step and where each of its bytes lies in its window.
struct ResizeSteps::Cut {
  ResizeStep step;
  bool is_whole;  // its loads and its store stay inside the row
  std::array<uint8_t, kResizeLanesAvx512> indices;
};

void ResizeSteps::make(const ResizeSources& sources, uint32_t pixel_bytes) {
  forget();
  pixel_bytes_ = pixel_bytes;
  shrinks_ = sources.shrinks;
  const int64_t longest = int64_t{std::max(sources.end, sources.old_size)} * pixel_bytes;
  if (longest > INT32_MAX || sources.first == sources.end) return;
  old_bytes_ = sources.old_size * pixel_bytes;
  first_ = sources.first * pixel_bytes;
  end_ = sources.end * pixel_bytes;
  if (!choose_kernels()) return moves_.make(sources, pixel_bytes);
  const uint32_t most = (end_ - first_) / kernels_->lanes + old_bytes_ / window() + 2;
  if (!allocate(most)) return;
  make_cycle(sources);
  make_last(sources, count_whole());
}

void ResizeSteps::forget() {
  whole_ = last_ = 0;
  moves_.forget();
}

// False where nothing shuffles, and for rows shorter than a window.
bool ResizeSteps::choose_kernels() {
  kernels_ =
      Variants<const ResizeKernels*>{
          .ssse3 = &kResizeSsse3, .avx2 = &kResizeAvx2, .avx512 = &kResizeAvx512}
          .best();
  if (kernels_ == &kResizeAvx512 && old_bytes_ < window()) kernels_ = &kResizeAvx2;
  return kernels_ != nullptr && old_bytes_ >= window();
}

bool ResizeSteps::allocate(uint32_t most) {
  const uint64_t bytes = uint64_t{most} * kernels_->lanes;
  return steps_.allocate(2 * uint64_t{most}).ok() && shuffles_.allocate(2 * bytes).ok() &&
         last_shuffles_.allocate(bytes).ok();
}

uint32_t ResizeSteps::source_byte(const ResizeSources& sources, uint32_t at) const {
  return sources.pixels[at / pixel_bytes_] * pixel_bytes_ + at % pixel_bytes_;
}

// The step after `done` bytes of the result, as many as its window holds.
ResizeSteps::Cut ResizeSteps::cut_shrinking(const ResizeSources& sources, uint32_t done) const {
  Cut cut = {};
  const uint32_t lowest = source_byte(sources, done);
  cut.step.offset = std::min(lowest, old_bytes_ - window());
  for (; cut.step.count < kernels_->lanes && done + cut.step.count < end_; ++cut.step.count) {
    const uint32_t byte = source_byte(sources, done + cut.step.count);
    if (byte >= cut.step.offset + window()) break;
    cut.indices[cut.step.count] = static_cast<uint8_t>(byte - cut.step.offset);
  }
  cut.is_whole = lowest == cut.step.offset && end_ - done >= kernels_->lanes;
  return cut;
}

// The step before the last `done` bytes.
ResizeSteps::Cut ResizeSteps::cut_enlarging(const ResizeSources& sources, uint32_t done) const {
  Cut cut = {};
  const uint32_t lanes = kernels_->lanes;
  const uint32_t end = end_ - done;
  cut.step.count = static_cast<uint16_t>(std::min(lanes, end - first_));
  const uint32_t begin = end - cut.step.count;
  uint32_t behind = 0;
  for (uint32_t at = begin; at < end; ++at) {
    behind = std::max(behind, source_byte(sources, at) + 1);
  }
  cut.step.offset = behind - std::min(behind, lanes);
  for (uint32_t at = begin; at < end; ++at) {
    cut.indices[at - begin] = static_cast<uint8_t>(source_byte(sources, at) - cut.step.offset);
  }
  cut.is_whole = cut.step.count == lanes && behind >= lanes;
  return cut;
}

ResizeSteps::Cut ResizeSteps::cut(const ResizeSources& sources, uint32_t done) const {
  return shrinks_ ? cut_shrinking(sources, done) : cut_enlarging(sources, done);
}

// A step of the cycle, as ResizeTable says.
void ResizeSteps::place(const Cut& cut, uint32_t number) {
  steps_[number] = cut.step;
  const uint32_t lanes = kernels_->lanes;
  if (lanes != kResizeLanes) {
    std::copy_n(cut.indices.data(), lanes, shuffles_.data() + size_t{number} * lanes);
    return;
  }
  const uint32_t pair = number / 2, second = number % 2;
  if (!shrinks_) {
    std::copy_n(cut.indices.data(), lanes,
                shuffles_.data() + (size_t{pair} * 2 + 1 - second) * lanes);
    return;
  }
  uint8_t* const low = shuffles_.data() + (size_t{pair} * 4 + second) * lanes;
  for (uint32_t i = 0; i < lanes; ++i) {
    const uint32_t index = cut.indices[i];
    low[i] = static_cast<uint8_t>(index < lanes ? index : 0x80);
    low[2 * lanes + i] = static_cast<uint8_t>(index < lanes ? 0x80 : index - lanes);
  }
}

// A pair that takes every second pixel needs no shuffles.
void ResizeSteps::mark_halves(uint32_t pair) {
  if (kernels_->lanes != kResizeLanes || (pixel_bytes_ != 1 && pixel_bytes_ != 4)) return;
  ResizeStep* const steps = &steps_[size_t{pair} * 2];
  if (steps[1].offset - steps[0].offset != 2 * kResizeLanes) return;
  const uint8_t* const low = shuffles_.data() + size_t{pair} * 4 * kResizeLanes;
  for (uint32_t i = 0; i < 4 * kResizeLanes; ++i) {
    const uint32_t lane = i % kResizeLanes, half = i / (2 * kResizeLanes);
    const uint32_t byte = lane / pixel_bytes_ * 2 * pixel_bytes_ + lane % pixel_bytes_;
    const uint32_t want = byte / kResizeLanes == half ? byte % kResizeLanes : 0x80;
    if (low[i] != want) return;
  }
  steps[0].halved_bytes = static_cast<uint16_t>(pixel_bytes_);
}

// The steps until the pattern begins anew, or else all.
void ResizeSteps::make_cycle(const ResizeSources& sources) {
  cycle_ = cycle_bytes_ = 0;
  are_full_ = true;
  const uint64_t pattern = sources.pattern * pixel_bytes_;
  for (uint32_t done = 0; done < end_ - first_;) {
    const Cut next = cut(sources, done);
    if (!next.is_whole) break;
    place(next, cycle_++);
    if (shrinks_ && cycle_ % 2 == 0) mark_halves(cycle_ / 2 - 1);
    are_full_ = are_full_ && next.step.count == kernels_->lanes;
    done += next.step.count;
    if (cycle_ % 2 == 0 && done % pattern == 0) {
      cycle_bytes_ = static_cast<uint32_t>(done / pattern) * sources.pattern_sources * pixel_bytes_;
      return;
    }
  }
  cycle_ -= cycle_ % 2;
}

// How many steps of cycles there are, and how many bytes they make.
uint32_t ResizeSteps::count_whole() {
  const uint32_t lanes = kernels_->lanes;
  const uint32_t total = end_ - first_;
  uint32_t made[2] = {};  // by all steps, and by all but the last
  whole_ = 0;
  while (cycle_ != 0 && total - made[0] >= lanes && (cycle_bytes_ != 0 || whole_ < cycle_)) {
    const ResizeStep& step = steps_[whole_ % cycle_];
    const uint64_t moved = uint64_t{whole_ / cycle_} * cycle_bytes_;
    if (shrinks_ ? step.offset + moved + window() > old_bytes_ : step.offset < moved) break;
    made[1] = made[0];
    made[0] += step.count;
    ++whole_;
  }
  const uint32_t odd = whole_ % 2;
  whole_ -= odd;
  return made[odd];
}

void ResizeSteps::make_last(const ResizeSources& sources, uint32_t done) {
  for (last_ = 0; done < end_ - first_; ++last_) {
    const Cut next = cut(sources, done);
    steps_[cycle_ + last_] = next.step;
    std::copy_n(next.indices.data(), kernels_->lanes,
                last_shuffles_.data() + size_t{last_} * kernels_->lanes);
    done += next.step.count;
  }
}

void ResizeSteps::run(const uint8_t* from, uint8_t* to, size_t ahead) const {
  if (!moves_.empty()) return moves_.run(from, to);
  const ResizeTable table{.steps = steps_.data(),
                          .shuffles = shuffles_.data(),
                          .cycle = cycle_,
                          .cycle_bytes = cycle_bytes_,
                          .whole = whole_,
                          .ahead = ahead,
                          .are_full = are_full_,
                          .last_shuffles = last_shuffles_.data(),
                          .last = last_};
  return shrinks_ ? kernels_->shrink(table, from, to) : kernels_->enlarge(table, from, to + end_);
}

void ResizeSteps::run_pieces(const uint8_t* from, uint8_t* scratch, ResizeSink sink) const {
  if (!moves_.empty()) {
    moves_.run(from, scratch);
    return sink({scratch + first_, end_ - first_});
  }
  const uint32_t lanes = kernels_->lanes;
  const uint32_t rest = end_ - first_ - whole_ * lanes;
  kernels_->enlarge({.steps = steps_.data(),
                     .cycle = cycle_,
                     .last_shuffles = last_shuffles_.data(),
                     .last = last_},
                    from, scratch + rest);
  sink({scratch, rest});
  for (uint32_t left = whole_, steps = 0; left > 0; left -= steps) {
    const uint32_t in_cycle = (left - 1) % cycle_ + 1;
    steps = std::min(in_cycle, kPieceBytes / lanes);
    const uint32_t at = in_cycle - steps;
    kernels_->enlarge_forward({.steps = steps_.data() + at,
                               .shuffles = shuffles_.data() + size_t{at} * lanes,
                               .cycle = steps,
                               .cycle_bytes = (left - in_cycle) / cycle_ * cycle_bytes_},
                              from, scratch);
    sink({scratch, size_t{steps} * lanes});
  }
}

}  // namespace tavo::process
