// Histograms of columns and squares, compiled for each instruction set. A histogram's sixteen
// counts are bytes in columns and 16-bit elements in squares.

inline sse2::V steps_of(uint32_t half) { return sse2::load(kMedianSteps.from[half]); }

inline void change(uint8_t (&counts)[16], sse2::V more) {
  sse2::store(counts, sse2::add8(sse2::load(counts), more));
}

void add(MedianColumn* columns, const uint8_t* row, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const uint32_t value = row[i];
    change(columns[i].upper, steps_of(value >> 4));
    change(columns[i].lower[value >> 4], steps_of(value & 15));
  }
}

void exchange(MedianColumn* columns, const uint8_t* old_row, const uint8_t* row, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const uint32_t old = old_row[i], value = row[i];
    if (old == value) continue;
    change(columns[i].upper, sse2::sub8(steps_of(value >> 4), steps_of(old >> 4)));
    change(columns[i].lower[old >> 4], sse2::sub8(sse2::V{}, steps_of(old & 15)));
    change(columns[i].lower[value >> 4], steps_of(value & 15));
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
  uint32_t operator[](size_t i) const {
    alignas(kBytes) uint16_t counts[16];
    for (size_t k = 0; k < kCountParts; ++k) store(counts + k * (kBytes / 2), part[k]);
    return counts[i];
  }
  static constexpr uint32_t kPartBits = kBytes == 32 ? 0xFFFFFFFFu : 0xFFFFu;
};

// Along the pixels of one channel. Positions are those of the squares' first columns.
class Square {
 public:
  Square(const MedianColumn* columns, size_t step, uint32_t size)
      : columns_(columns), step_(step), size_(size) {
    for (int64_t& x : up_to_date_) x = -static_cast<int64_t>(size);
  }

  const MedianColumn& at(int64_t x) const { return columns_[static_cast<size_t>(x) * step_]; }

  // The least of the values with this upper half of which so many are no greater.
  uint32_t find_lower(uint32_t half, int64_t x, uint32_t rank) {
    Counts counts = lower_[half];
    int64_t done = up_to_date_[half];
    if (x - done >= size_) {
      counts = {};
      for (int64_t k = x; k < x + size_; ++k) counts.add(at(k).lower[half]);
    } else {
      for (; done < x; ++done) {
        counts.subtract(at(done).lower[half]);
        counts.add(at(done + size_).lower[half]);
      }
    }
    lower_[half] = counts;
    up_to_date_[half] = x;
    return counts.find(rank);
  }

 private:
  const MedianColumn* columns_;
  size_t step_;
  int64_t size_;
  Counts lower_[16] = {};
  int64_t up_to_date_[16];  // the squares whose counts they are
};

void medians(const MedianColumn* columns, size_t count, size_t step, uint32_t size, uint8_t* out) {
  const uint32_t rank = size * size / 2 + 1;
  for (size_t channel = 0; channel < step; ++channel) {
    Square square(columns + channel, step, size);
    Counts upper = {};
    for (uint32_t x = 0; x + 1 < size; ++x) upper.add(square.at(x).upper);
    int64_t x = 0;
    for (size_t i = channel; i < count; i += step, ++x) {
      upper.add(square.at(x + size - 1).upper);
      const uint32_t half = upper.find(rank);
      const uint32_t before = half == 0 ? 0 : upper[half - 1];
      upper.subtract(square.at(x).upper);
      out[i] = static_cast<uint8_t>(half << 4 | square.find_lower(half, x, rank - before));
    }
  }
}
