#include "codec/jpeg/bits.h"

#include <bit>
#include <cstring>

#include "base/vector_sse2.h"

namespace tavo::jpeg {
namespace {

constexpr size_t kVectorBytes = 16;

// Copies from `in` to `out` and drops the zero that is stuffed behind each 0xFF (F.1.2.3). Stops at
// a 0xFF that something else follows, or that is the last byte, and where one of the two has fewer
// than 17 bytes left. Whole vectors are stored; what lies behind the 0xFF is written over.
void copy_stuffed(const uint8_t*& in, const uint8_t* in_end, uint8_t*& out,
                  const uint8_t* out_end) {
  while (in_end - in > static_cast<ptrdiff_t>(kVectorBytes) &&
         out_end - out > static_cast<ptrdiff_t>(kVectorBytes)) {
    const sse2::V bytes = sse2::load(in);
    sse2::store(out, bytes);
    const uint32_t found = sse2::top_bits8(sse2::equal8(bytes, sse2::splat8(0xFF)));
    if (found == 0) {
      in += kVectorBytes;
      out += kVectorBytes;
      continue;
    }
    const int clean = std::countr_zero(found);
    if (in[clean + 1] != 0) {
      in += clean;
      out += clean;
      return;
    }
    in += clean + 2;
    out += clean + 1;
  }
}

}  // namespace

// Beyond kDataBytes there is room for what is unread of an MCU when more is fetched, and behind
// that for the zeros of one.
Status EntropyReader::start(size_t mcu_bytes) {
  mcu_bytes_ = mcu_bytes + 2 * sizeof(uint64_t);
  TRY(buffer_.allocate(kDataBytes + 2 * mcu_bytes_));
  data_ = buffer_.data();
  limit_ = data_ + kDataBytes + mcu_bytes_;
  return kOk;
}

void EntropyReader::begin(ByteSource& source) {
  source_ = &source;
  end_ = data_;
  at = {};
  at.next = data_;
  is_complete_ = false;
  bytes_beyond_ = 0;
  marker_ = kNoMarker;
  fetch();
}

// Moves what is unread to the front and appends to it. Behind the end of the segment there are
// zeros for one MCU, so that decoding needs no test within one; is_exhausted() tells afterwards.
void EntropyReader::fetch() {
  if (is_complete_) return;
  const size_t unread = at.next < end_ ? static_cast<size_t>(end_ - at.next) : 0;
  std::memmove(data_, at.next, unread);
  at.next = data_;
  end_ = data_ + unread;
  while (!is_complete_ && end_ < limit_) copy_window();
  if (is_complete_) {
    std::memset(end_, 0, mcu_bytes_);
    refill_from_ = limit_ + mcu_bytes_;
  } else {
    refill_from_ = end_ - mcu_bytes_;
  }
}

// Takes what the source's window has, at least one byte, or finds the end of the segment: a marker
// (B.1.1.5), or that of the data, where a lone 0xFF is none of a value.
void EntropyReader::copy_window() {
  if (source_->window().size() < 2 && !source_->at_end() && !source_->refill().ok()) return;
  const std::span<const uint8_t> window = source_->window();
  if (window.size() < 2) {
    if (!source_->at_end()) return;
    if (window.size() == 1 && window[0] != 0xFF) *end_++ = window[0];
    source_->consume(window.size());
    marker_ = kEndOfData;
    is_complete_ = true;
    return;
  }
  const uint8_t* in = window.data();
  const uint8_t* in_end = in + window.size();
  copy_stuffed(in, in_end, end_, limit_);
  while (end_ < limit_ && in + 1 < in_end) {
    if (*in != 0xFF) {
      *end_++ = *in++;
      if (in_end - in > static_cast<ptrdiff_t>(kVectorBytes) &&
          limit_ - end_ > static_cast<ptrdiff_t>(kVectorBytes)) {
        break;
      }
    } else if (in[1] == 0) {
      *end_++ = 0xFF;
      in += 2;
    } else if (in[1] == 0xFF) {
      ++in;  // a fill byte before a marker (B.1.1.2)
    } else {
      marker_ = in[1];
      is_complete_ = true;
      break;
    }
  }
  source_->consume(static_cast<size_t>(in - window.data()));
}

// Padding, of ones by F.1.2.3, and whatever else stands before the marker.
int EntropyReader::skip_to_marker() {
  while (!is_complete_) {
    at.next = end_;
    fetch();
  }
  return marker_;
}

}  // namespace tavo::jpeg
