#include "codec/jpeg/decoder.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/endian.h"

namespace tavo::jpeg {
namespace {

// Scans beyond this many are no picture's. Without a limit an empty scan of 10 bytes could visit
// all blocks of a huge picture, again and again.
constexpr int kMaxScans = 1000;
// Visits of blocks that scans may make beyond some for each block, in all streams of a file: a
// script that sends every bit plane of every coefficient apart stays below.
constexpr uint64_t kExtraVisits = uint64_t{1} << 27;
// Grey filler that is worth making.
constexpr uint64_t kMaxFillerPixels = uint64_t{1} << 28;
constexpr uint8_t kGrey = 128;

size_t mcu_bytes(size_t blocks) { return blocks * kMaxCodedBlock; }

// Of an interleaved scan of all components (A.2.3).
size_t blocks_per_mcu(const Frame& frame) {
  size_t blocks = 0;
  for (size_t i = 0; i < frame.count; ++i) {
    blocks += size_t{frame.components[i].h} * frame.components[i].v;
  }
  return blocks;
}

// The container's word counts only where the components can be what it says.
bool fits(ColorSpace space, size_t components) {
  switch (space) {
    case ColorSpace::kGray:
      return true;
    case ColorSpace::kYcc:
    case ColorSpace::kRgb:
      return components >= 3;  // a fourth is left out
    default:
      return components == 4;
  }
}

// Puts a block's coefficients from zigzag into natural order, where zeros are. Returns the index of
// the last one that is not zero.
int to_natural(const int16_t* zigzag, int16_t* natural) {
  const uint64_t nonzero = find_nonzero(zigzag);
  for (uint64_t rest = nonzero; rest != 0; rest &= rest - 1) {
    const auto k = static_cast<size_t>(std::countr_zero(rest));
    natural[kZigzag[k]] = zigzag[k];
  }
  return 63 - std::countl_zero(nonzero | 1);
}

}  // namespace

Status Decoder::take_tables() { return tables_.size() == 0 ? tables_.allocate(1) : kOk; }

// B.5: an abbreviated stream of tables alone, as TIFF has it in JPEGTables.
Status Decoder::feed_tables(ByteSource& source) {
  TRY(take_tables());
  MarkerReader markers(source, tables_[0]);
  Frame frame;
  Scan scan;
  Extras extras;
  SegmentEnd end;
  TRY(markers.read_start());
  TRY(markers.read_segments(frame, scan, extras, end));
  return frame.count == 0 && end != SegmentEnd::kScan ? kOk : kBadData;
}

// What a stream before has left. Its visits count on, as one allowance serves all streams of a
// file.
void Decoder::forget_rows(ByteSource& source) {
  source_ = &source;
  if (store_) extra_visits_ += store_->extra_visits();
  store_.reset();
  rows_.reset();
  outcome_ = kOk;
  bands_ = sound_bands_ = whole_bands_ = next_row_ = 0;
}

// The older form of JPEG in TIFF 6.0 (section 22) has such data: a header in one place, strips
// elsewhere.
void Decoder::continue_with(ByteSource& source, uint32_t columns, uint32_t lines) {
  forget_rows(source);
  is_part_ = true;
  frame_.set_width(columns);
  frame_.set_height(lines);
}

// Quantisers and Huffman tables stay from earlier streams (B.4: abbreviated ones for images); the
// restart interval does not, as SOI resets it (B.2.4.4).
Status Decoder::read_header(ByteSource& source, const ReadOptions& options) {
  TRY(take_tables());
  forget_rows(source);
  is_part_ = false;
  is_smooth_ = options.is_smooth;
  frame_ = Frame();
  extras_ = Extras();
  is_latched_.fill(false);
  tables_[0].restart_interval = 0;
  tables_[0].conditioning = {};

  MarkerReader markers(source, tables_[0]);
  SegmentEnd end;
  TRY(markers.read_start());
  TRY(markers.read_segments(frame_, scan_, extras_, end));
  if (end != SegmentEnd::kScan) {
    return end == SegmentEnd::kCutShort ? source.shortage() : kBadData;
  }
  if (frame_.height == 0) frame_.set_height(options.lines);
  if (frame_.height == 0) return kBadData;
  color_ = options.color && fits(*options.color, frame_.count) ? *options.color : guess_color();
  TRY(install_standard_tables());
  return latch_quantisers(scan_);
}

// Huffman tables that never came mean the standard's (K.3): frames of motion JPEG (AVI) have none.
Status Decoder::install_standard_tables() {
  Tables& tables = tables_[0];
  if (frame_.is_progressive || frame_.is_arithmetic) return kOk;
  for (size_t i = 0; i < 2; ++i) {
    HuffmanTable& dc = tables.dc[i];
    HuffmanTable& ac = tables.ac[i];
    if (!dc.is_defined) TRY(build_table(kStandardDc[i], TableClass::kDc, dc));
    if (!ac.is_defined) TRY(build_table(kStandardAc[i], TableClass::kAc, ac));
  }
  return kOk;
}

// A component keeps the quantisers that are in force at its first scan. Between scans a
// table may be defined anew for the others.
Status Decoder::latch_quantisers(const Scan& scan) {
  for (size_t i = 0; i < scan.count; ++i) {
    const size_t component = scan.components[i].index;
    if (is_latched_[component]) continue;
    const Dequantisers& table = tables_[0].quantisers[frame_.components[component].quantiser];
    if (!table.is_defined) return kBadData;
    quantisers_[component] = table.values;
    is_latched_[component] = true;
  }
  return kOk;
}

// What the components mean is not the coder's to know (the standard is blind to colour): JFIF says
// that three are YCbCr, Adobe's segment that they are not (transform 0), YCbCr (1) or YCCK (2).
// Without either, identifiers of letters stand for what they say, as cjpeg -rgb writes them.
//
// kept: four components with Adobe's segment have 255 for no ink, as Adobe's programs and
// ImageMagick write them; without it 255 is full ink. Of two the first is grey.
ColorSpace Decoder::guess_color() const {
  const auto has_ids = [&](const char* ids) {
    for (size_t i = 0; i < 3; ++i) {
      if (frame_.components[i].id != static_cast<uint8_t>(ids[i])) return false;
    }
    return true;
  };
  if (frame_.count < 3) return ColorSpace::kGray;
  if (frame_.count == 4) {
    if (!extras_.has_adobe) return ColorSpace::kCmyk;
    return extras_.adobe_transform == 2 ? ColorSpace::kInvertedYcck : ColorSpace::kInvertedCmyk;
  }
  if (extras_.has_jfif) return ColorSpace::kYcc;
  if (extras_.has_adobe) return extras_.adobe_transform == 0 ? ColorSpace::kRgb : ColorSpace::kYcc;
  return has_ids("RGB") ? ColorSpace::kRgb : ColorSpace::kYcc;
}

// Of several scans none is a whole picture until all have come.
Status Decoder::start(PixelLayout layout, uint32_t eighths) {
  layout_ = layout;
  samples_ = sample_frame(frame_, eighths);
  for (size_t i = 0; i < kMaxComponents; ++i) {
    transforms_[i] = choose_inverse_transform(samples_.points[i]);
  }
  rows_.emplace();
  TRY(rows_->start(samples_, color_, layout, is_smooth_));
  return is_single_scan() ? start_direct() : read_all_scans();
}

// ---- Streams of one scan ----

// A.2.3: an MCU has Hi x Vi blocks of each component, row by row.
Status Decoder::start_direct() {
  mcu_block_count_ = 0;
  for (size_t i = 0; i < scan_.count; ++i) {
    const ScanComponent& s = scan_.components[i];
    const Component& c = frame_.components[s.index];
    const HuffmanTable& dc_table = tables_[0].dc[s.dc_table];
    const HuffmanTable& ac_table = tables_[0].ac[s.ac_table];
    if (!dc_table.is_defined || !ac_table.is_defined) return kBadData;
    const size_t stride = s.index < rows_->needed_components() ? rows_->stride(s.index) : 0;
    const size_t side = samples_.points[s.index];
    for (size_t block = 0; block < size_t{c.h} * c.v; ++block) {
      mcu_blocks_[mcu_block_count_++] = {s.index, &dc_table, &ac_table,
                                         block / c.h * side * stride + block % c.h * side,
                                         side * c.h};
    }
  }
  TRY(pair_.allocate(2 * mcu_block_count_ * kBlockSize));
  TRY(reader_.start(mcu_bytes(mcu_block_count_)));
  reader_.begin(*source_, tables_[0].restart_interval);
  if (is_part_) reader_.take_any_number();
  return kOk;
}

// An MCU row straight to samples. The coefficients of two MCUs are all that is kept.
void Decoder::decode_band() {
  for (size_t i = 0; i < rows_->needed_components(); ++i) band_[i] = rows_->mcu_row(i, bands_);
  for (uint32_t x = 0; x < frame_.mcus_wide; x += 2) {
    decode_pair(x, std::min(2u, frame_.mcus_wide - x));
  }
  ++bands_;
  if (!reader_.is_dead()) sound_bands_ = bands_;
  outcome_ = reader_.outcome();
  if (outcome_.ok()) whole_bands_ = bands_;
}

// Two MCUs at a time, because the inverse transform takes pairs. Coefficients must be zero
// beforehand, as entropy decoding stores those that are not alone.
void Decoder::decode_pair(uint32_t x, uint32_t mcus) {
  std::memset(pair_.data(), 0, pair_.size() * sizeof(int16_t));
  std::array<bool, 2> is_good = {true, true};
  for (uint32_t i = 0; i < mcus; ++i) is_good[i] = reader_.enter() && reader_.leave(decode_mcu(i));
  if (mcus < 2) last_[1].fill(0);
  if (is_good[0] || is_good[1]) transform_pair(x, is_good);
  for (uint32_t i = 0; i < mcus; ++i) {
    if (!is_good[i]) fill_lost(x + i);
  }
}

bool Decoder::decode_mcu(size_t which) {
  bool is_good = true;
  int16_t* block = pair_.data() + which * mcu_block_count_ * kBlockSize;
  for (size_t i = 0; i < mcu_block_count_; ++i, block += kBlockSize) {
    const McuBlock& b = mcu_blocks_[i];
    int last = decode_sequential(reader_.bits.at, *b.dc_table, *b.ac_table, reader_.dc[b.component],
                                 block);
    if (last == kBadBlock) [[unlikely]] {
      is_good = false;
      last = 63;
    }
    last_[which][i] = static_cast<uint8_t>(last);
  }
  return is_good;
}

// Both blocks are transformed though one may be lost: fill_lost() covers it. The extent is that of
// the longer block; of a lost one it is not known.
void Decoder::transform_pair(uint32_t x, std::span<const bool, 2> is_good) {
  const int16_t* first = pair_.data();
  const int16_t* second = first + mcu_block_count_ * kBlockSize;
  for (size_t i = 0; i < mcu_block_count_; ++i, first += kBlockSize, second += kBlockSize) {
    const McuBlock& b = mcu_blocks_[i];
    if (b.component >= rows_->needed_components()) continue;
    const int last = std::max(is_good[0] ? last_[0][i] : 63, is_good[1] ? last_[1][i] : 63);
    uint8_t* out = band_[b.component] + b.offset + x * b.mcu_step;
    transforms_[b.component](first, second, quantisers_[b.component].data(), extent_of(last), out,
                             out + b.mcu_step, rows_->stride(b.component));
  }
}

// Blocks of the level that comes out as mid grey.
void Decoder::fill_lost(uint32_t x) {
  for (size_t i = 0; i < mcu_block_count_; ++i) {
    const McuBlock& b = mcu_blocks_[i];
    if (b.component >= rows_->needed_components()) continue;
    uint8_t* out = band_[b.component] + b.offset + x * b.mcu_step;
    const size_t side = samples_.points[b.component];
    for (size_t y = 0; y < side; ++y) {
      std::memset(out + y * rows_->stride(b.component), rows_->lost_sample(b.component), side);
    }
  }
}

// ---- Streams of several scans ----

// Progressive streams, and sequential ones with scans of some components each (B.2.3): all scans
// before the first row. What the data reach bounds the work: scans over blocks that no data made
// are counted against kExtraVisits, so that a small file cannot ask for minutes.
Status Decoder::read_all_scans() {
  store_.emplace();
  exact_.fill(0);
  whole_bands_ = frame_.mcus_high;
  TRY(store_->start(frame_, rows_->needed_components()));
  TRY(reader_.start(mcu_bytes(blocks_per_mcu(frame_))));
  bool has_more = true;
  for (int scans = 0; has_more; ++scans) {
    if (scans == kMaxScans || extra_visits_ + store_->extra_visits() > kExtraVisits) {
      note(kBadData);
      whole_bands_ = 0;
      return kOk;
    }
    const Status status = store_->decode_scan(scan_, tables_[0], *source_, reader_);
    if (status == kNoMemory) return status;
    note(status);
    if (!status.ok()) whole_bands_ = 0;
    if (!status.ok()) return kOk;
    note(reader_.outcome());
    whole_bands_ = std::min(whole_bands_, store_->whole_bands());
    note_exact(scan_);
    TRY(continue_scans(has_more));
  }
  if (!is_exact()) whole_bands_ = 0;
  return kOk;
}

// G.1.1.1.2: the last bits come with Al 0.
void Decoder::note_exact(const Scan& scan) {
  if (scan.band.low != 0) return;
  for (size_t i = 0; i < scan.count; ++i) {
    for (int k = scan.band.first; k <= scan.band.last; ++k) {
      exact_[scan.components[i].index] |= uint64_t{1} << k;
    }
  }
}

bool Decoder::is_exact() const {
  return std::all_of(exact_.begin(), exact_.begin() + frame_.count,
                     [](uint64_t coefficients) { return coefficients == UINT64_MAX; });
}

// Reads up to the next scan. What is wrong there costs the scans that would follow, no more:
// earlier scans of a progressive stream are a whole picture already.
Status Decoder::continue_scans(bool& has_more) {
  MarkerReader markers(*source_, tables_[0]);
  Frame frame = frame_;
  Extras extras;
  SegmentEnd end = SegmentEnd::kCutShort;
  Status status = markers.read_segments(frame, scan_, extras, end);
  if (status.ok() && end == SegmentEnd::kScan) status = latch_quantisers(scan_);
  if (status == kNoMemory) return status;
  note(status);
  // kept: the end of the data in the place of EOI is no loss when each component has come,
  // unless it cannot be told whether zeros were left out or what follows was cut off.
  const bool is_complete = std::all_of(is_latched_.begin(), is_latched_.begin() + frame_.count,
                                       [](bool latched) { return latched; });
  has_more = status.ok() && end == SegmentEnd::kScan;
  if (status.ok() && end == SegmentEnd::kCutShort) {
    if (frame_.is_progressive || frame_.is_arithmetic || !is_complete) note(source_->shortage());
  }
  if (!has_more && !is_complete) note(kBadData);
  return kOk;
}

void Decoder::transform_stored_band() {
  for (size_t i = 0; i < rows_->needed_components(); ++i) {
    uint8_t* out = rows_->mcu_row(i, bands_);
    const uint32_t rows = frame_.components[i].v;
    const size_t row_step = samples_.points[i] * rows_->stride(i);
    for (uint32_t row = 0; row < rows; ++row) {
      transform_stored_row(i, bands_ * rows + row, out + row * row_step);
    }
  }
  ++bands_;
  sound_bands_ = bands_;
}

// A row that no scan has reached, or whose component has no quantisers, is as grey as lost blocks
// are.
void Decoder::transform_stored_row(size_t component, uint32_t row, uint8_t* out) {
  const Component& c = frame_.components[component];
  const size_t stride = rows_->stride(component);
  const size_t side = samples_.points[component];
  const uint32_t blocks = (frame_.mcus_wide * c.h + 1) & ~1u;
  const int16_t* values = store_->block_row(component, row);
  if (values == nullptr || !is_latched_[component]) {
    for (size_t y = 0; y < side; ++y) {
      std::memset(out + y * stride, rows_->lost_sample(component), side * blocks);
    }
    return;
  }
  const uint16_t* quantisers = quantisers_[component].data();
  std::array<int16_t, 2 * kBlockSize> pair;
  for (uint32_t x = 0; x < blocks; x += 2, values += 2 * kBlockSize) {
    pair.fill(0);
    const int last = std::max(to_natural(values, pair.data()),
                              to_natural(values + kBlockSize, pair.data() + kBlockSize));
    transforms_[component](pair.data(), pair.data() + kBlockSize, quantisers, extent_of(last),
                           out + side * x, out + side * (x + 1), stride);
  }
}

// ---- Rows ----

// Whether row y and its neighbours lie behind what could be decoded. Upsampling the grey of lost
// blocks would give the same grey, at the price of a picture.
bool Decoder::is_filler(uint32_t y) const {
  return reader_.is_dead() && !store_ && y > (sound_bands_ + 1) * samples_.eighths * frame_.v_max;
}

// kept: rows that are lost are grey, so that a picture has all its rows; but no more grey is made
// than kMaxFillerPixels, as a small file may claim 4 billion pixels.
Status Decoder::next_rows(std::span<uint8_t> rows, size_t row_bytes, uint32_t count,
                          uint32_t& got) {
  got = 0;
  const size_t used_bytes = size_t{width()} * (layout_ == PixelLayout::kGray8 ? 1 : 3);
  if (count > 0 && (row_bytes < used_bytes || rows.size() / count < row_bytes)) return kBadArgument;
  while (got < count && next_row_ < height()) {
    uint8_t* out = rows.data() + got * row_bytes;
    if (is_filler(next_row_)) {
      const uint64_t pixels = uint64_t{height() - next_row_} * width();
      if (pixels > kMaxFillerPixels) {
        samples_.frame.height = next_row_;
        return kOk;
      }
      std::memset(out, kGrey, used_bytes);
    } else {
      while (next_row_ >= rows_->ready_rows(bands_)) {
        store_ ? transform_stored_band() : decode_band();
      }
      rows_->make(next_row_, out);
    }
    ++next_row_;
    ++got;
  }
  return kOk;
}

// For whoever feeds a stream in pieces (jpeg_push): with so many bytes at hand a row never waits.
uint64_t Decoder::most_bytes() const {
  // Each coded byte may have a stuffed one behind it; smooth upsampling wants one more MCU row.
  const uint64_t mcu = 2 * mcu_bytes(blocks_per_mcu(frame_)) + 2;
  return mcu * 2 * frame_.mcus_wide + EntropyReader::most_read_ahead(mcu) +
         ByteSource::kDefaultSize;
}

// B.2.5: the segment follows the first scan, of which nothing can be decoded before its height is
// known.
uint32_t find_line_count(ByteSource& source) {
  // A marker stands out of entropy-coded data, but not out of other segments.
  for (int byte = source.get(); byte >= 0;) {
    if (byte != 0xFF) {
      byte = source.get();
      continue;
    }
    byte = source.get();
    if (byte <= 0 || byte == 0xFF || byte == marker::kTem ||
        (byte >= marker::kRst0 && byte <= marker::kSoi))
      continue;
    if (byte == marker::kEoi) break;
    std::array<uint8_t, 2> length;
    if (!source.read(length).ok() || load_be16(length.data()) < 2) break;
    if (byte == marker::kDnl) {
      return source.read(length).ok() ? load_be16(length.data()) : 0;
    }
    if (!source.skip(load_be16(length.data()) - 2u).ok()) break;
    byte = source.get();
  }
  return 0;
}

}  // namespace tavo::jpeg
