#include "process/smooth/resizer.h"

#include <algorithm>

#include "base/variants.h"

namespace tavo::process {

namespace {

const SmoothKernels& best_kernels() {
  return *Variants<const SmoothKernels*>{
      .any = &kSmoothSse2, .ssse3 = &kSmoothSsse3, .avx2 = &kSmoothAvx2}
              .best();
}

// Rows of a result that are blended at once.
constexpr uint32_t kBlended = 6;

SmoothParts both(int32_t one, int32_t two) {
  return static_cast<uint32_t>(two) << 16 | (static_cast<uint32_t>(one) & 0xFFFF);
}

}  // namespace

Status SmoothResizer::start(SmoothFilter filter, const SmoothSide& across, const SmoothSide& down,
                            uint32_t planes) {
  kernels_ = &best_kernels();
  samples_down_ = static_cast<uint32_t>(down.samples);
  results_down_ = static_cast<uint32_t>(down.results);
  planes_ = planes;
  TRY(across_.start(filter, across, *kernels_));
  TRY(weights_.start(filter, down));
  const auto samples = static_cast<size_t>(across.samples);
  samples_stride_ = (samples + kSmoothBlock - 1) / kSmoothBlock * kSmoothBlock;
  TRY(samples_.allocate(uint64_t{samples_stride_} * planes + kSmoothSlack));
  sums_up_ = weights_.most_parts() > kBlended;
  row_count_ = sums_up_ ? 2 : kRing;
  TRY(rows_.allocate(uint64_t{row_samples()} * row_count_));
  TRY(out_.allocate(row_samples()));
  return sums_up_ ? start_sums() : kOk;
}

Status SmoothResizer::start_sums() {
  const uint32_t used = std::min(kRing, results_down_);
  TRY(sum_parts_.allocate(uint64_t{weights_.most_parts()} * used));
  return sum_samples_.allocate(uint64_t{row_samples()} * used);
}

// Asked for again until its rows are there.
const SmoothWindow& SmoothResizer::window(uint32_t result) {
  if (window_of_ != result) window_ = weights_.window(result);
  window_of_ = result;
  return window_;
}

// The results that rows before `end` reach.
void SmoothResizer::begin_sums(uint32_t end) {
  for (; begun_ < results_down_; ++begun_) {
    const SmoothWindow& next = window(begun_);
    if (next.first >= end) break;
    sums_[begun_ % kRing] = {next.first, next.end(), true};
    std::ranges::copy(next.parts,
                      sum_parts_.data() + size_t{begun_ % kRing} * weights_.most_parts());
  }
}

// The row `first` and, if it is there, the next.
void SmoothResizer::add_rows(uint32_t first) {
  for (uint32_t result = emitted_; result < begun_; ++result) {
    Sum& sum = sums_[result % kRing];
    const int16_t* const parts = sum_parts_.data() + size_t{result % kRing} * weights_.most_parts();
    const auto part = [&](uint32_t y) {
      return y >= sum.first && y < sum.end && y < taken_ ? parts[y - sum.first] : int16_t{0};
    };
    const SmoothParts two = both(part(first), part(first + 1));
    if (two == 0 && !sum.is_empty) continue;
    kernels_->add(row(first), row(first + 1), two,
                  sum_samples_.data() + result % kRing * row_samples(), row_samples(),
                  sum.is_empty);
    sum.is_empty = false;
  }
}

Status SmoothResizer::finish_sums(uint32_t end, Sink sink) {
  for (; emitted_ < begun_ && sums_[emitted_ % kRing].end <= end; ++emitted_) {
    kernels_->finish(sum_samples_.data() + emitted_ % kRing * row_samples(), out_.data(),
                     row_samples());
    TRY(sink(out_.data(), across_.results()));
  }
  return kOk;
}

// The results whose rows are all there.
Status SmoothResizer::blend(Sink sink) {
  for (; emitted_ < results_down_; ++emitted_) {
    const SmoothWindow& next = window(emitted_);
    if (next.end() > taken_) break;
    const int16_t* rows[kBlended];
    SmoothParts parts[kBlended / 2];
    const auto count = static_cast<uint32_t>(next.parts.size());
    for (uint32_t i = 0; i < count; i += 2) {
      const bool is_last = i + 1 == count;
      rows[i] = row(next.first + i);
      rows[i + 1] = is_last ? rows[i] : row(next.first + i + 1);
      parts[i / 2] = both(next.parts[i], is_last ? 0 : next.parts[i + 1]);
    }
    kernels_->blend(rows, parts, (count + 1) / 2, out_.data(), row_samples());
    TRY(sink(out_.data(), across_.results()));
  }
  return kOk;
}

Status SmoothResizer::commit(Sink sink) {
  across_.run(samples_.data(), samples_stride_, planes_, row(taken_));
  ++taken_;
  if (!sums_up_) return blend(sink);
  // Two rows at a time, and what is left at the end.
  const bool is_end = taken_ == samples_down_;
  if (taken_ % 2 != 0 && !is_end) return kOk;
  begin_sums(taken_);
  add_rows(taken_ - (taken_ % 2 != 0 ? 1 : 2));
  return finish_sums(taken_, sink);
}

}  // namespace tavo::process
