#include "codec/jpeg/coefficients.h"

#include <algorithm>

#include "platform/platform.h"

namespace tavo::jpeg {
namespace {

// What a picture has for each of the blocks that its data reach: a scan for each coefficient would
// visit a block as often. cjpeg's progressive streams have ten scans.
constexpr uint64_t kVisitsPerBlock = 64;

// The coding procedures of F.2.2 and G.2, by the scan's Ss and Ah: a progressive scan has DC or AC
// coefficients (G.1.1.1.1), and the first of their bits or one more of them (G.1.1.1.2).
enum class Procedure { kSequential, kDcFirst, kDcRefine, kAcFirst, kAcRefine };

Procedure procedure_of(const Frame& frame, const Band& band) {
  if (!frame.is_progressive) return Procedure::kSequential;
  if (band.first == 0) return band.is_refining ? Procedure::kDcRefine : Procedure::kDcFirst;
  return band.is_refining ? Procedure::kAcRefine : Procedure::kAcFirst;
}

// DC refinements send plain bits, and AC bands have no use for a DC table: what a scan does not
// need may be missing, and mostly is.
Status check_huffman_tables(const Scan& scan, Procedure procedure, const Tables& tables) {
  const bool needs_dc = procedure == Procedure::kSequential || procedure == Procedure::kDcFirst;
  const bool needs_ac = procedure != Procedure::kDcFirst && procedure != Procedure::kDcRefine;
  for (size_t i = 0; i < scan.count; ++i) {
    const ScanComponent& c = scan.components[i];
    if (needs_dc && !tables.dc[c.dc_table].is_defined) return kBadData;
    if (needs_ac && !tables.ac[c.ac_table].is_defined) return kBadData;
  }
  return kOk;
}

// What one component of a scan is decoded with. False is a code that cannot be; what came before it
// in the block stays.
struct BlockCoder {
  Procedure procedure;
  bool is_arithmetic;
  const Band& band;
  const ScanComponent& chosen;
  const HuffmanTable& dc_table;
  const HuffmanTable& ac_table;
  const Conditioning& conditioning;

  bool decode(ScanReader& reader, size_t component, int16_t* block) const {
    return is_arithmetic ? decode_arithmetic(reader, component, block)
                         : decode_huffman(reader, component, block);
  }

 private:
  bool decode_arithmetic(ScanReader& reader, size_t component, int16_t* block) const {
    ArithmeticDecoder& decoder = reader.arithmetic;
    int& dc = reader.dc[component];
    switch (procedure) {
      case Procedure::kSequential:
        return decoder.decode_sequential(conditioning, chosen, component, dc, block);
      case Procedure::kDcFirst:
        return decoder.decode_dc_first(conditioning, chosen, component, band.low, dc, block);
      case Procedure::kDcRefine:
        decoder.refine_dc(band.low, block);
        return true;
      case Procedure::kAcFirst:
        return decoder.decode_ac_first(conditioning, chosen, band, block);
      case Procedure::kAcRefine:
        return decoder.refine_ac(chosen, band, block);
    }
    return false;
  }

  bool decode_huffman(ScanReader& reader, size_t component, int16_t* block) const {
    BitPosition& at = reader.bits.at;
    switch (procedure) {
      case Procedure::kSequential:
        return decode_sequential_zigzag(at, dc_table, ac_table, reader.dc[component], block) !=
               kBadBlock;
      case Procedure::kDcFirst:
        return decode_dc_first(at, dc_table, band.low, reader.dc[component], block) != kBadBlock;
      case Procedure::kDcRefine:
        // A plain bit (G.1.2.1), of which no value is wrong.
        refine_dc(at, band.low, block);
        return true;
      case Procedure::kAcFirst:
        return decode_ac_first(at, ac_table, band, reader.end_of_band_run, block) != kBadBlock;
      case Procedure::kAcRefine:
        return refine_ac(at, ac_table, band, reader.end_of_band_run, block) != kBadBlock;
    }
    return false;
  }
};

// Huffman tables are defined, or not needed: check_huffman_tables.
BlockCoder coder_for(const Frame& frame, const Scan& scan, size_t i, const Tables& tables) {
  const ScanComponent& c = scan.components[i];
  return {procedure_of(frame, scan.band), frame.is_arithmetic,   scan.band,          c,
          tables.dc[c.dc_table],          tables.ac[c.ac_table], tables.conditioning};
}

}  // namespace

CoefficientStore::~CoefficientStore() {
  for (Plane& plane : planes_) {
    for (int16_t* strip : plane.strips.items()) platform::free_fixed(strip);
  }
}

// Blocks of whole MCUs (A.2.4), an even number a row, as the transform takes pairs.
Status CoefficientStore::start(const Frame& frame, size_t count) {
  frame_ = &frame;
  count_ = count;
  uint64_t blocks = 0;
  for (size_t i = 0; i < count; ++i) {
    const Component& c = frame.components[i];
    Plane& plane = planes_[i];
    plane.blocks_wide = (frame.mcus_wide * c.h + 1) & ~1u;
    plane.strip_rows = c.v;
    blocks += uint64_t{plane.blocks_wide} * plane.strip_rows * frame.mcus_high;
  }
  // 128 bytes for each block.
  if (blocks > kMaxBytes / (kBlockSize * sizeof(int16_t))) return kNoMemory;
  for (size_t i = 0; i < count; ++i) TRY(planes_[i].strips.allocate(frame.mcus_high));
  return kOk;
}

// Memory comes by MCU rows, zeroed by the system when it is touched first. With it the stream earns
// visits: as many as its blocks may justify.
Status CoefficientStore::reach(size_t component, uint32_t row, int16_t*& blocks) {
  Plane& plane = planes_[component];
  const size_t row_values = size_t{plane.blocks_wide} * kBlockSize;
  int16_t*& strip = plane.strips[row / plane.strip_rows];
  if (strip == nullptr) {
    strip = static_cast<int16_t*>(
        platform::allocate_fixed(row_values * plane.strip_rows * sizeof(int16_t)));
    if (strip == nullptr) return kNoMemory;
    own_visits_ += uint64_t{plane.blocks_wide} * plane.strip_rows * kVisitsPerBlock;
  }
  blocks = strip + row_values * (row % plane.strip_rows);
  return kOk;
}

// Without taking memory: what no scan has reached is lost, or zero throughout.
const int16_t* CoefficientStore::block_row(size_t component, uint32_t row) const {
  const Plane& plane = planes_[component];
  const int16_t* strip = plane.strips[row / plane.strip_rows];
  if (strip == nullptr) return nullptr;
  return strip + size_t{plane.blocks_wide} * kBlockSize * (row % plane.strip_rows);
}

// Arithmetic coding needs no tables: conditioning has defaults (B.2.4.3).
Status CoefficientStore::decode_scan(const Scan& scan, const Tables& tables, ByteSource& source,
                                     ScanReader& reader) {
  if (!frame_->is_arithmetic) {
    TRY(check_huffman_tables(scan, procedure_of(*frame_, scan.band), tables));
  }
  reader.begin(source, tables.restart_interval, frame_->is_arithmetic);
  // Until a loss says otherwise.
  whole_bands_ = frame_->mcus_high;
  TRY(scan.count == 1 ? decode_plain(scan, tables, reader)
                      : decode_interleaved(scan, tables, reader));
  reader.bits.skip_to_marker();
  return kOk;
}

// A scan of one component has an MCU for each block that holds samples (A.2.2): the blocks that
// fill up interleaved MCUs are not in it.
Status CoefficientStore::decode_plain(const Scan& scan, const Tables& tables, ScanReader& reader) {
  const size_t component = scan.components[0].index;
  // Of use to nobody: the data up to the next marker are passed over unread.
  if (component >= count_) return kOk;
  const Component& frame_component = frame_->components[component];
  const Procedure procedure = procedure_of(*frame_, scan.band);
  const BlockCoder coder = coder_for(*frame_, scan, 0, tables);
  const uint32_t wide = frame_component.blocks_wide;
  for (uint32_t row = 0; row < frame_component.blocks_high && !reader.is_dead(); ++row) {
    visits_ += wide;
    int16_t* blocks = nullptr;
    // Rows that no scan has reached get memory with the first block that is decoded: runs of ends
    // of bands over blank parts take none.
    if (block_row(component, row) != nullptr) TRY(reach(component, row, blocks));
    for (uint32_t x = 0; x < wide; ++x) {
      if (!reader.enter()) continue;
      // Blocks inside a run of ends of band (G.1.2.2) have nothing new; refinements must still
      // visit those that hold values, whose correction bits come (G.1.2.3).
      if (reader.end_of_band_run > 0 && (procedure == Procedure::kAcFirst || blocks == nullptr)) {
        const uint32_t rest = std::min(wide - x - 1, reader.until_restart());
        const uint32_t more = std::min(reader.end_of_band_run - 1, rest);
        reader.end_of_band_run -= more + 1;
        reader.pass(more);
        x += more;
        continue;
      }
      if (blocks == nullptr) TRY(reach(component, row, blocks));
      reader.leave(coder.decode(reader, component, blocks + size_t{x} * kBlockSize));
    }
    // Block rows of this component, by the MCU row that they are in.
    if (!reader.outcome().ok()) whole_bands_ = std::min(whole_bands_, row / frame_component.v);
  }
  return kOk;
}

// MCUs of Hi x Vi blocks of each component (A.2.3). Components that the picture has no use for,
// such as the chroma of one that is wanted grey, are decoded into nowhere.
Status CoefficientStore::decode_interleaved(const Scan& scan, const Tables& tables,
                                            ScanReader& reader) {
  int16_t skipped[kBlockSize] = {};  // zeros, as refinements change what is there
  uint64_t row_visits = 0;
  for (size_t i = 0; i < scan.count; ++i) {
    const Component& c = frame_->components[scan.components[i].index];
    row_visits += uint64_t{frame_->mcus_wide} * c.h * c.v;
  }
  for (uint32_t mcu_row = 0; mcu_row < frame_->mcus_high && !reader.is_dead(); ++mcu_row) {
    visits_ += row_visits;  // lost ones, too: passing them takes its time
    for (size_t i = 0; i < scan.count; ++i) {
      const size_t component = scan.components[i].index;
      int16_t* blocks = nullptr;
      if (component < count_)
        TRY(reach(component, mcu_row * planes_[component].strip_rows, blocks));
    }
    for (uint32_t x = 0; x < frame_->mcus_wide; ++x) {
      if (!reader.enter()) continue;
      bool is_good = true;
      for (size_t i = 0; i < scan.count; ++i) {
        const size_t component = scan.components[i].index;
        const BlockCoder coder = coder_for(*frame_, scan, i, tables);
        const Component& c = frame_->components[component];
        for (uint32_t block = 0; block < uint32_t{c.h} * c.v; ++block) {
          int16_t* values = skipped;
          if (component < count_) {
            const Plane& plane = planes_[component];
            // Blocks of an MCU come from left to right, then down.
            const size_t index = size_t{block / c.h} * plane.blocks_wide + x * c.h + block % c.h;
            values = plane.strips[mcu_row] + index * kBlockSize;
          }
          is_good &= coder.decode(reader, component, values);
        }
      }
      reader.leave(is_good);
    }
    if (!reader.outcome().ok()) whole_bands_ = std::min(whole_bands_, mcu_row);
  }
  return kOk;
}

}  // namespace tavo::jpeg
