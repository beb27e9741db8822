#include "process/filters/extremes.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "process/filters/row_kernels.h"

namespace tavo::process {

namespace {

template <class Verb>
void for_each_pair(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count,
                   const Verb& verb) {
  for (size_t i = 0; i < count; ++i) out[i] = static_cast<uint8_t>(verb(a[i], b[i]));
}

// The bits of `words` from `shift` on join those at the beginning: each then stands for as many
// more.
void join_shifted(std::span<uint64_t> words, uint32_t shift) {
  const size_t far = shift / 64;
  const uint32_t bits = shift % 64;
  const auto at = [words](size_t i) { return i < words.size() ? words[i] : 0; };
  for (size_t i = 0; i < words.size(); ++i) {
    const uint64_t high = at(i + far) << bits;
    words[i] |= bits == 0 ? high : high | at(i + far + 1) >> (64 - bits);
  }
}

}  // namespace

void Extreme::combine(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count) const {
  if (is_bits) {
    if (is_greatest) {
      for_each_pair(a, b, out, count, [](uint8_t v, uint8_t w) { return v | w; });
    } else {
      for_each_pair(a, b, out, count, [](uint8_t v, uint8_t w) { return v & w; });
    }
  } else {
    const RowKernels& kernels = row_kernels();
    (is_greatest ? kernels.greatest : kernels.least)(a, b, out, count);
  }
}

Status RowExtremes::start(Extreme extreme, const WorkLayout& layout, uint32_t size) {
  extreme_ = extreme;
  size_ = size;
  step_ = layout.step;
  row_bytes_ = layout.row_bytes;
  width_ = layout.width;
  if (extreme.is_bits) return words_.allocate((uint64_t{width_} + size) / 64 + 2);
  return bytes_.allocate(row_bytes_ + (size - 1) * step_);
}

void RowExtremes::apply(const uint8_t* row, uint8_t* out) {
  if (extreme_.is_bits) {
    apply_bits(row, out);
  } else {
    apply_bytes(row, out);
  }
}

// Windows of 2, 4, 8, ... pixels are pairs of the halves; the last two overlap.
void RowExtremes::apply_bytes(const uint8_t* row, uint8_t* out) {
  uint8_t* const work = bytes_.data();
  const size_t margin = size_ / 2 * step_;
  std::memset(work, extreme_.neutral(), margin);
  std::memcpy(work + margin, row, row_bytes_);
  std::memset(work + margin + row_bytes_, extreme_.neutral(), margin);
  uint32_t covered = 1;
  size_t count = row_bytes_ + 2 * margin;
  for (; 2 * covered <= size_; covered *= 2) {
    count -= covered * step_;
    extreme_.combine(work, work + covered * step_, work, count);
  }
  extreme_.combine(work, work + (size_ - covered) * step_, out, row_bytes_);
}

// The same with bits, as far as they are 1: the least bits are the greatest of the negative's.
void RowExtremes::apply_bits(const uint8_t* row, uint8_t* out) {
  const auto words = words_.items();
  const uint64_t negative = extreme_.is_greatest ? 0 : UINT64_MAX;
  const uint32_t radius = size_ / 2;
  std::ranges::fill(words, uint64_t{0});
  for (size_t i = 0; i * 64 < width_; ++i) {
    uint8_t bytes[8] = {};
    std::memcpy(bytes, row + 8 * i, std::min<size_t>(8, row_bytes_ - 8 * i));
    uint64_t word = load_be64(bytes) ^ negative;
    if (width_ - i * 64 < 64) word &= ~(UINT64_MAX >> (width_ - i * 64));
    uint64_t* const at = &words[i + radius / 64];
    at[0] |= word >> radius % 64;
    if (radius % 64 != 0) at[1] |= word << (64 - radius % 64);
  }
  uint32_t covered = 1;
  for (; 2 * covered <= size_; covered *= 2) join_shifted(words, covered);
  join_shifted(words, size_ - covered);
  for (size_t i = 0; i * 64 < width_; ++i) {
    uint8_t bytes[8];
    store_be64(bytes, words[i] ^ negative);
    std::memcpy(out + 8 * i, bytes, std::min<size_t>(8, row_bytes_ - 8 * i));
  }
}

Status ColumnExtremes::start(RowSource& source, Extreme extreme, const WorkLayout& layout,
                             uint32_t size) {
  source_ = &source;
  extreme_ = extreme;
  size_ = size;
  row_bytes_ = layout.row_bytes;
  rows_above_ = size / 2;
  rows_left_ = layout.height;
  stride_ = row_bytes_ + kRowSlack;
  TRY(block_.allocate(uint64_t{stride_} * size));
  return begun_.allocate(stride_);
}

// The next row of the picture; nothing that counts above and below it.
Status ColumnExtremes::fetch(uint8_t* row) {
  if (rows_above_ == 0 && rows_left_ != 0) {
    --rows_left_;
    return source_->next(row);
  }
  if (rows_above_ != 0) --rows_above_;
  std::memset(row, extreme_.neutral(), row_bytes_);
  return kOk;
}

Status ColumnExtremes::begin_block() {
  for (uint32_t i = has_begun_ ? size_ - 1 : 0; i < size_; ++i) TRY(fetch(line(i)));
  has_begun_ = true;
  for (uint32_t i = size_ - 1; i-- > 0;) {
    extreme_.combine(line(i), line(i + 1), line(i), row_bytes_);
  }
  return kOk;
}

Status ColumnExtremes::next(uint8_t* row) {
  if (at_ == 0) {
    TRY(begin_block());
    std::memcpy(row, line(0), row_bytes_);
  } else {
    uint8_t* const added = line(at_ - 1);
    TRY(fetch(added));
    if (at_ == 1) {
      std::memcpy(begun_.data(), added, row_bytes_);
    } else {
      extreme_.combine(begun_.data(), added, begun_.data(), row_bytes_);
    }
    extreme_.combine(line(at_), begun_.data(), row, row_bytes_);
  }
  at_ = (at_ + 1) % size_;
  return kOk;
}

}  // namespace tavo::process
