// Histograms of columns and squares, compiled for each instruction set. A histogram's sixteen
// counts are bytes in columns and 16-bit elements in squares.

inline sse2::V steps_of(uint32_t half) { return sse2::load(kMedianSteps.from[half]); }

inline void change(uint8_t* counts, sse2::V more) {
  sse2::store(counts, sse2::add8(sse2::load(counts), more));
}

void add(MedianColumns columns, const uint8_t* row) {
  for (size_t i = 0; i < columns.count; ++i) {
    const uint32_t value = row[i];
    change(columns.upper(i), steps_of(value >> 4));
    change(columns.lower(value >> 4, i), steps_of(value & 15));
  }
}

void exchange(MedianColumns columns, const uint8_t* old_row, const uint8_t* row) {
  for (size_t i = 0; i < columns.count; ++i) {
    const uint32_t old = old_row[i], value = row[i];
    if (old == value) continue;
    change(columns.upper(i), sse2::sub8(steps_of(value >> 4), steps_of(old >> 4)));
    change(columns.lower(old >> 4, i), sse2::sub8(sse2::V{}, steps_of(old & 15)));
    change(columns.lower(value >> 4, i), steps_of(value & 15));
  }
}

constexpr size_t kCountParts = 32 / kBytes;

struct Counts {
  V part[kCountParts];

  void add(const uint8_t* column) {
    for (size_t i = 0; i < kCountParts; ++i) {
      part[i] = add16(part[i], load_widened8(column + i * (kBytes / 2)));
    }
  }
  void subtract(const uint8_t* column) {
    for (size_t i = 0; i < kCountParts; ++i) {
      part[i] = sub16(part[i], load_widened8(column + i * (kBytes / 2)));
    }
  }
  // How many of the counts, which grow, are less than `rank`. All of them are unsigned.
  uint32_t find(uint32_t rank) const {
    const V sign = splat16(-0x8000);
    const V wanted = splat16(static_cast<int16_t>(rank)) ^ sign;
    uint64_t less = uint64_t{1} << 32;
    for (size_t i = 0; i < kCountParts; ++i) {
      less |= uint64_t{~top_bits8(greater16(wanted, part[i] ^ sign)) & kPartBits} << (i * kBytes);
    }
    return static_cast<uint32_t>(__builtin_ctzll(less)) / 2;
  }
  void put(uint16_t* counts) const {
    for (size_t i = 0; i < kCountParts; ++i) store(counts + i * (kBytes / 2), part[i]);
  }
  static constexpr uint32_t kPartBits = kBytes == 32 ? 0xFFFFFFFFu : 0xFFFFu;
};

// Along the pixels of one channel. Positions are those of the squares' first columns.
//
// Pixels are worked on in stretches, the upper halves of all of them before the lower ones: so
// neither work waits for the other, and the one pixel's hardly for the last one's.
class Square {
 public:
  static constexpr size_t kStretch = 64;

  void begin(MedianColumns columns, size_t channel, size_t step, uint32_t size) {
    columns_ = columns;
    channel_ = channel;
    step_ = step;
    size_ = size;
    for (int64_t& x : up_to_date_) x = -size_;
    for (int64_t x = 0; x + 1 < size_; ++x) upper_.add(upper(x));
  }

  // The medians of `count` squares from `x` on, which come behind those before.
  void find(int64_t x, size_t count, uint8_t* out) {
    Wanted wanted[kStretch];
    find_upper(x, std::span(wanted).first(count));
    find_lower(x, std::span(wanted).first(count), out);
  }

 private:
  // The upper half of a median, and how many values with it are no greater.
  struct Wanted {
    uint32_t half, rank;
  };

  size_t column(int64_t x) const { return channel_ + static_cast<size_t>(x) * step_; }
  const uint8_t* upper(int64_t x) const { return columns_.upper(column(x)); }
  const uint8_t* lower(uint32_t half, int64_t x) const { return columns_.lower(half, column(x)); }

  void find_upper(int64_t x, std::span<Wanted> wanted) {
    const auto rank = static_cast<uint32_t>(size_ * size_ / 2 + 1);
    uint16_t counts[8 + 16] = {};  // below all halves is nothing
    Counts sums = upper_;
    for (Wanted& next : wanted) {
      sums.add(upper(x + size_ - 1));
      sums.put(counts + 8);
      next.half = sums.find(rank);
      next.rank = rank - counts[7 + next.half];
      sums.subtract(upper(x++));
    }
    upper_ = sums;
  }

  void find_lower(int64_t x, std::span<const Wanted> wanted, uint8_t* out) {
    uint32_t half = wanted[0].half;
    Counts counts = counts_at(half, x);
    for (size_t i = 0;;) {
      *out = static_cast<uint8_t>(half << 4 | counts.find(wanted[i].rank));
      out += step_;
      if (++i == wanted.size()) break;
      if (wanted[i].half == half) [[likely]] {
        move(counts, half, x++);
        continue;
      }
      keep(half, x++, counts);
      half = wanted[i].half;
      counts = counts_at(half, x);
    }
    keep(half, x, counts);
  }

  // From the square at `x` to the next.
  void move(Counts& counts, uint32_t half, int64_t x) const {
    counts.subtract(lower(half, x));
    counts.add(lower(half, x + size_));
  }

  Counts counts_at(uint32_t half, int64_t x) const {
    Counts counts = lower_[half];
    int64_t done = up_to_date_[half];
    if (x - done < size_) {
      for (; done < x; ++done) move(counts, half, done);
      return counts;
    }
    counts = {};
    for (int64_t k = x; k < x + size_; ++k) counts.add(lower(half, k));
    return counts;
  }
  void keep(uint32_t half, int64_t x, const Counts& counts) {
    lower_[half] = counts;
    up_to_date_[half] = x;
  }

  MedianColumns columns_ = {};
  size_t channel_ = 0, step_ = 0;
  int64_t size_ = 0;
  Counts upper_ = {};
  Counts lower_[16] = {};
  int64_t up_to_date_[16];  // the squares whose counts they are
};

void medians(MedianColumns columns, size_t count, size_t step, uint32_t size, uint8_t* out) {
  Square squares[kMaxMedianStep];
  for (size_t channel = 0; channel < step; ++channel) {
    squares[channel].begin(columns, channel, step, size);
  }
  const size_t pixels = count / step;
  for (size_t x = 0; x < pixels; x += Square::kStretch) {
    const size_t part = std::min(Square::kStretch, pixels - x);
    for (size_t channel = 0; channel < step; ++channel) {
      squares[channel].find(static_cast<int64_t>(x), part, out + x * step + channel);
    }
  }
}
