#include "formats/jpeg_push.h"

#include <algorithm>
#include <cstring>

#include "base/settings.h"

namespace tavo::jpeg {

Status PushDecoder::start(T_RowSink sink, int32_t bits_per_pixel, int32_t order, void* context) {
  is_started_ = false;
  settings.last_load = {};
  if (!is_request_depth(bits_per_pixel)) return kBadArgument;
  if (order != T_ORDER_RGB && order != T_ORDER_BGR) return kBadArgument;
  sink_ = sink;
  bits_ = bits_per_pixel;
  order_ = order;
  context_ = context;
  decoder_.reset();
  source_.reset();
  record_.reset();
  buffer_.release();
  next_ = end_ = try_at_ = 0;
  is_complete_ = has_rows_ = false;
  failure_ = kOk;
  is_started_ = true;
  return kOk;
}

Status PushDecoder::push(std::span<const uint8_t> bytes) {
  if (!is_started_) return kBadArgument;
  if (failure_.ok()) failure_ = append(bytes);
  if (failure_.ok()) failure_ = advance();
  return failure_;
}

Status PushDecoder::end() {
  if (!is_started_) return kBadArgument;
  is_complete_ = true;
  if (failure_.ok()) failure_ = advance();
  is_started_ = false;
  decoder_.reset();
  source_.reset();
  record_.reset();
  buffer_.release();
  return failure_;
}

// What has been decoded is dropped when room is needed; the buffer grows by half, so that pieces of
// one byte are copied a bounded number of times.
Status PushDecoder::append(std::span<const uint8_t> bytes) {
  // Rows that are done need no more input; the rest of the stream is of no interest.
  if (has_rows_ && decoder_->is_finished()) return kOk;
  if (buffer_.size() - end_ < bytes.size()) {
    const uint64_t needed = uint64_t{unread()} + bytes.size();
    Buffer larger;
    TRY(larger.allocate(std::max<uint64_t>(needed + needed / 2, 65536)));
    if (unread() != 0) std::memcpy(larger.data(), buffer_.data() + next_, unread());
    buffer_ = std::move(larger);
    end_ = unread();
    next_ = 0;
  }
  if (!bytes.empty()) std::memcpy(buffer_.data() + end_, bytes.data(), bytes.size());
  end_ += bytes.size();
  return kOk;
}

Status PushDecoder::read_some(std::span<uint8_t> into, size_t& got) {
  got = std::min(into.size(), unread());
  if (got != 0) std::memcpy(into.data(), buffer_.data() + next_, got);
  next_ += got;
  return kOk;
}

Status PushDecoder::advance() {
  if (!has_rows_) {
    if (!is_complete_ && unread() < try_at_) return kOk;
    TRY(try_header());
  }
  return has_rows_ ? deliver() : kOk;
}

// Reads the header from what is there. While that is too little, everything stays as it was and the
// next attempt waits for half as much again, so that tiny pieces cost no more than large ones.
Status PushDecoder::try_header() {
  try_at_ = unread() + unread() / 2 + 64;
  const std::span<const uint8_t> bytes(buffer_.data() + next_, unread());
  Container container;
  Status status = parse_container(bytes, container);
  if (status == kReadError && !is_complete_) return kOk;
  TRY(status);
  if (bytes.size() < container.stream_offset) return is_complete_ ? kReadError : kOk;
  const std::span<const uint8_t> stream = bytes.subspan(container.stream_offset);
  decoder_.emplace();
  ByteSource header(stream);
  status = decoder_->read_header(header, container, 0);
  if (status == kReadError && !is_complete_) return kOk;
  const Frame& frame = decoder_->decoder().frame();
  uint32_t lines = 0;
  if (status == kBadData && frame.count != 0 && frame.height == 0) {
    // The height stands behind the first scan (DNL): wait for all of it.
    if (!is_complete_) return kOk;
    ByteSource search(stream);
    lines = find_line_count(search);
  } else {
    TRY(status);
  }
  // Several scans need all of the stream: none of the rows is final before the last one. Of a
  // single scan start() and the first rows may take most_bytes(), which must be there.
  const uint64_t coded = header.window().size();
  const Decoder& decoder = decoder_->decoder();
  if (!is_complete_ && (!decoder.is_single_scan() || coded < decoder.most_bytes())) return kOk;
  next_ += container.stream_offset;
  source_.emplace(input_);
  TRY(source_->start());
  TRY(decoder_->read_header(*source_, container, lines));
  return begin_rows();
}

// The record is this object's own: the caller has none, and sees it in the sink only.
Status PushDecoder::begin_rows() {
  record_.emplace();
  TRY(decoder_->start(**record_, sink_, bits_, context_, order_));
  has_rows_ = true;
  return kOk;
}

// A row begins only when the most that it can take is there, so that decoding never stops inside
// one.
Status PushDecoder::deliver() {
  while (!decoder_->is_finished()) {
    const Decoder& decoder = decoder_->decoder();
    if (!is_complete_ && decoder.needs_data() && unread() < decoder.most_bytes()) return kOk;
    TRY(decoder_->deliver_row());
  }
  return is_complete_ ? decoder_->finish() : kOk;
}

}  // namespace tavo::jpeg
