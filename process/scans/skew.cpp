// The angle of text lines. When a page is summed along its lines, rows of ink and of paper differ
// most from their neighbours (W. Postl, "Detection of linear oblique structures and skew scan in
// digitized documents", 8th ICPR, 1986). Upright strips of it are shifted against each other for
// that, which is a shear instead of a rotation.
#include <algorithm>
#include <array>
#include <cstdlib>

#include "base/buffer.h"
#include "base/endian.h"
#include "base/trigonometry.h"
#include "core/progress.h"
#include "process/scans/ink.h"
#include "process/scans/scans.h"

namespace tavo::process {

namespace {

constexpr uint32_t kStripWidth = 16;    // in points
constexpr uint32_t kMostPoints = 4096;  // to either side of the page; a point is one pixel, or more
constexpr uint32_t kCoarse = 4;         // points of a row of the first search
constexpr int32_t kMostAngle = 1500;
constexpr int32_t kMostSheared = 1600;  // a little more, to see where a peak ends
// Columns that are full for so many rows are pictures or the scanner's border, not lines.
constexpr uint8_t kFull = 14;  // of kStripWidth
constexpr uint32_t kFullRows = 24;

// Tangents of angles, 2^16 standing for 1.
constexpr int64_t kOne = int64_t{1} << 16;

// The ink of a page in strips, each of which has its column of row sums next to each other.
struct Profile {
  uint32_t strips = 0;
  uint32_t rows = 0;
  uint32_t strip_points = kStripWidth;
  uint32_t row_points = 1;
  Array<uint8_t> sums;

  uint8_t* column(uint32_t strip) { return sums.data() + size_t{strip} * rows; }
  Status allocate(uint32_t the_strips, uint32_t the_rows) {
    strips = the_strips;
    rows = the_rows;
    return sums.allocate(uint64_t{strips} * rows);
  }
  // Twice the distance of a strip's middle to that of all, in points.
  int64_t twice_place(uint32_t strip) const {
    return int64_t{strip_points} * (2 * int64_t{strip} + 1 - strips);
  }
};

// Adds the ink of each sixteen pixels of a row to their column.
void add_row(std::span<const uint8_t> row, uint16_t* columns) {
  for (size_t i = 0; i < row.size() / 2; ++i) {
    uint16_t bits = load_native<uint16_t>(row.data() + 2 * i);
    bits = static_cast<uint16_t>(bits - (bits >> 1 & 0x5555));
    bits = static_cast<uint16_t>((bits & 0x3333) + (bits >> 2 & 0x3333));
    bits = static_cast<uint16_t>((bits + (bits >> 4)) & 0x0F0F);
    columns[i] = static_cast<uint16_t>(columns[i] + (bits & 15) + (bits >> 8));
  }
}

// A point stands for a square of `pixels` by `pixels`.
Status read_profile(InkReader& page, uint32_t pixels, Profile& profile, core::Progress& progress) {
  const uint32_t strip_pixels = kStripWidth * pixels;
  TRY(profile.allocate((page.width() + strip_pixels - 1) / strip_pixels,
                       (page.height() + pixels - 1) / pixels));
  Array<uint16_t> columns;
  TRY(columns.allocate(uint64_t{profile.strips} * pixels + 4));
  for (uint32_t y = 0; y < page.height(); ++y) {
    std::span<const uint8_t> row;
    TRY(page.read(y, row));
    add_row(row, columns.data());
    if ((y + 1) % pixels != 0 && y + 1 != page.height()) continue;
    for (uint32_t s = 0; s < profile.strips; ++s) {
      uint32_t ink = 0;
      for (uint32_t i = 0; i < pixels; ++i) ink += columns[size_t{s} * pixels + i];
      profile.column(s)[y / pixels] = static_cast<uint8_t>(ink / (pixels * pixels));
    }
    std::ranges::fill(columns.items(), uint16_t{0});
    TRY(progress.at(y + 1, page.height()));
  }
  return kOk;
}

void clear_full_parts(Profile& profile) {
  for (uint32_t s = 0; s < profile.strips; ++s) {
    uint8_t* const column = profile.column(s);
    uint32_t full = 0;
    for (uint32_t y = 0; y <= profile.rows; ++y) {
      if (y < profile.rows && column[y] >= kFull) {
        ++full;
        continue;
      }
      if (full >= kFullRows) std::fill_n(column + y - full, full, uint8_t{0});
      full = 0;
    }
  }
}

// The same with kCoarse rows and two strips in one.
Status make_coarse(Profile& fine, Profile& coarse) {
  coarse.strip_points = 2 * kStripWidth;
  coarse.row_points = kCoarse;
  TRY(coarse.allocate((fine.strips + 1) / 2, (fine.rows + kCoarse - 1) / kCoarse));
  for (uint32_t s = 0; s < fine.strips; ++s) {
    const uint8_t* const from = fine.column(s);
    uint8_t* const to = coarse.column(s / 2);
    for (uint32_t y = 0; y < fine.rows; ++y) {
      to[y / kCoarse] = static_cast<uint8_t>(to[y / kCoarse] + from[y]);
    }
  }
  return kOk;
}

int64_t tangent(int32_t angle) {
  const SineCosine of = sine_cosine(within_turn(angle, kFullTurn));
  return of.sine * kOne / of.cosine;
}

// The angle of a tangent, in hundredths of a degree, rounded.
int32_t angle_of(int64_t the_tangent) {
  int32_t low = -kMostAngle;
  int32_t high = kMostAngle;
  while (low < high) {
    const int32_t middle = low + (high - low) / 2;
    // The border between an angle and the next: the mean of their tangents.
    if (2 * the_tangent > tangent(middle) + tangent(middle + 1)) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

// Sums a profile along lines.
class Shear {
 public:
  explicit Shear(Profile& profile) : profile_(profile) {}
  Status start() {
    most_ = tangent(kMostSheared);
    margin_ = static_cast<uint32_t>(std::abs(shift(0, most_))) + 1;
    return sums_.allocate(uint64_t{profile_.rows} + 2 * margin_);
  }

  // How much rows differ from the next, for lines that go down by `slope` to the right.
  uint64_t contrast(int64_t slope) {
    slope = std::clamp(slope, -most_, most_);
    std::ranges::fill(sums_.items(), uint16_t{0});
    for (uint32_t s = 0; s < profile_.strips; ++s) {
      const uint8_t* const column = profile_.column(s);
      uint16_t* const sums = sums_.data() + margin_ - shift(s, slope);
      for (uint32_t y = 0; y < profile_.rows; ++y) {
        sums[y] = static_cast<uint16_t>(sums[y] + column[y]);
      }
    }
    uint64_t sum = 0;
    for (size_t y = 1; y < sums_.size(); ++y) {
      const int32_t d = sums_[y] - sums_[y - 1];
      sum += static_cast<uint32_t>(d * d);
    }
    return sum;
  }

 private:
  ptrdiff_t shift(uint32_t strip, int64_t slope) const {
    const int64_t divisor = 2 * kOne * profile_.row_points;
    const int64_t product = profile_.twice_place(strip) * slope;
    return static_cast<ptrdiff_t>((product + (product < 0 ? -divisor : divisor) / 2) / divisor);
  }

  Profile& profile_;
  int64_t most_ = 0;  // slope
  uint32_t margin_ = 0;
  Array<uint16_t> sums_;
};

// The greatest contrast from `first` to `last`, and its slope, and the mean of all.
struct Peak {
  int64_t slope = 0;
  uint64_t contrast = 0;
  uint64_t mean = 0;
};

Peak search(Shear& shear, int64_t first, int64_t last, int64_t step) {
  Peak peak;
  uint64_t count = 0;
  for (int64_t slope = first; slope <= last; slope += step, ++count) {
    const uint64_t contrast = shear.contrast(slope);
    peak.mean += contrast;
    if (contrast <= peak.contrast) continue;
    peak.contrast = contrast;
    peak.slope = slope;
  }
  peak.mean /= std::max<uint64_t>(count, 1);
  return peak;
}

// The middle of the peak about a slope: the mean of the slopes, weighted with what their contrast
// has above three quarters of the greatest.
int64_t refine(Shear& shear, int64_t slope, int64_t step) {
  constexpr int32_t kReach = 2 * static_cast<int32_t>(kCoarse);
  std::array<uint64_t, 2 * kReach + 1> contrasts;
  for (int32_t i = -kReach; i <= kReach; ++i)
    contrasts[i + kReach] = shear.contrast(slope + i * step);
  const auto peak = static_cast<int32_t>(std::ranges::max_element(contrasts) - contrasts.begin());
  const uint64_t floor = contrasts[peak] / 4 * 3;
  uint64_t weights = 0;
  int64_t moment = 0;
  const auto add = [&](int32_t i) {
    if (contrasts[i] <= floor) return false;
    const uint64_t weight = ((contrasts[i] - floor) << 16) / (contrasts[peak] - floor + 1);
    weights += weight;
    moment += static_cast<int64_t>(weight) * (i - kReach);
    return true;
  };
  for (int32_t i = peak; i >= 0 && add(i); --i) continue;
  for (int32_t i = peak + 1; i <= 2 * kReach && add(i); ++i) continue;
  return weights == 0 ? slope : slope + moment * step / static_cast<int64_t>(weights);
}

}  // namespace

Status find_skew(BitmapHandle& bitmap, int32_t& angle) {
  InkReader page(bitmap);
  TRY(page.start());
  core::Progress progress;
  TRY(progress.start());
  const uint32_t longest = std::max(page.width(), page.height());
  const uint32_t pixels = (longest + kMostPoints - 1) / kMostPoints;
  Profile fine;
  Profile coarse;
  TRY(read_profile(page, pixels, fine, progress));
  clear_full_parts(fine);
  TRY(make_coarse(fine, coarse));
  Shear quick(coarse);
  Shear exact(fine);
  TRY(quick.start());
  TRY(exact.start());

  // A step moves the outer ends of lines by half a row.
  const int64_t most = tangent(kMostAngle);
  const int64_t step = kOne / std::max(fine.strips * kStripWidth, 64u);
  const Peak rough = search(quick, -most, most, step * kCoarse);
  // Noise and pictures differ from angle to angle by less.
  int32_t found = 0;
  if (rough.contrast > 2 * rough.mean) {
    const int64_t reach = 8 * kCoarse * step;
    const Peak peak = search(exact, rough.slope - reach, rough.slope + reach, kCoarse * step);
    found = angle_of(refine(exact, peak.slope, step));
  }
  TRY(progress.finish());
  angle = found;
  return kOk;
}

}  // namespace tavo::process
