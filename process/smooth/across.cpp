#include "process/smooth/across.h"

#include <algorithm>

namespace tavo::process {

namespace {

constexpr uint32_t kStep = 8;       // samples that a step takes
constexpr uint32_t kFour = 4;       // results whose pairs are picked together
constexpr uint32_t kLastPair = 6;   // where in eight samples the last pair begins
constexpr uint32_t kMostPairs = 7;  // of windows as long as those of a picture of half the size

}  // namespace

Status SmoothAcross::start(SmoothFilter filter, const SmoothSide& side,
                           const SmoothKernels& kernels) {
  kernels_ = &kernels;
  const auto results = static_cast<uint32_t>(side.results);
  results_ = (size_t{results} + kSmoothBlock - 1) / kSmoothBlock * kSmoothBlock;
  SmoothWeights weights;
  TRY(weights.start(filter, side));
  uint32_t most = 0;
  TRY(start_windows(weights, results, most));
  has_pairs_ = fits_pairs(most);
  if (has_pairs_) {
    steps_ = (most + 1) / 2;
    return make_pairs(weights, results);
  }
  steps_ = (most + kStep - 1) / kStep;
  return make_taps(weights, results);
}

// Where each window begins, and how long the longest is.
Status SmoothAcross::start_windows(SmoothWeights& weights, uint32_t results, uint32_t& most) {
  TRY(first_.allocate(results_));
  for (uint32_t x = 0; x < results; ++x) {
    const SmoothWindow window = weights.window(x);
    first_[x] = window.first;
    most = std::max(most, static_cast<uint32_t>(window.parts.size()));
  }
  // What fills the last block has parts of 0.
  std::fill(first_.data() + results, first_.data() + results_, first_[results - 1]);
  return kOk;
}

bool SmoothAcross::fits_pairs(uint32_t most) const {
  if (most > 2 * kMostPairs) return false;
  for (size_t x = 0; x < results_; x += kFour) {
    const auto [least, greatest] =
        std::minmax({first_[x], first_[x + 1], first_[x + 2], first_[x + 3]});
    if (greatest - least > kLastPair) return false;
  }
  return true;
}

Status SmoothAcross::make_taps(SmoothWeights& weights, uint32_t results) {
  TRY(parts_.allocate(uint64_t{results_} * steps_ * kStep));
  for (uint32_t x = 0; x < results; ++x) {
    const SmoothWindow window = weights.window(x);
    for (size_t i = 0; i < window.parts.size(); ++i) {
      parts_[(i / kStep * results_ + x) * kStep + i % kStep] = window.parts[i];
    }
  }
  return kOk;
}

Status SmoothAcross::make_pairs(SmoothWeights& weights, uint32_t results) {
  TRY(parts_.allocate(uint64_t{results_} * steps_ * 2));
  TRY(shuffles_.allocate(uint64_t{results_} * 4));
  for (uint32_t x = 0; x < results; ++x) {
    const SmoothWindow window = weights.window(x);
    for (size_t i = 0; i < window.parts.size(); ++i) {
      parts_[2 * (i / 2 * results_ + x) + i % 2] = window.parts[i];
    }
  }
  for (size_t x = 0; x < results_; x += kFour) {
    const uint32_t least = *std::min_element(&first_[x], &first_[x] + kFour);
    for (size_t i = 0; i < kFour; ++i) {
      for (uint32_t byte = 0; byte < 4; ++byte) {
        shuffles_[4 * (x + i) + byte] = static_cast<uint8_t>(2 * (first_[x + i] - least) + byte);
      }
    }
    first_[x / kFour] = least;
  }
  return kOk;
}

void SmoothAcross::run(const int16_t* from, size_t from_stride, uint32_t planes,
                       int16_t* to) const {
  const SmoothPlanes rows = {from, from_stride, to, results_, planes};
  const auto results = static_cast<uint32_t>(results_);
  if (has_pairs_) {
    kernels_->across_pairs({first_.data(), shuffles_.data(), parts_.data(), steps_, results}, rows);
  } else {
    kernels_->across_taps({first_.data(), parts_.data(), steps_, results}, rows);
  }
}

}  // namespace tavo::process
