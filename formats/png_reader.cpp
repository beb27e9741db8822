#include <algorithm>

#include "base/byte_source.h"
#include "codec/inflate.h"
#include "codec/row_filters.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "formats/png.h"
#include "formats/png_data.h"
#include "formats/png_header.h"
#include "formats/png_interlace.h"
#include "formats/png_pixels.h"
#include "process/row_delivery.h"

namespace tavo::png {

namespace {

using process::RowDelivery;

// The samples of one row after the other, filters undone.
class Samples {
 public:
  Samples(ByteSource& file, const Header& header, uint32_t data_bytes)
      : header_(header), stream_(file, data_bytes), bytes_(stream_) {}

  Status start() {
    constexpr uint32_t kInputBytes = 32768, kInputStep = 1024;
    const uint64_t most = header_.row_bytes(header_.width) + filters::kSlack;
    TRY(row_.allocate(most));
    TRY(above_.allocate(most));
    TRY(bytes_.start(kInputBytes, kInputStep, kInputStep));
    TRY(inflate_.start());
    inflate_.begin(bytes_);
    return kOk;
  }

  // Rows of `pixels` begin, above which there is nothing.
  void begin(uint32_t pixels) {
    row_bytes_ = static_cast<size_t>(header_.row_bytes(pixels));
    std::ranges::fill(row_.bytes(), uint8_t{0});
  }

  // The next one.
  Status next(std::span<const uint8_t>& samples) {
    // At the first row this makes the zeros of begin() the row above (9.2).
    std::swap(row_, above_);
    uint8_t type = 0;
    TRY(inflate_.decode({&type, 1}));
    // 9.2 has types 0 to 4; without its filter the row and all below it are lost.
    if (type >= filters::kFilterCount) return kBadData;
    const std::span<uint8_t> row = row_.bytes().first(row_bytes_);
    TRY(inflate_.decode(row));
    filters::undo(filters::Filter{type}, row, above_.data(), header_.pixel_bytes());
    samples = row;
    return kOk;
  }

  // Reads what follows the last row: whether the data's checksums are right. That they were cut
  // there is no damage.
  Status finish() {
    Status status = kOk;
    while (status.ok()) {
      bytes_.consume(bytes_.window().size());
      status = bytes_.refill();
      if (bytes_.window().empty()) break;
    }
    return status == kReadError ? kOk : status;
  }

 private:
  const Header& header_;
  DataStream stream_;
  ByteSource bytes_;
  inflate::Decoder inflate_;
  size_t row_bytes_ = 0;
  Buffer row_, above_;
};

// As they come. A wrong checksum behind the last row is told when all rows are delivered.
Status read_rows(Samples& samples, const PixelMaker& pixels, const Header& header,
                 RowDelivery& rows) {
  samples.begin(header.width);
  for (uint32_t y = 0; y < header.height; ++y) {
    std::span<const uint8_t> row;
    const Status status = samples.next(row);
    if (!status.ok()) return rows.finish_early(status);
    pixels.make(row, header.width, rows.next_row().data());
    TRY(rows.commit());
  }
  const Status status = samples.finish();
  return status.ok() ? rows.finish() : rows.finish_early(status);
}

// An interlaced picture, which is held whole.
class Interlaced {
 public:
  Interlaced(const Header& header, const process::SourcePicture& picture)
      : header_(header), picture_(picture) {}

  Status start() {
    TRY(core::init_bitmap(*whole_, picture_.width, picture_.height, picture_.bits));
    whole_->ViewPerspective = 0;
    TRY(core::allocate_quietly(*whole_));
    core::access_bitmap(*whole_);
    TRY(part_.allocate(uint64_t{whole_->BytesPerLine} + RowDelivery::kSlack));
    return row_.allocate(uint64_t{whole_->BytesPerLine} + RowDelivery::kSlack);
  }

  // `damage` gets why a part is missing.
  Status read(Samples& samples, const PixelMaker& pixels, Status& damage) {
    for (const Pass& pass : kPasses) {
      // A pass without pixels has no bytes in the data, not even filter types.
      if (pass.columns(header_.width) != 0) TRY(read_pass(pass, samples, pixels, damage));
      if (!damage.ok()) return kOk;
      ++progress_.passes;
      progress_.rows = 0;
    }
    damage = samples.finish();
    return kOk;
  }

  // Where pixels are missing others stand in for them, as programs show pictures that still come.
  Status deliver(Status damage, RowDelivery& rows) {
    const auto width = static_cast<size_t>(core::packed_bytes(header_.width, picture_.bits));
    for (uint32_t y = 0; y < header_.height; ++y) {
      const std::span<uint8_t> row = rows.next_row();
      const Nearest near = nearest(progress_, y);
      if (!near.is_there) break;
      TRY(core::get_row(*whole_, near.from, row.first(width)));
      spread(row.data(), near.dx);
      const bool is_whole = progress_.passes == kPassCount;
      TRY(rows.commit(1, is_whole ? 1 : 0));
    }
    return damage.ok() ? rows.finish() : rows.finish_early(damage);
  }

 private:
  Status read_pass(const Pass& pass, Samples& samples, const PixelMaker& pixels, Status& damage) {
    const uint32_t columns = pass.columns(header_.width);
    const auto width = static_cast<size_t>(core::packed_bytes(header_.width, picture_.bits));
    samples.begin(columns);
    for (uint32_t i = 0; i < pass.rows(header_.height); ++i, ++progress_.rows) {
      std::span<const uint8_t> raw;
      damage = samples.next(raw);
      if (!damage.ok()) return kOk;
      pixels.make(raw, columns, part_.data());
      const uint32_t y = pass.y + i * pass.dy;
      const std::span<uint8_t> row = row_.bytes().first(width);
      // Rows of the last pass are all its own; in others there are pixels of passes before.
      if (pass.x != 0 || pass.dx != 1) TRY(core::get_row(*whole_, y, row));
      place_pixels(part_.data(), row.data(), picture_.bits, {1, pass.x, pass.dx, columns});
      TRY(core::put_row(*whole_, y, row));
    }
    return kOk;
  }

  void spread(uint8_t* row, uint32_t dx) const {
    for (uint32_t x = 1; x < dx && x < header_.width; ++x) {
      place_pixels(row, row, picture_.bits, {dx, x, dx, (header_.width - x - 1) / dx + 1});
    }
  }

  const Header& header_;
  const process::SourcePicture& picture_;
  core::OwnedBitmap whole_;
  Buffer part_, row_;  // of a pass; of the picture
  Progress progress_;
};

// A bitmap of 32 bits that is there to be filled wants opacity whatever depth the call names.
bool wants_alpha(const BitmapHandle& bitmap, int32_t bits_per_pixel) {
  return bits_per_pixel == 32 ||
         (core::has_flag(bitmap, T_FLAG_ALLOCATED) && bitmap.BitsPerPixel == 32);
}

}  // namespace

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  const auto head = input.head.first(std::min(input.head.size(), kSignature.size()));
  if (!std::ranges::equal(head, kSignature)) return kBadData;
  ByteSource bytes(input.file);
  TRY(bytes.start());
  Header header;
  uint32_t data_bytes = 0;
  TRY(parse_header(bytes, input.file_size, header, data_bytes));
  process::describe(describe(header, false), T_FORMAT_PNG, "Deflate", info);
  return kOk;
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  ByteSource bytes(file);
  TRY(bytes.start());
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  Header header;
  uint32_t data_bytes = 0;
  TRY(parse_header(bytes, file_bytes, header, data_bytes));

  const bool keeps_alpha = wants_alpha(*bitmap, bits_per_pixel);
  Samples samples(bytes, header, data_bytes);
  TRY(samples.start());
  const PixelMaker pixels(header, keeps_alpha);
  const process::SourcePicture picture = describe(header, keeps_alpha);
  RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  if (!header.is_interlaced) {
    TRY(rows.start());
    return file.note_damage(read_rows(samples, pixels, header, rows), bytes);
  }
  Interlaced whole(header, picture);
  TRY(whole.start());
  Status damage = kOk;
  TRY(whole.read(samples, pixels, damage));
  TRY(rows.start());
  return file.note_damage(whole.deliver(damage, rows), bytes);
}

}  // namespace tavo::png
