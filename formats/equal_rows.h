// Rows of a picture gathered as long as they are equal, for writers that say how often one stands.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

#include "base/buffer.h"
#include "base/status.h"

namespace tavo::formats {

// For GEM images (vertical replication) and WordPerfect graphics (repeated rows): start(), add()
// for each row from the top on, finish() behind the last. A row is held until another one comes.
class EqualRows {
 public:
  // `most`: of a group.
  Status start(size_t row_bytes, uint32_t most) {
    most_ = most;
    count_ = 0;
    return row_.allocate(row_bytes);
  }

  // Calls writer.put_group(row, count) for the group before when `row` is another one.
  template <class Writer>
  Status add(std::span<const uint8_t> row, Writer& writer) {
    const bool is_same = count_ != 0 && std::memcmp(row.data(), row_.data(), row.size()) == 0;
    if (!is_same || count_ == most_) {
      TRY(finish(writer));
      std::ranges::copy(row, row_.data());
    }
    ++count_;
    return kOk;
  }

  // The same for the group at hand, if there is one.
  template <class Writer>
  Status finish(Writer& writer) {
    const uint32_t count = count_;
    count_ = 0;
    return count == 0 ? kOk : writer.put_group(row_.bytes(), count);
  }

 private:
  Buffer row_;
  uint32_t count_ = 0;
  uint32_t most_ = 1;
};

}  // namespace tavo::formats
