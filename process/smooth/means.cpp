#include "process/smooth/means.h"

#include <cstring>

#include "base/variants.h"

namespace tavo::process {

bool SmoothMeans::fits(SmoothFilter filter, const SmoothSide& across, const SmoothSide& down) {
  kernels_ = Variants<const MeanKernels*>{.ssse3 = kMeansSsse3, .avx2 = kMeansAvx2}.best();
  if (kernels_ == nullptr || filter != SmoothFilter::kBox || across.scale != 1) return false;
  for (fitting_ = kMostHalvings; fitting_ > 0; --fitting_) {
    const auto fits_side = [this](const SmoothSide& side) {
      return int64_t{side.results} << fitting_ == side.samples;
    };
    if (fits_side(across) && fits_side(down)) return true;
  }
  return false;
}

Status SmoothMeans::start(uint32_t width, uint32_t pixel_bytes) {
  kernels_ += pixel_bytes == 1 ? 0 : pixel_bytes - 2;
  bytes_ = size_t{width} * pixel_bytes;
  TRY(first_.allocate(bytes_));
  for (uint32_t level = 0; level < fitting_; ++level) {
    for (Buffer& row : sums_[level]) TRY(row.allocate((uint64_t{bytes_} >> level) + kMeanSlack));
  }
  TRY(out_.allocate((uint64_t{bytes_} >> fitting_) + kMeanSlack));
  halvings_ = fitting_;
  return kOk;
}

// What ends the row goes by way of a step that has room behind it.
void SmoothMeans::add_bytes(const uint8_t* row, uint8_t* to) {
  const size_t done = kernels_->of_bytes(first_.data(), row, bytes_, to);
  uint8_t one[2 * kMeanStep] = {}, two[2 * kMeanStep] = {};
  std::memcpy(one, first_.data() + done, bytes_ - done);
  std::memcpy(two, row + done, bytes_ - done);
  (void)kernels_->of_bytes(one, two, bytes_ - done + kMeanStep, to + done);
}

uint8_t* SmoothMeans::take(const uint8_t* row) {
  uint32_t number = taken_++;  // of the row among those that have been halved as often
  if (number % 2 == 0) {
    std::memcpy(first_.data(), row, bytes_);
    return nullptr;
  }
  number /= 2;
  add_bytes(row, sums_[0][number % 2].data());
  uint32_t level = 1;
  for (; level < halvings_; ++level) {
    if (number % 2 == 0) return nullptr;
    number /= 2;
    kernels_->of_sums(sums_[level - 1][0].data(), sums_[level - 1][1].data(), bytes_ >> (level - 1),
                      sums_[level][number % 2].data());
  }
  const uint8_t* const sums = sums_[level - 1][number % 2].data();
  kernels_->finish(sums, 2 * halvings_, bytes_ >> halvings_, out_.data());
  return out_.data();
}

}  // namespace tavo::process
