#include "process/filters/specks.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/buffer.h"
#include "base/endian.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

// Pixels of one index from `first` to before `end`.
struct Run {
  uint32_t first;
  uint32_t end;
};

// Calls found(run) for each run of `index` in a row, from the left.
template <class Found>
void for_each_run(const uint8_t* row, uint32_t width, uint32_t index, const Found& found) {
  const size_t row_bytes = (size_t{width} + 7) / 8;
  const uint64_t others = index == 0 ? UINT64_MAX : 0;
  uint64_t last = 0;  // the pixel before, in the top bit
  Run run = {};
  bool inside = false;
  for (uint32_t x = 0; x < width; x += 64) {
    uint8_t bytes[8] = {};
    std::memcpy(bytes, row + x / 8, std::min<size_t>(8, row_bytes - x / 8));
    uint64_t word = load_be64(bytes) ^ others;
    if (width - x < 64) word &= ~(UINT64_MAX >> (width - x));
    uint64_t changes = word ^ (word >> 1 | last);
    last = word << 63;
    for (; changes != 0; inside = !inside) {
      const auto at = static_cast<uint32_t>(std::countl_zero(changes));
      changes ^= uint64_t{1} << (63 - at);
      if (inside) {
        run.end = x + at;
        found(run);
      } else {
        run.first = x + at;
      }
    }
  }
  if (inside) {
    run.end = width;
    found(run);
  }
}

// Runs joined to groups, a tree of runs for each: a run knows another of its group, the last of
// them the number of pixels.
class Groups {
 public:
  Status allocate(uint64_t runs) { return runs < kRoot ? links_.allocate(runs) : kNoMemory; }

  void add(uint32_t run, uint32_t pixels) { links_[run] = kRoot | std::min(pixels, kMany); }
  void join(uint32_t a, uint32_t b) {
    a = root(a);
    b = root(b);
    if (a == b) return;
    const uint32_t pixels = std::min((links_[a] & ~kRoot) + (links_[b] & ~kRoot), kMany);
    links_[std::max(a, b)] = std::min(a, b);
    links_[std::min(a, b)] = kRoot | pixels;
  }
  uint32_t pixels(uint32_t run) { return links_[root(run)] & ~kRoot; }

 private:
  static constexpr uint32_t kRoot = 0x80000000;
  static constexpr uint32_t kMany = 0x40000000 - 1;

  uint32_t root(uint32_t run) {
    while ((links_[run] & kRoot) == 0) {
      const uint32_t next = links_[run];
      if ((links_[next] & kRoot) == 0) links_[run] = links_[next];
      run = next;
    }
    return run;
  }

  Array<uint32_t> links_;
};

class SpeckRemoval {
 public:
  SpeckRemoval(BitmapHandle& bitmap, uint32_t index, uint32_t amount)
      : rows_(bitmap),
        width_(static_cast<uint32_t>(bitmap.Width)),
        height_(static_cast<uint32_t>(bitmap.Height)),
        index_(index),
        amount_(amount) {}

  // Three times over the rows, the last of which changes them; nothing is changed before all that
  // is needed has been had.
  Status run(core::Progress& progress) {
    TRY(rows_.start(1, RowWindow::kFewRows));
    uint64_t count = 0;
    TRY(for_each_row(
        progress, [&](uint8_t* row) { for_each_run(row, width_, index_, [&](Run) { ++count; }); }));
    TRY(groups_.allocate(count));
    for (Array<Run>& runs : runs_) TRY(runs.allocate(uint64_t{width_} / 2 + 1));
    TRY(for_each_row(progress, [&](uint8_t* row) { find_groups(row); }));
    uint32_t run = 0;
    return for_each_row(progress, [&](uint8_t* row) {
      for_each_run(row, width_, index_, [&](Run pixels) {
        if (groups_.pixels(run++) <= amount_) invert(row, pixels);
      });
    });
  }

 private:
  template <class Work>
  Status for_each_row(core::Progress& progress, const Work& work) {
    const uint64_t passed = uint64_t{pass_++} * height_;
    for (uint32_t y = 0, n = 0; y < height_; y += n) {
      n = std::min(rows_.capacity(), height_ - y);
      if (rows_.is_direct()) n = std::min(n, 64u);
      TRY(rows_.read(y, n));
      for (uint32_t i = 0; i < n; ++i) work(rows_.row(y + i));
      if (pass_ == kPasses) TRY(rows_.store(y, n));
      TRY(progress.at(passed + y + n, uint64_t{kPasses} * height_));
    }
    return kOk;
  }

  // Runs of neighbouring rows that touch, at corners, too, are of one group.
  void find_groups(const uint8_t* row) {
    const auto above = runs_[0].items().first(above_count_);
    const uint32_t first_above = next_run_ - above_count_;
    uint32_t at = 0;
    uint32_t count = 0;
    const uint32_t first = next_run_;
    for_each_run(row, width_, index_, [&](Run run) {
      const uint32_t number = first + count;
      groups_.add(number, run.end - run.first);
      while (at < above_count_ && above[at].end < run.first) ++at;
      for (uint32_t i = at; i < above_count_ && above[i].first <= run.end; ++i) {
        groups_.join(first_above + i, number);
      }
      runs_[1][count++] = run;
    });
    std::swap(runs_[0], runs_[1]);
    above_count_ = count;
    next_run_ += count;
  }

  static void invert(uint8_t* row, Run run) {
    for (uint32_t x = run.first; x < run.end;) {
      const uint32_t end = std::min(run.end, (x | 7) + 1);
      const uint32_t ones = (0xFFu >> x % 8) & ~(0xFFu >> (end - (x & ~7u)));
      row[x / 8] ^= static_cast<uint8_t>(ones);
      x = end;
    }
  }

  static constexpr uint32_t kPasses = 3;

  RowWindow rows_;
  uint32_t width_;
  uint32_t height_;
  uint32_t index_;
  uint32_t amount_;
  uint32_t pass_ = 0;
  Groups groups_;
  Array<Run> runs_[2];  // of the row above and of this one
  uint32_t above_count_ = 0;
  uint32_t next_run_ = 0;
};

}  // namespace

Status remove_specks(BitmapHandle& bitmap, uint32_t index, uint32_t amount) {
  core::Progress progress;
  TRY(progress.start());
  if (may_work_in_place(bitmap)) return SpeckRemoval(bitmap, index, amount).run(progress);
  core::OwnedBitmap made;
  TRY(allocate_like(*made, bitmap));
  TRY(core::copy_rows(*made, bitmap));
  TRY(SpeckRemoval(*made, index, amount).run(progress));
  TRY(progress.finish());
  core::take_place(bitmap, *made);
  return kOk;
}

}  // namespace tavo::process
