#include "process/filters/hulling.h"

#include <algorithm>
#include <utility>

#include "base/checked.h"
#include "process/filters/row_kernels.h"

namespace tavo::process {

namespace {

void invert_row(uint8_t* row, size_t count) {
  for (size_t i = 0; i < count; ++i) row[i] = static_cast<uint8_t>(~row[i]);
}

struct Neighbours {
  const uint8_t* a;
  const uint8_t* here;
  const uint8_t* c;
};
// One pixel alone.
void raise_pixel(uint32_t rule, Neighbours from, uint8_t* out, size_t bytes) {
  kRowKernelsPlain.raise(rule, from.a, from.here, from.c, out, bytes);
}

struct Direction {
  size_t dx;
  int32_t dy;
};
constexpr Direction kDirections[4] = {{0, 1}, {1, 0}, {1, 1}, {1, -1}};

}  // namespace

Status Hulling::start(RowSource& source, const WorkLayout& layout) {
  source_ = &source;
  height_ = layout.height;
  step_ = layout.step;
  row_bytes_ = layout.row_bytes;
  const uint64_t stride = round_up(layout.row_bytes + 2 * kRowSlack, size_t{64});
  stride_ = static_cast<size_t>(stride);
  TRY(lines_.allocate(stride * kLines * steps_));
  TRY(taken_.allocate(steps_ + uint64_t{1}));
  return given_.allocate(steps_ + uint64_t{1});
}

// A row as step number `step` leaves it; step 0 is the picture. Each step works a row behind the
// one before. Peaks are the pits of the negative.
Status Hulling::pull(uint32_t step, uint8_t* row) {
  if (step == 0) return source_->next(row);
  const uint32_t number = (step - 1) % kSteps;
  const auto [dx, dy] = kDirections[number / 4 % 4];
  const uint32_t y = given_[step]++;
  const uint32_t wanted = std::min(dy == 0 ? y + 1 : y + 2, height_);
  for (; taken_[step] < wanted; ++taken_[step]) TRY(pull(step - 1, line(step, taken_[step])));

  const size_t shift = dx * step_;
  const uint8_t* const here = line(step, y);
  const uint8_t* above = dy == 0 ? here : y != 0 ? line(step, y - 1) : nullptr;
  const uint8_t* below = dy == 0 ? here : y + 1 < height_ ? line(step, y + 1) : nullptr;
  if (dy < 0) std::swap(above, below);
  // What lies outside counts as the pixel itself.
  const uint8_t* const a = above != nullptr ? above - shift : here;
  const uint8_t* const c = below != nullptr ? below + shift : here;
  const uint32_t rule = number % 4;
  const size_t rest = row_bytes_ - shift;
  const auto raise = row_kernels().raise;
  raise(rule, a, here, c, row, row_bytes_);
  if (shift != 0) {
    raise_pixel(rule, {here, here, rest != 0 ? c : here}, row, shift);
    raise_pixel(rule, {(rest != 0 ? a : here) + rest, here + rest, here + rest}, row + rest, shift);
  }
  if (number % 16 == 15) invert_row(row, row_bytes_);
  return kOk;
}

}  // namespace tavo::process
