// Histograms of columns and squares, compiled for each instruction set. A histogram's sixteen
// counts are bytes in columns and 16-bit elements in squares.

template <bool kAdds>
inline void change(uint8_t (&counts)[16], uint32_t half) {
  const sse2::V steps = sse2::load(kMedianSteps.from[half]);
  const sse2::V old = sse2::load(counts);
  sse2::store(counts, kAdds ? sse2::add8(old, steps) : sse2::sub8(old, steps));
}

template <bool kAdds>
inline void change(MedianColumn& column, uint32_t value) {
  change<kAdds>(column.upper, value >> 4);
  change<kAdds>(column.lower[value >> 4], value & 15);
}

void add(MedianColumn* columns, const uint8_t* row, size_t count) {
  for (size_t i = 0; i < count; ++i) change<true>(columns[i], row[i]);
}

void exchange(MedianColumn* columns, const uint8_t* old_row, const uint8_t* row, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (old_row[i] == row[i]) continue;
    change<false>(columns[i], old_row[i]);
    change<true>(columns[i], row[i]);
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

// Along the pixels of one channel.
class Square {
 public:
  Square(const MedianColumn* columns, int64_t width, size_t step, int64_t radius)
      : columns_(columns), width_(width), step_(step), radius_(radius) {
    for (int64_t x = -radius; x < radius; ++x) upper_.add(at(x).upper);
    for (int64_t& x : up_to_date_) x = -2 * radius - 1;
  }

  uint8_t median(int64_t x, uint32_t rank) {
    upper_.add(at(x + radius_).upper);
    const uint32_t half = upper_.find(rank);
    const uint32_t before = half == 0 ? 0 : upper_[half - 1];
    upper_.subtract(at(x - radius_).upper);
    update(half, x);
    return static_cast<uint8_t>(half << 4 | lower_[half].find(rank - before));
  }

 private:
  const MedianColumn& at(int64_t x) const {
    return columns_[static_cast<size_t>(std::clamp<int64_t>(x, 0, width_ - 1)) * step_];
  }

  void update(uint32_t half, int64_t x) {
    Counts counts = lower_[half];
    int64_t done = up_to_date_[half];
    if (x - done > 2 * radius_) {
      counts = {};
      for (int64_t k = x - radius_; k <= x + radius_; ++k) counts.add(at(k).lower[half]);
    } else {
      for (; done < x; ++done) {
        counts.subtract(at(done - radius_).lower[half]);
        counts.add(at(done + 1 + radius_).lower[half]);
      }
    }
    lower_[half] = counts;
    up_to_date_[half] = x;
  }

  const MedianColumn* columns_;
  int64_t width_;
  size_t step_;
  int64_t radius_;
  Counts upper_ = {};
  Counts lower_[16] = {};
  int64_t up_to_date_[16];  // the pixels whose squares they are
};

void medians(const MedianColumn* columns, size_t count, size_t step, uint32_t size, uint8_t* out) {
  const auto width = static_cast<int64_t>(count / step);
  const uint32_t rank = size * size / 2 + 1;
  for (size_t channel = 0; channel < step; ++channel) {
    Square square(columns + channel, width, step, size / 2);
    for (int64_t x = 0; x < width; ++x) {
      out[static_cast<size_t>(x) * step + channel] = square.median(x, rank);
    }
  }
}
