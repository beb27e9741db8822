// Coefficients of a whole picture, for streams whose blocks do not come in one piece: progressive
// ones (ISO/IEC 10918-1, annex G), and sequential ones with a scan for each component (B.2.3).
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/jpeg/markers.h"
#include "codec/jpeg/scan.h"

namespace tavo::jpeg {

class CoefficientStore {
 public:
  CoefficientStore() = default;
  CoefficientStore(const CoefficientStore&) = delete;
  CoefficientStore& operator=(const CoefficientStore&) = delete;
  ~CoefficientStore();

  // Takes no memory for coefficients yet, that comes with the rows that scans reach, so that a
  // stream gets no more than in proportion to what it holds. kNoMemory when all of them would need
  // more than kMaxBytes. Of `frame`, kept by address, only the first `count` components matter.
  Status start(const Frame& frame, size_t count);

  // Decodes one scan. kBadData when it needs a table that is not there; what else is wrong with it
  // is the reader's outcome.
  Status decode_scan(const Scan& scan, const Tables& tables, ByteSource& source,
                     ScanReader& reader);

  // MCU rows of the last scan before the first loss in it.
  uint32_t whole_bands() const { return whole_bands_; }

  // Visits of blocks beyond those that every stream may make.
  uint64_t extra_visits() const { return visits_ - std::min(visits_, own_visits_); }

  // Blocks in row `row` (from 0) of a component, 64 values each, an even number of them; null when
  // no scan has reached them.
  const int16_t* block_row(size_t component, uint32_t row) const;

  static constexpr uint64_t kMaxBytes = uint64_t{4} << 30;

 private:
  struct Plane {
    uint32_t blocks_wide = 0;  // a whole number of MCUs, even
    uint32_t strip_rows = 0;   // block rows of an MCU row
    Array<int16_t*> strips;    // one for each MCU row
  };
  Status reach(size_t component, uint32_t row, int16_t*& blocks);
  Status decode_plain(const Scan& scan, const Tables& tables, ScanReader& reader);
  Status decode_interleaved(const Scan& scan, const Tables& tables, ScanReader& reader);

  const Frame* frame_ = nullptr;
  size_t count_ = 0;
  uint32_t whole_bands_ = 0;
  std::array<Plane, kMaxComponents> planes_;
  // Of blocks, by all scans, and as many as the blocks that data reached justify.
  uint64_t visits_ = 0;
  uint64_t own_visits_ = 0;
};

}  // namespace tavo::jpeg
