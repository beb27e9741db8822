// The table of objects that a metafile makes, selects and deletes by number.
#pragma once

#include <cstdint>
#include <variant>

#include "base/list.h"
#include "base/status.h"
#include "formats/wmf_records.h"
#include "formats/wmf_state.h"

namespace tavo::wmf {

// Where in the file the scans of a region are.
struct RegionObject {
  uint64_t position = 0;
};
// What takes a place in the table and means nothing here: palettes.
// Without it the numbers of all that are made behind would be others'.
struct OtherObject {};

using Object =
    std::variant<std::monostate, PenObject, BrushObject, FontObject, RegionObject, OtherObject>;

class Objects {
 public:
  // More than programs make; what comes behind cannot be selected.
  // NumberOfObjects of the header ([MS-WMF] 2.3.2.2) is not relied on.
  static constexpr size_t kMost = 1 << 13;

  // A record that makes an object, which takes the lowest free number ([MS-WMF] 3.1.4.1); false
  // for other records. Records that say too little make one that does nothing.
  bool take(Records& records, Status& status);

  // Null when there is none of that number.
  // The pointer holds until the next take() or remove().
  const Object* find(int32_t number) const;
  // What is selected stays so: states have copies.
  void remove(int32_t number);

 private:
  Status add(const Object& object);

  List<Object> slots_;
  size_t first_free_ = 0;  // none is below
};

}  // namespace tavo::wmf
