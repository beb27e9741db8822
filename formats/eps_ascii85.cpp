#include "formats/eps_ascii85.h"

#include <algorithm>

#include "base/endian.h"

namespace tavo::eps {

namespace {

// Four bytes are a number, the first one the highest; its five digits follow the same way, '!' to
// 'u'. The end mark is "~>".
constexpr uint32_t kBase = 85;
constexpr char kZero = '!';       // the digit 0
constexpr char kZeroGroup = 'z';  // four bytes of 0
constexpr char kEndMark = '~';

uint32_t load_group(const uint8_t* bytes) { return load_be32(bytes); }

}  // namespace

Status Ascii85Writer::end_line() {
  line_[column_++] = '\n';
  written_ += column_;
  const auto* const bytes = reinterpret_cast<const uint8_t*>(line_.data());
  const size_t count = column_;
  column_ = 0;
  return file_.write({bytes, count});
}

Status Ascii85Writer::put_char(char c) {
  if (column_ == kLine) TRY(end_line());
  // White space means nothing to the filter.
  if (column_ == 0 && c == '%') line_[column_++] = ' ';
  line_[column_++] = c;
  return kOk;
}

// The first characters of a group: one more than there are bytes of it. Only a whole group of zeros
// may be shortened: 'z' always stands for four bytes.
Status Ascii85Writer::put_group(const uint8_t* bytes, size_t characters) {
  uint32_t value = load_group(bytes);
  if (value == 0 && characters == 5) return put_char(kZeroGroup);
  std::array<char, 5> digits;
  for (size_t i = digits.size(); i-- > 0; value /= kBase) {
    digits[i] = static_cast<char>(kZero + static_cast<char>(value % kBase));
  }
  for (size_t i = 0; i < characters; ++i) TRY(put_char(digits[i]));
  return kOk;
}

Status Ascii85Writer::put(std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    if (count_ == 0 && bytes.size() >= group_.size()) {
      TRY(put_group(bytes.data(), 5));
      bytes = bytes.subspan(group_.size());
      continue;
    }
    group_[count_++] = bytes[0];
    bytes = bytes.subspan(1);
    if (count_ < group_.size()) continue;
    TRY(put_group(group_.data(), 5));
    count_ = 0;
  }
  return kOk;
}

Status Ascii85Writer::finish() {
  if (count_ != 0) {
    std::fill(group_.begin() + static_cast<ptrdiff_t>(count_), group_.end(), uint8_t{0});
    TRY(put_group(group_.data(), count_ + 1));
    count_ = 0;
  }
  // The mark's characters stay on one line, which ends behind them.
  if (column_ + 2 > kLine) TRY(end_line());
  TRY(put_char(kEndMark));
  TRY(put_char('>'));
  return end_line();
}

// The file stays where its writer goes on: at its end.
Status Ascii85Reader::next(uint8_t& c) {
  if (at_ == end_) {
    if (left_ == 0) return kReadError;
    const auto part = static_cast<size_t>(std::min<uint64_t>(left_, text_.size()));
    TRY(file_.read_at(position_, text_.bytes().first(part)));
    uint32_t end = 0;
    TRY(file_.seek_end(end));
    position_ += part;
    left_ -= part;
    at_ = 0;
    end_ = part;
  }
  c = text_.data()[at_++];
  return kOk;
}

// Digits are not checked: the text is what Ascii85Writer has just written, unless the file was
// changed meanwhile, which then shows in the preview. 64 bits hold any five of them.
Status Ascii85Reader::next_group() {
  uint64_t value = 0;
  size_t digits = 0;
  group_at_ = 0;
  group_end_ = group_.size();
  while (digits < 5 && !is_at_end_) {
    uint8_t c = 0;
    TRY(next(c));
    if (c == kZeroGroup) {
      digits = 5;
    } else if (c == kEndMark) {
      is_at_end_ = true;
    } else if (c > ' ') {
      value = value * kBase + static_cast<uint32_t>(c - kZero);
      ++digits;
    }
  }
  if (is_at_end_) {  // the digits that are not there count as the highest ones
    group_end_ = digits == 0 ? 0 : digits - 1;
    for (; digits < 5; ++digits) value = value * kBase + (kBase - 1);
  }
  store_be32(group_.data(), static_cast<uint32_t>(value));
  return kOk;
}

Status Ascii85Reader::read_some(std::span<uint8_t> into, size_t& got) {
  for (got = 0; got < into.size(); ++got) {
    if (group_at_ == group_end_) {
      if (is_at_end_) return kOk;
      TRY(next_group());
      if (group_end_ == 0) return kOk;
    }
    into[got] = group_[group_at_++];
  }
  return kOk;
}

}  // namespace tavo::eps
