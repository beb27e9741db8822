#include "formats/tiff_block.h"

#include <algorithm>
#include <utility>

#include "base/endian.h"
#include "codec/row_filters.h"

namespace tavo::tiff {

namespace {

constexpr uint32_t kInputBytes = 32768;
constexpr uint32_t kInputStep = 1024;
constexpr uint32_t kT4TwoDimensional = 1;  // T4Options (6.0, section 11), bit 0

// 6.0, sections 10 and 11. Uncompressed mode (T4Options bit 1, T6Options bit 1) is refused where it
// occurs; fill bits (T4Options bit 2) are skipped whatever the option says.
ccitt::Coding coding_of(const Image& image) {
  switch (image.compression) {
    case kCcittRuns:
      return ccitt::Coding::kRuns;
    case kCcittRuns16:
      return ccitt::Coding::kRuns16;
    case kGroup3:
      return (image.t4_options & kT4TwoDimensional) != 0 ? ccitt::Coding::kGroup3TwoD
                                                         : ccitt::Coding::kGroup3;
    default:
      return ccitt::Coding::kGroup4;
  }
}

}  // namespace

Status FilePart::read_some(std::span<uint8_t> into, size_t& got) {
  got = 0;
  if (left_ == 0) {
    position_ = next_position_;
    left_ = std::exchange(next_left_, 0);
  }
  const std::span<uint8_t> part =
      into.first(static_cast<size_t>(std::min({uint64_t{into.size()}, left_, step_})));
  if (part.empty()) return kOk;
  TRY(file_->seek(position_));
  TRY(file_->read_some(part, got));
  // FillOrder 2 (6.0, section 8) is meant for bilevel data; programs have it for codes of any kind.
  if (is_reversed_) mirror_bits(part.first(got));
  position_ += got;
  left_ -= got;
  read_ += got;
  step_ = std::max(step_, read_);
  return kOk;
}

Status BlockDecoder::start(const Image& image, const ByteOrder& order) {
  image_ = &image;
  order_ = order;
  TRY(bytes_.start(kInputBytes, kInputStep, kInputStep));
  if (image.is_fax()) return ccitt_.start(coding_of(image), image.block_width, image.is_reversed);
  const bool inflates = image.compression == kDeflate || image.compression == kOldDeflate;
  return inflates ? inflate_.start() : kOk;
}

// Codings begin anew with each strip or tile.
Status BlockDecoder::begin(io::InputFile& file, uint64_t position, uint64_t size,
                           uint64_t decoded) {
  part_.set(file, position, size, image_->is_reversed && !image_->is_fax(), decoded);
  bytes_.reset();
  switch (image_->compression) {
    case kLzw:
      return begin_lzw();
    case kDeflate:
    case kOldDeflate:
      inflate_.begin(bytes_);
      return kOk;
    case kPackBits:
      packbits_.reset();
      return kOk;
    case kNone:
      return kOk;
    default:
      return begin_fax(file, position, size, decoded);
  }
}

// Whether the first rows of a block come out whole.
Status BlockDecoder::try_coding(ccitt::Coding coding, uint64_t rows, bool& is_it) {
  Buffer row;
  TRY(row.allocate(image_->row_bytes(image_->block_width)));
  TRY(ccitt_.start(coding, image_->block_width, image_->is_reversed));
  ccitt_.begin(bytes_);
  Status status = kOk;
  for (uint64_t y = 0; y < rows && status.ok(); ++y) status = ccitt_.decode_row(row.bytes());
  is_it = status.ok() && ccitt_.damaged_rows() == 0 && ccitt_.end_rows() == 0;
  return status == kNoMemory ? status : bytes_.failure();
}

// Programs are about that write what compression 2 is (6.0, section 10), one-dimensional rows on
// byte boundaries without end-of-line codes, and call it Group 3, with any T4Options. Where the
// first block does not begin with the zeros of such a code (T.4, 4.1.2) its first rows tell.
Status BlockDecoder::begin_fax(io::InputFile& file, uint64_t position, uint64_t size,
                               uint64_t decoded) {
  constexpr uint64_t kRowsToTry = 16;
  if (!knows_coding_ && image_->compression == kGroup3) {
    TRY(bytes_.look_ahead(1));
    const bool is_doubtful = !bytes_.window().empty() && bytes_.window()[0] != 0;
    const uint64_t rows = std::min(decoded / image_->row_bytes(image_->block_width), kRowsToTry);
    const auto again = [&] {
      part_.set(file, position, size, false, decoded);
      bytes_.reset();
    };
    bool is_it = !is_doubtful;
    if (!is_it) TRY(try_coding(coding_of(*image_), rows, is_it));
    if (!is_it) {
      again();
      TRY(try_coding(ccitt::Coding::kRuns, rows, is_it));
      if (!is_it) TRY(ccitt_.start(coding_of(*image_), image_->block_width, image_->is_reversed));
    }
    if (is_doubtful) again();
  }
  knows_coding_ = true;
  ccitt_.begin(bytes_);
  return kOk;
}

// 6.0, section 13: codes have their highest bit first and data begin with a clear code. Files of
// old writers have their codes lowest bit first: the clear code then makes a zero byte and an odd
// one.
Status BlockDecoder::begin_lzw() {
  TRY(bytes_.look_ahead(2));
  const std::span<const uint8_t> head = bytes_.window();
  is_old_lzw_ = head.size() >= 2 && head[0] == 0 && (head[1] & 1) != 0;
  return is_old_lzw_ ? old_lzw_.start(8) : lzw_.start(8);
}

template <class Lzw>
Status BlockDecoder::read_lzw(Lzw& decoder, std::span<uint8_t> row) {
  size_t got = 0;
  TRY(decoder.decode(bytes_, row, got));
  return got == row.size() ? kOk : kReadError;
}

Status BlockDecoder::read_row(std::span<uint8_t> row) {
  const Status status = decode_row(row);
  return status.ok() ? status : part_.file().note_damage(status, bytes_);
}

// PackBits rows are packed one by one (6.0, section 9); a run that goes on in the next row is
// taken.
Status BlockDecoder::decode_row(std::span<uint8_t> row) {
  switch (image_->compression) {
    case kNone:
      TRY(bytes_.read(row));
      break;
    case kLzw:
      TRY(is_old_lzw_ ? read_lzw(old_lzw_, row) : read_lzw(lzw_, row));
      break;
    case kDeflate:
    case kOldDeflate:
      TRY(inflate_.decode(row));
      break;
    case kPackBits:
      TRY(packbits_.decode(row));
      break;
    default:
      return ccitt_.decode_row(row);
  }
  if (image_->has_predictor) undo_predictor(row);
  return kOk;
}

// Samples are stored as the difference from the same sample of the pixel before (TIFF 6.0,
// section 14).
void BlockDecoder::undo_predictor(std::span<uint8_t> row) const {
  const size_t step = image_->samples_per_plane();
  if (image_->bits == 8) return filters::sum_pixels(row, step);
  for (size_t i = 2 * step; i + 1 < row.size(); i += 2) {
    const auto sum = static_cast<uint16_t>(order_.u16(&row[i]) + order_.u16(&row[i - 2 * step]));
    if (order_.is_big_endian) {
      store_be16(&row[i], sum);
    } else {
      store_le16(&row[i], sum);
    }
  }
}

}  // namespace tavo::tiff
